#include "Private/BundleContents.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "Private/UserLanguages.h"
#include "PropertyList.h"

namespace TWQuickTime {
namespace {

namespace fs = std::filesystem;

constexpr const char* kLanguageFolderExtension = ".lproj";

std::string resourceFolder(const std::string& bundleFolder) {
    std::error_code error;
    const fs::path inside = fs::path(bundleFolder) / "Resources";
    return fs::is_directory(inside, error) ? inside.string() : bundleFolder;
}

NSDictionary readInformation(const std::string& bundleFolder) {
    for (const std::string& folder : {resourceFolder(bundleFolder), bundleFolder}) {
        const NSDictionary information =
            NSDictionary::dictionaryWithContentsOfFile(NSString(folder + "/Info.plist"));
        if (information)
            return information;
    }
    return NSDictionary::dictionary();
}

std::vector<std::string> findLanguages(const std::string& resources) {
    std::vector<std::string> languages;
    std::error_code error;
    for (fs::directory_iterator entry(resources, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().extension() == kLanguageFolderExtension)
            languages.push_back(entry->path().stem().string());
    }
    std::ranges::sort(languages);
    return languages;
}

/// A table file in any form of property list; nil for none.
NSDictionary readTableFile(const NSString& path) {
    const NSData data = NSData::dataWithContentsOfFile(path);
    if (data.isNil())
        return nullptr;
    const PropertyListValue list = propertyListFromData(data);
    return (list ? list : propertyListFromOldStyleText(data)).dictionaryValue();
}

}  // namespace

NSBundle::Contents::Contents(const std::string& folder)
    : path(folder),
      resources(resourceFolder(folder)),
      information(readInformation(folder)),
      languages(findLanguages(resources.utf8())) {}

std::vector<std::string> NSBundle::Contents::wantedLanguages() const {
    std::vector<std::string> wanted = userLanguages();
    const NSString development =
        information.objectForKey("CFBundleDevelopmentRegion").stringValue();
    wanted.push_back(development ? development.utf8() : "en");
    std::vector<std::string> found;
    for (const std::string& language : wanted)
        for (const std::string& folder : languages)
            if (isSameLanguage(language, folder) && std::ranges::count(found, folder) == 0)
                found.push_back(folder);
    return found;
}

NSDictionary NSBundle::Contents::table(const std::string& name) {
    std::string environment = languageEnvironment();
    const std::lock_guard lock(mutex_);
    if (environment != tablesEnvironment_) {
        tables_.clear();
        tablesEnvironment_ = std::move(environment);
    }
    const auto known = tables_.find(name);
    if (known != tables_.end())
        return known->second;
    return tables_.emplace(name, readTable(name)).first->second;
}

NSDictionary NSBundle::Contents::readTable(const std::string& name) const {
    // The least wanted comes first, so that the more wanted ones write over it.
    std::vector<std::string> folders = {resources.utf8()};
    const std::vector<std::string> wanted = wantedLanguages();
    for (auto language = wanted.rbegin(); language != wanted.rend(); ++language)
        folders.push_back(resources.utf8() + "/" + *language + kLanguageFolderExtension);
    NSDictionary merged;
    for (const std::string& folder : folders) {
        const NSDictionary table = readTableFile(NSString(folder + "/" + name + ".strings"));
        if (merged.isNil()) {
            merged = table;
            continue;
        }
        for (const auto& [key, value] : table)
            merged.setObject(value, key);
    }
    return merged;
}

}  // namespace TWQuickTime
