#include <gtest/gtest.h>

#include "DirectionCharacters.h"
#include "Table.h"

namespace {

std::string Printed(const std::vector<std::vector<std::string>>& rows) {
    Table table(rows.front());
    for (size_t i = 1; i < rows.size(); ++i) {
        table.AddRow(rows[i]);
    }
    testing::internal::CaptureStdout();
    table.Print();
    return testing::internal::GetCapturedStdout();
}

TEST(Table, AlignsColumnsByCharacters) {
    EXPECT_EQ(Printed({{"A", "B"}, {"longer", "x"}, {"\xC3\xA4\xC3\xB6", "y"}}),
              "A       B\n"
              "longer  x\n"
              "\xC3\xA4\xC3\xB6      y\n");
}

TEST(Table, EscapesWhatWouldChangeTheLine) {
    EXPECT_EQ(
        Printed({{"A"}, {"a\nb\x1B"}, {RightToLeftOverride() + LineSeparator()}, {"\xFF"}, {"\\"}}),
        "A\n"
        "a\\nb\\x1b\n"
        "\\u202e\\u2028\n"
        "\\xff\n"
        "\\\n");
}

TEST(Table, BreaksCellsBetweenWordsToFit) {
    Table table({"ITEM", "MEANING"});
    table.AddRow({"Name", "a text of words"});
    EXPECT_EQ(table.Text(80),
              "ITEM  MEANING\n"
              "Name  a text of words\n");
    EXPECT_EQ(table.Text(15),
              "ITEM  MEANING\n"
              "Name  a text of\n"
              "      words\n");
}

TEST(Table, BreaksNoWord) {
    Table table({"ITEM", "MEANING"});
    table.AddRow({"Unbreakable", "x"});
    EXPECT_EQ(table.Text(5),
              "ITEM         MEANING\n"
              "Unbreakable  x\n");
}

TEST(Table, KnowsWhetherItHasRows) {
    Table table({"A"});
    EXPECT_TRUE(table.IsEmpty());
    table.AddRow({"x"});
    EXPECT_FALSE(table.IsEmpty());
}

TEST(Table, FormatsSizes) {
    const struct {
        int64_t bytes;
        std::string text;
    } cases[] = {{0, "0 B"},
                 {-5, "-5 B"},
                 {1023, "1023 B"},
                 {1024, "1.0 KiB"},
                 {8 << 20, "8.0 MiB"},
                 {int64_t{1536} << 20, "1.5 GiB"},
                 {int64_t{1} << 50, "1048576.0 GiB"}};
    for (const auto& c : cases) {
        EXPECT_EQ(HumanSize(c.bytes), c.text);
    }
}

}  // namespace
