#include "Private/MovieFileStorage.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <map>

#include "Engines/moviefile/DataReferences.h"
#include "Engines/moviefile/MovieAtomUpdate.h"
#include "Engines/moviefile/MovieWriter.h"
#include "Engines/moviefile/OuterAtoms.h"

namespace TWQuickTime {
namespace {

using moviefile::FileStorage;

/// Everything that is open, by which the parts of the toolbox find each other's files.
struct OpenStorages {
    std::mutex mutex;
    std::vector<std::weak_ptr<MovieStorage>> storages;

    static OpenStorages& shared() {
        static auto* open = new OpenStorages;
        return *open;
    }
};

/// A new file beside the path, open for reading and writing.
int createSibling(const std::string& path, std::string& siblingPath) {
    siblingPath = path + ".XXXXXX";
    const int descriptor = mkostemp(siblingPath.data(), O_CLOEXEC);
    if (descriptor < 0)
        return -1;
    // As any program would make it: readable by whom the user lets.
    const mode_t mask = umask(0);
    umask(mask);
    if (fchmod(descriptor, 0666 & ~mask) != 0) {
        close(descriptor);
        unlink(siblingPath.c_str());
        return -1;
    }
    return descriptor;
}

}  // namespace

struct MovieAtomUses {
    std::mutex mutex;
    std::vector<const MovieAtomUse*> uses;

