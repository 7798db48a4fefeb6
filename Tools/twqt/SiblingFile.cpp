#include "SiblingFile.h"

#include <unistd.h>

#include <system_error>

#include "CommandFailure.h"

namespace twqt {

namespace fs = std::filesystem;

namespace {

void renameOver(const fs::path& from, const fs::path& to) {
    std::error_code error;
    fs::rename(from, to, error);
    if (error)
        throw CommandFailure("write " + to.string(), error.message());
}

}  // namespace

SiblingFile::SiblingFile(const std::string& destination) : destination_(destination) {
    const std::string name = "." + destination_.stem().string() + "." + std::to_string(getpid()) +
                             destination_.extension().string();
    path_ = (destination_.parent_path() / name).string();
}

SiblingFile::~SiblingFile() {
    if (moved_)
        return;
    std::error_code ignored;
    fs::remove(path_, ignored);
    for (const fs::path& companion : companions())
        fs::remove(companion, ignored);
}

void SiblingFile::moveToDestination() {
    const std::string stem = destination_.stem().string() + " ";
    for (const fs::path& companion : companions()) {
        const std::string rest = companion.filename().string().substr(companionPrefix().size());
        renameOver(companion, destination_.parent_path() / (stem + rest));
    }
    renameOver(path_, destination_);
    moved_ = true;
}

std::string SiblingFile::companionPrefix() const {
    return fs::path(path_).stem().string() + " ";
}

std::vector<fs::path> SiblingFile::companions() const {
    const fs::path folder = destination_.parent_path().empty() ? "." : destination_.parent_path();
    std::vector<fs::path> found;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(folder, ignored))
        if (entry.path().filename().string().starts_with(companionPrefix()))
            found.push_back(entry.path());
    return found;
}

}  // namespace twqt
