// The name of a component, as people know it.
#pragma once

#include <Components.h>

#include <string>

namespace twqt {

/// Empty for a component without one.
std::string componentName(TWQuickTime::Component component);

}  // namespace twqt
