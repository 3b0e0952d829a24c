#include <gtest/gtest.h>

#include <cstring>

#include "PackageRecords.h"

namespace {

ZnPackageInfo Record() {
    ZnPackageInfo record = {};
    std::string("P.zip").copy(record.packageName, 64);
    std::string("1.0").copy(record.version, 32);
    std::string("Model-A").copy(record.platform, 64);
    std::memset(record.sha256Hash, 'f', sizeof record.sha256Hash);  // no terminator
    record.size = 8 << 20;
    return record;
}

TEST(PackageRecords, JsonHasEveryField) {
    const Json records = RecordsToJson({Record()});
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].size(), 11U);
    EXPECT_EQ(records[0]["packageName"], "P.zip");
    EXPECT_EQ(records[0]["application"], "");
    EXPECT_EQ(records[0]["sha256Hash"], std::string(sizeof ZnPackageInfo::sha256Hash, 'f'));
    EXPECT_EQ(records[0]["size"], 8 << 20);
}

TEST(PackageRecords, TableShortensDigests) {
    testing::internal::CaptureStdout();
    PrintRecords({Record()});
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "PACKAGE  VERSION  PLATFORM  SIZE     SHA-256\n"
              "P.zip    1.0      Model-A   8.0 MiB  ffffffffffffffff...\n");
}

}  // namespace
