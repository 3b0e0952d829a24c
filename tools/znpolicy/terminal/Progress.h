// Progress of long work.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>

// Shows a bar on standard error when that is a terminal and the work takes longer than an interval,
// after which it is drawn again each time, and removes it at the end.
class Progress {
   public:
    // `steps` is the amount of work, or 0 when it is not known: then the elapsed time is shown.
    Progress(std::string what, size_t steps,
             std::chrono::milliseconds interval = std::chrono::milliseconds(500));
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Counts a step as done. Thread-safe.
    void Step() {
        ++done_;
    }

   private:
    void Show();
    void Draw(int seconds) const;

    std::string what_;
    size_t steps_;
    std::chrono::milliseconds interval_;
    std::atomic<size_t> done_{0};
    std::mutex mutex_;
    std::condition_variable finished_;
    bool isFinished_ = false;
    std::thread thread_;
};
