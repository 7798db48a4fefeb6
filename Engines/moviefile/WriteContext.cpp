#include "Engines/moviefile/WriteContext.h"

#include <algorithm>

namespace TWQuickTime::moviefile {

Merge& Merge::child(FourCharCode type, ChildWriter write) {
    children_.push_back({type, std::move(write), {}, false});
    return *this;
}

Merge& Merge::before(std::initializer_list<FourCharCode> followers) {
    children_.back().followers = followers;
    return *this;
}

void Merge::writeMissingBefore(FourCharCode type, const std::vector<bool>& present) {
    for (std::size_t i = 0; i < children_.size(); ++i) {
        Known& known = children_[i];
        const bool follows = std::find(known.followers.begin(), known.followers.end(), type) !=
                             known.followers.end();
        if (!known.written && !present[i] && follows) {
            known.written = true;
            known.write(nullptr);
        }
    }
}

void Merge::write(AtomSink& sink, const AtomView* original) {
    SharedBytes stray;
    if (original) {
        std::vector<bool> present(children_.size());
        AtomWalker survey(original->payload(), original->payloadOffset());
        while (const auto child = survey.next()) {
            for (std::size_t i = 0; i < children_.size(); ++i)
                present[i] = present[i] || children_[i].type == child->type;
        }
        AtomWalker walker(original->payload(), original->payloadOffset());
        while (const auto child = walker.next()) {
            writeMissingBefore(child->type, present);
            const auto known =
                std::find_if(children_.begin(), children_.end(), [&child](const Known& candidate) {
                    return candidate.type == child->type && !candidate.written;
                });
            if (known == children_.end()) {
                sink.bytes(child->bytes);
            } else {
                known->written = true;
                known->write(&*child);
            }
        }
        stray = walker.stray();
    }
    for (Known& known : children_) {
        if (!known.written)
            known.write(nullptr);
    }
    sink.bytes(stray);
}

void putPayload(AtomSink& sink, const AtomView* original, FourCharCode type,
                std::span<const std::byte> payload) {
    if (original && original->payload() == SharedBytes(payload, nullptr)) {
        sink.bytes(original->bytes);
        return;
    }
    const AtomScope scope = sink.open(type, original ? original->headerSizeInBytes : 8);
    sink.bytes(payload);
}

}  // namespace TWQuickTime::moviefile
