// Toolbox statuses in words, for error lines.
#pragma once

#include <cstdint>
#include <string>

namespace twqt {

/// "file not found (-43)"; "status -12345" for a status without words here.
std::string statusText(std::int32_t status);

}  // namespace twqt
