#include "PresetFile.h"

#include <NSData.h>
#include <TWQECSFormat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <utility>
#include <vector>

#include "CommandFailure.h"
#include "OutputFile.h"
#include "PresetIdentifier.h"
#include "ReadableFile.h"
#include "ToolboxTypes.h"

namespace twqt {

using namespace TWQuickTime;

namespace {

PropertyListFormat formatOf(const NSData& data) {
    constexpr std::string_view magic = "bplist";
    const bool isBinary = data.length() >= magic.size() &&
                          std::memcmp(data.bytes().data(), magic.data(), magic.size()) == 0;
    return isBinary ? PropertyListFormat::binary : PropertyListFormat::xml;
}

bool hasIdentifier(const PropertyListValue& entry, PresetKind kind,
                   const PropertyListValue& identifier) {
    return entry.dictionaryValue().objectForKey(identifierKey(kind)) == identifier;
}

}  // namespace

PresetFile::PresetFile(std::string operation, std::string path)
    : operation_(std::move(operation)), path_(std::move(path)) {}

PresetFile PresetFile::open(const std::string& operation, const std::string& path) {
    requireReadableFile(operation, path);
    PresetFile file(operation, path);
    const NSData data = NSData::dataWithContentsOfFile(NSString(path));
    if (!data)
        throw failureWithStatus(file.what(), ioErr);
    file.format_ = formatOf(data);
    file.root_ = propertyListFromData(data).dictionaryValue();
    if (!file.root_)
        throw CommandFailure(file.what(),
                             "not a property list with presets (" + std::to_string(paramErr) + ")");
    return file;
}

PresetFile PresetFile::openOrNew(const std::string& operation, const std::string& path) {
    requireFreeOutput(path, true);
    std::error_code ignored;
    if (std::filesystem::exists(std::filesystem::symlink_status(path, ignored)))
        return open(operation, path);
    PresetFile file(operation, path);
    file.root_ = NSDictionary{{TWQECSFormatVersion, 1},
                              {TWQECSFormatSettingList, NSArray::array()},
                              {TWQECSFormatSequenceList, NSArray::array()}};
    return file;
}

NSArray PresetFile::entries(PresetKind kind) const {
    const PropertyListValue& list = root_.objectForKey(listKey(kind));
    const NSArray entries = list.arrayValue();
    if (list && !entries)
        throw CommandFailure(what(), "\"" + listKey(kind).utf8() + "\" is no array (" +
                                         std::to_string(paramErr) + ")");
    return entries ? entries : NSArray::array();
}

PropertyListValue PresetFile::identifierNamed(PresetKind kind, const std::string& text) const {
    for (const PropertyListValue& item : entries(kind)) {
        const PropertyListValue identifier =
            item.dictionaryValue().objectForKey(identifierKey(kind));
        if (isNamedBy(identifier, text))
            return identifier;
    }
    return nullptr;
}

NSDictionary PresetFile::entry(PresetKind kind, const PropertyListValue& identifier) const {
    NSDictionary found;
    for (const PropertyListValue& item : entries(kind))
        if (hasIdentifier(item, kind, identifier))
            found = item.dictionaryValue();
    return found;
}

void PresetFile::put(PresetKind kind, const NSDictionary& entry) {
    const NSArray before = entries(kind);
    std::vector<PropertyListValue> after(before.begin(), before.end());
    const PropertyListValue& identifier = entry.objectForKey(identifierKey(kind));
    const auto last = std::find_if(
        after.rbegin(), after.rend(),
        [&](const PropertyListValue& item) { return hasIdentifier(item, kind, identifier); });
    if (last == after.rend())
        after.emplace_back(entry);
    else
        *last = entry;
    root_.setObject(NSArray(std::move(after)), listKey(kind));
}

void PresetFile::remove(PresetKind kind, const PropertyListValue& identifier) {
    NSArray after = NSArray::array();
    for (const PropertyListValue& item : entries(kind))
        if (!hasIdentifier(item, kind, identifier))
            after.addObject(item);
    root_.setObject(after, listKey(kind));
}

void PresetFile::save() const {
    // A link stays a link: what it leads to is replaced.
    std::error_code failure;
    const std::filesystem::path target = std::filesystem::weakly_canonical(path_, failure);
    if (failure)
        throw CommandFailure(what(), failure.message());
    if (std::filesystem::exists(target, failure) && access(target.c_str(), W_OK) != 0)
        throw failureWithStatus(what(), permErr);
    const NSData data = dataFromPropertyList(root_, format_);
    if (!data)
        throw CommandFailure(what(), "the entry holds what no property list can hold (" +
                                         std::to_string(paramErr) + ")");
    if (!data.writeToFile(NSString(target.string()), true))
        throw failureWithStatus(what(), ioErr);
}

const NSString& listKey(PresetKind kind) {
    return kind == PresetKind::setting ? TWQECSFormatSettingList : TWQECSFormatSequenceList;
}

const NSString& identifierKey(PresetKind kind) {
    return kind == PresetKind::setting ? TWQECSFormatSettingID : TWQECSFormatSequenceID;
}

}  // namespace twqt
