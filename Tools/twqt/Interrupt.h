// Ctrl-C as a question that a long operation asks now and then.
//
//     Interrupt interrupt;
//     while (!interrupt.requested()) …
#pragma once

namespace twqt {

/// While it lives, the first Ctrl-C (or a polite request to end) only sets a flag; the second one
/// ends the program at once.
class Interrupt {
  public:
    Interrupt();
    ~Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    bool requested() const;
};

}  // namespace twqt
