#include <array>
#include <bit>
#include <memory>
#include <new>

#include "NSKeyedArchiver.h"
#include "NSKeyedUnarchiver.h"
#include "NSLog.h"
#include "TWUQuickTimeMovie.h"
#include "UserData.h"

namespace TWQuickTime {
namespace {

constexpr OSErr kNoUserData = -1;
using Item = std::array<unsigned char, 4>;

Item bigEndian(std::uint32_t value) {
    return {static_cast<unsigned char>(value >> 24), static_cast<unsigned char>(value >> 16),
            static_cast<unsigned char>(value >> 8), static_cast<unsigned char>(value)};
}

std::uint32_t fromBigEndian(const Item& item) {
    return std::uint32_t{item[0]} << 24 | std::uint32_t{item[1]} << 16 |
           std::uint32_t{item[2]} << 8 | item[3];
}

/// Null for a null movie.
UserData listOf(Movie movie) {
    return movie ? GetMovieUserData(movie) : nullptr;
}

/// The 32 bits of an item; 0 for one that is missing or has another size.
std::uint32_t readItem(OSType key, Movie movie) {
    Item item{};
    if (const UserData list = listOf(movie))
        GetUserDataItem(list, item.data(), item.size(), key, 1);
    return fromBigEndian(item);
}

OSErr writeItem(std::uint32_t value, OSType key, Movie movie) {
    const UserData list = listOf(movie);
    if (!list)
        return kNoUserData;
    const Item item = bigEndian(value);
    const OSErr status = SetUserDataItem(list, item.data(), item.size(), key, 1);
    if (status != noErr)
        NSLog("Cant set Movies User Data: %d", status);
    return status;
}

}  // namespace

bool TWUQuickTimeMovie::existsUserDataForKey(OSType key, Movie inMovie) {
    const UserData list = listOf(inMovie);
    return list && CountUserDataType(list, key) > 0;
}

std::int32_t TWUQuickTimeMovie::getUserDataIntForKey(OSType key, Movie inMovie) {
    return static_cast<std::int32_t>(readItem(key, inMovie));
}

OSErr TWUQuickTimeMovie::setUserDataInt(std::int32_t value, OSType forKey, Movie inMovie) {
    return writeItem(static_cast<std::uint32_t>(value), forKey, inMovie);
}

bool TWUQuickTimeMovie::getUserDataBOOLForKey(OSType key, Movie inMovie) {
    return TWUQuickTimeMovie::getUserDataIntForKey(key, inMovie) > 0;
}

OSErr TWUQuickTimeMovie::setUserDataBOOL(bool value, OSType forKey, Movie inMovie) {
    return TWUQuickTimeMovie::setUserDataInt(value ? 1 : 0, forKey, inMovie);
}

float TWUQuickTimeMovie::getUserDataFloatForKey(OSType key, Movie inMovie) {
    return std::bit_cast<float>(readItem(key, inMovie));
}

OSErr TWUQuickTimeMovie::setUserDataFloat(float value, OSType forKey, Movie inMovie) {
    // The bits are taken for a number on purpose: files out there hold what this makes of it.
    const auto stored = static_cast<float>(std::bit_cast<std::uint32_t>(value));
    return writeItem(std::bit_cast<std::uint32_t>(stored), forKey, inMovie);
}

NSData TWUQuickTimeMovie::getMovieUserDataForKey(OSType key, Movie inMovie) {
    const UserData list = listOf(inMovie);
    if (!list)
        return nullptr;
    const std::int32_t length = TWUQuickTimeMovie::getUserDataIntForKey(key + 1, inMovie);
    if (length < 1)
        return nullptr;
    // Room that is not written to costs nothing, however long the file says that the item is.
    const std::unique_ptr<std::byte[]> bytes(new (std::nothrow)
                                                 std::byte[static_cast<std::size_t>(length)]);
    if (!bytes || GetUserDataItem(list, bytes.get(), length, key, 1) != noErr)
        return nullptr;
    return NSData::dataWithBytes(bytes.get(), static_cast<std::size_t>(length));
}

OSErr TWUQuickTimeMovie::setMovieUserData(const NSData& data, OSType forKey, Movie inMovie) {
    const UserData list = listOf(inMovie);
    OSErr status = kNoUserData;
    if (list) {
        const auto length = static_cast<std::int32_t>(data.length());
        TWUQuickTimeMovie::setUserDataInt(length, forKey + 1, inMovie);
        status = SetUserDataItem(list, data.bytes().data(), length, forKey, 1);
    }
    if (status != noErr)
        NSLog("Cant set Movies User Data: Error=%d", status);
    return status;
}

NSDictionary TWUQuickTimeMovie::getMovieUserDictionaryForKey(OSType key, Movie inMovie) {
    const NSData data = TWUQuickTimeMovie::getMovieUserDataForKey(key, inMovie);
    if (!data)
        return nullptr;
    return NSKeyedUnarchiver::unarchiveObjectWithData(data).dictionaryValue();
}

OSErr TWUQuickTimeMovie::setMovieUserDictionary(const NSDictionary& dictionary, OSType forKey,
                                                Movie inMovie) {
    return TWUQuickTimeMovie::setMovieUserData(
        NSKeyedArchiver::archivedDataWithRootObject(dictionary), forKey, inMovie);
}

}  // namespace TWQuickTime
