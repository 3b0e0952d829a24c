// ZnBandwidthPolicy: reading, calculation and queries.
#include <limits>
#include <type_traits>

#include "PolicyTest.h"
#include "ZnBandwidthPolicy.h"

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

// Each object owns its table.
static_assert(!std::is_copy_constructible<ZnBandwidthPolicy>::value, "not copyable");
static_assert(!std::is_copy_assignable<ZnBandwidthPolicy>::value, "not copyable");
static_assert(!std::is_polymorphic<ZnBandwidthPolicy>::value, "no virtual operations");

constexpr int kId = 4711;
constexpr int kMax = std::numeric_limits<int>::max();
constexpr int kMin = std::numeric_limits<int>::min();

// The modules in the order in which they are read.
static const char* const kModules[] = {
    "Audio", "COM",     "Camera",   "Clipboard", "DXVA",  "Display", "FdRedir", "HID",
    "PCSC",  "Printer", "Security", "TWAIN",     "Total", "USB",     "VCC",     "Video"};
static const char* const kSuffixes[] = {"BandwidthSpecified", "Bandwidth",
                                        "BandwidthPercentSpecified", "BandwidthPercent"};

class Bandwidth : public PolicyTest {
   protected:
    // Sets the total bandwidth of the policy.
    void SetTotal(int specified, int kilobits) {
        items_["TotalBandwidthSpecified"] = std::to_string(specified);
        items_["TotalBandwidth"] = std::to_string(kilobits);
    }

    // Sets the four items of a module of the policy.
    void SetModule(const std::string& module, const PolicyCfgItemValue& item) {
        items_[module + "BandwidthSpecified"] = std::to_string(item.bandwidthSpecified);
        items_[module + "Bandwidth"] = std::to_string(item.bandwidth);
        items_[module + "BandwidthPercentSpecified"] =
            std::to_string(item.bandwidthPercentSpecified);
        items_[module + "BandwidthPercent"] = std::to_string(item.bandwidthPercent);
    }

    // Publishes and reads the policy.
    void Read() {
        ScriptedPolicyStore::Publish(kId, items_);
        bandwidth_.ReadBandwidthPolicy(kId);
    }

    int PerSec(const char* module) {
        return bandwidth_.GetBandwidthBytesPerSec(module);
    }

    ScriptedPolicyStore::Items items_;
    ZnBandwidthPolicy bandwidth_;
};

// --- Reading ---

TEST_F(Bandwidth, StartsEmpty) {
    for (const char* module : kModules) {
        EXPECT_EQ(PerSec(module), 0) << module;
        EXPECT_EQ(bandwidth_.GetBandwidthBytesPerMs(module), 0) << module;
    }
}

TEST_F(Bandwidth, ReadsTotalThenModulesInByteOrder) {
    std::vector<std::string> expected = {"load 4711", "int TotalBandwidthSpecified",
                                         "int TotalBandwidth"};
    SetTotal(1, 1000);
    for (const char* module : kModules) {
        SetModule(module, {1, 10, 1, 10});
        for (const char* suffix : kSuffixes) {
            expected.push_back(std::string("int ") + module + suffix);
        }
    }
    Read();
    EXPECT_THAT(ScriptedPolicyStore::Calls(), ElementsAreArray(expected));
}

TEST_F(Bandwidth, StopsReadingModuleAtFirstMissingItem) {
    std::vector<std::string> expected = {"load 4711", "int TotalBandwidthSpecified",
                                         "int TotalBandwidth"};
    SetTotal(0, 0);
    // Each module has one more item than the one before, from none to three, then none again.
    size_t present = 0;
    for (const std::string module : kModules) {
        SetModule(module, {1, 10, 1, 10});
        if (module == "Total") {  // two of its items are needed before any module is read
            present = 2;
        }
        for (size_t i = 0; i < 4; ++i) {
            if (i <= present) {
                expected.push_back("int " + module + kSuffixes[i]);
            }
            if (i >= present) {
                items_.erase(module + kSuffixes[i]);
            }
        }
        present = (present + 1) % 4;
    }
    Read();
    EXPECT_THAT(ScriptedPolicyStore::Calls(), ElementsAreArray(expected));
}

