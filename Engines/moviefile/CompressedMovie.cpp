#include "Engines/moviefile/CompressedMovie.h"

#include <zlib.h>

#include <limits>

namespace TWQuickTime::moviefile {

using result::Expected;
using result::Failure;
using result::FailureKind;

namespace {

constexpr FourCharCode kAlgorithm = fourCharCode("zlib");
/// zlib's format cannot pack more than this into one byte.
constexpr std::uint64_t kGreatestRatio = 1032;
/// Larger movies in so small a space are no movies.
constexpr std::uint64_t kGreatestMovieInBytes = 256u << 20;

/// How many bytes really come out of a zlib stream, without memory for them; stops behind `most`.
std::uint64_t unpackedSize(std::span<const std::byte> packed, std::uint64_t most) {
    z_stream stream{};
    if (inflateInit(&stream) != Z_OK)
        return 0;
    Bytef scratch[32 * 1024];
    stream.next_in = const_cast<Bytef*>(reinterpret_cast<const Bytef*>(packed.data()));
    stream.avail_in = static_cast<uInt>(packed.size());
    int status = Z_OK;
    while (status == Z_OK && stream.total_out <= most) {
        stream.next_out = scratch;
        stream.avail_out = sizeof scratch;
        status = inflate(&stream, Z_NO_FLUSH);
    }
    inflateEnd(&stream);
    return stream.total_out;
}

void appendHeader(std::vector<std::byte>& out, std::size_t size, FourCharCode type) {
    FieldWriter writer(out);
    writer.field("size", static_cast<std::uint32_t>(size));
    writer.field("type", type);
}

}  // namespace

Expected<SharedBytes> decompressMovie(const AtomView& compressed, const AtomPlace& place) {
    const auto algorithm = findChild(compressed, fourCharCode("dcom"));
    if (!algorithm || algorithm->payload().size() < 4)
        return damagedAt(place, compressed.offset, "no compression is named ('dcom')");
    const auto code = loadBigEndian<std::uint32_t>(algorithm->payload().data());
    if (code != kAlgorithm)
        return Failure{FailureKind::unsupported,
                       place.path() + ": compressed as '" + timeline::textOf(code) + "'"};
    const auto data = findChild(compressed, fourCharCode("cmvd"));
    if (!data || data->payload().size() < 4)
        return damagedAt(place, compressed.offset, "no compressed data ('cmvd')");
    const std::uint64_t size = loadBigEndian<std::uint32_t>(data->payload().data());
    const SharedBytes packed = data->payload().part(4);
    if (size > packed.size() * kGreatestRatio || size > kGreatestMovieInBytes)
        return damagedAt(
            place, data->offset,
            std::to_string(packed.size()) + " bytes cannot hold " + std::to_string(size));
    // A size that only claims to be large asks for no memory.
    if (unpackedSize(packed.span(), size) != size)
        return damagedAt(place, data->offset, "the compressed data have another size");
    std::vector<std::byte> movie(static_cast<std::size_t>(size));
    auto written = static_cast<uLongf>(size);
    const int status = uncompress(reinterpret_cast<Bytef*>(movie.data()), &written,
                                  reinterpret_cast<const Bytef*>(packed.data()),
                                  static_cast<uLong>(packed.size()));
    if (status != Z_OK || written != size)
        return damagedAt(place, data->offset, "the compressed data are broken");
    return SharedBytes::adopt(std::move(movie));
}

Expected<std::vector<std::byte>> compressMovie(std::span<const std::byte> movieAtom) {
    if (movieAtom.size() > std::numeric_limits<std::uint32_t>::max())
        return Failure{FailureKind::limit, "a movie past 4 GiB cannot be compressed"};
    auto packedSize = compressBound(static_cast<uLong>(movieAtom.size()));
    std::vector<std::byte> packed(packedSize);
    if (compress2(reinterpret_cast<Bytef*>(packed.data()), &packedSize,
                  reinterpret_cast<const Bytef*>(movieAtom.data()),
                  static_cast<uLong>(movieAtom.size()), Z_BEST_COMPRESSION) != Z_OK)
        return Failure{FailureKind::limit, "no memory to compress the movie"};
    packed.resize(packedSize);

    constexpr std::size_t kAlgorithmAtomInBytes = 12;
    const std::size_t dataAtomInBytes = 12 + packed.size();
    const std::size_t compressedInBytes = 8 + kAlgorithmAtomInBytes + dataAtomInBytes;
    std::vector<std::byte> out;
    out.reserve(8 + compressedInBytes);
    appendHeader(out, 8 + compressedInBytes, fourCharCode("moov"));
    appendHeader(out, compressedInBytes, fourCharCode("cmov"));
    appendHeader(out, kAlgorithmAtomInBytes, fourCharCode("dcom"));
    FieldWriter writer(out);
    writer.field("algorithm", kAlgorithm);
    appendHeader(out, dataAtomInBytes, fourCharCode("cmvd"));
    writer.field("size", static_cast<std::uint32_t>(movieAtom.size()));
    out.insert(out.end(), packed.begin(), packed.end());
    return out;
}

}  // namespace TWQuickTime::moviefile
