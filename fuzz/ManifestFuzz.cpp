// Any text as the manifest FileList.ini of a package. The default INI reader reads it from a real
// file; all files that it names are in memory.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "Check.h"
#include "MemoryFiles.h"
#include "RecordingLogger.h"
#include "TemporaryDirectory.h"
#include "ZnVcUpdate.h"

static const std::string kMark = "/usr/local/vornserver/bin/microservices/vcUpdated.mark";

// The files of the package, and those that exist at its destination.
static std::map<std::string, std::string> FilesBefore(const std::string& package) {
    return {
        {package + "/FileList.ini", "read from disk"},
        {package + "/Common/a.so", "new a"},
        {package + "/Common/b.so", "new b"},
        {package + "/Common/c", "new c"},
        {package + "/Common/empty", ""},
        {"/opt/x/a.so", "old a"},
        {"/opt/x/a.so.bak", "older a"},
        {"/opt/x/b.so", "new b"},
        {"/opt/x/b.so.bak", "old b"},
        {kMark, "from the last installation"},
    };
}

static bool LoggedAFailure() {
    const std::vector<Logged> records = RecordingLogger::Records();
    return std::any_of(records.begin(), records.end(),
                       [](const Logged& record) { return record.level == LogLevelError; });
}

// The expected contents of the mark file: every destination since it was last removed.
static std::string MarkAfter(const std::vector<MemoryFiles::Change>& changes, std::string mark) {
    for (const MemoryFiles::Change& change : changes) {
        if (change.path == kMark) {
            mark.clear();
        } else if (change.what == "copy") {
            mark += change.path;
        }
    }
    return mark;
}

static void CheckChange(const MemoryFiles::Change& change) {
    if (change.what == "remove") {
        const bool backup =
            change.path.size() > 4 && change.path.compare(change.path.size() - 4, 4, ".bak") == 0;
        CHECK(backup || change.path == kMark);
    } else {
        CHECK(change.what == "copy");  // an existing file has become the backup before
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const TemporaryDirectory directory;
    const std::string& package = directory.Path();
    const std::string manifest(reinterpret_cast<const char*>(data), size);
    if (manifest.find(package) != std::string::npos) {
        return -1;  // nothing is promised to a package that installs over itself
    }
    WriteFile(directory / "FileList.ini", manifest);

    const std::map<std::string, std::string> before = FilesBefore(package);
    MemoryFiles& memory = MemoryFiles::Get();
    memory.files = before;
    memory.directories = {"/opt/x/"};
    memory.changes.clear();
    RecordingLogger::Clear();

    memory.inForce = true;
    const int result = ZnVcUpdate::ExecuteInstallCommand(package, "Model");
    memory.inForce = false;

    CHECK(result == kSuccess || result == kFailure);
    CHECK((result == kFailure) == LoggedAFailure());
    std::for_each(memory.changes.begin(), memory.changes.end(), CheckChange);
    CHECK(memory.files[kMark] == MarkAfter(memory.changes, before.at(kMark)));
    for (const auto& [path, contents] : before) {
        CHECK(path.rfind(package, 0) != 0 || memory.files[path] == contents);
    }
    return 0;
}
