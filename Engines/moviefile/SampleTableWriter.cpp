// Writing 'stbl': rows go out as the columns hold them.
#include <algorithm>

#include "Engines/moviefile/SampleTableAtoms.h"
#include "Engines/moviefile/WriteContext.h"

namespace TWQuickTime::moviefile {

using timeline::Media;
using timeline::SampleColumns;
using timeline::SampleDescription;

namespace {

SharedBytes viewOf(std::span<const std::byte> rows) {
    return SharedBytes(rows, nullptr);
}

/// Writes the tables of one media.
class TableWriter {
  public:
    TableWriter(WriteContext& context, const Media& media)
        : context_(context), sink_(context.sink), media_(media), columns_(media.samples.columns()) {
        const bool keepsTables = keepsTablesOf(context, media);
        samplesChanged_ = columns_.samplesChanged && !keepsTables;
        placementChanged_ = columns_.changed() && !keepsTables;
    }

    void write(const AtomView* original) {
        const AtomScope scope =
            sink_.open(fourCharCode("stbl"), original ? original->headerSizeInBytes : 8);
        isNew_ = original == nullptr;
        merge_.child(fourCharCode("stsd"), [&](const AtomView* atom) { descriptions(atom); });
        rows<TimeToSampleAtom>(columns_.times.rows(), true, 0);
        rows<CompositionOffsetAtom>(columns_.composition.rows(),
                                    columns_.composition.rowCount() != 0,
                                    samplesChanged_ ? compositionVersion() : 0);
        rows<SyncSampleAtom>(columns_.sync.rows(), columns_.sync.present(), 0);
        rows<PartialSyncSampleAtom>(columns_.partialSync.rows(), columns_.partialSync.present(), 0);
        merge_.child(CompositionShiftAtom::type, [&](const AtomView* atom) { shift(atom); })
            .child(SampleDependencyAtom::type, [&](const AtomView* atom) { dependencies(atom); });
        merge_.child(SampleToChunkAtom::type, [&](const AtomView* atom) { runs(atom); })
            .child(SampleSizeAtom::type, [&](const AtomView* atom) { sizes(atom); })
            .child(CompactSampleSizeAtom::type,
                   [&](const AtomView* atom) {
                       if (atom)
                           sizes(atom);
                   })
            .child(ChunkOffsetAtom::type, [&](const AtomView* atom) { offsets(atom); })
            .child(WideChunkOffsetAtom::type, [&](const AtomView* atom) {
                if (atom)
                    offsets(atom);
            });
        merge_.write(sink_, original);
    }

  private:
    template <class Atom>
    void rows(std::span<const std::byte> table, bool wanted, std::uint8_t version) {
        merge_.child(Atom::type, [this, table, wanted, version](const AtomView* original) {
            if (original && !samplesChanged_)
                sink_.bytes(original->bytes);
            else if (wanted && (isNew_ || samplesChanged_))
                putRows<Atom>(original, viewOf(table), version);
        });
    }

    template <class Atom>
    void putRows(const AtomView* original, const SharedBytes& table, std::uint8_t version) {
        Atom atom;
        atom.version = version;
        if (original && original->type == Atom::type) {
            const auto old = readFields<Atom>(*original, {nullptr, original->type});
            if (old && old->atom.rows == table) {
                sink_.bytes(original->bytes);
                return;
            }
            if (old) {
                atom.version = old->atom.version;
                atom.flags = old->atom.flags;
            }
        }
        atom.rows = table;
        sink_.put(atom);
    }

    std::uint8_t compositionVersion() const {
        for (std::size_t row = 0; row < columns_.composition.rowCount(); ++row) {
            if (columns_.composition.signedValue(row) < 0)
                return 1;
        }
        return 0;
    }

    void shift(const AtomView* original) {
        // Its bounds would not hold for samples that came later; nothing needs them.
        if (original && !(samplesChanged_ && columns_.composition.rowCount() != 0))
            sink_.bytes(original->bytes);
    }

    void dependencies(const AtomView* original) {
        if (original && !samplesChanged_) {
            sink_.bytes(original->bytes);
        } else if (columns_.dependencies.present && (isNew_ || samplesChanged_)) {
            SampleDependencyAtom atom;
            atom.rows = viewOf(columns_.dependencies.rows.bytes());
            sink_.put(atom);
        }
    }

    void runs(const AtomView* original) {
        if (original && !placementChanged_)
            sink_.bytes(original->bytes);
        else if (isNew_ || placementChanged_)
            putRows<SampleToChunkAtom>(original, viewOf(columns_.chunks.runs()), 0);
    }

