// The command path: request bytes, waits in every thread mode, reply parsing.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <string>
#include <thread>

#include "session/exchange.h"
#include "test_env.h"

namespace {

using Clock = std::chrono::steady_clock;
using zqtest::ArmTest;

long elapsed_ms(Clock::time_point t0) {
    return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - t0).count());
}

// Restores the default time-outs after a test that changes them.
struct TimeoutGuard {
    explicit TimeoutGuard(int ms) { zq_set_timeout(ms); }
    ~TimeoutGuard() { zq_set_timeout(500); }
};

class SessionExchange : public ArmTest {};

TEST_F(SessionExchange, RunModeRoundTripInEveryMode) {
    int mode = -1;
    ASSERT_EQ(zq_set_arm_run_mode(arm_, 1), 0);
    ASSERT_EQ(zq_get_arm_run_mode(arm_, &mode), 0);
    EXPECT_EQ(mode, 1);
    ASSERT_EQ(zq_set_arm_run_mode(arm_, 0), 0);
    ASSERT_EQ(zq_get_arm_run_mode(arm_, &mode), 0);
    EXPECT_EQ(mode, 0);
    ASSERT_TRUE(sim_.wait_for_lines(4, 1000));
    auto lines = sim_.received_lines();
    EXPECT_EQ(lines[0], "{\"command\":\"set_arm_run_mode\",\"mode\":1}");
    EXPECT_EQ(lines[1], "{\"command\":\"get_arm_run_mode\"}");
}

TEST_F(SessionExchange, AnyNonZeroModeIsSentAsOne) {
    ASSERT_EQ(zq_set_arm_run_mode(arm_, 7), 0);
    ASSERT_TRUE(sim_.wait_for_lines(1, 1000));
    EXPECT_EQ(sim_.received_lines()[0], "{\"command\":\"set_arm_run_mode\",\"mode\":1}");
    EXPECT_EQ(sim_.received_bytes().substr(sim_.received_lines()[0].size()), "\r\n");
}

TEST_F(SessionExchange, RequestTableKeepsOrderSkipsNullKeysAndKnowsEveryKind) {
    int32_t joints[3] = {1000, -2500, 0};
    cJSON* custom = cJSON_CreateObject();
    cJSON_AddBoolToObject(custom, "joint_speed", 1);
    zq_send_value_t values[] = {zq::send_str("command", "probe"), zq::send_int("b", -7), zq_send_value_t{},
                                zq::send_ints("arr", joints, 3),   zq::send_bool("flag", false),
                                zq::send_str("nothing", nullptr),  zq::send_json("custom", custom),
                                zq::send_str("text", "x y")};
    char out[256];
    zq_set_timeout(4);
    int rc = zq_command_exchange("test", arm_, values, 8, "probe", out, sizeof out, 4);
    zq_set_timeout(500);
    EXPECT_EQ(rc, -2);  // the simulator does not know "probe"
    ASSERT_TRUE(sim_.wait_for_lines(1, 1000));
    EXPECT_EQ(sim_.received_lines()[0],
              "{\"command\":\"probe\",\"b\":-7,\"arr\":[1000,-2500,0],\"flag\":false,\"custom\":{\"joint_speed\":true},"
              "\"text\":\"x y\"}");
}

TEST_F(SessionExchange, EmptyTableIsRefusedBeforeSending) {
    char out[64];
    EXPECT_EQ(zq_command_exchange("test", arm_, nullptr, 0, nullptr, out, sizeof out, 0), 0);
    zq_send_value_t values[] = {zq::send_str("command", "x")};
    EXPECT_EQ(zq_command_exchange("test", arm_, values, 0, "x", out, sizeof out, 10), -1);
    EXPECT_FALSE(sim_.wait_for_lines(1, 50));
}

TEST_F(SessionExchange, TimeoutOfOneReturnsAtOnceAfterSending) {
    TimeoutGuard t(1);
    int mode = -1;
    const auto t0 = Clock::now();
    EXPECT_EQ(zq_get_arm_run_mode(arm_, &mode), -2);
    EXPECT_LT(elapsed_ms(t0), 50);
    EXPECT_EQ(mode, -1);
    EXPECT_TRUE(sim_.wait_for_lines(1, 1000));
}

