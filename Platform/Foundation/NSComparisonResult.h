// How two values of the platform stand to each other in order.
#pragma once

namespace TWQuickTime {

enum NSComparisonResult { NSOrderedAscending = -1, NSOrderedSame = 0, NSOrderedDescending = 1 };

}  // namespace TWQuickTime
