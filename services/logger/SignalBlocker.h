// Keeps a failing write from ending the process.
#pragma once

#include <csignal>

// While it lives, a write of this thread to a pipe without a reader or beyond the limit for file
// sizes fails with an error and raises no signal.
class SignalBlocker {
   public:
    SignalBlocker();
    ~SignalBlocker();

    SignalBlocker(const SignalBlocker&) = delete;
    SignalBlocker& operator=(const SignalBlocker&) = delete;

   private:
    sigset_t pendingBefore_;
    sigset_t maskBefore_;
};
