// The splitting of file lists, compared with a literal version of its rules over random lists.
#include "PolicyTest.h"
#include "Random.h"
#include "TemporaryDirectory.h"
#include "ZnVcUpdate.h"

// Scans the characters by index; an empty element ends the list.
static std::vector<std::string> LiteralSplit(std::string text) {
    std::vector<std::string> elements;
    text += ",";
    int32_t start = 0;
    for (int32_t i = 0; i < static_cast<int32_t>(text.size()); ++i) {
        if (text[static_cast<size_t>(i)] != ',') {
            continue;
        }
        if (i == start) {
            break;
        }
        elements.push_back(text.substr(static_cast<size_t>(start), static_cast<size_t>(i - start)));
        start = i + 1;
    }
    return elements;
}

class FileListProperty : public PolicyTest {};

TEST_F(FileListProperty, AgreesWithLiteralVersion) {
    Random random;
    TemporaryDirectory dir;
    const std::string manifest = dir / "FileList.ini";
    WriteFile(manifest, "");
    for (int round = 0; round < 30000; ++round) {
        const std::string list = random.Text(",ab c", 14);
        ScriptedServices::Get().iniFiles[manifest] = {
            {"Package_Intall_Type", {{"PackageIntallType", "arm64"}}},
            {"arm64", {{"bin", dir / "opt/"}}},
            {"bin", {{"files", list}}}};
        RecordingLogger::Clear();
        ZnVcUpdate::ExecuteInstallCommand(dir.Path(), "arm64");

        std::vector<std::string> elements;
        for (const Logged& record : RecordingLogger::Records()) {
            if (record.function == "SplitString") {
                ASSERT_EQ(record.text.rfind("-------->", 0), 0U);
                elements.push_back(record.text.substr(9));
            }
        }
        ASSERT_EQ(elements, LiteralSplit(list)) << testing::PrintToString(list);
    }
}
