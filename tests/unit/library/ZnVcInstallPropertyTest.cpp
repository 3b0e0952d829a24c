// The install list and RepairPath, compared with literal versions of their rules over random
// inputs: same results, log records and commands.
#include <algorithm>
#include <cstring>
#include <filesystem>

#include "PolicyTest.h"
#include "Random.h"
#include "TemporaryDirectory.h"
#include "ZnCrypto.h"
#include "ZnFileSys.h"
#include "ZnVcUpdate.h"

namespace fs = std::filesystem;

constexpr int kFailed = -10000;

// --- The literal install list ---

namespace literal {

void Log(LogLevel level, const char* function, const std::string& text) {
    ZnLogger::GetInstance()->Log("ZnVcInstall.cpp", 1, function, " ", "", level, "%s",
                                 text.c_str());
}

// The text of a field, which may lack its NUL.
template <size_t N>
std::string Text(const char (&field)[N]) {
    return {field, strnlen(field, N)};
}

bool Has(const std::string& text, const char* part) {
    return strstr(text.c_str(), part) != nullptr;
}

std::vector<std::string> TidyCheckZipFiles(int side, const std::vector<std::string>& files) {
    std::vector<std::string> kept;
    for (const std::string& path : files) {
        if (((side == 1 && Has(path, "_Client")) || (side == 0 && Has(path, "_Server"))) &&
            Has(path, ".zip")) {
            Log(LogLevelInfo, "TidyCheckZipFiles", "Local:" + path);
            kept.push_back(path);
        }
    }
    return kept;
}

void FirstOfAllUnReleaseZip(const std::vector<std::string>& kept,
                            const std::vector<ZnPackageInfo>& packages) {
    for (const std::string& path : kept) {
        if (!Has(path, "_Release.zip")) {
            continue;
        }
        std::string dir;
        std::string name;
        ZnVcUpdate::SplitFilePath(path, dir, name, '/');
        for (const ZnPackageInfo& package : packages) {
            if (Has(Text(package.downloadUrl), name.c_str())) {
                Log(LogLevelInfo, "FirstOfAllUnReleaseZip", path);
                ZnVcUpdate::UnZipVcPackage(path);
            }
        }
    }
}

int UnZipAllInnerPackageZip(int side, const std::vector<std::string>& kept,
                            const std::vector<ZnPackageInfo>& packages) {
    for (const std::string& path : kept) {
        if (!Has(path, ".zip") || Has(path, "_Release.zip")) {
            continue;
        }
        const std::string digest = ZnSha256::FileSha256Value(path);
        for (const ZnPackageInfo& package : packages) {
            if (strncmp(package.sha256Hash, digest.c_str(), 64) != 0) {
                continue;
            }
            Log(LogLevelInfo, "UnZipAllInnerPackageZip", "zipfile=" + path);
            Log(LogLevelInfo, "UnZipAllInnerPackageZip", "zipfileSha256=" + digest);
            if (ZnVcUpdate::UnZipVcPackage(path) != 0) {
                Log(LogLevelError, "UnZipAllInnerPackageZip", "UnZipVcPackage Failed");
                return kFailed;
            }
            ZnVcUpdate::AppendInstallScript(static_cast<ZnSide>(side), path,
                                            Text(package.platform));
        }
    }
    return 0;
}

int BuildVcInstallList(const std::string& rootDir, int side,
                       const std::vector<ZnPackageInfo>& packages) {
    const std::string packageDirectory = rootDir + "/Package/";
    std::vector<std::string> files;
    ZnFile::ScanDirectoriesFiles(packageDirectory, files);
    const std::vector<std::string> kept = TidyCheckZipFiles(side, files);
    if (kept.empty()) {
        Log(LogLevelError, "BuildVcInstallList", "Invalid:tidyZipFiles.size");
        return kFailed;
    }
    FirstOfAllUnReleaseZip(kept, packages);
    return UnZipAllInnerPackageZip(side, kept, packages);
}

void RepairPath(std::string& path) {
    if (path.size() < 2) {
        return;
    }
    for (int32_t i = 1; i < static_cast<int32_t>(path.size());) {
        const auto at = static_cast<size_t>(i);
        if (path[at - 1] == '/' && path[at] == '/') {
            path.erase(at, 1);
        } else {
            ++i;
        }
    }
}

}  // namespace literal

// --- The install list over random zips and records ---

