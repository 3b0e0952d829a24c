#include "Progress.h"

#include <unistd.h>

#include <cstdio>
#include <system_error>
#include <utility>

Progress::Progress(std::string what, size_t steps, std::chrono::milliseconds interval)
    : what_(std::move(what)), steps_(steps), interval_(interval) {
    if (isatty(STDERR_FILENO) != 0) {
        try {
            thread_ = std::thread(&Progress::Show, this);
        } catch (const std::system_error&) {
            // The work is done without a bar.
        }
    }
}

Progress::~Progress() {
    if (!thread_.joinable()) {
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isFinished_ = true;
    }
    finished_.notify_one();
    thread_.join();
}

void Progress::Show() {
    const auto begin = std::chrono::steady_clock::now();
    std::unique_lock<std::mutex> lock(mutex_);
    bool isShown = false;
    while (!finished_.wait_for(lock, interval_, [this] { return isFinished_; })) {
        const auto elapsed = std::chrono::steady_clock::now() - begin;
        Draw(static_cast<int>(std::chrono::duration_cast<std::chrono::seconds>(elapsed).count()));
        isShown = true;
    }
    if (isShown) {
        std::fputs("\r\x1b[K", stderr);
    }
}

void Progress::Draw(int seconds) const {
    constexpr size_t kWidth = 30;
    if (steps_ == 0) {
        std::fprintf(stderr, "\r\x1b[K%s: %d s", what_.c_str(), seconds);
        return;
    }
    const size_t done = done_;
    const size_t filled = done * kWidth / steps_;
    const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
    std::fprintf(stderr, "\r\x1b[K%s [%s] %zu/%zu", what_.c_str(), bar.c_str(), done, steps_);
}