TEST_F(SessionExchange, WaitKeepsItsBudgetWhenNoReplyComes) {
    TimeoutGuard t(101);  // 50 polls of 2 ms: 100 ms
    sim_.drop_reply("get_arm_run_mode");
    int mode;
    const auto t0 = Clock::now();
    EXPECT_EQ(zq_get_arm_run_mode(arm_, &mode), -2);
    const long ms = elapsed_ms(t0);
    EXPECT_GE(ms, 99);
    EXPECT_LT(ms, 400);
}

TEST_F(SessionExchange, WaitWakesAsSoonAsTheReplyArrives) {
    TimeoutGuard t(3000);
    sim_.set_delay("get_arm_run_mode", 30);
    int mode;
    const auto t0 = Clock::now();
    EXPECT_EQ(zq_get_arm_run_mode(arm_, &mode), 0);
    EXPECT_LT(elapsed_ms(t0), 1000);
}

TEST_F(SessionExchange, LateReplyIsTakenByTheNextQueryOfTheSameKey) {
    {
        TimeoutGuard t(60);
        sim_.set_reply("get_arm_run_mode", "{\"command\":\"get_arm_run_mode\",\"mode\":5}", 1);
        sim_.set_delay("get_arm_run_mode", 150);
        int mode = -1;
        EXPECT_EQ(zq_get_arm_run_mode(arm_, &mode), -2);
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
        sim_.set_delay("get_arm_run_mode", 0);
    }
    int mode = -1;
    ASSERT_EQ(zq_get_arm_run_mode(arm_, &mode), 0);
    EXPECT_EQ(mode, 5);  // the late answer, not the fresh one
    ASSERT_EQ(zq_get_arm_run_mode(arm_, &mode), 0);
    EXPECT_NE(mode, 5);
}

TEST_F(SessionExchange, GarbageAndBrokenLinesDoNotDisturbTheNextReply) {
    sim_.send_raw("garbage\r\n\r\n{\"command\":\r\n" + std::string(20000, 'z') + "\r\n");
    int mode = -1;
    EXPECT_EQ(zq_get_arm_run_mode(arm_, &mode), 0);
}

TEST_F(SessionExchange, ReplyOverTwoWritesIsReadOnce) {
    sim_.drop_reply("get_arm_run_mode", 1);
    const std::string reply = "{\"command\":\"get_arm_run_mode\",\"mode\":1}\r\n";
    std::thread writer([&] {
        sim_.wait_for_lines(1, 1000);
        sim_.send_split(reply, {10, 30}, 20);
    });
    int mode = -1;
    EXPECT_EQ(zq_get_arm_run_mode(arm_, &mode), 0);
    EXPECT_EQ(mode, 1);
    writer.join();
}

TEST_F(SessionExchange, UnparsableReplyGivesMinusThree) {
    sim_.set_reply("get_arm_run_mode", "{\"command\":\"get_arm_run_mode\"}", 1);
    int mode = 42;
    EXPECT_EQ(zq_get_arm_run_mode(arm_, &mode), -3);
    EXPECT_EQ(mode, 42);
    sim_.set_reply("set_arm_run_mode", "{\"command\":\"set_arm_run_mode\",\"mode\":false}", 1);
    EXPECT_EQ(zq_set_arm_run_mode(arm_, 1), 1);
    sim_.set_reply("set_arm_run_mode", "{\"command\":\"set_arm_run_mode\",\"mode\":3}", 1);
    EXPECT_EQ(zq_set_arm_run_mode(arm_, 1), -3);
}

TEST_F(SessionExchange, ReplyAboveTheEntrySizeFailsToParse) {
    if (zqtest::mode() == ZQ_SINGLE_THREAD_MODE) GTEST_SKIP() << "no FIFO in this mode";
    sim_.set_reply("get_arm_run_mode",
                   "{\"command\":\"get_arm_run_mode\",\"pad\":\"" + std::string(11000, 'p') + "\",\"mode\":1}", 1);
    int mode = -1;
    EXPECT_EQ(zq_get_arm_run_mode(arm_, &mode), -3);
}

