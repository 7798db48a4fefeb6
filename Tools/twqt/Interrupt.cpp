#include "Interrupt.h"

#include <signal.h>

namespace twqt {
namespace {

volatile sig_atomic_t requestedFlag = 0;

void handle(int) {
    requestedFlag = 1;
}

void install(int signalNumber) {
    struct sigaction action {};
    action.sa_handler = handle;
    // Handled once: the next signal has its usual effect.
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(signalNumber, &action, nullptr);
}

}  // namespace

Interrupt::Interrupt() {
    requestedFlag = 0;
    install(SIGINT);
    install(SIGTERM);
}

Interrupt::~Interrupt() {
    signal(SIGINT, SIG_DFL);
    signal(SIGTERM, SIG_DFL);
}

bool Interrupt::requested() const {
    return requestedFlag != 0;
}

}  // namespace twqt
