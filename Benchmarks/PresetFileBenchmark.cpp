// A preset file of 10,000 settings in XML: this library against libplist, in one run.
#include <benchmark/benchmark.h>
#include <plist/plist.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "NSData.h"
#include "PropertyList.h"
#include "TWQECS.h"
#include "TWQECSReader.h"

namespace {

using namespace TWQuickTime;

/// About 4.6 MB.
NSData presetFile() {
    NSArray settings = NSArray::array();
    for (int i = 0; i < 10000; ++i) {
        const std::string number = std::to_string(i);
        settings.addObject(NSDictionary{
            {"SettingID", NSString("setting-" + number)},
            {"Name", NSString("Preset " + number)},
            {"Comment", NSString("H.264 at " + number + " kbit/s & more")},
            {"QTExpComponentType", 0x73706974},
            {"QTExpComponentSubType", 0x4D6F6F56},
            {"QTExpComponentManufacturer", 0x6170706C},
            {"QTExpSettings", NSData(std::vector<std::byte>(20, static_cast<std::byte>(i)))}});
    }
    return dataFromPropertyList(
        NSDictionary{{"Export Presets Version", 1}, {"Export Presets", settings}},
        PropertyListFormat::xml);
}

const NSData file = presetFile();

void readWithTWQuickTime(benchmark::State& state) {
    for (auto _ : state) {
        const PropertyListValue list = propertyListFromData(file);
        if (list.dictionaryValue().objectForKey("Export Presets").arrayValue().count() != 10000)
            state.SkipWithError("not all presets were read");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(file.length()));
}
BENCHMARK(readWithTWQuickTime)->Unit(benchmark::kMillisecond);

/// From the file to preset objects that answer look-ups.
void loadPresetsWithTWQuickTime(benchmark::State& state) {
    char path[] = "/tmp/twqt-presets-XXXXXX";
    close(mkstemp(path));
    file.writeToFile(path, false);
    for (auto _ : state) {
        const auto reader = TWQECSReader::qecsReaderWithPath(path);
        if (!reader || !reader->componentSettingForID("setting-9999"))
            state.SkipWithError("not all presets were loaded");
    }
    unlink(path);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(file.length()));
}
BENCHMARK(loadPresetsWithTWQuickTime)->Unit(benchmark::kMillisecond);

void readWithLibplist(benchmark::State& state) {
    for (auto _ : state) {
        plist_t list = nullptr;
        plist_from_xml(reinterpret_cast<const char*>(file.bytes().data()),
                       static_cast<std::uint32_t>(file.length()), &list);
        if (plist_array_get_size(plist_dict_get_item(list, "Export Presets")) != 10000)
            state.SkipWithError("not all presets were read");
        plist_free(list);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(file.length()));
}
BENCHMARK(readWithLibplist)->Unit(benchmark::kMillisecond);

}  // namespace