TEST_F(Bandwidth, LogsOnlyTerminalOnSuccess) {
    SetTotal(1, 1000);
    SetModule("Audio", {1, 800, 1, 50});
    items_["VideoBandwidthSpecified"] = "1";  // dropped silently: the other three are missing
    SetModule("USB", {1, -1, 1, 101});        // dropped silently: nothing positive comes of it
    Read();
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(Progress("ReadBandwidthPolicy", "terminalId=4711")));
}

TEST_F(Bandwidth, EmptiesTableWhenTotalIsMissing) {
    struct Case {
        std::vector<std::string> missing;
        std::string failure;
        std::vector<std::string> calls;
    };
    const Case cases[] = {
        {{"TotalBandwidthSpecified"},
         "read total bandwidth specified failed",
         {"load 4711", "int TotalBandwidthSpecified"}},
        {{"TotalBandwidth"},
         "read total bandwidth failed",
         {"load 4711", "int TotalBandwidthSpecified", "int TotalBandwidth"}},
        {{"TotalBandwidthSpecified", "TotalBandwidth"},
         "read total bandwidth specified failed",
         {"load 4711", "int TotalBandwidthSpecified"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.missing));
        ScriptedPolicyStore::Reset();
        SetTotal(1, 1000);
        SetModule("Audio", {1, 300, 0, 0});
        Read();
        ASSERT_EQ(PerSec("Audio"), 37500);

        for (const std::string& name : c.missing) {
            items_.erase(name);
        }
        ScriptedPolicyStore::Reset();
        // The value left by a failed read is ignored.
        ScriptedPolicyStore::ScribbleOnFailure("", 77);
        RecordingLogger::Clear();
        Read();
        EXPECT_THAT(RecordingLogger::Records(),
                    ElementsAre(Progress("ReadBandwidthPolicy", "terminalId=4711"),
                                Failure("ReadBandwidthPolicy", c.failure)));
        EXPECT_THAT(ScriptedPolicyStore::Calls(), ElementsAreArray(c.calls));
        EXPECT_EQ(PerSec("Audio"), 0);
        EXPECT_EQ(PerSec("Total"), 0);
    }
}

TEST_F(Bandwidth, EmptiesTableWhenPolicyIsMissing) {
    SetTotal(1, 1000);
    SetModule("Audio", {1, 300, 0, 0});
    Read();
    ASSERT_EQ(PerSec("Audio"), 37500);
    ScriptedPolicyStore::Reset();
    RecordingLogger::Clear();
    bandwidth_.ReadBandwidthPolicy(-8);
    EXPECT_THAT(
        RecordingLogger::Records(),
        ElementsAre(Progress("ReadBandwidthPolicy", "terminalId=-8"),
                    Failure("ReadBandwidthPolicy", "LoadPolicyShareMemory Failed:terminalId=-8")));
    EXPECT_THAT(ScriptedPolicyStore::Calls(), ElementsAre("load -8"));
    for (const char* module : kModules) {
        EXPECT_EQ(PerSec(module), 0) << module;
        EXPECT_EQ(bandwidth_.GetBandwidthBytesPerMs(module), 0) << module;
    }
}

TEST_F(Bandwidth, LogsSourceFileAndTags) {
    bandwidth_.ReadBandwidthPolicy(kId);
    const std::vector<LogOrigin> origins = RecordingLogger::Origins();
    ASSERT_EQ(origins.size(), 2U);
    for (const LogOrigin& origin : origins) {
        EXPECT_EQ(origin.file, "ZnBandwidthPolicy.cpp");
        EXPECT_GT(origin.line, 0);
        EXPECT_EQ(origin.tag1, " ");
        EXPECT_EQ(origin.tag2, "");
    }
}

TEST_F(Bandwidth, ReplacesWholeTableOnRead) {
    SetTotal(1, 1000);
    SetModule("Audio", {1, 300, 0, 0});
    SetModule("Video", {1, 400, 0, 0});
    Read();
    items_.erase("VideoBandwidth");
    SetTotal(0, 1000);
    SetModule("Audio", {1, 200, 0, 0});
    Read();
    EXPECT_EQ(PerSec("Audio"), 25000);
    EXPECT_EQ(PerSec("Video"), 0);
    EXPECT_EQ(PerSec("Total"), 0);
}

TEST_F(Bandwidth, ReadsEveryModule) {
    SetTotal(1, 50);
    for (const char* module : kModules) {
        if (module != std::string("Total")) {
            SetModule(module, {1, 8, 0, 0});
        }
    }
    Read();
    for (const char* module : kModules) {
        EXPECT_EQ(PerSec(module), module == std::string("Total") ? 6250 : 1000) << module;
    }
}

