// The program's reading of a manifest predicts what the installer does.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <set>
#include <string>

#include "Manifest.h"
#include "PackageError.h"
#include "PrivateMounts.h"
#include "Random.h"
#include "TemporaryDirectory.h"
#include "ZnVcUpdate.h"

namespace {

namespace fs = std::filesystem;

const std::vector<std::string> kNames = {"a", "b", " c", "d e"};
const std::vector<std::string> kSections = {"p", "q", "r"};

// A manifest with some of its parts missing, repeated or too long. Destinations are below `to`.
std::string RandomManifest(Random& random, const std::string& to) {
    std::string text;
    if (!random.OneIn(20)) {
        text += "[Package_Intall_Type]\n";
    }
    if (!random.OneIn(20)) {
        text += "PackageIntallType=arm64\n";
    }
    if (!random.OneIn(20)) {
        text += "[arm64]\n";
        for (const std::string& section : kSections) {
            if (!random.OneIn(3)) {
                text += section + "=" + to + section + "/\n";
            }
        }
    }
    for (const std::string& section : kSections) {
        if (random.OneIn(8)) {
            continue;
        }
        text += "[" + section + "]\n";
        for (size_t key = random.Below(3); key > 0; --key) {
            text += "k" + std::to_string(random.Below(3)) + "=";
            for (size_t name = random.Below(5); name > 0; --name) {
                text += random.OneIn(10) ? "," : random.OneOf(kNames) + ",";
            }
            // The list goes on beyond the longest value, where a name may be cut in two.
            text += random.OneIn(10)
                        ? std::string(124, ' ') + "a" + std::string(random.Below(200), ',')
                        : "";
            text += random.OneIn(3) ? random.OneOf(kNames) : "";
            text += "\n";
        }
    }
    return text;
}

std::optional<Manifest> Predict(const std::string& file) {
    try {
        return ReadManifest(file, file);
    } catch (const PackageError&) {
        return std::nullopt;
    }
}

std::set<std::string> FilesBelow(const std::string& directory) {
    std::set<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        if (entry.is_regular_file()) {
            files.insert(entry.path());
        }
    }
    return files;
}

TEST(ManifestProperty, PredictsWhatTheInstallerDoes) {
    EmptyPrivateMounts();
    fs::create_directories("/usr/local/vornserver/bin/microservices");
    setenv("ZN_LOG_LEVEL", "off", 1);
    const std::string package = "/usr/local/package";  // where syncing costs nothing
    const std::string to = "/usr/local/to/";
    Random random;
    int rejected = 0;
    int partial = 0;
    int complete = 0;
    for (int round = 0; round < 1500; ++round) {
        const std::string text = RandomManifest(random, to);
        SCOPED_TRACE(text);
        fs::remove_all(to);
        fs::create_directory(to);
        WriteFile(package + "/FileList.ini", text);
        const std::optional<Manifest> manifest = Predict(package + "/FileList.ini");
        std::set<std::string> expected;
        fs::remove_all(package + "/Common");
        if (manifest) {
            for (const ManifestPath& path : manifest->paths) {
                for (const std::string& name : path.files) {
                    WriteFile(package + "/Common/" + name, "contents");
                    expected.insert(path.destination + name);
                }
            }
        }
        const int result = ZnVcUpdate::ExecuteInstallCommand(package, "arm64");
        const bool succeeds =
            manifest && manifest->platform == "arm64" && manifest->failure.empty();
        ASSERT_EQ(result == 0, succeeds);
        ASSERT_EQ(FilesBelow(to), expected);
        rejected += manifest ? 0 : 1;
        partial += manifest && !succeeds ? 1 : 0;
        complete += succeeds ? 1 : 0;
    }
    // Agreement counts only where every outcome is frequent.
    EXPECT_GT(rejected, 100);
    EXPECT_GT(partial, 100);
    EXPECT_GT(complete, 100);
}

}  // namespace
