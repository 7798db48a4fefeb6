#include <map>
#include <mutex>
#include <string>

#include "MovieStorage.h"
#include "Private/FileRecords.h"
#include "Private/MovieFileStorage.h"
#include "Private/OpenMovie.h"
#include "Private/StatusOfFailure.h"
#include "Private/ToolboxCall.h"

namespace TWQuickTime {
namespace {

/// What a number of OpenMovieFile stands for.
struct OpenFile {
    std::string path;
    std::shared_ptr<MovieStorage> storage;
};

/// All files that are open by number, with numbers from 1 that are given out again last.
class OpenFiles {
  public:
    static OpenFiles& shared() {
        static auto* files = new OpenFiles;
        return *files;
    }

    /// 0 when all numbers are in use.
    std::int16_t add(OpenFile file) {
        std::lock_guard lock(mutex_);
        for (int attempt = 0; attempt < kMostFiles; ++attempt) {
            last_ = static_cast<std::int16_t>(last_ % kMostFiles + 1);
            if (files_.emplace(last_, file).second)
                return last_;
        }
        return 0;
    }
    bool remove(std::int16_t number) {
        std::lock_guard lock(mutex_);
        return files_.erase(number) != 0;
    }
    bool find(std::int16_t number, OpenFile& file) {
        std::lock_guard lock(mutex_);
        const auto found = files_.find(number);
        if (found == files_.end())
            return false;
        file = found->second;
        return true;
    }

  private:
    static constexpr int kMostFiles = 32767;

    std::mutex mutex_;
    std::map<std::int16_t, OpenFile> files_;
    std::int16_t last_ = 0;
};

}  // namespace

OSErr OpenMovieFile(const FSSpec* fileSpec, std::int16_t* resRefNum, std::int8_t permission) {
    ToolboxCall call("OpenMovieFile");
    if (resRefNum)
        *resRefNum = 0;
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (!fileSpec || !resRefNum)
        return call.fail(paramErr);
    const NSString path = fileRecordPath(*fileSpec);
    if (!path)
        return call.fail(fnfErr);
    const bool writes = permission == fsWrPerm || permission == fsRdWrPerm;
    auto storage = MovieStorage::open(path.utf8(), writes);
    if (!storage)
        return call.fail(statusOfFailure(storage.failure()));
    *resRefNum = OpenFiles::shared().add({path.utf8(), std::move(*storage)});
    return call.finish(*resRefNum == 0 ? tmfoErr : noErr);
}

OSErr CloseMovieFile(std::int16_t resRefNum) {
    ToolboxCall call("CloseMovieFile");
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    return call.finish(OpenFiles::shared().remove(resRefNum) ? noErr : rfNumErr);
}

OSErr NewMovieFromFile(Movie* movie, std::int16_t resRefNum, std::int16_t* resourceID,
                       unsigned char* resourceName, std::int16_t flags,
                       Boolean* dataRefWasChanged) {
    ToolboxCall call("NewMovieFromFile");
    if (movie)
        *movie = nullptr;
    if (resourceID)
        *resourceID = 0;
    if (resourceName)
        *resourceName = 0;
    if (dataRefWasChanged)
        *dataRefWasChanged = false;
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (!movie)
        return call.fail(paramErr);
    OpenFile file;
    if (!OpenFiles::shared().find(resRefNum, file))
        return call.fail(rfNumErr);
    auto opened = openMovieAtPath(file.path, flags);
    if (!opened)
        return call.fail(statusOfOpeningFailure(opened.failure()));
    if (file.storage->writable())
        (*opened)->storage = file.storage;
    *movie = opened->release();
    return call.succeed();
}

}  // namespace TWQuickTime
