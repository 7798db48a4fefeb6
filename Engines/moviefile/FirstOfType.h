// Which children of an atom are an object's own.
#pragma once

#include <algorithm>
#include <vector>

#include "Engines/timeline/FourCharCode.h"

namespace TWQuickTime::moviefile {

/// Tells the first child of a type, which is what the object reads and writes, from later ones,
/// which stay as they are whatever the first one holds. To be asked about known types only: every
/// type asked about is remembered.
class FirstOfType {
  public:
    bool operator()(timeline::FourCharCode type) {
        if (std::find(seen_.begin(), seen_.end(), type) != seen_.end())
            return false;
        seen_.push_back(type);
        return true;
    }

  private:
    std::vector<timeline::FourCharCode> seen_;
};

}  // namespace TWQuickTime::moviefile
