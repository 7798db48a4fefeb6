#include "NSBundle.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "Private/BundleContents.h"
#include "Private/BundleRegistry.h"

namespace TWQuickTime {
namespace {

namespace fs = std::filesystem;

/// The resources' own folder, then those of the wanted languages.
std::vector<std::string> searchFolders(const std::string& resources,
                                       const std::vector<std::string>& languages) {
    std::vector<std::string> folders = {resources};
    for (const std::string& language : languages)
        folders.push_back(resources + "/" + language + ".lproj");
    return folders;
}

NSArray arrayOf(const std::vector<std::string>& texts) {
    std::vector<PropertyListValue> values;
    for (const std::string& text : texts)
        values.emplace_back(NSString(text));
    return NSArray(std::move(values));
}

std::vector<std::string> sortedFiles(const fs::path& folder, const std::string& extension) {
    std::vector<std::string> files;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const fs::path& path = entry->path();
        if (path.filename().string().front() == '.' || path.extension() == ".lproj")
            continue;
        if (extension.empty() || path.extension() == "." + extension)
            files.push_back(path.string());
    }
    std::ranges::sort(files);
    return files;
}

}  // namespace

NSBundle::NSBundle(std::unique_ptr<Contents> contents) : contents_(std::move(contents)) {}

NSBundle::~NSBundle() = default;

std::shared_ptr<NSBundle> NSBundle::bundleWithPath(const NSString& path) {
    return path ? BundleRegistry::shared().bundleAt(path.utf8()) : nullptr;
}

std::shared_ptr<NSBundle> NSBundle::bundleWithIdentifier(const NSString& identifier) {
    return BundleRegistry::shared().bundleIdentifiedBy(identifier);
}

std::shared_ptr<NSBundle> NSBundle::mainBundle() {
    return BundleRegistry::shared().mainBundle();
}

void NSBundle::setMainBundle(std::shared_ptr<NSBundle> bundle) {
    BundleRegistry::shared().setMainBundle(std::move(bundle));
}

bool NSBundle::setMainBundlePath(const NSString& path) {
    std::shared_ptr<NSBundle> bundle = bundleWithPath(path);
    if (!bundle)
        return false;
    setMainBundle(std::move(bundle));
    return true;
}

bool NSBundle::setMainBundleIdentifier(const NSString& identifier) {
    std::shared_ptr<NSBundle> bundle = bundleWithIdentifier(identifier);
    if (!bundle)
        return false;
    setMainBundle(std::move(bundle));
    return true;
}

const NSString& NSBundle::bundlePath() const {
    return contents_->path;
}

const NSString& NSBundle::resourcePath() const {
    return contents_->resources;
}

NSString NSBundle::bundleIdentifier() const {
    return contents_->information.objectForKey("CFBundleIdentifier").stringValue();
}

NSDictionary NSBundle::infoDictionary() const {
    return contents_->information;
}

NSArray NSBundle::localizations() const {
    return arrayOf(contents_->languages);
}

NSArray NSBundle::preferredLocalizations() const {
    return arrayOf(contents_->wantedLanguages());
}

NSString NSBundle::pathForResource(const NSString& name, const NSString& ofType) const {
    if (name.isNil() || name.length() == 0)
        return nullptr;
    std::string file = "/" + name.utf8();
    if (ofType.length() > 0)
        file += "." + ofType.utf8();
    std::vector<std::string> folders =
        searchFolders(contents_->resources.utf8(), contents_->wantedLanguages());
    std::rotate(folders.begin(), folders.begin() + 1, folders.end());
    for (const std::string& folder : folders) {
        std::error_code error;
        if (fs::exists(folder + file, error))
            return NSString(folder + file);
    }
    return nullptr;
}

NSArray NSBundle::pathsForResourcesOfType(const NSString& type, const NSString& inDirectory) const {
    std::vector<std::string> paths;
    for (const std::string& folder :
         searchFolders(contents_->resources.utf8(), contents_->wantedLanguages())) {
        const std::vector<std::string> files = sortedFiles(
            inDirectory.length() > 0 ? folder + "/" + inDirectory.utf8() : folder, type.utf8());
        paths.insert(paths.end(), files.begin(), files.end());
    }
    return arrayOf(paths);
}

NSString NSBundle::localizedStringForKey(const NSString& key, const NSString& value,
                                         const NSString& table) const {
    if (key.isNil())
        return value ? value : NSString("");
    const NSString translation = localizedStringsOfTable(table).objectForKey(key).stringValue();
    if (translation)
        return translation;
    return value.length() > 0 ? value : key;
}

NSDictionary NSBundle::localizedStringsOfTable(const NSString& table) const {
    return contents_->table(table.length() > 0 ? table.utf8() : "Localizable");
}

}  // namespace TWQuickTime
