// What a reader leaves with an object for the writer: the form in which it was found.
//
// The timeline never looks inside. An object without one was made in memory. The writer compares
// an object with its origin and writes back, byte for byte, whatever is still the same.
#pragma once

namespace TWQuickTime::timeline {

class Origin {
  public:
    virtual ~Origin() = default;
};

}  // namespace TWQuickTime::timeline
