#include "Interrupt.h"

#include <csignal>

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t g_pending = 0;

void Note(int signal) {
    if (g_pending == 0) {
        g_pending = signal;
    }
}

// Installs a handler for all signals. Without SA_RESTART, a signal ends a blocking poll().
void Handle(void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    for (const int signal : kSignals) {
        sigaction(signal, &action, nullptr);
    }
}

}  // namespace

InterruptScope::InterruptScope() {
    g_pending = 0;
    Handle(Note);
    std::signal(SIGPIPE, SIG_IGN);
}

InterruptScope::~InterruptScope() {
    if (!isComplete_) {
        g_pending = 0;
        Handle(SIG_DFL);
        std::signal(SIGPIPE, SIG_DFL);
    }
}

void InterruptScope::Complete() {
    Handle(SIG_IGN);
    isComplete_ = true;
}

int PendingInterrupt() {
    return g_pending;
}

void ThrowIfInterrupted() {
    if (g_pending != 0) {
        throw Interrupted(g_pending);
    }
}

void ResetInterruptHandlers() {
    Handle(SIG_DFL);
    std::signal(SIGPIPE, SIG_DFL);
}
