// Movies that commands work on, opened from a path of the command line.
//
//     OpenedMovie movie(options.file);                  // for reading
//     EditedMovie movie(options.file);  … movie.save(); // in place
#pragma once

#include <StMovie.h>

#include <string>

namespace twqt {

/// A movie opened for reading; throws a CommandFailure when it cannot be opened.
class OpenedMovie {
  public:
    explicit OpenedMovie(const std::string& path);
    ~OpenedMovie();
    OpenedMovie(const OpenedMovie&) = delete;
    OpenedMovie& operator=(const OpenedMovie&) = delete;

    TWQuickTime::Movie movie() const { return movie_; }
    /// Moves the pictures to where frames are drawn. Some cameras turn them about the origin and
    /// leave them beside it. Changes the movie in memory only.
    void movePicturesToOrigin();

  private:
    TWQuickTime::Movie movie_ = nullptr;
};

/// A movie that is changed in its own file. Nothing of the file changes before `save`.
class EditedMovie {
  public:
    explicit EditedMovie(const std::string& path);

    TWQuickTime::Movie movie() const { return movie_.GetMovie(); }
    TWQuickTime::StMovie& storedMovie() { return movie_; }
    /// Writes the movie back; throws a CommandFailure when that fails.
    void save();

  private:
    std::string path_;
    TWQuickTime::StMovie movie_;
};

/// Keeps the library's log lines off standard error while it lives: a command reports failures
/// itself, in one line.
class QuietLog {
  public:
    QuietLog();
    ~QuietLog();
    QuietLog(const QuietLog&) = delete;
    QuietLog& operator=(const QuietLog&) = delete;
};

}  // namespace twqt
