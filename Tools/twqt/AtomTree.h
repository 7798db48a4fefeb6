// The atoms of exporter settings as a tree for people and programs.
#pragma once

#include <cstddef>
#include <span>

#include "JsonOutput.h"

namespace twqt {

/// An array of {"type","id","data":hex|null,"children":[…]}; throws a CommandFailure for bytes that
/// are no atom container, damaged, or nested without end.
Json atomTree(std::span<const std::byte> container);

}  // namespace twqt