TEST_F(Bandwidth, IgnoresUnknownModules) {
    SetTotal(1, 1000);
    SetModule("Scanner", {1, 8, 0, 0});
    Read();
    EXPECT_EQ(PerSec("Scanner"), 0);
}

TEST_F(Bandwidth, SkipsModuleWithMissingItem) {
    for (const char* suffix : kSuffixes) {
        SCOPED_TRACE(suffix);
        SetTotal(1, 1000);
        SetModule("Audio", {1, 300, 1, 50});
        SetModule("Video", {1, 300, 1, 50});
        items_.erase(std::string("Audio") + suffix);
        Read();
        EXPECT_EQ(PerSec("Audio"), 0);
        EXPECT_EQ(PerSec("Video"), 37500);
    }
}

TEST_F(Bandwidth, TreatsNonNumericItemAsMissing) {
    SetTotal(1, 1000);
    SetModule("Audio", {1, 300, 0, 0});
    items_["AudioBandwidthPercent"] = "half";
    Read();
    EXPECT_EQ(PerSec("Audio"), 0);
}

// --- How total, absolute bandwidth and percentage combine ---

TEST_F(Bandwidth, KeepsPositiveSpecifiedTotalInBytesPerSecond) {
    const struct {
        int specified;
        int kilobits;
        int expected;
    } cases[] = {
        {1, 1000, 125000}, {2, 1, 125}, {-1, 8, 1000}, {0, 1000, 0},
        {1, 0, 0},         {1, -1, 0},  {1, kMin, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.kilobits);
        SetTotal(c.specified, c.kilobits);
        Read();
        EXPECT_EQ(PerSec("Total"), c.expected);
    }
}

struct Rule {
    const char* what;
    int total;  // 0: not specified
    PolicyCfgItemValue item;
    int expectedKilobits;
};

static const Rule kRules[] = {
    {"absolute only", 0, {1, 300, 0, 0}, 300},
    {"absolute only, beside a total", 1000, {1, 300, 0, 0}, 300},
    {"absolute above the total stays", 1000, {1, 5000, 0, 0}, 5000},
    {"any non-zero flag specifies", 1000, {-1, 800, 7, 50}, 500},
    {"absolute not specified", 1000, {0, 300, 0, 0}, 0},
    {"neither specified", 1000, {0, 300, 0, 50}, 0},
    {"absolute 0", 1000, {1, 0, 0, 0}, 0},
    {"absolute negative", 1000, {1, -300, 0, 0}, 0},

    {"share is smaller", 1000, {1, 800, 1, 50}, 500},
    {"absolute is smaller", 1000, {1, 300, 1, 50}, 300},
    {"both the same", 1000, {1, 500, 1, 50}, 500},
    {"share only", 1000, {0, 300, 1, 50}, 500},
    {"share with an absolute of 0", 1000, {1, 0, 1, 50}, 500},
    {"a share never replaces a negative absolute", 1000, {1, -300, 1, 50}, 0},
    {"percentage not specified", 1000, {1, 800, 0, 50}, 800},

    {"1 percent", 1000, {0, 0, 1, 1}, 10},
    {"100 percent", 1000, {0, 0, 1, 100}, 1000},
    {"percentage of 0 is ignored", 1000, {1, 800, 1, 0}, 800},
    {"percentage of 101 is ignored", 1000, {1, 800, 1, 101}, 800},
    {"percentage of 101 alone gives nothing", 1000, {0, 0, 1, 101}, 0},
    {"largest percentage is ignored", 1000, {1, 800, 1, kMax}, 800},
    {"without a total percentages are ignored", 0, {1, 800, 1, 50}, 800},
    {"percentage alone without a total gives nothing", 0, {0, 0, 1, 50}, 0},
    {"negative percentage alone gives nothing", 1000, {0, 0, 1, -50}, 0},
    {"negative percentage never replaces an absolute", 1000, {1, 300, 1, -50}, 300},

    {"shares are truncated", 999, {0, 0, 1, 1}, 9},
    {"a share below one unit leaves the absolute", 50, {1, 300, 1, 1}, 300},
    {"a share below one unit alone gives nothing", 50, {0, 0, 1, 1}, 0},
    {"a product of 99 is below one unit", 99, {1, 300, 1, 1}, 300},
    {"a product of 100 is one unit", 100, {1, 300, 1, 1}, 1},
    {"one unit does not replace one unit", 100, {1, 1, 1, 1}, 1},
};

