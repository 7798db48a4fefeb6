// A host as others write it: the header that includes all, one call, one line of output.
#include <TWQuickTime/TWQuickTime.h>

#include <cstdio>

int main() {
    const TWQuickTime::NSString path("/Movies/movie.mov");
    std::printf("%s %s\n", TWQT_VERSION, path.lastPathComponent().utf8().c_str());
    return 0;
}
