#include "RunLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "Interrupt.h"

namespace {

constexpr size_t kMaxOwnerSize = 64;

bool TryLock(const FileDescriptor& file) {
    return flock(file.Get(), LOCK_EX | LOCK_NB) == 0;
}

std::string OwnerOf(const FileDescriptor& file) {
    std::string owner;
    if (lseek(file.Get(), 0, SEEK_SET) != 0 || !file.ReadAll(owner, kMaxOwnerSize) ||
        owner.empty()) {
        return "another process";
    }
    return "process " + owner;
}

}  // namespace

RunLock::RunLock(const std::string& path, int waitSeconds)
    : file_(FileDescriptor::Open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW, 0600)) {
    if (!file_.IsOpen()) {
        throw std::runtime_error("cannot lock " + path + ": " + std::strerror(errno));
    }
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + std::chrono::seconds(waitSeconds);
    while (!TryLock(file_)) {
        if (errno != EWOULDBLOCK) {
            throw std::runtime_error("cannot lock " + path + ": " + std::strerror(errno));
        }
        ThrowIfInterrupted();
        if (Clock::now() >= deadline) {
            throw std::runtime_error(OwnerOf(file_) + " is working on this directory (lock " +
                                     path + "); try again later, or wait with --wait SECONDS");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    const std::string owner = std::to_string(getpid());
    const auto size = static_cast<long long>(owner.size());
    if (ftruncate(file_.Get(), 0) != 0 || lseek(file_.Get(), 0, SEEK_SET) != 0 ||
        file_.Write(owner.data(), size) != size) {
        throw std::runtime_error("cannot write " + path + ": " + std::strerror(errno));
    }
}

void RunLock::ShareWithPrograms() const {
    (void)fcntl(file_.Get(), F_SETFD, 0);
}