TEST_F(Bandwidth, UsesSmallerOfAbsoluteAndShare) {
    for (const Rule& rule : kRules) {
        SCOPED_TRACE(rule.what);
        SetTotal(rule.total == 0 ? 0 : 1, rule.total == 0 ? 1000 : rule.total);
        SetModule("Audio", rule.item);
        Read();
        EXPECT_EQ(PerSec("Audio"), rule.expectedKilobits * 125);
        EXPECT_EQ(PerSec("Total"), rule.total * 125);
    }
}

TEST_F(Bandwidth, WrapsProductsAt32Bits) {
    const struct {
        const char* what;
        int total;
        PolicyCfgItemValue item;
        int expected;
    } cases[] = {
        {"17179869 x 125 is the last that fits", 0, {1, 17179869, 0, 0}, 2147483625},
        {"17179870 x 125 wraps below zero", 0, {1, 17179870, 0, 0}, -2147483546},
        {"34359739 x 125 wraps around to 79", 0, {1, 34359739, 0, 0}, 79},
        {"2^30 x 125 wraps around to 2^30", 0, {1, 1 << 30, 0, 0}, 1 << 30},
        {"largest absolute", 0, {1, kMax, 0, 0}, 2147483523},
        {"smallest absolute", 0, {1, kMin, 0, 0}, 0},
        // 100 x (2^31 - 1) wraps to -100: no share at all
        {"100 percent of the largest total", kMax, {0, 0, 1, 100}, 0},
        {"100 percent of the largest total, absolute", kMax, {1, 300, 1, 100}, 37500},
        // 99 x (2^31 - 1) wraps to 2147483549, its share 21474835, and that x 125 again
        {"99 percent of the largest total", kMax, {0, 0, 1, 99}, -1610612921},
        {"99 percent of the largest total, absolute", kMax, {1, 300, 1, 99}, 37500},
        // -100 x (2^31 - 1) wraps to 100: a share of one unit
        {"-100 percent of the largest total", kMax, {1, 300, 1, -100}, 125},
        {"-100 percent of the largest total, no absolute", kMax, {0, 0, 1, -100}, 125},
        // -2^31 x 3 wraps to -2^31, -2^31 x 2 to 0
        {"smallest percentage, odd total", 3, {0, 0, 1, kMin}, 0},
        {"smallest percentage, odd total, absolute", 3, {1, 300, 1, kMin}, 37500},
        {"smallest percentage, even total", 2, {0, 0, 1, kMin}, 0},
        {"smallest percentage, largest total", kMax, {1, kMin, 1, kMin}, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        SetTotal(c.total == 0 ? 0 : 1, c.total);
        SetModule("Audio", c.item);
        Read();
        EXPECT_EQ(PerSec("Audio"), c.expected);
    }
}

TEST_F(Bandwidth, WrapsTotalAt32Bits) {
    SetTotal(1, kMax);
    Read();
    EXPECT_EQ(PerSec("Total"), 2147483523);
    SetTotal(1, 17179870);
    Read();
    EXPECT_EQ(PerSec("Total"), -2147483546);
}

TEST_F(Bandwidth, IgnoresOwnItemsOfTotal) {
    for (const PolicyCfgItemValue& item :
         {PolicyCfgItemValue{1, 1000, 1, 50}, PolicyCfgItemValue{1, 1000, 1, 1},
          PolicyCfgItemValue{1, 1000, 0, 0}, PolicyCfgItemValue{1, 1000, 1, -1}}) {
        SetModule("Total", item);
        Read();
        EXPECT_EQ(PerSec("Total"), 125000);
    }
}

TEST_F(Bandwidth, HasNoTotalUnlessSpecified) {
    SetModule("Total", {0, 1000, 1, 50});
    Read();
    EXPECT_EQ(PerSec("Total"), 0);
}

// --- One module worked out directly ---

TEST_F(Bandwidth, StoresCalculatedAllowanceAndReturnsZero) {
    PolicyCfgItemValue item = {1, 800, 1, 50};
    EXPECT_EQ(bandwidth_.CalculateModuleAllowedBandwidth(1000, "Audio", item), 0);
    EXPECT_EQ(bandwidth_.CalculateModuleAllowedBandwidth(0, "Video", item), 0);
    EXPECT_EQ(PerSec("Audio"), 62500);
    EXPECT_EQ(PerSec("Video"), 100000);
    EXPECT_THAT(RecordingLogger::Records(), IsEmpty());
    EXPECT_THAT(ScriptedPolicyStore::Calls(), IsEmpty());
}

TEST_F(Bandwidth, DoesNotChangeItemsWhenCalculating) {
    PolicyCfgItemValue item = {1, 800, 1, 50};
    bandwidth_.CalculateModuleAllowedBandwidth(1000, "Audio", item);
    EXPECT_EQ(item.bandwidthSpecified, 1);
    EXPECT_EQ(item.bandwidth, 800);
    EXPECT_EQ(item.bandwidthPercentSpecified, 1);
    EXPECT_EQ(item.bandwidthPercent, 50);
}

TEST_F(Bandwidth, OverwritesEarlierAllowance) {
    PolicyCfgItemValue item = {1, 800, 0, 0};
    bandwidth_.CalculateModuleAllowedBandwidth(0, "Audio", item);
    item.bandwidth = 900;
    bandwidth_.CalculateModuleAllowedBandwidth(0, "Audio", item);
    EXPECT_EQ(PerSec("Audio"), 112500);
}

TEST_F(Bandwidth, KeepsEntryForResultOfZeroOrLess) {
    PolicyCfgItemValue item = {1, 800, 0, 0};
    bandwidth_.CalculateModuleAllowedBandwidth(0, "Audio", item);
    for (const int none : {0, -1, kMin}) {
        item.bandwidth = none;
        EXPECT_EQ(bandwidth_.CalculateModuleAllowedBandwidth(0, "Audio", item), 0);
        EXPECT_EQ(PerSec("Audio"), 100000);
    }
}

TEST_F(Bandwidth, TreatsTotalOfZeroOrLessAsNone) {
    for (const int total : {0, -1, -1000, kMin}) {
        SCOPED_TRACE(total);
        PolicyCfgItemValue item = {1, 800, 1, 50};
        bandwidth_.CalculateModuleAllowedBandwidth(total, "Audio", item);
        bandwidth_.CalculateModuleAllowedBandwidth(total, "Total", item);
        EXPECT_EQ(PerSec("Audio"), 100000);
        EXPECT_EQ(PerSec("Total"), 0);
    }
}

TEST_F(Bandwidth, RecognizesTotalByExactNameOnly) {
    PolicyCfgItemValue item = {1, 8, 0, 0};
    const std::string nulAtTheEnd("Total\0", 6);
    for (const std::string name :
         {"total", "Tota", "Total2", "TotalBandwidth", " Total", "", "X"}) {
        SCOPED_TRACE(name);
        bandwidth_.CalculateModuleAllowedBandwidth(1000, name, item);
        EXPECT_EQ(PerSec(name.c_str()), 1000);
    }
    bandwidth_.CalculateModuleAllowedBandwidth(1000, nulAtTheEnd, item);
    EXPECT_EQ(PerSec("Total"), 0);
    bandwidth_.CalculateModuleAllowedBandwidth(1000, "Total", item);
    EXPECT_EQ(PerSec("Total"), 125000);
}

// --- Queries ---

class BandwidthQuery : public Bandwidth {
   protected:
    // Gives each module a different allowance: 125, 250, 375 ... in the order of kModules.
    BandwidthQuery() {
        SetTotal(1, 13);
        int kilobits = 0;
        for (const std::string module : kModules) {
            ++kilobits;
            if (module != "Total") {
                SetModule(module, {1, kilobits, 0, 0});
            }
        }
        Read();
    }
};

TEST_F(BandwidthQuery, FindsPlainNames) {
    int expected = 0;
    for (const char* module : kModules) {
        expected += 125;
        EXPECT_EQ(PerSec(module), expected) << module;
    }
}

TEST_F(BandwidthQuery, FindsSevenModulesByFrameworkName) {
    for (const std::string module :
         {"Audio", "Camera", "Clipboard", "Display", "FdRedir", "Printer", "Total"}) {
        const int expected = PerSec(module.c_str());
        for (const std::string& name : {"Zn" + module, "lib" + ("Zn" + module) + "Plugin",
                                        "Zn" + module + "2", "xxZnZn" + module}) {
            EXPECT_EQ(PerSec(name.c_str()), expected) << name;
        }
    }
}

TEST_F(BandwidthQuery, FindsOtherModulesByPlainNameOnly) {
    for (const std::string module :
         {"COM", "DXVA", "HID", "PCSC", "Security", "TWAIN", "USB", "VCC", "Video"}) {
        EXPECT_NE(PerSec(module.c_str()), 0) << module;
        EXPECT_EQ(PerSec(("Zn" + module).c_str()), 0) << module;
    }
}

TEST_F(BandwidthQuery, PrefersFirstListedOfSeveralFrameworkNames) {
    EXPECT_EQ(PerSec("ZnTotalZnAudio"), PerSec("Audio"));
    EXPECT_EQ(PerSec("ZnCameraZnAudio"), PerSec("Audio"));
    EXPECT_EQ(PerSec("ZnClipboardZnCamera"), PerSec("Camera"));
    EXPECT_EQ(PerSec("ZnDisplayZnClipboard"), PerSec("Clipboard"));
    EXPECT_EQ(PerSec("ZnFdRedirZnDisplay"), PerSec("Display"));
    EXPECT_EQ(PerSec("ZnPrinterZnFdRedir"), PerSec("FdRedir"));
    EXPECT_EQ(PerSec("ZnTotalZnPrinter"), PerSec("Printer"));
}

TEST_F(BandwidthQuery, ReturnsZeroForUnknownNames) {
    for (const char* name :
         {"", "Scanner", "audio", "AUDIO", "Audio ", " Audio", "AudioPlugin", "znAudio", "ZnAudi",
          "Zn", "ZnZn", "Zn Audio", "ZNAudio", "a name that is longer than any module's"}) {
        EXPECT_EQ(PerSec(name), 0) << name;
        EXPECT_EQ(bandwidth_.GetBandwidthBytesPerMs(name), 0) << name;
    }
}

TEST_F(BandwidthQuery, ReturnsZeroForNullName) {
    EXPECT_EQ(bandwidth_.GetBandwidthBytesPerSec(nullptr), 0);
    EXPECT_EQ(bandwidth_.GetBandwidthBytesPerMs(nullptr), 0);
}

TEST_F(BandwidthQuery, ReturnsZeroForFrameworkNameWithoutAllowance) {
    items_.erase("AudioBandwidthPercent");
    Read();
    EXPECT_EQ(PerSec("ZnAudio"), 0);
    EXPECT_EQ(PerSec("ZnAudioZnCamera"), 0);
}

TEST_F(BandwidthQuery, TruncatesBytesPerMillisecondTowardZero) {
    const struct {
        int kilobits;
        int perSec;
        int perMs;
    } cases[] = {
        {500, 62500, 62},
        {7, 875, 0},
        {8, 1000, 1},
        {15, 1875, 1},
        {16, 2000, 2},
        {kMax, 2147483523, 2147483},
        {17179870, -2147483546, -2147483},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.kilobits);
        SetModule("Audio", {1, c.kilobits, 0, 0});
        Read();
        EXPECT_EQ(bandwidth_.GetBandwidthBytesPerSec("libZnAudioPlugin"), c.perSec);
        EXPECT_EQ(bandwidth_.GetBandwidthBytesPerMs("libZnAudioPlugin"), c.perMs);
    }
}

TEST_F(BandwidthQuery, ReadsNoPolicyAndLogsNothing) {
    ScriptedPolicyStore::Reset();
    RecordingLogger::Clear();
    EXPECT_EQ(PerSec("Audio"), 125);
    EXPECT_EQ(PerSec("Audio"), 125);
    EXPECT_EQ(bandwidth_.GetBandwidthBytesPerMs("Video"), 2);
    EXPECT_THAT(ScriptedPolicyStore::Calls(), IsEmpty());
    EXPECT_THAT(RecordingLogger::Records(), IsEmpty());
}

TEST(BandwidthObjects, AreIndependentOfEachOther) {
    ZnBandwidthPolicy one;
    ZnBandwidthPolicy other;
    PolicyCfgItemValue item = {1, 8, 0, 0};
    one.CalculateModuleAllowedBandwidth(0, "Audio", item);
    EXPECT_EQ(one.GetBandwidthBytesPerSec("Audio"), 1000);
    EXPECT_EQ(other.GetBandwidthBytesPerSec("Audio"), 0);
}
