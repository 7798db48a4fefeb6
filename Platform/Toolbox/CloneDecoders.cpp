#include "Private/CloneDecoders.h"

#include <utility>
#include <vector>

#include "Private/MovieRecord.h"

namespace TWQuickTime {
namespace {

/// The keepers of all movies that were put into handles.
struct Registry {
    std::mutex mutex;
    std::vector<std::weak_ptr<CloneDecoders>> keepers;

    static Registry& shared() {
        // Never destroyed: movies may still be cloned while the process ends.
        static auto* registry = new Registry;
        return *registry;
    }
};

}  // namespace

std::shared_ptr<CloneDecoders> CloneDecoders::ofMovieIn(Handle handle) {
    Registry& registry = Registry::shared();
    std::lock_guard lock(registry.mutex);
    for (const auto& candidate : registry.keepers)
        if (auto keeper = candidate.lock(); keeper && keeper->handle_ == handle)
            return keeper;
    return nullptr;
}

void CloneDecoders::movieWasPutInto(Handle handle, std::shared_ptr<CloneDecoders>& decoders) {
    Registry& registry = Registry::shared();
    std::lock_guard lock(registry.mutex);
    std::erase_if(registry.keepers, [](const auto& keeper) { return keeper.expired(); });
    for (const auto& other : registry.keepers)
        if (auto keeper = other.lock(); keeper && keeper->handle_ == handle)
            keeper->handle_ = nullptr;
    if (!decoders) {
        decoders = std::make_shared<CloneDecoders>();
        registry.keepers.push_back(decoders);
    }
    decoders->handle_ = handle;
}

void CloneDecoders::keep(const timeline::SharedBytes& atom, std::uint64_t looks, DrawnMovie drawn) {
    std::lock_guard lock(mutex_);
    atom_ = atom;
    looks_ = looks;
    kept_.reset();
    kept_ = std::move(drawn);
}

std::optional<DrawnMovie> CloneDecoders::take(const timeline::SharedBytes& atom,
                                              std::uint64_t looks) {
    std::lock_guard lock(mutex_);
    if (!kept_ || looks_ != looks || !(atom_ == atom))
        return std::nullopt;
    return std::exchange(kept_, std::nullopt);
}

std::uint64_t CloneDecoders::decodedSamples() {
    std::lock_guard lock(mutex_);
    return kept_ ? kept_->renderer->decodedSamples() : 0;
}

std::uint64_t samplesDecodedForClonesOf(Movie movie) {
    const MovieRecord* record = liveMovie(movie);
    return record && record->cloneDecoders ? record->cloneDecoders->decodedSamples() : 0;
}

}  // namespace TWQuickTime
