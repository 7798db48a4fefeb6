// The columns that make up a sample table.
#pragma once

#include "Engines/timeline/ChunkColumn.h"
#include "Engines/timeline/NumberColumn.h"
#include "Engines/timeline/RunColumn.h"
#include "Engines/timeline/SizeColumn.h"

namespace TWQuickTime::timeline {

/// One byte for each sample about who depends on whom ('sdtp'). Absent: the file says nothing.
struct DependencyColumn {
    bool present = false;
    TableBytes rows;
};

struct SampleColumns {
    RunColumn times;        ///< sample durations
    RunColumn composition;  ///< composition offsets; no rows: all 0
    NumberColumn sync;      ///< absent: all samples are sync samples
    NumberColumn partialSync;
    SizeColumn sizes;
    ChunkColumn chunks;
    DependencyColumn dependencies;
    /// Samples were appended since the table was read.
    bool samplesChanged = false;
    /// Chunks were placed elsewhere since the table was read.
    bool placementChanged = false;

    bool changed() const { return samplesChanged || placementChanged; }
};

}  // namespace TWQuickTime::timeline
