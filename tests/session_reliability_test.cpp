// Faults a hostile controller or a careless application could cause: hangs,
// overflows, writes past the caller's arrays, unchecked input.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <thread>
#include <vector>

#include "session/fifo.h"
#include "session/socket.h"
#include "test_env.h"

namespace {

using Clock = std::chrono::steady_clock;

long long ms_since(Clock::time_point t0) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - t0).count();
}

class SessionReliability : public zqtest::ArmTest {};

// ---- nothing unchecked reaches the wire --------------------------------------------------

TEST_F(SessionReliability, RefusedInputSendsNothing) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    float good[7] = {1, 2, 3, 4, 5, 6, 7};
    float with_nan[7] = {0, nan, 0, 0, 0, 0, 0};
    float with_inf[7] = {0, 0, -inf, 0, 0, 0, 0};
    float huge[7] = {0, 0, 3e6f, 0, 0, 0, 0};  // 3e9 thousandths: no 32-bit integer
    zq_pose_t far{};
    far.position.x = 5000.0f;  // 5e9 micrometres
    zq_pose_t bad_angle{};
    bad_angle.euler.rz = nan;
    auto canfd = [&](float* joint, float expand) {
        zq_movej_canfd_mode_t c{};
        c.joint = joint;
        c.expand = expand;
        return zq_movej_canfd(arm_, c);
    };
    auto movev = [&](float* v) {
        zq_movev_canfd_mode_t c{};
        c.cartesian_velocity = v;
        return zq_movev_canfd(arm_, c);
    };
    const std::vector<std::pair<const char*, std::function<int()>>> rows = {
        {"movej null", [&] { return zq_movej(arm_, nullptr, 10, 0, 0, 0); }},
        {"movej NaN", [&] { return zq_movej(arm_, with_nan, 10, 0, 0, 0); }},
        {"movej huge", [&] { return zq_movej(arm_, huge, 10, 0, 0, 0); }},
        {"canfd null", [&] { return canfd(nullptr, 0); }},
        {"canfd inf expand", [&] { return canfd(good, inf); }},
        {"follow null", [&] { return zq_movej_follow(arm_, nullptr); }},
        {"follow inf", [&] { return zq_movej_follow(arm_, with_inf); }},
        {"init pose null", [&] { return zq_set_init_pose(arm_, nullptr); }},
        {"init pose NaN", [&] { return zq_set_init_pose(arm_, with_nan); }},
        {"movel far", [&] { return zq_movel(arm_, far, 10, 0, 0, 0); }},
        {"movel NaN", [&] { return zq_movel(arm_, bad_angle, 10, 0, 0, 0); }},
        {"movec NaN", [&] { return zq_movec(arm_, zq_pose_t{}, bad_angle, 10, 0, 0, 0, 0); }},
        {"movep follow far", [&] { return zq_movep_follow(arm_, far); }},
        {"movev null", [&] { return movev(nullptr); }},
        {"movev NaN", [&] { return movev(with_nan); }},
        {"joint step NaN", [&] { return zq_set_joint_step(arm_, 1, nan, 10, 0); }},
        {"max speed inf", [&] { return zq_set_joint_max_speed(arm_, 1, inf); }},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.second(), -4) << row.first;
    }
    EXPECT_TRUE(sim_.received_lines().empty());
}

// ---- values from the controller ----------------------------------------------------------

TEST_F(SessionReliability, HugeControllerValuesDoNotOverflow) {
    sim_.set_reply("get_joint_max_speed",
                   R"({"command":"joint_max_speed","joint_speed":[357913942,2147483647,-2147483648,0,1,2]})");
    float speed[7] = {};
    ASSERT_EQ(zq_get_joint_max_speed(arm_, speed), 0);
    EXPECT_FLOAT_EQ(speed[0], static_cast<float>(357913942.0 * 6) / 1000.0f);
    EXPECT_FLOAT_EQ(speed[1], static_cast<float>(2147483647.0 * 6) / 1000.0f);
    EXPECT_FLOAT_EQ(speed[2], static_cast<float>(-2147483648.0 * 6) / 1000.0f);
    // A time-out with a margin added stays a time-out.
    zq_set_timeout(INT_MAX);
    zq_realtime_push_config_t cfg{};
    ASSERT_EQ(zq_get_realtime_push(arm_, &cfg), 0);
    EXPECT_EQ(zq_set_realtime_push(arm_, cfg), 0);
    zq_set_timeout(500);
}

