// A movie file that is open for the toolbox: new samples are appended to it, and movies are written
// back into it.
//
// Samples are read through it too, so that one store stands for the whole file, with what was added
// since it was opened. Reads may come from any thread.
//
//     auto storage = MovieStorage::create(path, ExistingFile::replace);
//     media.dataReferences.back().store = *storage;
//     (*storage)->writeMovie(movie, {});
#pragma once

#include <sys/types.h>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Engines/moviefile/FileStorage.h"
#include "Engines/moviefile/FreeSpace.h"
#include "Engines/moviefile/MediaDataWriter.h"
#include "Engines/timeline/Movie.h"
#include "Engines/timeline/SampleStore.h"

namespace TWQuickTime {

enum class ExistingFile { keep, replace };

/// Which file it is, whatever it is called.
struct FileIdentity {
    dev_t device = 0;
    ino_t number = 0;
    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

/// A range of a file that an opened movie still reads its tables from: it is not written to as long
/// as the object lives.
class MovieAtomUse {
  public:
    MovieAtomUse(FileIdentity file, moviefile::ByteRange range);
    ~MovieAtomUse();
    MovieAtomUse(const MovieAtomUse&) = delete;
    MovieAtomUse& operator=(const MovieAtomUse&) = delete;

    /// All ranges of that file that are in use in this process.
    static std::vector<moviefile::ByteRange> rangesOf(const FileIdentity& file);

  private:
    friend struct MovieAtomUses;
    FileIdentity file_;
    moviefile::ByteRange range_;
};

class MovieStorage final : public timeline::SampleStore,
                           public std::enable_shared_from_this<MovieStorage> {
  public:
    /// One storage for everybody who writes to a file.
    static result::Expected<std::shared_ptr<MovieStorage>> open(const std::string& path,
                                                                bool writable);
    /// Makes an empty file. One that is there stays until the new one takes its name.
    static result::Expected<std::shared_ptr<MovieStorage>> create(const std::string& path,
                                                                  ExistingFile existing);
    /// The open, writable storage of the file at the path; null when there is none.
    static std::shared_ptr<MovieStorage> openStorageOfFile(const std::string& path);
    ~MovieStorage() override;

    bool writable() const { return writable_; }
    const FileIdentity& identity() const { return identity_; }

    std::uint64_t size() const override;
    result::Status read(std::uint64_t offset, std::span<std::byte> into) const override;
    result::Expected<std::uint64_t> append(std::span<const std::byte> bytes) override;
    std::string path() const override { return path_; }
    int descriptor() const override { return file_->fileDescriptor(); }

    /// Writes the movie into the file, in front of nothing that is there: media data of memory
    /// stores are appended first, and the movie refers to them in the file from then on.
    /// Fragments are folded into the movie atom by any change: it goes behind them, where many
    /// readers would meet them too early. Without a change the file is left alone.
    result::Status writeMovie(timeline::Movie& movie);

  private:
    MovieStorage(std::unique_ptr<moviefile::FileStorage> file, std::string path, bool writable);

    result::Status takeInMemoryData(timeline::Movie& movie);
    /// Whether all samples can be named, and data of other storages are whole.
    result::Status prepareReferences(const timeline::Movie& movie) const;
    /// Whether the movie atom of the file has just these bytes.
    bool holdsMovieAtom(std::span<const std::byte> atom) const;
    /// Makes what was appended a whole atom.
    result::Status finishData();
    bool liesInThisFile(const timeline::DataReference& reference) const;
    /// Whether the file that the samples are in can still be named by its path.
    bool isReachable(const timeline::DataReference& reference) const;

    std::string path_;
    bool writable_;
    FileIdentity identity_;
    std::unique_ptr<moviefile::FileStorage> file_;
    mutable std::mutex mutex_;
    mutable moviefile::MediaDataWriter writer_;
};

/// The file's identity; a device of 0 for none.
FileIdentity fileIdentityOf(int descriptor);
FileIdentity fileIdentityOf(const std::string& path);

}  // namespace TWQuickTime