class InstallListProperty : public PolicyTest {
   protected:
    struct Input {
        int side;
        std::vector<std::string> files;
        std::map<std::string, std::string> digests;
        std::vector<ZnPackageInfo> packages;
    };

    // The observable effects of a call.
    struct Outcome {
        int result;
        std::vector<Logged> records;
        std::vector<std::string> commands;
        std::vector<std::string> digestCalls;
    };

    // The platform is read once per process. Reading it here keeps the record out of the compared
    // calls.
    static void SetUpTestSuite() {
        ScriptedServices::Reset();
        ScriptedServices::Get().iniFiles["/platforminfo.ini"] = {{"os", {{"platform", "arm64"}}}};
        ZnVcUpdate::AppendInstallScript(SERVER_SIDE, "/dev/null", "arm64");
    }

    InstallListProperty() {
        fs::create_directories(packages_);
        fs::current_path(packages_);
        for (const char* const name : kNames) {
            paths_.push_back(packages_ + name);
            if (std::strstr(name, "gone") == nullptr) {
                WriteFile(packages_ + name, "zip");
            }
        }
        // Paths without a file name: every address contains an empty name.
        WriteFile(packages_ + "_Server_Release.zipless", "zip");
        paths_.emplace_back("_Server_Release.zipless");
        fs::create_directory(packages_ + "_Client_Server_Release.zip");
        paths_.push_back(packages_ + "_Client_Server_Release.zip/");
        ScriptedServices::Get().iniFiles[packages_ + "b_Server/FileList.ini"] = {
            {"Package_Intall_Type", {{"PackageIntallType", "arm64"}}}, {"arm64", {}}};
        WriteFile(packages_ + "b_Server/FileList.ini", "");
    }

    ~InstallListProperty() override {
        fs::current_path("/");
    }

    Input MakeInput() {
        Input input;
        input.side = random_.OneIn(10) ? static_cast<int>(random_.Below(5)) - 2
                                       : static_cast<int>(random_.Below(2));
        for (size_t i = random_.Below(12); i > 0; --i) {
            input.files.push_back(random_.OneOf(paths_));
            input.digests[input.files.back()] = random_.OneOf(digests_);
        }
        for (size_t i = random_.Below(8); i > 0; --i) {
            input.packages.push_back(MakePackage());
        }
        return input;
    }

    ZnPackageInfo MakePackage() {
        ZnPackageInfo package = {};
        std::string url = random_.OneIn(3) ? std::string(300, 'u') : "";
        for (size_t i = random_.Below(5); i > 0; --i) {
            url += random_.OneOf(fragments_);
        }
        Fill(package.downloadUrl, url);
        Fill(package.sha256Hash, random_.OneOf(digests_));
        Fill(package.platform, random_.OneOf(platforms_));
        Fill(package.packageName, "what follows the platform");
        Fill(package.downloadZipSha256Hash, "_Release.zip, which follows the address");
        return package;
    }

    // Copies as much of the text as the field holds, possibly without a NUL.
    template <size_t N>
    static void Fill(char (&field)[N], const std::string& text) {
        text.copy(field, N);
    }

    template <typename Function>
    static Outcome Run(const Input& input, Function build) {
        RecordingLogger::Clear();
        ScriptedServices& services = ScriptedServices::Get();
        services.shellCommands.clear();
        services.digestCalls.clear();
        services.fileSha256 = [&](const std::string& path) { return input.digests.at(path); };
        ScriptedFiles::Get().calls.clear();
        ScriptedFiles::Get().scan = [&](const std::string&, std::vector<std::string>& files) {
            files = input.files;
            return 0;
        };
        const int result = build();
        return {result, RecordingLogger::Records(), services.shellCommands, services.digestCalls};
    }

    // Bundles and zips of both sides, marks in directories, names within names. Files with "gone"
    // in their names do not exist, so unpacking them fails.
    static constexpr const char* kNames[] = {"a_Server_Release.zip",
                                             "ba_Server_Release.zip",
                                             "_Server_Release.zip",
                                             "a_Client_Release.zip",
                                             "_Server_Client_Release.zip",
                                             "gone_Server_Release.zip",
                                             "dir_Release.zip/c_Server.zip",
                                             "_Server/d_Release.zip",
                                             "b_Server.zip",
                                             "bb_Server.zip",
                                             "b_Client.zip",
                                             "b_Server_Client.zip",
                                             "_Client/e.zip",
                                             "f_Server.zip.part",
                                             "g_Server",
                                             "h.zip",
                                             "gone_Server.zip",
                                             "gone_Client.zip",
                                             "i_Server.zip",
                                             "j_Server.zip"};

