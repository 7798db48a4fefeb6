// Lists the settings of a preset file.
//
//     $ ListPresets
//     QuickTime movie
//     MPEG-4 movie
//     …
#include <TWQECS.h>
#include <TWQECSReader.h>

#include <cstdio>

using namespace TWQuickTime;

int main() {
    auto reader = TWQECSReader::qecsReaderWithPath("Examples/Presets.qecs");
    if (!reader)
        return 1;
    for (const auto& preset : reader->componentSettings())
        std::printf("%s\n", preset->name().utf8().c_str());
    return 0;
}
