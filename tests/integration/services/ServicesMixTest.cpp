// All services at once, from several threads. Most useful under the thread sanitizer.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "IsolatedCheck.h"
#include "PolicyStore.h"
#include "TemporaryDirectory.h"
#include "ZnCrypto.h"
#include "ZnFileSys.h"
#include "ZnIni.h"
#include "ZnJson.h"
#include "ZnLogger.h"
#include "ZnSysInfo.h"
#include "ZnXml.h"

namespace {

constexpr int kThreads = 6;
constexpr int kRounds = 200;

// A round of work on files that all threads share and on files of one thread. Returns whether every
// service did what it promises.
bool UseServices(const TemporaryDirectory& dir, int thread, int round) {
    const std::string own = dir / ("own" + std::to_string(thread));
    const std::string number = std::to_string(round);
    const std::string text = "[s]\nkey=" + number + "\n";
    const auto size = static_cast<long long>(text.size());

    bool isGood = ZnFile::WriteBinFile(own.c_str(), text.data(), size) == size;
    isGood = IniGetInt("s", "key", -1, own.c_str()) == round && isGood;
    isGood = ZnFile::ZnCopyFile(own.c_str(), (dir / "shared.ini").c_str()) == 0 && isGood;
    isGood = IniGetInt("s", "key", -1, (dir / "shared.ini").c_str()) >= 0 && isGood;
    isGood = ZnFile::AppendWriteFile((dir / "mark").c_str(), "line\n", 5) == 5 && isGood;
    isGood = ZnSha256::FileSha256Value(own).size() == 64 && isGood;

    ZnJson::Value json("{\"list\":[" + number + "]}");
    isGood = json["list"].GetArraySize() == 1 && isGood;
    unsigned char decoded[8] = {};
    isGood = ZnBase64::Decode("QUJD", decoded, sizeof decoded) == 3 && isGood;
    isGood = !ZnSysInfo::GetCurrentProcessDirectory().empty() && isGood;

    // Other threads publish the same policy, each with two equal items.
    PolicyStore(dir.Path())
        .Publish(1, "<Policy><A>" + own + number + "</A><B>" + own + number + "</B></Policy>",
                 "policy.xml");
    ZnXml policy;
    std::string a;
    std::string b;
    isGood = policy.LoadPolicyShareMemory(1) && policy.GetXmlContent("A", a) &&
             policy.GetXmlContent("B", b) && !a.empty() && a == b && isGood;

    std::vector<std::string> files;
    ZnFile::ScanDirectoriesFiles(dir.Path(), files);
    isGood = !files.empty() && isGood;
    ZnLogger::GetInstance()->Log(__FILE__, __LINE__, __func__, " ", "", LogLevelInfo, "%d:%d",
                                 thread, round);
    return isGood;
}

}  // namespace

TEST(ServicesMixTest, ThreadsUseAllServicesAtOnce) {
    const TemporaryDirectory dir;
    ProcessOptions options;
    options.environment["ZN_LOG_FILE"] = dir / "zn.log";
    options.environment["ZN_POLICY_STORE"] = dir.Path();
    ExpectHolds(InChild(
        [&] {
            std::atomic<int> failures = 0;
            std::vector<std::thread> threads;
            threads.reserve(kThreads);
            for (int thread = 0; thread < kThreads; ++thread) {
                threads.emplace_back([&, thread] {
                    for (int round = 0; round < kRounds; ++round) {
                        failures += UseServices(dir, thread, round) ? 0 : 1;
                    }
                });
            }
            for (std::thread& thread : threads) {
                thread.join();
            }
            return failures == 0;
        },
        options));

    const std::string log = ReadFile(dir / "zn.log");
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), kThreads * kRounds);
    EXPECT_EQ(ReadFile(dir / "mark").size(), 5U * kThreads * kRounds);
}