TEST_F(SessionReliability, JointCountsNeverOutgrowTheCallersArrays) {
    sim_.set_reply("get_joint_software_version",
                   R"({"command":"joint_software_version","version":[1,2,3,4,5,6,7,8,9,10]})");
    int version[8] = {0, 0, 0, 0, 0, 0, 0, -77};  // the last is a canary
    ASSERT_EQ(zq_get_joint_software_version(arm_, version, nullptr), 0);
    EXPECT_EQ(version[6], 7);
    EXPECT_EQ(version[7], -77);
    EXPECT_EQ(arm_->arm_dof, 6);
    float joints[8];
    for (float& j : joints) j = -77.0f;
    sim_.set_reply("get_arm_current_trajectory",
                   R"({"command":"arm_current_trajectory","trajectory_type":"none","data":[1,2,3,4,5,6,7,8,9,10]})");
    zq_arm_current_trajectory_e type{};
    zq_get_arm_current_trajectory(arm_, &type, joints);
    EXPECT_EQ(joints[7], -77.0f);
    EXPECT_EQ(arm_->arm_dof, 6);
    // A movej reads the six joints of this arm, no more.
    sim_.clear_received();
    const float six[6] = {1, 2, 3, 4, 5, 6};
    ASSERT_EQ(zq_movej(arm_, six, 10, 0, 0, 0), 0);
    EXPECT_EQ(sim_.received_lines().at(0),
              R"({"command":"movej","v":10,"joint":[1000,2000,3000,4000,5000,6000],"trajectory_connect":0,"r":0})");
}

// ---- waits ------------------------------------------------------------------------------

// A delete, a store into a healthy handle, never waits for another arm's queries.
TEST_F(SessionReliability, DeleteIsNotStarvedByWaitingQueries) {
    zqsim::Simulator other(zqsim::ArmConfig::for_model("ZQ41-B-1.0"));
    const int port = other.start(0);
    zq_robot_handle* second = zq_create_robot_arm("127.0.0.1", port);
    ASSERT_GT(second->id, 0);
    sim_.set_delay("get_arm_run_mode", 50);
    std::atomic<bool> stop{false};
    std::vector<std::thread> queries;
    const auto t_end = Clock::now() + std::chrono::seconds(1);
    for (int t = 0; t < 3; ++t) {
        queries.emplace_back([&] {
            while (!stop && Clock::now() < t_end) {
                int mode;
                zq_get_arm_run_mode(arm_, &mode);
            }
        });
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const auto t0 = Clock::now();
    EXPECT_EQ(zq_delete_robot_arm(second), 0);
    const long long took = ms_since(t0);
    stop = true;
    for (auto& q : queries) q.join();
    EXPECT_LT(took, 45);  // the queries each wait 50 ms, and would chain for a second
}

// Several threads of one session each get their own reply within their own
// budget, in every thread mode.
TEST_F(SessionReliability, ConcurrentQueriesKeepTheirBudgets) {
    sim_.set_delay("get_arm_run_mode", 30);
    sim_.set_delay("get_joint_max_pos", 60);
    std::atomic<int> failures{0};
    std::atomic<long long> slowest{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int q = 0; q < 5; ++q) {
                const auto t0 = Clock::now();
                int mode = -1;
                float pos[7];
                const int rc = t % 2 ? zq_get_arm_run_mode(arm_, &mode) : zq_get_joint_max_pos(arm_, pos);
                if (rc != 0) ++failures;
                const long long took = ms_since(t0);
                if (took > slowest) slowest = took;
            }
        });
    }
    for (auto& th : threads) th.join();
    EXPECT_EQ(failures.load(), 0);
    EXPECT_LT(slowest.load(), 600);  // the query budget of 500 ms, and a little
}

