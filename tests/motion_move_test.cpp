// Blocking and non-blocking moves against the moving simulator: completion by the pushed
// report and by the idle path, foreign reports, joined trajectories, refusals and stops.
#include <atomic>
#include <chrono>
#include <thread>

#include "motion_env.h"

namespace {

using zqtest::MotionTest;
using Clock = std::chrono::steady_clock;

// Blocking: any non-zero value; in single-thread mode the number of one-second rounds.
int block() { return zqtest::mode() == ZQ_SINGLE_THREAD_MODE ? 5 : 1; }

std::vector<float> joints(std::initializer_list<float> head) {
    std::vector<float> q(7, 0.0f);
    std::size_t i = 0;
    for (float v : head) q[i++] = v;
    return q;
}

TEST_F(MotionTest, MotionBlockingMovejEndsWhenTheArmArrives) {
    const std::vector<float> target = joints({6.0f, -4.0f});
    const double expected = joint_move_seconds(0, 6.0, 100);
    const auto t0 = Clock::now();
    EXPECT_EQ(zq_movej(arm_, target.data(), 100, 0, 0, block()), 0);
    const double took = seconds_since(t0);
    EXPECT_GE(took, expected * 0.95);
    EXPECT_LT(took, expected + 0.5);
    const std::vector<double> q = sim_.config().joint_angles;
    EXPECT_NEAR(q[0], 6.0, 1e-9);
    EXPECT_NEAR(q[1], -4.0, 1e-9);
    EXPECT_EQ(motion_.reports_sent(), 1);
    EXPECT_EQ(pending(), 0);
}

TEST_F(MotionTest, MotionNonBlockingMoveCountsItsPendingReport) {
    const std::vector<float> target = joints({3.0f});
    const auto t0 = Clock::now();
    EXPECT_EQ(zq_movej(arm_, target.data(), 100, 0, 0, 0), 0);
    EXPECT_LT(seconds_since(t0), 0.1);
    EXPECT_EQ(pending(), 1);
    ASSERT_TRUE(motion_.wait_idle(3000));
    if (zqtest::mode() == ZQ_SINGLE_THREAD_MODE) return;  // nobody reads the socket meanwhile
    // The report is swallowed by the receive path: the counter falls back and the FIFO stays empty.
    const auto until = Clock::now() + std::chrono::seconds(1);
    while (pending() != 0 && Clock::now() < until) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_EQ(pending(), 0);
    // A blocking move afterwards ends on its own report, not on the swallowed one.
    const std::vector<float> back = joints({0.0f});
    const double expected = joint_move_seconds(0, 3.0, 100);
    const auto t1 = Clock::now();
    EXPECT_EQ(zq_movej(arm_, back.data(), 100, 0, 0, block()), 0);
    EXPECT_GE(seconds_since(t1), expected * 0.95);
}

TEST_F(MotionTest, MotionBlockingMoveSkipsReportsOfOtherDevices) {
    // A lift's report arrives first; the joint move goes on until the arm's own report.
    const std::vector<float> target = joints({5.0f});
    const double expected = joint_move_seconds(0, 5.0, 100);
    std::thread lift([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        sim_.push("{\"state\":\"current_trajectory_state\",\"trajectory_state\":true,\"device\":3,"
                  "\"trajectory_connect\":0}");
    });
    const auto t0 = Clock::now();
    EXPECT_EQ(zq_movej(arm_, target.data(), 100, 0, 0, block()), 0);
    lift.join();
    EXPECT_GE(seconds_since(t0), expected * 0.95);
}

TEST_F(MotionTest, MotionBlockingMoveEndsThroughTheIdlePathWhenTheReportIsLost) {
    if (zqtest::mode() == ZQ_SINGLE_THREAD_MODE) {
        // Single-thread mode knows only the report: one round of a second, then -5.
        motion_.lose_reports(-1);
        const std::vector<float> target = joints({2.0f});
        EXPECT_EQ(zq_movej(arm_, target.data(), 100, 0, 0, 1), -5);
        return;
    }
    zq_set_timeout(100);
    motion_.lose_reports(-1);
    const std::vector<float> target = joints({10.0f});
    const auto t0 = Clock::now();
    EXPECT_EQ(zq_movej(arm_, target.data(), 50, 0, 0, 1), -6);
    const double took = seconds_since(t0);
    EXPECT_GE(took, joint_move_seconds(0, 10.0, 50) * 0.95);
    EXPECT_LT(took, joint_move_seconds(0, 10.0, 50) + 1.0);
    EXPECT_GE(count_requests("get_arm_current_trajectory"), 2);
    EXPECT_GE(count_requests("get_current_arm_state"), 1);
}

TEST_F(MotionTest, MotionLateReportStillEndsTheMove) {
    motion_.delay_reports(150);
    const std::vector<float> target = joints({4.0f});
    EXPECT_EQ(zq_movej(arm_, target.data(), 100, 0, 0, block()), 0);
}

TEST_F(MotionTest, MotionSingleThreadRoundsRunOut) {
    if (zqtest::mode() != ZQ_SINGLE_THREAD_MODE) GTEST_SKIP() << "rounds exist in single-thread mode only";
    motion_.lose_reports(-1);
    const std::vector<float> target = joints({1.0f});
    const auto t0 = Clock::now();
    EXPECT_EQ(zq_movej(arm_, target.data(), 100, 0, 0, 5), -5);
    const double took = seconds_since(t0);
    EXPECT_GE(took, 4.9);
    EXPECT_LT(took, 6.0);
}

TEST_F(MotionTest, MotionReportOfAnotherDeviceAtTheEndGivesMinusFour) {
    if (zqtest::mode() == ZQ_SINGLE_THREAD_MODE) GTEST_SKIP() << "the idle path runs in thread modes 1 and 2";
    // movej_p polls the trajectory only; its final wait then finds a report for device 3.
    motion_.report_device(3);
    zq_pose_t pose{};
    pose.position = {0.3f, 0.0f, 0.4f};
    pose.euler = {3.141f, 0.0f, 0.0f};
    EXPECT_EQ(zq_movej_p(arm_, pose, 100, 0, 0, 1), -4);
}

TEST_F(MotionTest, MotionFailedReportEndsWithOne) {
    const std::vector<float> target = joints({1.0f});
    sim_.set_reply("movej", "{\"command\":\"movej\",\"receive_state\":true}", 1);
    std::thread controller([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        sim_.push("{\"state\":\"current_trajectory_state\",\"trajectory_state\":false,\"device\":0,"
                  "\"trajectory_connect\":0}");
    });
    EXPECT_EQ(zq_movej(arm_, target.data(), 100, 0, 0, block()), 1);
    controller.join();
}

TEST_F(MotionTest, MotionJoinedTrajectoryReturnsOnTheAcknowledgement) {
    const std::vector<float> first = joints({4.0f});
    const std::vector<float> second = joints({0.0f, 4.0f});
    const auto t0 = Clock::now();
    EXPECT_EQ(zq_movej(arm_, first.data(), 100, 0, 1, 1), 0);
    EXPECT_LT(seconds_since(t0), 0.1);
    EXPECT_EQ(pending(), 0);  // not raised: the joined report reaches the FIFO
    EXPECT_EQ(zq_movej(arm_, second.data(), 100, 0, 0, block()), 0);
    EXPECT_GE(seconds_since(t0), (joint_move_seconds(0, 4.0, 100) + joint_move_seconds(1, 4.0, 100)) * 0.95);
    EXPECT_EQ(motion_.reports_sent(), 2);
    const std::vector<double> q = sim_.config().joint_angles;
    EXPECT_NEAR(q[0], 0.0, 1e-9);
    EXPECT_NEAR(q[1], 4.0, 1e-9);
}

TEST_F(MotionTest, MotionRefusedMoveReturnsOneAndCountsNothing) {
    sim_.set_reply("movej", "{\"command\":\"movej\",\"receive_state\":false}", 1);
    const std::vector<float> target = joints({1.0f});
    EXPECT_EQ(zq_movej(arm_, target.data(), 100, 0, 0, 0), 1);
    EXPECT_EQ(pending(), 0);
    // Out of the joint's range: the controller itself refuses.
    const std::vector<float> far = joints({400.0f});
    EXPECT_EQ(zq_movej(arm_, far.data(), 100, 0, 0, 1), 1);
    EXPECT_FALSE(motion_.busy());
}

// A pose out of the arm's reach: the controller takes the command, the move ends at once with an
// error in the arm's list and a failed report, the arm stays, and the blocking call says 1.
TEST_F(MotionTest, MotionUnreachablePoseFailsAtOnce) {
    const zq_pose_t far{{3.0f, 0.0f, 0.0f}, {0.0f, 0.0f, 0.0f, 0.0f}, {3.141f, 0.0f, 0.0f}};
    const struct {
        const char* name;
        int (*call)(zq_robot_handle*, const zq_pose_t&);
    } kMoves[] = {
        {"movel", [](zq_robot_handle* a, const zq_pose_t& p) { return zq_movel(a, p, 50, 0, 0, block()); }},
        {"movej_p", [](zq_robot_handle* a, const zq_pose_t& p) { return zq_movej_p(a, p, 50, 0, 0, block()); }},
        {"moves", [](zq_robot_handle* a, const zq_pose_t& p) { return zq_moves(a, p, 50, 0, 0, block()); }},
    };
    for (const auto& m : kMoves) {
        SCOPED_TRACE(m.name);
        sim_.update([](zqsim::ArmConfig& arm) { arm.state.err = {0}; });
        const std::vector<double> before = sim_.config().joint_angles;
        const auto t0 = Clock::now();
        EXPECT_EQ(m.call(arm_, far), 1);
        EXPECT_LT(seconds_since(t0), 2.0);
        EXPECT_EQ(sim_.config().state.err, std::vector<int>{0x6201});
        EXPECT_EQ(sim_.config().joint_angles, before);
        EXPECT_FALSE(motion_.busy());
    }
}

TEST_F(MotionTest, MotionUnansweredMoveTimesOut) {
    zq_set_timeout(100);
    sim_.drop_reply("movel", 1);
    zq_pose_t pose{};
    const auto t0 = Clock::now();
    EXPECT_EQ(zq_movel(arm_, pose, 10, 0, 0, 1), -2);
    EXPECT_LT(seconds_since(t0), 0.5);
}

TEST_F(MotionTest, MotionDisconnectedArmIsRefused) {
    zq_robot_handle stranger{};
    const std::vector<float> target = joints({});
    EXPECT_EQ(zq_movej(&stranger, target.data(), 10, 0, 0, 1), -1);
    zq_pose_t pose{};
    EXPECT_EQ(zq_movel(&stranger, pose, 10, 0, 0, 1), -1);
    EXPECT_EQ(zq_movec(&stranger, pose, pose, 10, 0, 0, 0, 1), -1);
    EXPECT_EQ(zq_movel_offset(&stranger, pose, 10, 0, 0, 0, 1), -1);
}

TEST_F(MotionTest, MotionStopFromAnotherThreadEndsABlockingMove) {
    if (zqtest::mode() == ZQ_SINGLE_THREAD_MODE) GTEST_SKIP() << "one waiter at a time in single-thread mode";
    zq_set_timeout(200);
    const std::vector<float> target = joints({60.0f});
    const double full = joint_move_seconds(0, 60.0, 20);
    ASSERT_GT(full, 1.5);
    std::atomic<int> stop_rc{99};
    std::thread stopper([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        stop_rc = zq_set_arm_stop(arm_);
    });
    const auto t0 = Clock::now();
    const int rc = zq_movej(arm_, target.data(), 20, 0, 0, 1);
    const double took = seconds_since(t0);
    stopper.join();
    EXPECT_EQ(stop_rc.load(), 0);
    EXPECT_EQ(rc, -6);  // the arm went idle and no report came
    EXPECT_LT(took, full);
    const double q0 = sim_.config().joint_angles[0];
    EXPECT_GT(q0, 0.0);
    EXPECT_LT(q0, 60.0);
}

TEST_F(MotionTest, MotionPoseMovesReportTheirTypeWhileRunning) {
    // Start bent over the table, tool down, a few centimetres from the targets.
    sim_.update([](zqsim::ArmConfig& a) { a.joint_angles = {0, -20, -70, 0, -90, 0}; });
    zq_pose_t pose{};
    pose.position = {0.35f, 0.05f, 0.35f};
    pose.euler = {3.141f, 0.0f, 0.0f};
    ASSERT_EQ(zq_movel(arm_, pose, 50, 0, 0, 0), 0);
    zq_arm_current_trajectory_e type = ZQ_TRAJECTORY_NONE;
    float data[7] = {0};
    ASSERT_EQ(zq_get_arm_current_trajectory(arm_, &type, data), 0);
    EXPECT_EQ(type, ZQ_TRAJECTORY_MOVEL);
    EXPECT_NEAR(data[0], 0.35f, 1e-6);
    EXPECT_NEAR(data[1], 0.05f, 1e-6);
    EXPECT_NEAR(data[3], 3.141f, 1e-6);
    ASSERT_TRUE(motion_.wait_idle(3000));
    ASSERT_EQ(zq_get_arm_current_trajectory(arm_, &type, data), 0);
    EXPECT_EQ(type, ZQ_TRAJECTORY_NONE);
    // Blocking forms of the pose family end on their report.
    pose.position.x = 0.3f;
    EXPECT_EQ(zq_moves(arm_, pose, 100, 0, 0, block()), 0);
    zq_pose_t via = pose;
    via.position.y = 0.02f;
    EXPECT_EQ(zq_movec(arm_, via, pose, 100, 0, 0, 0, block()), 0);
    zq_pose_t offset{};
    offset.position.z = -0.01f;
    EXPECT_EQ(zq_movel_offset(arm_, offset, 100, 0, 0, 0, block()), 0);
    EXPECT_EQ(zq_movej_p(arm_, pose, 100, 0, 0, block()), 0);
}

}  // namespace

