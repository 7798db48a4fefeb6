// Which atoms two movie atoms do not share.
//
//     EXPECT_EQ(differenceBetween(before, after), (Paths{"moov/mvhd", "+moov/trak"}));
#pragma once

#include <string>
#include <vector>

#include "AtomBytes.h"

namespace TWQuickTime::moviefile::test {

using Paths = std::vector<std::string>;

/// The paths of all atoms whose own bytes (not those of children) differ, and, with "-" and "+", of
/// those that only the first or only the second of the two has.
Paths differenceBetween(const Bytes& a, const Bytes& b);

}  // namespace TWQuickTime::moviefile::test