    static MovieAtomUses& shared() {
        static auto* uses = new MovieAtomUses;
        return *uses;
    }
    static std::vector<moviefile::ByteRange> of(const FileIdentity& file) {
        std::vector<moviefile::ByteRange> ranges;
        std::lock_guard lock(shared().mutex);
        for (const MovieAtomUse* use : shared().uses)
            if (use->file_ == file)
                ranges.push_back(use->range_);
        return ranges;
    }
};

MovieAtomUse::MovieAtomUse(FileIdentity file, moviefile::ByteRange range)
    : file_(file), range_(range) {
    std::lock_guard lock(MovieAtomUses::shared().mutex);
    MovieAtomUses::shared().uses.push_back(this);
}

MovieAtomUse::~MovieAtomUse() {
    std::lock_guard lock(MovieAtomUses::shared().mutex);
    std::erase(MovieAtomUses::shared().uses, this);
}

std::vector<moviefile::ByteRange> MovieAtomUse::rangesOf(const FileIdentity& file) {
    return MovieAtomUses::of(file);
}

FileIdentity fileIdentityOf(int descriptor) {
    struct stat info {};
    return fstat(descriptor, &info) == 0 ? FileIdentity{info.st_dev, info.st_ino} : FileIdentity{};
}

FileIdentity fileIdentityOf(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 ? FileIdentity{info.st_dev, info.st_ino} : FileIdentity{};
}

MovieStorage::MovieStorage(std::unique_ptr<FileStorage> file, std::string path, bool writable)
    : path_(std::move(path)),
      writable_(writable),
      identity_(fileIdentityOf(file->fileDescriptor())),
      file_(std::move(file)),
      writer_(*file_) {}

MovieStorage::~MovieStorage() {
    // Data that no movie was written for are of no use; a failure to take them back leaves them as
    // media data that nothing refers to.
    if (writer_.isOpen())
        static_cast<void>(writer_.discard().ok());
}

result::Expected<std::shared_ptr<MovieStorage>> MovieStorage::open(const std::string& path,
                                                                   bool writable) {
    // Two writers of one file would not know of each other's data.
    if (writable)
        if (auto present = openStorageOfFile(path))
            return present;
    auto file =
        FileStorage::open(path, writable ? moviefile::Access::readWrite : moviefile::Access::read);
    if (!file)
        return file.failure();
    std::shared_ptr<MovieStorage> storage(new MovieStorage(std::move(*file), path, writable));
    std::lock_guard lock(OpenStorages::shared().mutex);
    OpenStorages::shared().storages.push_back(storage);
    return storage;
}

result::Expected<std::shared_ptr<MovieStorage>> MovieStorage::create(const std::string& path,
                                                                     ExistingFile existing) {
    std::unique_ptr<FileStorage> file;
    struct stat info {};
    const bool isThere = lstat(path.c_str(), &info) == 0;
    if (isThere && existing == ExistingFile::keep)
        return result::Failure{result::FailureKind::exists, path + ": exists", EEXIST};
    if (isThere && S_ISDIR(info.st_mode))
        return result::Failure{result::FailureKind::badArgument, path + ": is a folder", EISDIR};
    if (isThere) {
        std::string sibling;
        const int descriptor = createSibling(path, sibling);
        if (descriptor < 0)
            return result::systemFailure(errno, path + ": cannot be created");
        if (rename(sibling.c_str(), path.c_str()) != 0) {
            const int error = errno;
            close(descriptor);
            unlink(sibling.c_str());
            return result::systemFailure(error, path + ": cannot be replaced");
        }
        file = std::make_unique<FileStorage>(descriptor, path);
    } else {
        auto created = FileStorage::createNew(path);
        if (!created)
            return created.failure();
        file = std::move(*created);
    }
    std::shared_ptr<MovieStorage> storage(new MovieStorage(std::move(file), path, true));
    std::lock_guard lock(OpenStorages::shared().mutex);
    OpenStorages::shared().storages.push_back(storage);
    return storage;
}

std::shared_ptr<MovieStorage> MovieStorage::openStorageOfFile(const std::string& path) {
    const FileIdentity wanted = fileIdentityOf(path);
    std::lock_guard lock(OpenStorages::shared().mutex);
    auto& storages = OpenStorages::shared().storages;
    std::erase_if(storages, [](const auto& storage) { return storage.expired(); });
    for (const auto& candidate : storages)
        if (const auto storage = candidate.lock())
            if (storage->writable() && wanted.device != 0 && storage->identity() == wanted)
                return storage;
    return nullptr;
}

std::uint64_t MovieStorage::size() const {
    std::lock_guard lock(mutex_);
    const auto written = file_->sizeInBytes();
    return std::max(written ? *written : 0, writer_.endOffset());
}

result::Status MovieStorage::read(std::uint64_t offset, std::span<std::byte> into) const {
    std::lock_guard lock(mutex_);
    if (writer_.isOpen())
        if (result::Status flushed = writer_.flush(); !flushed)
            return flushed;
    return file_->readExactly(offset, into);
}

result::Expected<std::uint64_t> MovieStorage::append(std::span<const std::byte> bytes) {
    if (!writable_)
        return result::Failure{result::FailureKind::permission, path_ + ": open for reading only",
                               EACCES};
    std::lock_guard lock(mutex_);
    return writer_.append(bytes);
}

result::Status MovieStorage::takeInMemoryData(timeline::Movie& movie) {
    constexpr std::size_t kBlockInBytes = 256 * 1024;
    std::map<const timeline::SampleStore*, std::uint64_t> bases;
    for (const auto& track : movie.tracks) {
        if (!track->media)
            continue;
        timeline::Media& media = *track->media;
        for (std::size_t i = 0; i < media.dataReferences.size(); ++i) {
            timeline::DataReference& reference = media.dataReferences[i];
            if (reference.type != timeline::fourCharCode("hndl") || !reference.store)
                continue;
            const timeline::SampleStore& memory = *reference.store;
            if (!bases.contains(&memory)) {
                std::vector<std::byte> block;
                for (std::uint64_t offset = 0; offset < memory.size(); offset += block.size()) {
                    block.resize(std::min<std::uint64_t>(kBlockInBytes, memory.size() - offset));
                    if (result::Status copied = memory.read(offset, block); !copied)
                        return copied;
                    auto place = append(block);
                    if (!place)
                        return place.failure();
                    bases.emplace(&memory, *place);
                }
                bases.emplace(&memory, 0);
            }
            const auto index = static_cast<std::uint16_t>(i + 1);
            const result::Status shifted = media.samples.shiftChunks(
                static_cast<std::int64_t>(bases[&memory]), [&](std::uint32_t description) {
                    const timeline::SampleDescription* found = media.description(description);
                    return found && found->dataReferenceIndex() == index;
                });
            if (!shifted)
                return shifted;
            reference = moviefile::makeSelfReference();
            reference.store = shared_from_this();
        }
    }
    return {};
}

result::Status MovieStorage::finishData() {
    std::lock_guard lock(mutex_);
    return writer_.isOpen() ? writer_.finish() : result::Status();
}

bool MovieStorage::liesInThisFile(const timeline::DataReference& reference) const {
    return reference.isSelf() && reference.store &&
           fileIdentityOf(reference.store->descriptor()) == identity_;
}

bool MovieStorage::isReachable(const timeline::DataReference& reference) const {
    if (!reference.isSelf() || !reference.store || reference.store->path().empty())
        return true;
    return liesInThisFile(reference) ||
           fileIdentityOf(reference.store->path()) == fileIdentityOf(reference.store->descriptor());
}

result::Status MovieStorage::prepareReferences(const timeline::Movie& movie) const {
    for (const auto& track : movie.tracks) {
        if (!track->media)
            continue;
        for (const timeline::DataReference& reference : track->media->dataReferences) {
            if (!isReachable(reference))
                return result::Failure{result::FailureKind::badArgument,
                                       path_ + ": the samples lie in the file that it replaced"};
            auto* other = dynamic_cast<MovieStorage*>(reference.store.get());
            if (other && other != this)
                if (result::Status finished = other->finishData(); !finished)
                    return finished;
        }
    }
    return {};
}

bool MovieStorage::holdsMovieAtom(std::span<const std::byte> atom) const {
    const auto present = moviefile::findMovieAtom(*file_);
    if (!present || present->sizeInBytes != atom.size())
        return false;
    std::vector<std::byte> bytes(atom.size());
    return file_->readExactly(present->offset, bytes) &&
           std::equal(atom.begin(), atom.end(), bytes.begin());
}

result::Status MovieStorage::writeMovie(timeline::Movie& movie) {
    if (!writable_)
        return result::Failure{result::FailureKind::permission, path_ + ": open for reading only",
                               EACCES};
    if (result::Status taken = takeInMemoryData(movie); !taken)
        return taken;
    if (result::Status prepared = prepareReferences(movie); !prepared)
        return prepared;
    moviefile::WriteOptions options;
    // What another file calls its own is named by its path here.
    options.mapDataReference = [this](const timeline::DataReference& reference) {
        return liesInThisFile(reference) || !reference.isSelf() || !reference.store ||
                       reference.store->path().empty()
                   ? reference
                   : moviefile::makeFileReference(reference.store->path());
    };
    options.fragments = moviefile::Fragments::keep;
    if (const auto unchanged = moviefile::writeMovieAtom(movie, options);
        unchanged && holdsMovieAtom(*unchanged))
        return finishData();
    options.fragments = moviefile::Fragments::fold;
    const auto atom = moviefile::writeMovieAtom(movie, options);
    if (!atom)
        return atom.failure();
    if (result::Status finished = finishData(); !finished)
        return finished;
    std::lock_guard lock(mutex_);
    const std::vector<moviefile::ByteRange> stillRead = MovieAtomUse::rangesOf(identity_);
    const auto written = moviefile::replaceMovieAtom(
        *file_, {.movieAtom = *atom, .stillRead = stillRead, .retireFragments = true});
    if (!written)
        return written.failure();
    return {};
}

}  // namespace TWQuickTime
