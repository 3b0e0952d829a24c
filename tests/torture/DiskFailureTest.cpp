// Full and failing disks: whatever is reported, what was there before stays, and nothing crashes.
// Linux only: the disks are file systems that the tests mount in a namespace of their own.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "ChildProcess.h"
#include "PolicyStore.h"
#include "TemporaryDirectory.h"
#include "Torture.h"
#include "ZnCrypto.h"
#include "ZnFileSys.h"
#include "ZnIni.h"
#include "ZnXml.h"

namespace {

namespace fs = std::filesystem;

std::string Document(const std::string& name, size_t size) {
    return "<Policy><PolicyName>" + name + "</PolicyName><Padding>" + std::string(size, 'x') +
           "</Padding></Policy>";
}

bool HasTemporaryFiles(const std::string& directory) {
    const fs::directory_iterator entries(directory);
    return std::any_of(begin(entries), end(entries), [](const fs::directory_entry& entry) {
        return entry.path().filename().string().rfind(".zn-", 0) == 0;
    });
}

// A mounted file system, unmounted when it is destroyed.
class Mounted {
   public:
    Mounted(const std::string& source, const std::string& directory, const char* type,
            const std::string& options)
        : directory_(directory) {
        fs::create_directories(directory);
        mounted_ = mount(source.c_str(), directory.c_str(), type, 0, options.c_str()) == 0;
    }
    ~Mounted() {
        if (mounted_) {
            umount2(directory_.c_str(), MNT_DETACH);
        }
    }
    Mounted(const Mounted&) = delete;
    Mounted& operator=(const Mounted&) = delete;

    explicit operator bool() const {
        return mounted_;
    }

   private:
    std::string directory_;
    bool mounted_ = false;
};

// A tmpfs of `kibibytes` KiB.
class SmallDisk {
   public:
    explicit SmallDisk(int kibibytes)
        : mounted_("small", directory_ / "disk", "tmpfs",
                   "size=" + std::to_string(kibibytes) + "k") {
        if (!mounted_) {
            throw std::runtime_error("cannot mount a tmpfs");
        }
    }

    std::string Path() const {
        return directory_ / "disk";
    }

   private:
    TemporaryDirectory directory_;
    Mounted mounted_;
};

}  // namespace

TEST(FullDisk, PublishingKeepsTheOldPolicyOrReplacesIt) {
    bool hasFailed = false;
    bool hasSucceeded = false;
    for (int kibibytes = 12; kibibytes <= 200; kibibytes += 4) {
        const SmallDisk disk(kibibytes);
        const PolicyStore store(disk.Path());
        store.Publish(1, Document("old", 10), "old");
        std::string expected = "new";
        try {
            store.Publish(1, Document("new", 100000), "new");
            hasSucceeded = true;
        } catch (const PolicyStore::Error&) {
            expected = "old";
            hasFailed = true;
        }
        EXPECT_EQ(store.Read(1).front().value, expected) << kibibytes;
        EXPECT_FALSE(HasTemporaryFiles(disk.Path())) << kibibytes;
    }
    EXPECT_TRUE(hasFailed);
    EXPECT_TRUE(hasSucceeded);
}

TEST(FullDisk, CopyingAndWritingKeepTheOldFileOrReplaceIt) {
    const TemporaryDirectory sources;
    const std::string contents(100000, 'n');
    WriteFile(sources / "new", contents);
    bool hasFailed = false;
    bool hasSucceeded = false;
    for (int kibibytes = 8; kibibytes <= 240; kibibytes += 4) {
        const SmallDisk disk(kibibytes);
        const std::string copied = disk.Path() + "/copied";
        const std::string written = disk.Path() + "/written";
        WriteFile(copied, "old");
        const bool copies = ZnFile::ZnCopyFile((sources / "new").c_str(), copied.c_str()) == 0;
        EXPECT_EQ(ReadFile(copied), copies ? contents : "old") << kibibytes;
        if (copies) {
            fs::remove(copied);
        }
        WriteFile(written, "old");
        const auto length = static_cast<long long>(contents.size());
        const bool writes =
            ZnFile::WriteBinFile(written.c_str(), contents.data(), length) == length;
        EXPECT_EQ(ReadFile(written), writes ? contents : "old") << kibibytes;
        EXPECT_FALSE(HasTemporaryFiles(disk.Path())) << kibibytes;
        hasFailed = hasFailed || !copies || !writes;
        hasSucceeded = hasSucceeded || copies || writes;
    }
    EXPECT_TRUE(hasFailed);
    EXPECT_TRUE(hasSucceeded);
}

