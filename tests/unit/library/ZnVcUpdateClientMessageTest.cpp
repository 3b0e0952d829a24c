// ZnClientPackageListMessageToPackInfo: a message whose payload is packed records.
#include <climits>
#include <cstring>
#include <vector>

#include "UpdateTest.h"

using testing::ElementsAre;
using testing::IsEmpty;

static Logged Says(const std::string& text) {
    return Progress("ZnClientPackageListMessageToPackInfo", text);
}
static Logged Complains(const std::string& text) {
    return Failure("ZnClientPackageListMessageToPackInfo", text);
}

// A receive buffer with a message that starts `offset` bytes into it.
class ReceivedMessage {
   public:
    ReceivedMessage(int payloadLength, size_t payloadBytes, size_t offset = 0)
        : offset_(offset), buffer_(offset + sizeof(ZnMessage) + payloadBytes) {
        // Adjacent bytes differ, and no field has a NUL.
        for (size_t i = 0; i < payloadBytes; ++i) {
            Payload()[i] = static_cast<unsigned char>(1 + i % 255);
        }
        std::memset(buffer_.data() + offset, 0xEE, 20);
        std::memcpy(buffer_.data() + offset + 20, &payloadLength, sizeof payloadLength);
    }

    ZnMessage* Get() {
        return reinterpret_cast<ZnMessage*>(buffer_.data() + offset_);
    }
    unsigned char* Payload() {
        return buffer_.data() + offset_ + 24;
    }

   private:
    size_t offset_;
    std::vector<unsigned char> buffer_;
};

class ClientMessage : public UpdateTest {
   protected:
    int Read(ZnMessage* message) {
        return ZnVcUpdate::ZnClientPackageListMessageToPackInfo(message, records_);
    }

    // Not empty: every call clears it.
    std::vector<ZnPackageInfo> records_{3};
};

TEST_F(ClientMessage, CopiesRecordsAtEveryAlignment) {
    constexpr size_t kTwo = 2 * 876;
    for (size_t offset = 0; offset < 16; ++offset) {
        SCOPED_TRACE(offset);
        RecordingLogger::Clear();
        ReceivedMessage message(kTwo, kTwo, offset);
        EXPECT_EQ(Read(message.Get()), kSuccess);
        ASSERT_EQ(records_.size(), 2U);
        EXPECT_EQ(std::memcmp(records_.data(), message.Payload(), kTwo), 0);
        EXPECT_THAT(RecordingLogger::Records(), ElementsAre(Says("1752/876=cplCnt2")));
    }
}

TEST_F(ClientMessage, ReadsFieldsAtTheirOffsets) {
    ReceivedMessage message(876, 876);
    std::memset(message.Payload(), 0, 876);
    std::memcpy(message.Payload(), "application", 11);
    std::memcpy(message.Payload() + 740, "abc.zip", 7);
    const int32_t size = -5;
    std::memcpy(message.Payload() + 872, &size, sizeof size);
    EXPECT_EQ(Read(message.Get()), kSuccess);
    ASSERT_EQ(records_.size(), 1U);
    EXPECT_STREQ(records_[0].application, "application");
    EXPECT_STREQ(records_[0].packageName, "abc.zip");
    EXPECT_STREQ(records_[0].description, "");
    EXPECT_EQ(records_[0].size, -5);
}

TEST_F(ClientMessage, ReadsManyRecords) {
    constexpr int kCount = 1000;
    ReceivedMessage message(kCount * 876, kCount * 876, 1);
    EXPECT_EQ(Read(message.Get()), kSuccess);
    ASSERT_EQ(records_.size(), static_cast<size_t>(kCount));
    EXPECT_EQ(std::memcmp(records_.data(), message.Payload(), kCount * 876), 0);
}

TEST_F(ClientMessage, RefusesPartialRecords) {
    for (const int length : {-1, -875, -877, 1, 875, 877, 1751, 1753, INT_MIN, INT_MAX}) {
        SCOPED_TRACE(length);
        RecordingLogger::Clear();
        records_.resize(3);
        ReceivedMessage message(length, 0);
        EXPECT_EQ(Read(message.Get()), kFailure);
        EXPECT_THAT(records_, IsEmpty());
        EXPECT_THAT(RecordingLogger::Records(),
                    ElementsAre(Complains("invalid:length=" + std::to_string(length) + ",876")));
    }
}

TEST_F(ClientMessage, TreatsEmptyAndNegativePayloadAsEmptyList) {
    const struct {
        int length;
        const char* record;
    } cases[] = {
        {0, "0/876=cplCnt0"},
        {-876, "-876/876=cplCnt-1"},
        {-1752, "-1752/876=cplCnt-2"},
        {INT_MIN + 308, "-2147483340/876=cplCnt-2451465"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.length);
        RecordingLogger::Clear();
        records_.resize(3);
        ReceivedMessage message(c.length, 0);
        EXPECT_EQ(Read(message.Get()), kSuccess);
        EXPECT_THAT(records_, IsEmpty());
        EXPECT_THAT(RecordingLogger::Records(), ElementsAre(Says(c.record)));
    }
}

TEST_F(ClientMessage, EmptiesListForNullMessage) {
    EXPECT_EQ(Read(nullptr), kFailure);
    EXPECT_THAT(records_, IsEmpty());
    EXPECT_THAT(RecordingLogger::Records(), ElementsAre(Complains("msg invalid")));
}
