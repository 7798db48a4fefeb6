// How much longer things may take in builds that check every access.
//
//     EXPECT_LT(duration, timeAllowance * std::chrono::seconds(1));
#pragma once

namespace TWQuickTime::test {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool isSanitized = true;
#else
inline constexpr bool isSanitized = false;
#endif

/// Factor for bounds of time; 1 in plain builds. Sanitized code is about ten times slower, and
/// tests run beside each other.
inline constexpr int timeAllowance = isSanitized ? 30 : 1;

}  // namespace TWQuickTime::test
