// Stopping cleanly on SIGINT, SIGTERM and SIGHUP.
#pragma once

#include <exception>
#include <string>
#include <utility>

// Thrown at safe points once a signal has asked the program to stop.
class Interrupted : public std::exception {
   public:
    explicit Interrupted(int signal, std::string outcome = "nothing was changed")
        : signal_(signal), outcome_(std::move(outcome)) {}
    int Signal() const {
        return signal_;
    }
    // What the program did before, for the user.
    const std::string& Outcome() const {
        return outcome_;
    }
    const char* what() const noexcept override {
        return "interrupted";
    }

   private:
    int signal_;
    std::string outcome_;
};

// While an object lives, the signals do not end the process but are noted, and a reader that went
// away is an error of the write instead of a signal. Signals that the process ignores stay ignored.
class InterruptScope {
   public:
    InterruptScope();
    ~InterruptScope();
    InterruptScope(const InterruptScope&) = delete;
    InterruptScope& operator=(const InterruptScope&) = delete;

    // Ignores the signals until the process ends: what it had to do is done, and its exit status
    // has to say so.
    void Complete();

   private:
    bool isComplete_ = false;
};

// The signal noted first in the current InterruptScope, or 0.
int PendingInterrupt();

// Throws Interrupted when a signal has been noted.
void ThrowIfInterrupted();

// In a child process: lets the signals do what they did before the InterruptScope.
void ResetInterruptHandlers();
