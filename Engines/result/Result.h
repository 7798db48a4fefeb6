// How an engine says that something did not work.
//
// A function that can fail returns a `Status` (nothing but success or failure) or an `Expected<T>`
// (a value or the failure). Both must be looked at; true always means success. The first cause is
// the one to keep: it carries a kind to act on, a message that names the place ("moov/trak[2]/…
// @ 0x1f40: 12 bytes missing"), and the system's error number where the system gave one.
//
//     Expected<MovieFile> file = openMovieFile(path);
//     if (!file) return file.failure();
//     use(*file);
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace TWQuickTime::result {

/// What kind of failure it was, as far as a caller would act differently.
enum class FailureKind {
    notFound,      ///< no such file, atom, track, codec …
    truncated,     ///< the input ended too soon; more bytes could mend it
    damaged,       ///< the input contradicts itself or its format
    unsupported,   ///< understood, but not something that is done here
    badArgument,   ///< the caller's mistake
    permission,    ///< not allowed by the system
    exists,        ///< would have to overwrite what is there
    noSpace,       ///< the disk or quota is full
    io,            ///< any other failure of the system's input or output
    limit,         ///< would need more memory or time than the input justifies
    cancelled,     ///< the caller asked to stop
    endOfData,     ///< nothing more to read; not an error by itself
    notAvailable,  ///< a codec, device or service that this machine does not have
};

/// One failure: its kind, its text and the system's error number (0: none).
struct Failure {
    FailureKind kind = FailureKind::damaged;
    std::string message;
    int systemError = 0;
};

/// Makes a failure from `errno`-style numbers, choosing the kind by the number.
Failure systemFailure(int systemError, std::string message);

/// Success, or one failure.
class [[nodiscard]] Status {
  public:
    Status() = default;
    Status(Failure failure) : failure_(std::move(failure)) {}

    explicit operator bool() const { return !failure_.has_value(); }
    bool ok() const { return !failure_.has_value(); }
    /// Only after a failed test.
    const Failure& failure() const { return *failure_; }

  private:
    std::optional<Failure> failure_;
};

/// A value, or the failure that prevented it.
template <class T>
class [[nodiscard]] Expected {
  public:
    Expected(T value) : state_(std::in_place_index<0>, std::move(value)) {}
    Expected(Failure failure) : state_(std::in_place_index<1>, std::move(failure)) {}

    explicit operator bool() const { return state_.index() == 0; }
    bool ok() const { return state_.index() == 0; }
    /// Only after a successful test.
    T& operator*() & { return *std::get_if<0>(&state_); }
    const T& operator*() const& { return *std::get_if<0>(&state_); }
    T&& operator*() && { return std::move(*std::get_if<0>(&state_)); }
    T* operator->() { return std::get_if<0>(&state_); }
    const T* operator->() const { return std::get_if<0>(&state_); }
    /// Only after a failed test.
    const Failure& failure() const { return *std::get_if<1>(&state_); }

  private:
    std::variant<T, Failure> state_;
};

}  // namespace TWQuickTime::result
