// A host as others write it: the header that includes all, a call, a text of the library in the
// user's language.
#include <TWQuickTime/TWQuickTime.h>

#include <cstdio>

int main() {
    using namespace TWQuickTime;
    const NSString path("/Movies/movie.mov");
    const NSError error = NSError_TWQECSError::errorWitQECSErrorCode(TWQECSNoMovieError);
    std::printf("%s %s: %s\n", TWQT_VERSION, path.lastPathComponent().utf8().c_str(),
                error.localizedDescription().utf8().c_str());
    return 0;
}
