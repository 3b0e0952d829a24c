// Host processes whose standard descriptors are closed.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "IsolatedCheck.h"
#include "Platform.h"
#include "PolicyStore.h"
#include "TemporaryDirectory.h"
#include "ZnCrypto.h"
#include "ZnFileSys.h"
#include "ZnIni.h"
#include "ZnLogger.h"
#include "ZnXml.h"

namespace {

// Runs `check` in a child for every set of closed standard descriptors, while another thread logs
// to standard error and prints to standard output.
void ExpectHoldsWithClosedDescriptors(const std::function<bool()>& check,
                                      ProcessOptions options = {}) {
    if (kThreadSanitizer) {
        GTEST_SKIP() << kNoDescriptorRaces;
    }
    options.environment["ZN_LOG_FILE"] = std::nullopt;
    for (int closed = 1; closed < 8; ++closed) {
        SCOPED_TRACE(closed);
        ExpectHolds(InChild(
            [&] {
                for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
                    if ((closed >> fd & 1) != 0) {
                        close(fd);
                    }
                }
                std::atomic<bool> isDone = false;
                std::thread other([&] {
                    while (!isDone) {
                        ZnLogger::GetInstance()->Log("f", 1, "F", " ", "", LogLevelError, "stray");
                        (void)(write(STDOUT_FILENO, "stray", 5) < 0);
                    }
                });
                const bool holds = check();
                isDone = true;
                other.join();
                return holds;
            },
            options));
    }
}

}  // namespace

TEST(ClosedDescriptorsTest, CopiesAreNotCorrupted) {
    const TemporaryDirectory dir;
    const std::string contents(3'000'000, 'c');
    WriteFile(dir / "source", contents);
    ExpectHoldsWithClosedDescriptors([&] {
        for (int i = 0; i < 10; ++i) {
            if (ZnFile::ZnCopyFile((dir / "source").c_str(), (dir / "copy").c_str()) != 0 ||
                ReadFile(dir / "copy") != contents) {
                return false;
            }
        }
        return true;
    });
}

TEST(ClosedDescriptorsTest, WrittenAndAppendedFilesAreNotCorrupted) {
    const TemporaryDirectory dir;
    const std::string contents(100'000, 'c');
    const auto size = static_cast<long long>(contents.size());
    ExpectHoldsWithClosedDescriptors([&] {
        for (int i = 0; i < 100; ++i) {
            const std::string path = dir / "file";
            if (ZnFile::WriteBinFile(path.c_str(), contents.data(), size) != size ||
                ZnFile::AppendWriteFile(path.c_str(), contents.data(), size) != size ||
                ReadFile(path) != contents + contents) {
                return false;
            }
        }
        return true;
    });
}

TEST(ClosedDescriptorsTest, PublishedPoliciesAreUsable) {
    const TemporaryDirectory dir;
    ProcessOptions options;
    options.environment["ZN_POLICY_STORE"] = dir.Path();
    ExpectHoldsWithClosedDescriptors(
        [&] {
            for (int i = 0; i < 30; ++i) {
                const std::string value = std::to_string(i);
                PolicyStore(dir.Path())
                    .Publish(i, "<Policy><V>" + value + "</V></Policy>", "policy.xml");
                ZnXml policy;
                std::string read;
                if (!policy.LoadPolicyShareMemory(i) || !policy.GetXmlContent("V", read) ||
                    read != value) {
                    return false;
                }
            }
            return true;
        },
        options);
}

TEST(ClosedDescriptorsTest, ServicesKeepNoStandardDescriptor) {
    const TemporaryDirectory dir;
    WriteFile(dir / "file.ini", "[s]\nkey=1\n");
    ProcessOptions options;
    options.environment["ZN_LOG_FILE"] = dir / "zn.log";
    ExpectHolds(InChild(
        [&] {
            for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
                close(fd);
            }
            std::vector<std::string> files;
            ZnLogger::GetInstance()->Log("f", 1, "F", " ", "", LogLevelError, "text");
            const bool works = IniGetInt("s", "key", 0, (dir / "file.ini").c_str()) == 1 &&
                               ZnFile::ScanDirectoriesFiles(dir.Path(), files) == 0 &&
                               ZnSha256::FileSha256Value(dir / "file.ini").size() == 64;
            bool areClosed = true;
            for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
                areClosed = areClosed && fcntl(fd, F_GETFD) < 0;
            }
            return works && areClosed;
        },
        options));
}
