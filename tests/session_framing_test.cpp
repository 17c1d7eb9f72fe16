// Stream framing at CR LF and the reply FIFO, on a session fed by hand.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "session/fifo.h"
#include "session/receive.h"
#include "session/session.h"

namespace {

using zq::ReplyFifo;
using zq::zq_robot_session;

struct FedSession {
    zq_robot_session s;
    FedSession() { s.fifo_handle = new ReplyFifo(); }
    void feed(const std::string& bytes) {
        // The receive thread hands over at most 8 KiB a read.
        for (size_t i = 0; i < bytes.size(); i += 8192) {
            const size_t n = std::min<size_t>(8192, bytes.size() - i);
            zq::stream_feed(s, bytes.data() + i, static_cast<int>(n));
        }
    }
    // Takes the first reply filed under `key`; empty when none.
    std::string take(const char* key) {
        char out[zq::kFifoDataSize + 16];
        std::lock_guard<zq::platform::Mutex> lock(s.fifo_handle->lock);
        int n = s.fifo_handle->take(key, out, sizeof out);
        return n < 0 ? std::string() : std::string(out, static_cast<size_t>(n));
    }
    uint64_t tick() const { return s.fifo_handle->receive_tick; }
    int valid_entries() const {
        int n = 0;
        for (const auto& e : s.fifo_handle->fifo) n += e.valid == 1;
        return n;
    }
};

std::string reply(const std::string& key, int value) {
    return "{\"command\":\"" + key + "\",\"v\":" + std::to_string(value) + "}";
}

TEST(SessionFraming, TwoMessagesInOneSegmentAreRoutedAsTwo) {
    FedSession f;
    f.feed(reply("a", 1) + "\r\n" + reply("b", 2) + "\r\n");
    EXPECT_EQ(f.take("a"), reply("a", 1));
    EXPECT_EQ(f.take("b"), reply("b", 2));
    EXPECT_EQ(f.tick(), 2u);
}

TEST(SessionFraming, OneMessageOverTwoSegmentsIsRoutedOnceAtItsCrLf) {
    FedSession f;
    const std::string m = reply("split", 7);
    f.feed(m.substr(0, 5));
    EXPECT_EQ(f.tick(), 0u);
    f.feed(m.substr(5) + "\r");
    EXPECT_EQ(f.tick(), 0u);  // CR alone ends nothing
    f.feed("\n");
    EXPECT_EQ(f.tick(), 1u);
    EXPECT_EQ(f.take("split"), m);
}

TEST(SessionFraming, EmptyLinesAreSkippedWithoutCounting) {
    FedSession f;
    f.feed("\r\n\r\n" + reply("x", 1) + "\r\n\r\n");
    EXPECT_EQ(f.tick(), 1u);
    EXPECT_EQ(f.take("x"), reply("x", 1));
}

TEST(SessionFraming, StateKeyWinsOverCommandKey) {
    FedSession f;
    f.feed("{\"state\":\"s\",\"command\":\"c\"}\r\n");
    EXPECT_FALSE(f.take("s").empty());
    EXPECT_TRUE(f.take("c").empty());
}

TEST(SessionFraming, GarbageIsDroppedButCounted) {
    FedSession f;
    f.feed("not json at all\r\n{\"broken\":\r\n" + reply("ok", 1) + "\r\n");
    EXPECT_EQ(f.tick(), 3u);
    EXPECT_EQ(f.valid_entries(), 1);
    EXPECT_EQ(f.take("ok"), reply("ok", 1));
}

TEST(SessionFraming, LineOf20000BytesIsCutAndItsRestFramedAgain) {
    FedSession f;
    const std::string big = "{\"command\":\"big\",\"pad\":\"" + std::string(20000, 'x') + "\"}";
    f.feed(big + "\r\n" + reply("after", 1) + "\r\n");
    // The first 16383 bytes and the rest are two unparsable messages; the next one is intact.
    EXPECT_EQ(f.tick(), 3u);
    EXPECT_TRUE(f.take("big").empty());
    EXPECT_EQ(f.take("after"), reply("after", 1));
}

TEST(SessionFraming, OneMebibyteWithoutCrLfIsDroppedAndTheStreamRecovers) {
    FedSession f;
    f.feed(std::string(1048576 + 100, 'g'));
    EXPECT_LT(f.s.stream.fill, zq::kStreamBufferSize);
    f.feed("\r\n" + reply("after", 2) + "\r\n");
    EXPECT_EQ(f.take("after"), reply("after", 2));
}

TEST(SessionFraming, ReplyAbove10240BytesIsCutToTheEntry) {
    FedSession f;
    const std::string big = "{\"command\":\"huge\",\"pad\":\"" + std::string(12000, 'y') + "\"}";
    f.feed(big + "\r\n");
    std::string got = f.take("huge");
    EXPECT_EQ(got.size(), static_cast<size_t>(zq::kFifoDataSize - 1));
    EXPECT_EQ(got, big.substr(0, zq::kFifoDataSize - 1));
}

TEST(SessionFraming, KeyAbove50CharactersIsCutAndStillClaimable) {
    FedSession f;
    const std::string key(80, 'k');
    f.feed("{\"command\":\"" + key + "\"}\r\n");
    EXPECT_FALSE(f.take(key.c_str()).empty());
}

TEST(SessionFraming, TakeIsBoundedByTheCallersBuffer) {
    FedSession f;
    f.feed(reply("cap", 123456) + "\r\n");
    char out[8];
    std::memset(out, 'Z', sizeof out);
    int n;
    {
        std::lock_guard<zq::platform::Mutex> lock(f.s.fifo_handle->lock);
        n = f.s.fifo_handle->take("cap", out, 5);
    }
    EXPECT_EQ(n, 4);
    EXPECT_EQ(std::string(out, 4), reply("cap", 123456).substr(0, 4));
    EXPECT_EQ(out[4], '\0');
    EXPECT_EQ(out[5], 'Z');
}

TEST(SessionFifo, FullFifoDropsTheMessageAndFreesTheOldestEntry) {
    FedSession f;
    f.feed(reply("old", 1) + "\r\n");
    // Fill the other 39 entries with claimed-later replies, so a new message
    // can only go to a free or stale entry.
    for (int i = 0; i < 39; ++i) f.feed(reply("keep" + std::to_string(i), i) + "\r\n");
    EXPECT_EQ(f.valid_entries(), 40);
    // 40 messages so far; the oldest ("old", stamp 1) turns stale at tick 52.
    // Messages 41..51 find no slot: at entry 39 the oldest entry is zeroed,
    // which is "old" itself, and that frees one entry for the next message.
    f.feed(reply("n41", 41) + "\r\n");
    EXPECT_TRUE(f.take("old").empty());
    EXPECT_TRUE(f.take("n41").empty());  // dropped: no slot when it arrived
    f.feed(reply("n42", 42) + "\r\n");
    EXPECT_EQ(f.take("n42"), reply("n42", 42));
}

TEST(SessionFifo, StaleEntryIsOverwrittenWhenTheSearchReachesIt) {
    FedSession f;
    f.feed(reply("first", 1) + "\r\n");   // entry 0, stamp 1
    f.feed(reply("second", 2) + "\r\n");  // entry 1, stamp 2
    // 49 messages claimed at once keep entry 2 busy: entry 0 stays unclaimed.
    for (int i = 0; i < 49; ++i) {
        f.feed(reply("tmp", i) + "\r\n");
        ASSERT_FALSE(f.take("tmp").empty());
    }
    EXPECT_EQ(f.tick(), 51u);
    // At tick 52 entry 0 (stamp 1) is stale: 1 + 50 < 52.
    f.feed(reply("third", 3) + "\r\n");
    EXPECT_TRUE(f.take("first").empty());
    EXPECT_EQ(f.take("third"), reply("third", 3));
    EXPECT_EQ(f.take("second"), reply("second", 2));
}

TEST(SessionFifo, PendingCounterSwallowsReportsButStillCallsBack) {
    FedSession f;
    f.s.handle.pending_trajectory = 2;
    const std::string report =
        "{\"state\":\"current_trajectory_state\",\"trajectory_state\":true,\"device\":0,\"trajectory_connect\":0}";
    f.feed(report + "\r\n" + report + "\r\n");
    EXPECT_TRUE(f.take("current_trajectory_state").empty());
    EXPECT_EQ(f.s.handle.pending_trajectory, 0);
    f.feed(report + "\r\n");
    EXPECT_EQ(f.take("current_trajectory_state"), report);
}

TEST(SessionFifo, ConductProjectAndUnwantedHandFollowNeverReachTheFifo) {
    FedSession f;
    f.feed("{\"state\":\"conduct_project\"}\r\n{\"command\":\"hand_follow_pos\",\"state\":\"hand_follow_pos\"}\r\n");
    EXPECT_TRUE(f.take("conduct_project").empty());
    EXPECT_TRUE(f.take("hand_follow_pos").empty());
}

}  // namespace