// A blocking move whose arm is deleted ends with -1 at once, in every mode.
TEST_F(SessionReliability, BlockingMoveEndsWithItsArm) {
    sim_.on_command("movej", [](const std::string&) {
        return std::vector<std::string>{R"({"command":"movej","receive_state":true})"};
    });
    sim_.drop_reply("get_arm_current_trajectory");
    std::atomic<int> rc{1};
    const auto t0 = Clock::now();
    std::thread mover([&] {
        const float q[6] = {10, 0, 0, 0, 0, 0};
        rc = zq_movej(arm_, q, 10, 0, 0, 30);
    });
    ASSERT_TRUE(sim_.wait_for_lines(1, 1000));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(zq_delete_robot_arm(arm_), 0);
    arm_ = nullptr;
    mover.join();
    EXPECT_EQ(rc.load(), -1);
    EXPECT_LT(ms_since(t0), 3000);  // not 30 rounds of 1000 ms
}

// ---- the FIFO ---------------------------------------------------------------------------

TEST(SessionFifo, AReusedEntryShowsNoOldTextUnderItsNewKey) {
    zq::ReplyFifo fifo;
    std::lock_guard<std::mutex> lock(fifo.lock);
    fifo.file("old", "{\"command\":\"old\"}", 17);
    for (uint64_t i = 0; i < zq::kFifoStaleAfter + 2; ++i) fifo.begin_store();  // the entry grows stale
    const int slot = fifo.begin_store();
    ASSERT_EQ(slot, 0);
    fifo.set_key(slot, "new");
    char out[64];
    EXPECT_EQ(fifo.take("new", out, sizeof out), -1);  // not until its text is stored
    fifo.store(slot, "{\"command\":\"new\"}", 17);
    EXPECT_EQ(fifo.take("new", out, sizeof out), 17);
    EXPECT_STREQ(out, "{\"command\":\"new\"}");
}

// ---- connecting -------------------------------------------------------------------------

// A controller slow to accept is still reached: the connect is bounded by
// the system, not by the send time-out. The listener's queue is full, so the
// connection waits for the system's retry of its opening.
TEST(ConnectTimeout, SlowAcceptIsNotCutShort) {
    namespace pf = zq::platform;
    const pf::NetUser net;
    const pf::socket_t listener = pf::tcp_socket();
    ASSERT_EQ(pf::bind_ipv4(listener, pf::loopback_address(), 0), 0);
    ASSERT_EQ(pf::listen_socket(listener, 0), 0);
    const int port = pf::local_port(listener);
    const pf::socket_t filler = pf::tcp_socket();
    ASSERT_EQ(pf::connect_ipv4(filler, pf::loopback_address(), port), 0);
    std::thread acceptor([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        for (int i = 0; i < 2; ++i) pf::close_socket(pf::accept_connection(listener));
    });
    zq_socket_t* s = zq::socket_make("127.0.0.1", port);
    ASSERT_NE(s, nullptr);
    EXPECT_GT(s->zq_socket_open(s), 0);
    acceptor.join();
    zq::socket_free(s);
    pf::close_socket(filler);
    pf::close_socket(listener);
}

// ---- destroy ----------------------------------------------------------------------------

// A callback that destroys the library while the application destroys it
// too: neither waits on the other, and the process ends.
TEST(SessionDestroyDeathTest, DestroyFromACallbackAndTheApplication) {
    if (zqtest::mode() != ZQ_RECV_UDP_THREAD_MODE) GTEST_SKIP() << "runs once, in a process of its own";
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            std::thread([] {  // a hang ends the child with another code
                std::this_thread::sleep_for(std::chrono::seconds(20));
                std::_Exit(3);
            }).detach();
            zq_init(ZQ_RECV_UDP_THREAD_MODE);
            zqsim::Simulator sim(zqsim::ArmConfig::for_model("ZQ41-B-1.0"));
            const int port = sim.start(0);
            zq_robot_handle* arm = zq_create_robot_arm("127.0.0.1", port);
            static std::atomic<bool> called{false};
            zq_get_arm_event_call_back([](zq_event_push_data_t) {
                called = true;
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
                zq_destroy();
            });
            sim.push(R"({"state":"current_trajectory_state","trajectory_state":true,"device":0,)"
                     R"("trajectory_connect":0})");
            while (!called) std::this_thread::sleep_for(std::chrono::milliseconds(1));
            zq_destroy();
            (void)arm;
            sim.stop();
            std::exit(zq_destroy() == 0 ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

}  // namespace
