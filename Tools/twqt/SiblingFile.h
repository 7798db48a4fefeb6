// Where an export writes until it is complete: a name of its own beside the destination. A failed
// or cancelled export leaves nothing there, a complete one takes the destination's place.
//
//     SiblingFile sibling(options.output);
//     exportTo(sibling.path());
//     sibling.moveToDestination();
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace twqt {

class SiblingFile {
  public:
    /// The name has the destination's extension, and that of the process in it.
    explicit SiblingFile(const std::string& destination);
    /// Removes what was not moved.
    ~SiblingFile();
    SiblingFile(const SiblingFile&) = delete;
    SiblingFile& operator=(const SiblingFile&) = delete;

    const std::string& path() const { return path_; }
    /// Replaces the destination in one step; a sequence of images brings its further files along,
    /// named after the first one. Throws a CommandFailure when that fails.
    void moveToDestination();

  private:
    std::vector<std::filesystem::path> companions() const;
    std::string companionPrefix() const;

    std::filesystem::path destination_;
    std::string path_;
    bool moved_ = false;
};

}  // namespace twqt
