// The handling of negative results of bounded copies, which the library's own functions never
// return. Replaces them with functions that refuse one text.
#include <cstring>
#include <vector>

#include "UpdateTest.h"
#include "bounded.h"

using testing::ElementsAre;

int memset_s(void* dest, size_t, int c, size_t count) {
    std::memset(dest, c, count);
    return BOUNDED_OK;
}

int strcpy_s(char* dest, size_t destMax, const char* src) {
    if (std::strcmp(src, "refused") == 0) {
        return -1;
    }
    std::strncpy(dest, src, destMax);
    return BOUNDED_OK;
}

class RefusedCopy : public UpdateTest {
   protected:
    std::vector<ZnPackageInfo> records_;
};

TEST_F(RefusedCopy, StopsConversionAndKeepsEarlierRecords) {
    EXPECT_EQ(ZnVcUpdate::ZnConvertToVekPackInfo(
                  R"({"packageInfo": [{"version": "1"}, {"version": "refused"}, {}]})", records_),
              kFailure);
    ASSERT_EQ(records_.size(), 1U);
    EXPECT_STREQ(records_[0].version, "1");
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(Failure("HereDupCp", "strcpy_s Failed"),
                            Failure("ZnConvertToVekPackInfo", "HereDupCp:Faield rc=-10000")));
}

TEST_F(RefusedCopy, IsLoggedForEachFieldAndInSum) {
    ZnVcUpdate::ZnConvertToVekPackInfo(
        R"({"packageInfo": [{"application": "refused", "version": "refused",
                             "sha256Hash": "refused", "size": "refused"}]})",
        records_);
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(Failure("HereDupCp", "strcpy_s Failed"),
                            Failure("HereDupCp", "strcpy_s Failed"),
                            Failure("HereDupCp", "strcpy_s Failed"),
                            Failure("ZnConvertToVekPackInfo", "HereDupCp:Faield rc=-30000")));
}

TEST_F(RefusedCopy, SkipsFileInScan) {
    ScriptedFiles::Get().scan = [](const std::string&, std::vector<std::string>& files) {
        files = {"/d.zip/refused", "/d/a.zip"};
        return 0;
    };
    ScriptedFiles::Get().fileSize = [](const std::string&) { return 5; };
    EXPECT_EQ(ZnVcUpdate::ZnScanLocalZipFiles(temporary_.Path(), records_), kSuccess);
    ASSERT_EQ(records_.size(), 1U);
    EXPECT_STREQ(records_[0].packageName, "a.zip");
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(TreeRecord(), Failure("ZnScanLocalZipFiles", "strcpy_s Faield"),
                            Progress("ZnScanLocalZipFiles", "scanFiles[1]=/d/a.zip"),
                            Progress("ZnScanLocalZipFiles", "localPackInfo.size=1")));
}
