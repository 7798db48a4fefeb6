#include "Private/FileRecords.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <tuple>
#include <vector>

namespace TWQuickTime {
namespace {

constexpr std::size_t kLongestName = 63;
/// Stands in shortened names, since no real name contains it.
constexpr char kShortenedMark = '/';

/// What tells one directory from every other, also from a later one with the same inode.
struct Identity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t birthSeconds = 0;
    std::uint32_t birthNanoseconds = 0;
    friend auto operator<=>(const Identity&, const Identity&) = default;
};

std::optional<Identity> identityOf(const std::string& directory) {
    struct statx info;
    if (statx(AT_FDCWD, directory.c_str(), AT_STATX_SYNC_AS_STAT, STATX_INO | STATX_BTIME, &info) !=
        0)
        return std::nullopt;
    Identity identity;
    identity.device = makedev(info.stx_dev_major, info.stx_dev_minor);
    identity.inode = info.stx_ino;
    if (info.stx_mask & STATX_BTIME) {
        identity.birthSeconds = info.stx_btime.tv_sec;
        identity.birthNanoseconds = info.stx_btime.tv_nsec;
    }
    return identity;
}

std::uint64_t mixed(std::uint64_t value) {
    value ^= value >> 33;
    value *= 0xFF51AFD7ED558CCDull;
    value ^= value >> 33;
    return value;
}

std::uint32_t hashOf(std::string_view text) {
    std::uint32_t hash = 2166136261u;
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
    return hash;
}

struct DirectoryKey {
    std::int16_t volume = 0;
    std::int32_t directory = 0;
    friend auto operator<=>(const DirectoryKey&, const DirectoryKey&) = default;
};

class DirectoryTable {
  public:
    static DirectoryTable& shared() {
        static DirectoryTable* const table = new DirectoryTable;
        return *table;
    }

    std::optional<DirectoryKey> keyFor(const std::string& path) {
        const std::optional<Identity> identity = identityOf(path);
        if (!identity)
            return std::nullopt;
        std::lock_guard lock(mutex_);
        if (const auto known = keys_.find(*identity); known != keys_.end()) {
            places_[known->second].path = path;
            return known->second;
        }
        DirectoryKey key;
        key.volume =
            static_cast<std::int16_t>(-1 - static_cast<int>(mixed(identity->device) % SHRT_MAX));
        key.directory = static_cast<std::int32_t>(identity->inode & INT32_MAX);
        while (key.directory < 2 || places_.contains(key))
            key.directory = key.directory == INT32_MAX ? 2 : key.directory + 1;
        places_[key] = {*identity, path};
        keys_[*identity] = key;
        return key;
    }

    /// The path of a directory that is still the one that the key was given to.
    std::optional<std::string> pathOf(const DirectoryKey& key) {
        std::lock_guard lock(mutex_);
        const auto place = places_.find(key);
        if (place == places_.end() || identityOf(place->second.path) != place->second.identity)
            return std::nullopt;
        return place->second.path;
    }

    std::string shortened(const DirectoryKey& key, const std::string& name) {
        std::size_t kept = kLongestName - 9;
        while (kept > 0 && (static_cast<unsigned char>(name[kept]) & 0xC0) == 0x80)
            --kept;
        std::lock_guard lock(mutex_);
        for (std::uint32_t hash = hashOf(name);; ++hash) {
            char digits[9];
            std::snprintf(digits, sizeof digits, "%08x", hash);
            const std::string candidate = name.substr(0, kept) + kShortenedMark + digits;
            const auto [entry, isNew] = longNames_.try_emplace({key, candidate}, name);
            if (isNew || entry->second == name)
                return candidate;
        }
    }

    std::optional<std::string> longName(const DirectoryKey& key, const std::string& name) {
        std::lock_guard lock(mutex_);
        const auto entry = longNames_.find({key, name});
        if (entry == longNames_.end())
            return std::nullopt;
        return entry->second;
    }

  private:
    struct Place {
        Identity identity;
        std::string path;
    };

    std::mutex mutex_;
    std::map<DirectoryKey, Place> places_;
    std::map<Identity, DirectoryKey> keys_;
    std::map<std::pair<DirectoryKey, std::string>, std::string> longNames_;
};

struct FreeDeleter {
    void operator()(char* text) const { std::free(text); }
};

/// The path without links; sets `systemError` when something on the way is missing.
std::optional<std::string> realPath(const std::string& path, int& systemError) {
    const std::unique_ptr<char, FreeDeleter> resolved(::realpath(path.c_str(), nullptr));
    if (!resolved) {
        systemError = errno;
        return std::nullopt;
    }
    return std::string(resolved.get());
}

/// Folder and name of an absolute path; "/" is the nameless entry of itself.
std::pair<std::string, std::string> split(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return {slash == 0 ? "/" : path.substr(0, slash), path.substr(slash + 1)};
}

OSErr fill(const std::string& folder, const std::string& name, FSSpec* spec) {
    const std::optional<DirectoryKey> key = DirectoryTable::shared().keyFor(folder);
    if (!key)
        return statusForSystemError(errno);
    const std::string stored =
        name.size() > kLongestName ? DirectoryTable::shared().shortened(*key, name) : name;
    *spec = FSSpec();
    spec->vRefNum = key->volume;
    spec->parID = key->directory;
    spec->name[0] = static_cast<std::uint8_t>(stored.size());
    std::memcpy(spec->name + 1, stored.data(), stored.size());
    return noErr;
}

}  // namespace

OSErr statusForSystemError(int systemError) {
    switch (systemError) {
        case 0:
            return noErr;
        case ENOENT:
        case ENOTDIR:
        case ELOOP:
            return fnfErr;
        case EACCES:
        case EPERM:
            return permErr;
        case ENAMETOOLONG:
            return bdNamErr;
        case ENOMEM:
            return memFullErr;
        case EEXIST:
            return dupFNErr;
        default:
            return ioErr;
    }
}

OSErr makeFileRecord(const NSString& path, FSSpec* spec) {
    const std::string& text = path.utf8();
    if (!spec || text.empty() || text.find('\0') != std::string::npos)
        return text.empty() ? fnfErr : paramErr;
    int systemError = 0;
    if (const auto whole = realPath(text, systemError)) {
        const auto [folder, name] = split(*whole);
        return fill(folder, name, spec);
    }
    if (systemError != ENOENT)
        return statusForSystemError(systemError);
    // Only the last component may be missing, and then it must be a name.
    const std::string rooted = text.front() == '/' ? text : "./" + text;
    const auto [folder, name] = split(rooted);
    if (name.empty() || name == "." || name == "..")
        return fnfErr;
    const auto realFolder = realPath(folder, systemError);
    if (!realFolder)
        return statusForSystemError(systemError);
    if (name.size() > NAME_MAX)
        return bdNamErr;
    const OSErr status = fill(*realFolder, name, spec);
    return status == noErr ? fnfErr : status;
}

NSString fileRecordPath(const FSSpec& spec) {
    if (spec.name[0] > kLongestName)
        return nullptr;
    const DirectoryKey key{spec.vRefNum, spec.parID};
    const auto folder = DirectoryTable::shared().pathOf(key);
    if (!folder)
        return nullptr;
    std::string name(reinterpret_cast<const char*>(spec.name + 1), spec.name[0]);
    if (name.find(kShortenedMark) != std::string::npos) {
        const auto whole = DirectoryTable::shared().longName(key, name);
        if (!whole)
            return nullptr;
        name = *whole;
    }
    if (name.empty())
        return *folder;
    return *folder == "/" ? *folder + name : *folder + "/" + name;
}

}  // namespace TWQuickTime
