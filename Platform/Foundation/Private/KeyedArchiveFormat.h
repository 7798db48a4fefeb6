// The words of keyed archives.
#pragma once

#include <cstdint>

namespace TWQuickTime::keyedarchive {

inline constexpr std::int64_t kVersion = 100000;
inline constexpr const char* kVersionKey = "$version";
inline constexpr const char* kArchiverKey = "$archiver";
inline constexpr const char* kArchiverName = "NSKeyedArchiver";
inline constexpr const char* kTopKey = "$top";
inline constexpr const char* kRootKey = "root";
inline constexpr const char* kObjectsKey = "$objects";
/// What stands at place 0 of the objects; the reference 0 means "no object".
inline constexpr const char* kNothing = "$null";
inline constexpr const char* kClassKey = "$class";
inline constexpr const char* kClassNameKey = "$classname";
inline constexpr const char* kClassesKey = "$classes";

inline constexpr const char* kKeysKey = "NS.keys";
inline constexpr const char* kElementsKey = "NS.objects";
inline constexpr const char* kDataKey = "NS.data";
inline constexpr const char* kStringKey = "NS.string";
inline constexpr const char* kTimeKey = "NS.time";

}  // namespace TWQuickTime::keyedarchive
