#include "Interrupt.h"

#include <array>
#include <atomic>
#include <csignal>
#include <cstddef>

namespace {

constexpr std::array<int, 4> kSignals = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};

// What the signals did before the first InterruptScope.
std::array<struct sigaction, kSignals.size()> g_previous;

// Several threads may read it.
std::atomic<int> g_pending = 0;
static_assert(std::atomic<int>::is_always_lock_free, "set by a signal handler");

void Note(int signal) {
    int none = 0;
    g_pending.compare_exchange_strong(none, signal);
}

void Handle(int signal, void (*handler)(int)) {
    struct sigaction action = {};  // without SA_RESTART, so that a signal ends a blocking poll()
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

void RestorePrevious() {
    for (size_t i = 0; i < kSignals.size(); ++i) {
        sigaction(kSignals[i], &g_previous[i], nullptr);
    }
}

}  // namespace

InterruptScope::InterruptScope() {
    g_pending = 0;
    for (size_t i = 0; i < kSignals.size(); ++i) {
        sigaction(kSignals[i], nullptr, &g_previous[i]);
        if (g_previous[i].sa_handler != SIG_IGN) {  // nohup ignores SIGHUP
            Handle(kSignals[i], kSignals[i] == SIGPIPE ? SIG_IGN : Note);
        }
    }
}

InterruptScope::~InterruptScope() {
    if (!isComplete_) {
        g_pending = 0;
        RestorePrevious();
    }
}

void InterruptScope::Complete() {
    for (const int signal : kSignals) {
        Handle(signal, SIG_IGN);
    }
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
    RestorePrevious();
}
