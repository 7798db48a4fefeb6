#include "Private/BundleRegistry.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>
#include <vector>

#include "Private/BundleContents.h"

namespace TWQuickTime {
namespace {

namespace fs = std::filesystem;

constexpr const char* kOwnBundleName = "TWQuickTime";

fs::path programPath() {
    std::error_code error;
    return fs::read_symlink("/proc/self/exe", error);
}

/// Where the code of this library was loaded from: the shared library, or the program itself when
/// it is linked in.
fs::path libraryPath() {
    Dl_info info = {};
    if (dladdr(reinterpret_cast<void*>(&BundleRegistry::shared), &info) == 0 || !info.dli_fname)
        return {};
    std::error_code error;
    return fs::canonical(info.dli_fname, error);
}

/// The "share" folders of the prefixes that a file may be installed under: its folder's parent, and
/// one further up for libraries in a folder of their architecture.
std::vector<fs::path> shareFoldersFor(const fs::path& file) {
    std::vector<fs::path> folders;
    fs::path prefix = file.parent_path();
    for (int level = 0; level < 2 && prefix.has_relative_path(); ++level) {
        prefix = prefix.parent_path();
        folders.push_back(prefix / "share");
    }
    return folders;
}

bool isFolder(const fs::path& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

/// Folders in the share folders of the program that describe themselves as bundles.
std::vector<fs::path> bundleFoldersOfProgram() {
    std::vector<fs::path> folders;
    for (const fs::path& share : shareFoldersFor(programPath())) {
        std::error_code error;
        for (fs::directory_iterator entry(share, error), end; !error && entry != end;
             entry.increment(error)) {
            std::error_code ignored;
            if (fs::is_regular_file(entry->path() / "Info.plist", ignored))
                folders.push_back(entry->path());
        }
    }
    return folders;
}

}  // namespace

BundleRegistry& BundleRegistry::shared() {
    static BundleRegistry registry;
    return registry;
}

std::shared_ptr<NSBundle> BundleRegistry::bundleAt(const std::string& path) {
    std::error_code error;
    const fs::path canonical = fs::canonical(path, error);
    if (error || !isFolder(canonical))
        return nullptr;
    const std::lock_guard lock(mutex_);
    std::shared_ptr<NSBundle>& bundle = bundlesByPath_[canonical.string()];
    if (!bundle)
        bundle.reset(new NSBundle(std::make_unique<NSBundle::Contents>(canonical.string())));
    return bundle;
}

std::shared_ptr<NSBundle> BundleRegistry::bundleIdentifiedBy(const NSString& identifier) {
    if (identifier.isNil())
        return nullptr;
    std::vector<std::shared_ptr<NSBundle>> known;
    {
        const std::lock_guard lock(mutex_);
        if (mainBundle_)
            known.push_back(mainBundle_);
        for (const auto& [path, bundle] : bundlesByPath_)
            known.push_back(bundle);
    }
    for (const std::shared_ptr<NSBundle>& bundle : known)
        if (bundle->bundleIdentifier() == identifier)
            return bundle;

    std::vector<fs::path> candidates;
    for (const fs::path& share : shareFoldersFor(libraryPath()))
        candidates.push_back(share / kOwnBundleName);
    for (fs::path& folder : bundleFoldersOfProgram())
        candidates.push_back(std::move(folder));
    for (const fs::path& folder : candidates) {
        const std::shared_ptr<NSBundle> bundle = bundleAt(folder.string());
        if (bundle && bundle->bundleIdentifier() == identifier)
            return bundle;
    }
    return nullptr;
}

std::shared_ptr<NSBundle> BundleRegistry::mainBundle() {
    {
        const std::lock_guard lock(mutex_);
        if (mainBundle_)
            return mainBundle_;
    }
    return defaultMainBundle();
}

void BundleRegistry::setMainBundle(std::shared_ptr<NSBundle> bundle) {
    const std::lock_guard lock(mutex_);
    mainBundle_ = std::move(bundle);
}

std::shared_ptr<NSBundle> BundleRegistry::defaultMainBundle() {
    const fs::path program = programPath();
    for (const fs::path& share : shareFoldersFor(program))
        if (const auto bundle = bundleAt((share / program.filename()).string()))
            return bundle;
    if (const auto bundle = bundleAt(program.parent_path().string()))
        return bundle;
    // The program's folder is gone: the root has no resources, but it is there.
    return bundleAt("/");
}

}  // namespace TWQuickTime