namespace {

using zqtest::MotionTest;

TEST_F(MotionTest, MotionArmErrorEndsABlockingJointMove) {
    if (zqtest::mode() == ZQ_SINGLE_THREAD_MODE) GTEST_SKIP() << "the error check belongs to the wait of modes 1 and 2";
    sim_.update([](zqsim::ArmConfig& arm) { arm.state.err = {0, 0x5001}; });
    const float target[6] = {3.0f, 0, 0, 0, 0, 0};
    EXPECT_EQ(zq_movej(arm_, target, 100, 0, 0, 1), 1);
    EXPECT_GE(count_requests("get_current_arm_state"), 1);
}

TEST_F(MotionTest, MotionSimulatedArmShowsItsStatusAndSpeed) {
    for (double v : sim_.config().state.joints.speed) EXPECT_EQ(v, 0.0);  // at rest
    const float target[6] = {20.0f, 0, 0, 0, 0, 0};
    ASSERT_EQ(zq_movej(arm_, target, 50, 0, 0, 0), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    zqsim::ArmConfig c = sim_.config();
    EXPECT_EQ(c.state.arm_status, "move_J");
    EXPECT_GT(c.state.joints.speed[0], 0.0);
    EXPECT_EQ(c.state.joints.speed[1], 0.0);
    ASSERT_EQ(zq_set_arm_stop(arm_), 0);
    EXPECT_EQ(sim_.config().state.arm_status, "stop");
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    c = sim_.config();
    EXPECT_EQ(c.state.arm_status, "idle");
    EXPECT_EQ(c.state.joints.speed[0], 0.0);
}

}  // namespace

namespace {

using zqtest::MotionTest;

std::atomic<int> g_trajectory_events{0};
std::atomic<int> g_last_device{-1};
void on_event(zq_event_push_data_t e) {
    if (e.event_type != ZQ_EVENT_TRAJECTORY) return;
    g_last_device = e.device;
    ++g_trajectory_events;
}

TEST_F(MotionTest, MotionReportsReachTheEventCallback) {
    if (zqtest::mode() == ZQ_SINGLE_THREAD_MODE) GTEST_SKIP() << "no events without the receive thread";
    zq_get_arm_event_call_back(on_event);
    g_trajectory_events = 0;
    const float a[6] = {2.0f, 0, 0, 0, 0, 0};
    const float b[6] = {0.0f, 0, 0, 0, 0, 0};
    // Two non-blocking moves, then a blocking one: the first two reports are swallowed after
    // the callback, the third ends the blocking move; all three reach the callback.
    ASSERT_EQ(zq_movej(arm_, a, 100, 0, 0, 0), 0);
    ASSERT_EQ(zq_movej(arm_, b, 100, 0, 0, 0), 0);
    EXPECT_EQ(pending(), 2);
    EXPECT_EQ(zq_movej(arm_, a, 100, 0, 0, 1), 0);
    EXPECT_EQ(motion_.reports_sent(), 3);
    EXPECT_EQ(g_trajectory_events.load(), 3);
    EXPECT_EQ(g_last_device.load(), 0);
    EXPECT_EQ(pending(), 0);
    EXPECT_NEAR(sim_.config().joint_angles[0], 2.0, 1e-9);
}

}  // namespace

namespace {

using zqtest::MotionTest;

TEST_F(MotionTest, MotionControllerThatStopsAnsweringEndsTheWait) {
    if (zqtest::mode() == ZQ_SINGLE_THREAD_MODE) GTEST_SKIP() << "single-thread rounds are covered above";
    zq_set_timeout(50);
    const float far[6] = {60.0f, 0, 0, 0, 0, 0};
    std::thread cut([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        sim_.close_connections();
    });
    const auto t0 = std::chrono::steady_clock::now();
    const int rc = zq_movej(arm_, far, 10, 0, 0, 1);
    const double took = seconds_since(t0);
    cut.join();
    EXPECT_LT(rc, 0);  // the failing trajectory queries end it: -1 or -2
    EXPECT_GT(rc, -3);
    EXPECT_LT(took, 8.0);
}

}  // namespace
