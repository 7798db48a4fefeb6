#include "Engines/transcode/ExportCommit.h"

#include <array>

#include "Engines/codec/ByteOrder.h"
#include "Engines/moviefile/Flatten.h"
#include "Engines/moviefile/MovieReader.h"

namespace TWQuickTime::transcode {

using result::Expected;
using result::Status;

namespace {

Expected<std::vector<std::byte>> fileTypeOf(moviefile::FileStorage& file) {
    std::array<std::byte, 4> size{};
    if (auto read = file.read(0, size); !read) {
        return read.failure();
    }
    std::vector<std::byte> atom(codec::u32At(size, 0));
    if (auto read = file.read(0, atom); !read) {
        return read.failure();
    }
    return atom;
}

}  // namespace

Status commitExport(moviefile::ReplacementFile& exported, const std::string& path,
                    const ExportSettings& settings,
                    const std::function<bool(double fractionDone)>& progress) {
    if (!settings.movieInFront || !isMovieFile(settings.kind)) {
        return exported.commit();
    }
    // The file may have no name yet; the system knows it by its descriptor.
    auto opened = moviefile::openMovieFile("/proc/self/fd/" +
                                           std::to_string(exported.storage().fileDescriptor()));
    if (!opened) {
        return opened.failure();
    }
    auto fileType = fileTypeOf(exported.storage());
    if (!fileType) {
        return fileType.failure();
    }
    auto file = moviefile::ReplacementFile::create(path);
    if (!file) {
        return file.failure();
    }
    moviefile::FlattenOptions options;
    options.place = moviefile::MoviePlace::beforeData;
    options.fileType = std::move(*fileType);
    if (progress) {
        options.progress = [&progress](double) { return progress(1.0); };
    }
    if (auto status = moviefile::flattenInto(*opened->movie, file->storage(), options); !status) {
        return status;
    }
    return file->commit();
}

}  // namespace TWQuickTime::transcode