TEST_F(SessionExchange, PeerClosingMidMessageEndsInATimeoutNotAHang) {
    TimeoutGuard t(200);
    sim_.drop_reply("get_arm_run_mode");
    std::thread closer([&] {
        sim_.wait_for_lines(1, 1000);
        sim_.send_raw("{\"command\":\"get_arm_");
        sim_.close_connections();
    });
    int mode;
    const auto t0 = Clock::now();
    EXPECT_EQ(zq_get_arm_run_mode(arm_, &mode), -2);
    closer.join();
    EXPECT_LT(elapsed_ms(t0), 1500);
    EXPECT_LT(zq_get_arm_run_mode(arm_, &mode), 0);
}

TEST_F(SessionExchange, OnlyWaitPathForPushedMessages) {
    if (zqtest::mode() == ZQ_SINGLE_THREAD_MODE) GTEST_SKIP() << "pushed messages need the receive thread";
    ASSERT_EQ(zq_motion_count_op(arm_, 1), 0);
    ASSERT_EQ(zq_motion_count_op(arm_, 1), 0);
    static std::atomic<int> calls{0};
    static std::atomic<int> on_waiting_thread{0};  // the callback runs on the receive thread only
    static thread_local bool waiting_thread = false;
    calls = 0;
    waiting_thread = true;
    zq_get_arm_event_call_back([](zq_event_push_data_t e) {
        if (e.event_type == ZQ_EVENT_TRAJECTORY && e.device == 3) ++calls;
        if (waiting_thread) ++on_waiting_thread;
    });
    const std::string report =
        "{\"state\":\"current_trajectory_state\",\"trajectory_state\":true,\"device\":3,\"trajectory_connect\":0}";
    // The reports come while the caller waits, so that a caller reading its own stream meets them.
    std::thread pusher([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        for (int i = 0; i < 3; ++i) sim_.push(report);
    });
    char out[256] = {0};
    int n = zq_command_exchange("test", arm_, nullptr, 0, "current_trajectory_state", out, sizeof out, 1000);
    pusher.join();
    ASSERT_GT(n, 0);
    EXPECT_EQ(std::string(out), report);
    EXPECT_EQ(calls.load(), 3);
    EXPECT_EQ(on_waiting_thread.load(), 0);
    waiting_thread = false;
    EXPECT_EQ(arm_->pending_trajectory, 0);
    // Nothing more is filed.
    EXPECT_EQ(zq_command_exchange("test", arm_, nullptr, 0, "current_trajectory_state", out, sizeof out, 20), -2);
}

// A callback that queries its own arm gets no reply (the receive thread that
// would file it is running the callback), but neither hangs nor deadlocks.
TEST_F(SessionExchange, CallbackQueryingItsArmEndsInNoReply) {
    if (zqtest::mode() == ZQ_SINGLE_THREAD_MODE) GTEST_SKIP() << "pushed messages need the receive thread";
    static zq_robot_handle* arm = nullptr;
    static std::atomic<int> rc{1};
    arm = arm_;
    rc = 1;
    zq_get_arm_event_call_back([](zq_event_push_data_t e) {
        int mode = 0;
        if (e.event_type == ZQ_EVENT_TRAJECTORY && e.device == 77) rc = zq_get_arm_run_mode(arm, &mode);
    });
    sim_.push("{\"state\":\"current_trajectory_state\",\"trajectory_state\":true,\"device\":77,\"trajectory_connect\":0}");
    const auto t0 = Clock::now();
    while (rc == 1 && elapsed_ms(t0) < 3000) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(rc.load(), -2);
    int mode = 0;
    EXPECT_EQ(zq_get_arm_run_mode(arm_, &mode), 0);  // the arm is served again afterwards
}

