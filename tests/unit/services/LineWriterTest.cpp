#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "FileDescriptor.h"
#include "LineWriter.h"

namespace {

struct LineWriterTest : testing::Test {
    LineWriterTest() {
        int ends[2] = {-1, -1};
        EXPECT_EQ(pipe(ends), 0);
        reader = FileDescriptor(ends[0]);
        pipeEnd = FileDescriptor(ends[1]);
    }

    std::string Drain() const {
        std::string text(1 << 20, '\0');
        text.resize(static_cast<size_t>(reader.Read(text.data(), text.size())));
        return text;
    }

    FileDescriptor reader;
    FileDescriptor pipeEnd;
    LineWriter writer;
};

}  // namespace

TEST_F(LineWriterTest, WritesLines) {
    EXPECT_TRUE(writer.Write(pipeEnd.Get(), "one\n"));
    EXPECT_TRUE(writer.Write(pipeEnd.Get(), "two\n"));
    EXPECT_EQ(Drain(), "one\ntwo\n");
}

TEST_F(LineWriterTest, EndsCutLineBeforeNextOne) {
    EXPECT_FALSE(writer.Write(pipeEnd.Get(), std::string(1 << 20, 'x') + "\n"));
    EXPECT_EQ(errno, EAGAIN);
    const std::string cut = Drain();
    EXPECT_TRUE(writer.Write(pipeEnd.Get(), "next\n"));
    EXPECT_TRUE(writer.Write(pipeEnd.Get(), "last\n"));
    EXPECT_EQ(cut, std::string(cut.size(), 'x'));
    EXPECT_EQ(Drain(), "\nnext\nlast\n");
}

TEST_F(LineWriterTest, FailedWriteThatWroteNothingCutsNothing) {
    EXPECT_FALSE(writer.Write(-1, "lost\n"));
    EXPECT_TRUE(writer.Write(pipeEnd.Get(), "one\n"));
    EXPECT_EQ(Drain(), "one\n");
}

TEST_F(LineWriterTest, EndsLineCutByOthers) {
    writer.SetCut(true);
    EXPECT_TRUE(writer.Write(pipeEnd.Get(), "one\n"));
    EXPECT_EQ(Drain(), "\none\n");
}
