// Keeps a failing write from ending the process.
#pragma once

#include <csignal>

// While it lives, a write of this thread to a pipe without a reader or beyond the limit for file
// sizes fails with an error and raises no signal.
class SignalsHeldBack {
   public:
    SignalsHeldBack();
    ~SignalsHeldBack();

    SignalsHeldBack(const SignalsHeldBack&) = delete;
    SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;

   private:
    sigset_t pendingBefore_;
    sigset_t maskBefore_;
};
