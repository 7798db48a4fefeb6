// Reading 'stbl': every count is checked against the bytes that are there, the rows stay views.
#include "Engines/moviefile/ReadContext.h"
#include "Engines/moviefile/SampleTableAtoms.h"

namespace TWQuickTime::moviefile {

using result::Expected;
using result::Failure;
using result::Status;
using timeline::ChunkColumn;
using timeline::NumberColumn;
using timeline::RunColumn;
using timeline::SampleColumns;
using timeline::SampleTable;
using timeline::SizeColumn;

namespace {

Expected<SizeColumn> readSizes(const AtomView& atom, const AtomPlace& place) {
    const auto sizes = readFields<SampleSizeAtom>(atom, place);
    if (!sizes)
        return sizes.failure();
    if (sizes->atom.commonSize != 0)
        return SizeColumn::common(sizes->atom.commonSize, sizes->atom.count);
    const std::uint64_t needed = std::uint64_t{sizes->atom.count} * 4;
    if (needed > sizes->rest.size())
        return missingBytesAt(place, atom.offset, needed - sizes->rest.size(), "sizes");
    return SizeColumn::listed(sizes->rest.part(0, static_cast<std::size_t>(needed)),
                              sizes->atom.count, 32);
}

Expected<SizeColumn> readCompactSizes(const AtomView& atom, const AtomPlace& place) {
    const auto sizes = readFields<CompactSampleSizeAtom>(atom, place);
    if (!sizes)
        return sizes.failure();
    const unsigned bits = sizes->atom.bitsPerRow;
    if (bits != 4 && bits != 8 && bits != 16)
        return damagedAt(place, atom.offset, std::to_string(bits) + " bits for each size");
    const std::uint64_t needed = (std::uint64_t{sizes->atom.count} * bits + 7) / 8;
    if (needed > sizes->rest.size())
        return missingBytesAt(place, atom.offset, needed - sizes->rest.size(), "sizes");
    return SizeColumn::listed(sizes->rest.part(0, static_cast<std::size_t>(needed)),
                              sizes->atom.count, bits);
}

/// Collects the tables, of which the first of each kind counts.
class Collector {
  public:
    explicit Collector(const AtomPlace& parent) : parent_(parent) {}

    Status take(const AtomView& atom) {
        const AtomPlace place{&parent_, atom.type};
        switch (atom.type) {
            case TimeToSampleAtom::type:
                return rows<TimeToSampleAtom>(atom, place, times_);
            case CompositionOffsetAtom::type:
                return rows<CompositionOffsetAtom>(atom, place, composition_);
            case SyncSampleAtom::type:
                return rows<SyncSampleAtom>(atom, place, sync_);
            case PartialSyncSampleAtom::type:
                return rows<PartialSyncSampleAtom>(atom, place, partialSync_);
            case SampleToChunkAtom::type:
                return rows<SampleToChunkAtom>(atom, place, runs_);
            case ChunkOffsetAtom::type:
                return offsets_ ? Status() : rows<ChunkOffsetAtom>(atom, place, offsets_);
            case WideChunkOffsetAtom::type:
                wide_ = wide_ || !offsets_;
                return offsets_ ? Status() : rows<WideChunkOffsetAtom>(atom, place, offsets_);
            case SampleSizeAtom::type:
                return sizes(readSizes(atom, place));
            case CompactSampleSizeAtom::type:
                return sizes(readCompactSizes(atom, place));
            case SampleDependencyAtom::type:
                return dependencies(atom, place);
            default:
                return {};
        }
    }

    SampleColumns columns() {
        SampleColumns columns;
        columns.times = RunColumn(times_.value_or(SharedBytes()));
        columns.composition = RunColumn(composition_.value_or(SharedBytes()));
        if (sync_)
            columns.sync = NumberColumn(*sync_);
        if (partialSync_)
            columns.partialSync = NumberColumn(*partialSync_);
        columns.chunks =
            ChunkColumn(runs_.value_or(SharedBytes()), offsets_.value_or(SharedBytes()), wide_);
        columns.sizes = sizes_.value_or(SizeColumn());
        columns.dependencies = dependencies_;
        return columns;
    }

  private:
    template <class Atom>
    Status rows(const AtomView& atom, const AtomPlace& place, std::optional<SharedBytes>& into) {
        if (into)
            return {};
        auto table = readFields<Atom>(atom, place);
        if (!table)
            return table.failure();
        into = table->atom.rows;
        return {};
    }

    Status sizes(Expected<SizeColumn> column) {
        if (!column)
            return column.failure();
        if (!sizes_)
            sizes_ = std::move(*column);
        return {};
    }

    Status dependencies(const AtomView& atom, const AtomPlace& place) {
        // Nothing depends on it: a damaged table counts as absent.
        if (const auto table = readFields<SampleDependencyAtom>(atom, place);
            table && !dependencies_.present)
            dependencies_ = {true, timeline::TableBytes(table->atom.rows)};
        return {};
    }

    const AtomPlace& parent_;
    std::optional<SharedBytes> times_;
    std::optional<SharedBytes> composition_;
    std::optional<SharedBytes> sync_;
    std::optional<SharedBytes> partialSync_;
    std::optional<SharedBytes> runs_;
    std::optional<SharedBytes> offsets_;
    bool wide_ = false;
    std::optional<SizeColumn> sizes_;
    timeline::DependencyColumn dependencies_;
};

}  // namespace

Expected<SampleTable> readSampleTable(const AtomView& atom, const AtomPlace& place) {
    Collector collector(place);
    AtomWalker walker(atom.payload(), atom.payloadOffset());
    while (const auto child = walker.next()) {
        if (const Status taken = collector.take(*child); !taken)
            return taken.failure();
    }
    if (walker.damaged())
        return damagedChild(place, walker);
    return SampleTable(collector.columns());
}

}  // namespace TWQuickTime::moviefile
