#include "Interrupt.h"

#include <atomic>
#include <csignal>

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

// Several threads may read it.
std::atomic<int> g_pending = 0;
static_assert(std::atomic<int>::is_always_lock_free, "set by a signal handler");

void Note(int signal) {
    int none = 0;
    g_pending.compare_exchange_strong(none, signal);
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