TEST(FullDisk, AppendingReportsHowMuchWasWritten) {
    const SmallDisk disk(64);
    const std::string file = disk.Path() + "/mark";
    const std::string contents(100000, 'm');
    const long long written = ZnFile::AppendWriteFile(file.c_str(), contents.data(), 100000);
    EXPECT_LT(written, 100000);
    EXPECT_EQ(static_cast<long long>(fs::file_size(file)), written);
}

// An ext4 image is cut while it is mounted: reading what lay behind the cut fails with EIO.
TEST(FailingDisk, ReadersReportFailureAndSurvive) {
    const TemporaryDirectory directory;
    const std::string image = directory / "image";
    const std::string disk = directory / "disk";
    std::ofstream(image).close();
    fs::resize_file(image, 16U << 20);
    fs::create_directories(disk);
    const std::string attach = "mount -o loop " + image + " " + disk;
    if (!RunProgram({"sh", "-c", "mkfs.ext4 -q -O ^has_journal " + image + " && " + attach})
             .Succeeded()) {
        GTEST_SKIP() << "this machine cannot mount an ext4 image (loop devices, e2fsprogs)";
    }
    const PolicyStore store(disk);
    store.Publish(1, Document("small", 30000), "small");
    store.Publish(2, Document("large", 2000000), "large");
    WriteFile(disk + "/settings.ini", "[s]\nk=v\n;" + std::string(1000000, 'x') + "\n");
    WriteFile(disk + "/file", std::string(1000000, 'f'));
    OutputOf("umount " + disk + " && " + attach);  // forgets what is cached

    const ProcessResult reader = RunInChild(
        [&] {
            ZnXml before;
            before.LoadPolicyShareMemory(2);  // its contents are not read yet
            fs::resize_file(image, 1U << 20);
            std::string text;
            char buffer[260] = {};
            std::vector<std::string> files;
            before.GetXmlContent("Padding", text);
            for (const int id : {1, 2}) {
                ZnXml xml;
                if (xml.LoadPolicyShareMemory(id)) {
                    xml.GetXmlContent("Padding", text);
                }
            }
            IniGetString("s", "k", "", buffer, 259, (disk + "/settings.ini").c_str());
            const std::string digest = ZnSha256::FileSha256Value(disk + "/file");
            const int copied =
                ZnFile::ZnCopyFile((disk + "/file").c_str(), (directory / "copy").c_str());
            ZnFile::ScanDirectoriesFiles(disk, files);
            puts(digest.empty() && copied != 0 ? "failures reported" : "not a failing disk");
        },
        {"", {{"ZN_POLICY_STORE", disk}}, "", ""});
    RunProgram({"umount", "-l", disk});
    EXPECT_TRUE(reader.Succeeded()) << reader;
    EXPECT_EQ(reader.out, "failures reported\n") << reader;
}

// Somebody overwrites and truncates policy files in place, contrary to the documented use.
TEST(TruncationInPlace, NeverCrashesAReader) {
    const TemporaryDirectory directory;
    const PolicyStore store(directory.Path());
    store.Publish(1, Document("small", 30000), "small");
    store.Publish(2, Document("large", 300000), "large");
    const std::string small = ReadFile(directory / "1.cdb");
    const std::string large = ReadFile(directory / "2.cdb");
    const SharedCounters counters;
    ChildProcess reader(
        [&] {
            while (!counters->stop) {
                for (const int id : {1, 2}) {
                    ZnXml xml;
                    std::string text;
                    if (xml.LoadPolicyShareMemory(id) && xml.GetXmlContent("Padding", text)) {
                        ++counters->reads;
                    }
                }
            }
        },
        {"", {{"ZN_POLICY_STORE", directory.Path()}}, "", ""});
    std::mt19937_64 random(Seed());
    for (uint64_t round = 0; round < 20 * Rounds(); ++round) {
        fs::resize_file(directory / "1.cdb", Below(random, small.size()));
        fs::resize_file(directory / "2.cdb", Below(random, large.size()));
        std::ofstream(directory / "1.cdb", std::ios::binary) << small;
        std::ofstream(directory / "2.cdb", std::ios::binary) << large;
    }
    while (counters->reads == 0) {
        sched_yield();  // at least one reading of an undamaged file
    }
    counters->stop = true;
    const ProcessResult result = reader.Wait();
    EXPECT_TRUE(result.Succeeded()) << result;
}
