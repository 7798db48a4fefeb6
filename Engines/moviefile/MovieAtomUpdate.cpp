#include "Engines/moviefile/MovieAtomUpdate.h"

#include <array>
#include <vector>

#include "Engines/moviefile/AtomTypes.h"
#include "Engines/moviefile/BigEndian.h"
#include "Engines/moviefile/FileSurvey.h"

namespace TWQuickTime::moviefile {
namespace {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

/// Changes types of atoms one after the other and can take the changes back.
class TypeSwitches {
  public:
    explicit TypeSwitches(Storage& storage) : storage_(storage) {}

    /// Returns when the change is on the disk.
    Status change(std::uint64_t atomOffset, std::uint32_t from, std::uint32_t to) {
        // Remembered first: a write that fails may have reached the storage all the same.
        done_.push_back({atomOffset, from});
        return write(atomOffset, to);
    }

    /// Restores the types in reverse order.
    /// @return whether all of it is on the disk; nothing further was undone after a failure
    bool undo() {
        for (; !done_.empty(); done_.pop_back())
            if (!write(done_.back().atomOffset, done_.back().formerType))
                return false;
        return true;
    }

  private:
    struct Done {
        std::uint64_t atomOffset;
        std::uint32_t formerType;
    };

    Status write(std::uint64_t atomOffset, std::uint32_t type) {
        std::array<std::byte, 4> field;
        storeU32(field, type);
        if (Status written = storage_.write(atomOffset + 4, field); !written)
            return written;
        return storage_.sync();
    }

    Storage& storage_;
    std::vector<Done> done_;
};

/// Removes what was appended when the update does not succeed.
class AppendedBytes {
  public:
    AppendedBytes(Storage& storage, std::uint64_t formerSize)
        : storage_(storage), formerSize_(formerSize) {}
    ~AppendedBytes() {
        if (keep_)
            return;
        // The failure that led here is the one to report. What cannot be removed does no harm: it
        // lies behind the movie.
        const Status removed = storage_.truncate(formerSize_);
        static_cast<void>(removed);
    }
    AppendedBytes(const AppendedBytes&) = delete;
    AppendedBytes& operator=(const AppendedBytes&) = delete;

    void keep() { keep_ = true; }

  private:
    Storage& storage_;
    std::uint64_t formerSize_;
    bool keep_ = false;
};

Status checkAtom(std::span<const std::byte> atom) {
    if (atom.size() < 8 || loadU32(atom.first<4>()) != atom.size() ||
        loadU32(atom.subspan<4, 4>()) != typeMovie)
        return Failure{FailureKind::badArgument, "not a whole movie atom"};
    return {};
}

/// The movie is the first of its kind, so that others may go before anything else happens; else one
/// of them could come to stand for it.
Status retireOtherMovies(const FileSurvey& survey, TypeSwitches& switches) {
    for (std::size_t i = 0; i < survey.atoms.size(); ++i) {
        const OuterAtom& atom = survey.atoms[i];
        if (atom.type != typeMovie || !atom.whole || i == survey.movie)
            continue;
        if (Status changed = switches.change(atom.offset, typeMovie, typeFree); !changed)
            return changed;
    }
    return {};
}

Status retireOld(const FileSurvey& survey, bool fragmentsToo, TypeSwitches& switches) {
    const OuterAtom* movie = survey.movieAtom();
    if (movie) {
        if (Status changed = switches.change(movie->offset, typeMovie, typeFree); !changed)
            return changed;
    }
    if (!fragmentsToo)
        return {};
    for (const OuterAtom& atom : survey.atoms) {
        if (atom.type != typeMovieFragment && atom.type != typeSegmentIndex &&
            atom.type != typeFragmentAccess)
            continue;
        if (Status changed = switches.change(atom.offset, atom.type, typeFree); !changed)
            return changed;
    }
    return {};
}

Expected<ByteRange> append(Storage& storage, const FileSurvey& survey,
                           const MovieAtomUpdate& update) {
    const Expected<std::uint64_t> place = prepareToAppend(storage);
    if (!place)
        return place.failure();
    AppendedBytes appended(storage, survey.sizeInBytes == 0 ? 0 : *place);

    // Behind another movie the atom may bear its name while it is incomplete; alone it may not.
    const bool alone = !survey.movie;
    std::array<std::byte, 8> header;
    storeU32(std::span(header).first<4>(), static_cast<std::uint32_t>(update.movieAtom.size()));
    storeU32(std::span(header).last<4>(), alone ? typeFree : typeMovie);
    if (Status written = storage.write(*place, header); !written)
        return written.failure();
    if (Status written = storage.write(*place + 8, update.movieAtom.subspan(8)); !written)
        return written.failure();
    if (Status synced = storage.sync(); !synced)
        return synced.failure();

    TypeSwitches switches(storage);
    Status switched;
    if (alone)
        switched = switches.change(*place, typeFree, typeMovie);
    if (switched)
        switched = retireOld(survey, update.retireFragments, switches);
    if (!switched) {
        if (!switches.undo())
            appended.keep();  // the old movie may be free on the disk: the new one has to stay
        return switched.failure();
    }
    appended.keep();
    return ByteRange{*place, update.movieAtom.size()};
}

Expected<ByteRange> fillFreeSpace(Storage& storage, const FileSurvey& survey,
                                  const FreePlace& place, const MovieAtomUpdate& update) {
    if (Status made = makeFreePlace(storage, place); !made)
        return made.failure();
    if (Status written = storage.write(place.offset + 8, update.movieAtom.subspan(8)); !written)
        return written.failure();
    if (Status synced = storage.sync(); !synced)
        return synced.failure();

    TypeSwitches switches(storage);
    Status switched = switches.change(place.offset, typeFree, typeMovie);
    if (switched)
        switched = retireOld(survey, update.retireFragments, switches);
    if (!switched) {
        const bool undone = switches.undo();
        static_cast<void>(undone);  // the first failure is the one to report
        return switched.failure();
    }
    return ByteRange{place.offset, place.sizeInBytes};
}

}  // namespace

Expected<ByteRange> replaceMovieAtom(Storage& storage, const MovieAtomUpdate& update) {
    if (Status checked = checkAtom(update.movieAtom); !checked)
        return checked.failure();
    const Expected<FileSurvey> survey = surveyFile(storage);
    if (!survey)
        return survey.failure();
    TypeSwitches others(storage);
    if (Status retired = retireOtherMovies(*survey, others); !retired)
        return retired.failure();
    if (survey->movie) {
        if (const std::optional<FreePlace> place =
                findFreePlace(*survey, update.movieAtom.size(), update.stillRead))
            return fillFreeSpace(storage, *survey, *place, update);
    }
    return append(storage, *survey, update);
}

}  // namespace TWQuickTime::moviefile