// A slow callback holds up its receive thread, but a query of another
// thread still ends within its budget.
TEST_F(SessionExchange, QueryKeepsItsBudgetDuringASlowCallback) {
    if (zqtest::mode() == ZQ_SINGLE_THREAD_MODE) GTEST_SKIP() << "pushed messages need the receive thread";
    static std::atomic<bool> in_callback{false};
    zq_get_arm_event_call_back([](zq_event_push_data_t e) {
        if (e.event_type != ZQ_EVENT_TRAJECTORY || e.device != 78) return;
        in_callback = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        in_callback = false;
    });
    sim_.push("{\"state\":\"current_trajectory_state\",\"trajectory_state\":true,\"device\":78,\"trajectory_connect\":0}");
    const auto t0 = Clock::now();
    while (!in_callback && elapsed_ms(t0) < 1000) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    ASSERT_TRUE(in_callback.load());
    int mode = 0;
    const auto t1 = Clock::now();
    const int rc = zq_get_arm_run_mode(arm_, &mode);
    const long ms = elapsed_ms(t1);
    EXPECT_TRUE(rc == -2 || !in_callback) << rc;
    EXPECT_LT(ms, zq::query_timeout() + 300);
    while (in_callback) std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

TEST_F(SessionExchange, DataCommonHelpers) {
    sim_.on_command("get_probe", [](const std::string&) {
        return std::vector<std::string>{"{\"command\":\"get_probe\",\"value\":-12}"};
    });
    sim_.on_command("set_probe", [](const std::string& line) {
        return std::vector<std::string>{line.find("\"value\":3") != std::string::npos
                                            ? "{\"command\":\"set_probe\",\"set_state\":true}"
                                            : "{\"command\":\"set_probe\",\"set_state\":false}"};
    });
    int v = 0;
    EXPECT_EQ(zq_get_data_common(arm_, &v, "get_probe", "value"), 0);
    EXPECT_EQ(v, -12);
    EXPECT_EQ(zq_set_common(arm_, 3, "set_probe", "value"), 0);
    EXPECT_EQ(zq_set_common(arm_, 4, "set_probe", "value"), 1);
    ASSERT_TRUE(sim_.wait_for_lines(3, 1000));
    EXPECT_EQ(sim_.received_lines()[1], "{\"command\":\"set_probe\",\"value\":3}");
}

TEST_F(SessionExchange, UnknownHandleIsMinusOneWithoutSending) {
    zq_robot_handle stranger{};
    int mode;
    EXPECT_EQ(zq_get_arm_run_mode(&stranger, &mode), -1);
    EXPECT_EQ(zq_set_arm_run_mode(nullptr, 1), -1);
    EXPECT_FALSE(sim_.wait_for_lines(1, 50));
}

// ---- reply parsing, without a controller -----------------------------------------

TEST(SessionParse, WrappedStateIsReadFromInside) {
    zq_key_value_t t[] = {zq::reply_entry(ZQ_VALUE_INT, "x")};
    EXPECT_EQ(zq_parse_reply("t", "{\"x\":1,\"arm_state\":{\"x\":2}}", t, 1), 0);
    EXPECT_EQ(t[0].value.i, 2);
    zq_key_value_t u[] = {zq::reply_entry(ZQ_VALUE_INT, "y")};
    EXPECT_EQ(zq_parse_reply("t", "{\"y\":1,\"all_state\":{}}", u, 1), -3);
}

TEST(SessionParse, ArraysMustHaveTheirExactSize) {
    zq_key_value_t t[] = {zq::reply_entry(ZQ_VALUE_INT_ARRAY, "a", 3), zq::reply_entry(ZQ_VALUE_INT, "b")};
    EXPECT_EQ(zq_parse_reply("t", "{\"a\":[1,2,3,4],\"b\":5}", t, 2), -3);
    EXPECT_EQ(t[1].value.i, 0);  // nothing of the later entries is stored
    EXPECT_EQ(zq_parse_reply("t", "{\"a\":[1,\"x\",3],\"b\":5}", t, 2), 0);
    EXPECT_EQ(t[0].value.arr[1], -1);  // an element that is no number reads as -1
    EXPECT_EQ(t[1].value.i, 5);
    zq_key_value_t big[] = {zq::reply_entry(ZQ_VALUE_INT_ARRAY, "a", 200)};
    std::string many = "{\"a\":[";
    for (int i = 0; i < 200; ++i) many += (i ? ",1" : "1");
    many += "]}";
    EXPECT_EQ(zq_parse_reply("t", many.c_str(), big, 1), -3);  // above the entry's room
}

TEST(SessionParse, WrappedArrayOfCountZeroTakesItsOwnLength) {
    zq_key_value_t t[] = {zq::reply_entry(ZQ_VALUE_INT_ARRAY, "err", 0)};
    EXPECT_EQ(zq_parse_reply("t", "{\"arm_state\":{\"err\":[4,5]}}", t, 1), 0);
    EXPECT_EQ(t[0].count, 2);
    zq_key_value_t e[] = {zq::reply_entry(ZQ_VALUE_INT_ARRAY, "err", 0)};
    EXPECT_EQ(zq_parse_reply("t", "{\"arm_state\":{\"err\":[]}}", e, 1), -3);
}

TEST(SessionParse, BooleansStringsAndTypes) {
    zq_key_value_t t[] = {zq::reply_entry(ZQ_VALUE_BOOL, "b"), zq::reply_entry(ZQ_VALUE_STRING, "s")};
    const std::string long_text(1000, 'q');
    const std::string reply = "{\"b\":3,\"s\":\"" + long_text + "\"}";
    EXPECT_EQ(zq_parse_reply("t", reply.c_str(), t, 2), 0);
    EXPECT_EQ(t[0].value.b, 0);  // a number is no boolean, and no failure
    EXPECT_EQ(std::strlen(t[1].value.str), sizeof t[1].value.str - 1);
    EXPECT_EQ(zq_parse_state("t", "{\"b\":3}", "b"), -3);
    EXPECT_EQ(zq_parse_state("t", "{\"b\":true}", "b"), 0);
    EXPECT_EQ(zq_parse_state("t", "{\"b\":false}", "b"), 1);
    EXPECT_EQ(zq_parse_state("t", "not json", "b"), -3);
    zq_key_value_t s[] = {zq::reply_entry(ZQ_VALUE_STRING, "s")};
    EXPECT_EQ(zq_parse_reply("t", "{\"s\":5}", s, 1), -3);
    EXPECT_EQ(zq_parse_reply("t", "{\"s\"", s, 1), -3);
    zq_key_value_t j[] = {zq::reply_entry(ZQ_VALUE_JSON, "o")};
    ASSERT_EQ(zq_parse_reply("t", "{\"o\":{\"k\":[1]}}", j, 1), 0);
    ASSERT_NE(j[0].value.json, nullptr);
    EXPECT_TRUE(cJSON_IsArray(cJSON_GetObjectItemCaseSensitive(j[0].value.json, "k")));
    cJSON_Delete(j[0].value.json);
    zq_key_value_t bad[] = {zq::reply_entry(static_cast<zq_value_type_e>(9), "s")};
    EXPECT_EQ(zq_parse_reply("t", "{\"s\":1}", bad, 1), -3);
}

TEST(SessionParse, KeysAreCaseSensitive) {
    zq_key_value_t t[] = {zq::reply_entry(ZQ_VALUE_INT, "mode")};
    EXPECT_EQ(zq_parse_reply("t", "{\"MODE\":1}", t, 1), -3);
}

TEST(SessionCodePage, AsciiPassesBothWaysAndNullIsRefused) {
    char* a = utf8_to_gbk("point_1");
    ASSERT_NE(a, nullptr);
    EXPECT_STREQ(a, "point_1");
    char* b = gbk_to_utf8(a);
    ASSERT_NE(b, nullptr);
    EXPECT_STREQ(b, "point_1");
    zq::platform::free_text(a);
    zq::platform::free_text(b);
    EXPECT_EQ(utf8_to_gbk(nullptr), nullptr);
    EXPECT_EQ(gbk_to_utf8(""), nullptr);
}

}  // namespace