    Random random_;
    TemporaryDirectory dir_;
    const std::string packages_ = dir_ / "Package/";
    std::vector<std::string> paths_;
    const std::vector<std::string> fragments_ = {"a_Server_Release.zip",
                                                 "ba_Server_Release.zip",
                                                 "_Server_Release.zip",
                                                 "a_Client_Release.zip",
                                                 "_Server_Client_Release.zip",
                                                 "c_Server.zip",
                                                 "d_Release.zip",
                                                 "_Release.zip",
                                                 "https://host/",
                                                 "a_Server_Re",
                                                 "lease.zip",
                                                 "gone",
                                                 "b",
                                                 "/",
                                                 "_Server_Release.zipless"};
    const std::vector<std::string> digests_ = {std::string(64, 'a'),
                                               std::string(64, 'a') + "tail",
                                               std::string(64, 'a') + "bbbbbbb",
                                               std::string(63, 'a') + "b",
                                               std::string(63, 'a'),
                                               "short",
                                               "shorter",
                                               "",
                                               std::string(64, 'A')};
    const std::vector<std::string> platforms_ = {
        "arm64", "arm64", "arm", "x86", "", "a", std::string(64, 'p')};
};

static std::string Printed(const std::vector<Logged>& records) {
    return testing::PrintToString(records);
}

TEST_F(InstallListProperty, AgreesWithLiteralVersion) {
    constexpr int kRounds = 30000;
    int bundles = 0;
    int installs = 0;
    int several = 0;
    int stopped = 0;
    int empty = 0;
    for (int round = 0; round < kRounds; ++round) {
        const Input input = MakeInput();
        const Outcome expected = Run(input, [&] {
            return literal::BuildVcInstallList(dir_.Path(), input.side, input.packages);
        });
        const Outcome outcome = Run(input, [&] {
            return ZnVcUpdate::BuildVcInstallList(dir_.Path(), static_cast<ZnSide>(input.side),
                                                  input.packages);
        });
        ASSERT_EQ(outcome.result, expected.result) << "round " << round;
        ASSERT_EQ(outcome.records, expected.records) << "round " << round << "\n"
                                                     << Printed(outcome.records);
        ASSERT_EQ(outcome.commands, expected.commands) << "round " << round;
        ASSERT_EQ(outcome.digestCalls, expected.digestCalls) << "round " << round;

        const auto logged = [&](const std::string& function, const std::string& text) {
            return std::count_if(
                expected.records.begin(), expected.records.end(), [&](const Logged& record) {
                    return record.function == function && record.text.rfind(text, 0) == 0;
                });
        };
        const auto chosen = logged("UnZipAllInnerPackageZip", "zipfile=");
        bundles += logged("FirstOfAllUnReleaseZip", "") > 0 ? 1 : 0;
        installs += logged("ExecuteInstallCommand", "Match:") > 0 ? 1 : 0;
        several += chosen > static_cast<long>(expected.digestCalls.size()) ? 1 : 0;
        stopped += logged("UnZipAllInnerPackageZip", "UnZipVcPackage Failed") > 0 ? 1 : 0;
        empty += logged("BuildVcInstallList", "Invalid:tidyZipFiles.size") > 0 ? 1 : 0;
    }
    std::cout << "of " << kRounds << " lists: " << bundles << " unpacked bundles, " << installs
              << " installed a package, " << several << " a zip for several records, " << stopped
              << " were stopped by a zip that had gone, " << empty << " had no zip\n";
    // Every path was taken often.
    EXPECT_GT(bundles, kRounds / 20);
    EXPECT_GT(installs, kRounds / 200);
    EXPECT_GT(several, kRounds / 100);
    EXPECT_GT(stopped, kRounds / 50);
    EXPECT_GT(empty, kRounds / 50);
}

// --- Paths ---

TEST(RepairPathProperty, AgreesWithLiteralVersion) {
    Random random;
    for (int round = 0; round < 100000; ++round) {
        const std::string path = random.Text(std::string("///a.\0", 6), 16);
        std::string expected = path;
        literal::RepairPath(expected);
        std::string repaired = path;
        ZnVcUpdate::RepairPath(repaired);
        ASSERT_EQ(repaired, expected) << testing::PrintToString(path);
    }
}
