// What a process that reads policies loads. Uses /proc and objdump, so it is for Linux only.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <sstream>
#include <string>

#include "ChildProcess.h"
#include "StoreTest.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ContainsRegex;
using testing::Each;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kXmlParsers = "expat|xml2|pugi|xerces";

// Returns the names of the libraries that `library` needs, including what the needed libraries of
// this project need.
std::set<std::string> NeededBy(const std::filesystem::path& library) {
    std::set<std::string> needed;
    std::istringstream names(
        OutputOf("objdump -p '" + library.string() + "' | awk '$1 == \"NEEDED\" { print $2 }'"));
    for (std::string name; std::getline(names, name);) {
        needed.insert(name);
        const auto own = library.parent_path() / name;
        if (std::filesystem::exists(own)) {
            needed.merge(NeededBy(own));
        }
    }
    return needed;
}

TEST(ReaderProcessTest, LibrariesOfAReaderNeedNoXmlParser) {
    EXPECT_THAT(NeededBy(ZN_XML_LIBRARY),
                AllOf(Contains(StartsWith("libc.")), Each(Not(ContainsRegex(kXmlParsers)))));
    EXPECT_THAT(NeededBy(ZN_POLICY_LIBRARY),
                AllOf(Contains(StartsWith("libZnXml.")), Each(Not(ContainsRegex(kXmlParsers)))));
    EXPECT_THAT(NeededBy(ZN_POLICY_STORE_LIBRARY), Contains(ContainsRegex(kXmlParsers)));
}

using RunningReaderTest = StoreTest;

TEST_F(RunningReaderTest, HasNoXmlParserLoaded) {
    Publish(1001,
            "<Policy><IntelligentDataTransportFlag>7</IntelligentDataTransportFlag></Policy>");
    const ProcessResult result = RunProgram({POLICY_READER, "1001"});
    ASSERT_TRUE(result.Succeeded()) << result;
    EXPECT_THAT(result.out, StartsWith("7\n"));
    EXPECT_THAT(result.out, HasSubstr("/libZnXml."));
    EXPECT_THAT(result.out, Not(ContainsRegex(kXmlParsers)));
}

}  // namespace