    void sizes(const AtomView* original) {
        if (sizesWritten_)
            return;
        sizesWritten_ = true;
        if (!isNew_ && !samplesChanged_) {
            if (original)
                sink_.bytes(original->bytes);
            return;
        }
        const bool compact = columns_.sizes.bitsPerRow() != 32;
        if (compact) {
            CompactSampleSizeAtom atom;
            atom.bitsPerRow = static_cast<std::uint8_t>(columns_.sizes.bitsPerRow());
            atom.count = columns_.sizes.count();
            sink_.put(atom, viewOf(columns_.sizes.rows()));
            return;
        }
        SampleSizeAtom atom;
        atom.commonSize = columns_.sizes.commonSize();
        atom.count = columns_.sizes.count();
        sink_.put(atom, viewOf(columns_.sizes.rows()));
    }

    void offsets(const AtomView* original) {
        if (offsetsWritten_)
            return;
        offsetsWritten_ = true;
        const bool wideEnough = !context_.options.wideOffsets || columns_.chunks.wide();
        if (!isNew_ && !placementChanged_ && (wideEnough || !original)) {
            if (original)
                sink_.bytes(original->bytes);
        } else if (columns_.chunks.wide()) {
            putRows<WideChunkOffsetAtom>(original, viewOf(columns_.chunks.offsets()), 0);
        } else if (wideEnough) {
            putRows<ChunkOffsetAtom>(original, viewOf(columns_.chunks.offsets()), 0);
        } else {
            const std::span<const std::byte> narrow = columns_.chunks.offsets();
            std::vector<std::byte> wide(narrow.size() * 2);
            for (std::size_t at = 0; at < narrow.size(); at += 4)
                std::copy_n(narrow.data() + at, 4, wide.data() + at * 2 + 4);
            putRows<WideChunkOffsetAtom>(original, SharedBytes::adopt(std::move(wide)), 0);
        }
    }

    /// A description that was made here gets what only files need: its size, a format, the index
    /// of a data reference.
    SampleDescription completed(SampleDescription description) const {
        if (description.format() == 0)
            description.setFormat(media_.type());
        if (description.dataReferenceIndex() == 0)
            description.setDataReferenceIndex(1);
        std::vector<std::byte> bytes(description.bytes().span().begin(),
                                     description.bytes().span().end());
        storeBigEndian(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
        return SampleDescription(SharedBytes::adopt(std::move(bytes)));
    }

    void descriptions(const AtomView* original) {
        constexpr std::size_t kListInBytes = 8;
        if (!original && !isNew_ && media_.descriptions.empty())
            return;
        const SharedBytes old = original ? original->payload() : SharedBytes();
        std::vector<std::byte> payload(kListInBytes);
        std::copy_n(old.data(), std::min<std::size_t>(old.size(), 4), payload.data());
        storeBigEndian(payload.data() + 4, static_cast<std::uint32_t>(media_.descriptions.size()));
        std::size_t offset = kListInBytes;
        bool sameSoFar = original != nullptr;
        for (const SampleDescription& description : media_.descriptions) {
            if (!description.isComplete()) {
                sink_.fail({result::FailureKind::badArgument,
                            "a sample description of " +
                                std::to_string(description.bytes().size()) + " bytes"});
                return;
            }
            sameSoFar =
                sameSoFar && old.part(offset, description.bytes().size()) == description.bytes();
            const SharedBytes bytes =
                sameSoFar ? description.bytes() : completed(description).bytes();
            offset += bytes.size();
            payload.insert(payload.end(), bytes.span().begin(), bytes.span().end());
        }
        if (sameSoFar && old.part(4, 4) == viewOf(std::span(payload).subspan(4, 4))) {
            const SharedBytes end = old.part(offset);
            payload.insert(payload.end(), end.span().begin(), end.span().end());
        }
        putPayload(sink_, original, fourCharCode("stsd"), payload);
    }

    WriteContext& context_;
    AtomSink& sink_;
    const Media& media_;
    const SampleColumns& columns_;
    Merge merge_;
    bool isNew_ = false;
    bool samplesChanged_ = false;
    bool placementChanged_ = false;
    bool sizesWritten_ = false;
    bool offsetsWritten_ = false;
};

}  // namespace

bool keepsTablesOf(const WriteContext& context, const Media& media) {
    const auto* origin = dynamic_cast<const MediaOrigin*>(media.origin.get());
    const SampleColumns& columns = media.samples.columns();
    const bool asReadFromFragments = origin && origin->fragmented && !columns.placementChanged &&
                                     origin->sampleCountWhenRead == columns.sizes.count();
    return asReadFromFragments && context.options.fragments == Fragments::keep;
}

void writeSampleTable(WriteContext& context, const Media& media, const AtomView* original) {
    TableWriter(context, media).write(original);
}

}  // namespace TWQuickTime::moviefile
