// Steps, jogs, the teach frame and the stop commands with their effect on the pending counters.
#include <chrono>
#include <thread>

#include "motion_env.h"
#include "session/session.h"

namespace {

using zqtest::MotionTest;
using Clock = std::chrono::steady_clock;

int block() { return zqtest::mode() == ZQ_SINGLE_THREAD_MODE ? 5 : 1; }

// ---- steps ------------------------------------------------------------------------------

TEST_F(MotionTest, MotionStepWireScalesInSinglePrecision) {
    zq_set_timeout(20);
    // 2.675f * 1000 and 0.005f * 1000000 round to whole numbers in single precision.
    EXPECT_EQ(zq_set_joint_step(arm_, 2, 2.675f, 30, 0), 0);
    EXPECT_EQ(zq_set_pos_step(arm_, ZQ_Y_DIR, 0.005f, 20, 0), 0);
    EXPECT_EQ(zq_set_pos_step(arm_, static_cast<zq_pos_teach_type_e>(3), 0.005f, 20, 0), 0);
    EXPECT_EQ(zq_set_ort_step(arm_, ZQ_RZ_ROTATE, -2.675f, 10, 0), 0);
    ASSERT_TRUE(sim_.wait_for_lines(4, 1000));
    const std::vector<std::string> lines = sim_.received_lines();
    EXPECT_EQ(lines[0], "{\"command\":\"set_joint_step\",\"joint_step\":[2,2675],\"v\":30}");
    EXPECT_EQ(lines[1], "{\"command\":\"set_pos_step\",\"v\":20,\"step\":5000,\"step_type\":\"y_step\"}");
    EXPECT_EQ(lines[2], "{\"command\":\"set_pos_step\",\"v\":20,\"step\":5000}");
    EXPECT_EQ(lines[3], "{\"command\":\"set_ort_step\",\"v\":10,\"step\":-2675,\"step_type\":\"rz_step\"}");
    EXPECT_EQ(pending(), 0);  // steps never raise the counter
}

TEST_F(MotionTest, MotionNonBlockingStepTakesTheQueryTimeOutAndIgnoresRefusals) {
    zq_set_timeout(150);
    sim_.set_reply("set_joint_step", "{\"command\":\"set_joint_step\",\"receive_state\":false}");
    const auto t0 = Clock::now();
    EXPECT_EQ(zq_set_joint_step(arm_, 1, 1.0f, 10, 0), 0);
    EXPECT_GE(seconds_since(t0), 0.149);
}

TEST_F(MotionTest, MotionBlockingStepMovesTheJoint) {
    const double expected = joint_move_seconds(2, 3.0, 100);
    const auto t0 = Clock::now();
    EXPECT_EQ(zq_set_joint_step(arm_, 3, 3.0f, 100, block()), 0);
    EXPECT_GE(seconds_since(t0), expected * 0.95);
    EXPECT_NEAR(sim_.config().joint_angles[2], 3.0, 1e-9);
    EXPECT_EQ(zq_set_pos_step(arm_, ZQ_Z_DIR, -0.002f, 100, block()), 0);  // down: the arm stands near full reach
    EXPECT_EQ(zq_set_ort_step(arm_, ZQ_RX_ROTATE, 0.01f, 100, block()), 0);
    EXPECT_EQ(zq_set_joint_step(arm_, 3, 400.0f, 100, block()), 1);  // beyond the joint's range
}

TEST_F(MotionTest, MotionStepWaitGivesUpOnlyAfterTenIdleRounds) {
    if (zqtest::mode() == ZQ_SINGLE_THREAD_MODE) GTEST_SKIP() << "the step wait of thread modes 1 and 2";
    // The controller accepts the step but never moves: ten idle rounds of 100 ms, then the
    // report decides; here it comes late, after the rounds.
    sim_.set_reply("set_joint_step", "{\"command\":\"set_joint_step\",\"receive_state\":true}", 1);
    std::thread controller([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(1100));
        sim_.push("{\"state\":\"current_trajectory_state\",\"trajectory_state\":true,\"device\":0,"
                  "\"trajectory_connect\":0}");
    });
    const auto t0 = Clock::now();
    EXPECT_EQ(zq_set_joint_step(arm_, 1, 1.0f, 10, 1), 0);
    const double took = seconds_since(t0);
    controller.join();
    EXPECT_GE(took, 0.9);  // nine sleeps of 100 ms before the report is waited for
    EXPECT_GE(count_requests("get_arm_current_trajectory"), 10);
}

// ---- jogs and the teach frame -----------------------------------------------------------

TEST_F(MotionTest, MotionJogMovesUntilTheTeachStop) {
    ASSERT_EQ(zq_set_joint_teach(arm_, 1, 1, 20), 0);
    EXPECT_EQ(request("set_joint_teach"), "{\"command\":\"set_joint_teach\",\"teach_joint\":1,\"v\":20,\"direction\":\"pos\"}");
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    ASSERT_EQ(zq_set_stop_teach(arm_), 0);
    const double stopped = sim_.config().joint_angles[0];
    EXPECT_GT(stopped, 0.0);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(sim_.config().joint_angles[0], stopped);
    EXPECT_FALSE(motion_.busy());
}

TEST_F(MotionTest, MotionCartesianJogWire) {
    EXPECT_EQ(zq_set_pos_teach(arm_, ZQ_Z_DIR, 0, 15), 0);
    EXPECT_EQ(zq_set_stop_teach(arm_), 0);
    EXPECT_EQ(zq_set_ort_teach(arm_, ZQ_RY_ROTATE, 7, 5), 0);
    EXPECT_EQ(zq_set_stop_teach(arm_), 0);
    sim_.set_reply("set_pos_teach", "{\"command\":\"set_pos_teach\",\"pos_teach\":false}", 1);
    EXPECT_EQ(zq_set_pos_teach(arm_, static_cast<zq_pos_teach_type_e>(5), 1, 15), 1);
    const std::vector<std::string> lines = sim_.received_lines();
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[0], "{\"command\":\"set_pos_teach\",\"v\":15,\"direction\":\"neg\",\"teach_type\":\"z\"}");
    EXPECT_EQ(lines[1], "{\"command\":\"set_stop_teach\"}");
    EXPECT_EQ(lines[2], "{\"command\":\"set_ort_teach\",\"v\":5,\"direction\":\"pos\",\"teach_type\":\"ry\"}");
    EXPECT_EQ(lines[4], "{\"command\":\"set_pos_teach\",\"v\":15,\"direction\":\"pos\"}");
}

TEST_F(MotionTest, MotionJogExchangeFailures) {
    zq_set_timeout(40);
    sim_.drop_reply("set_joint_teach");
    sim_.drop_reply("set_pos_teach");
    sim_.drop_reply("set_ort_teach");
    sim_.drop_reply("set_stop_teach");
    EXPECT_EQ(zq_set_joint_teach(arm_, 1, 1, 10), -1);
    EXPECT_EQ(zq_set_pos_teach(arm_, ZQ_X_DIR, 1, 10), -1);
    EXPECT_EQ(zq_set_ort_teach(arm_, ZQ_RX_ROTATE, 1, 10), -2);
    EXPECT_EQ(zq_set_stop_teach(arm_), -2);
}

TEST_F(MotionTest, MotionTeachFramePair) {
    EXPECT_EQ(zq_set_teach_frame(arm_, 1), 0);
    EXPECT_EQ(request("set_teach_frame"), "{\"command\":\"set_teach_frame\",\"frame_type\":1}");
    int frame = -1;
    EXPECT_EQ(zq_get_teach_frame(arm_, &frame), 0);
    EXPECT_EQ(frame, 1);
    // A reply without "frame_type" hands back the reply's length.
    const std::string bare = "{\"command\":\"get_teach_frame\"}";
    sim_.set_reply("get_teach_frame", bare, 1);
    frame = -1;
    const int with_crlf = zqtest::mode() == ZQ_SINGLE_THREAD_MODE ? 2 : 0;
    EXPECT_EQ(zq_get_teach_frame(arm_, &frame), static_cast<int>(bare.size()) + with_crlf);
    EXPECT_EQ(frame, -1);
}

// ---- stops ------------------------------------------------------------------------------

struct StopCase {
    int (*fn)(zq_robot_handle*);
    const char* command;
    const char* key;
    int pending_after;  // from 2 pending reports
};
const StopCase kStops[] = {
    {zq_set_arm_slow_stop, "set_arm_slow_stop", "arm_slow_stop", 0},
    {zq_set_arm_stop, "set_arm_stop", "arm_stop", 0},
    {zq_set_arm_pause, "set_arm_pause", "arm_pause", 2},
    {zq_set_arm_continue, "set_arm_continue", "arm_continue", 2},
    {zq_set_delete_current_trajectory, "set_delete_current_trajectory", "delete_current_trajectory", 1},
    {zq_set_arm_delete_trajectory, "set_arm_delete_trajectory", "arm_delete_trajectory", 0},
};

TEST_F(MotionTest, MotionStopsAnswerAndMoveTheCounters) {
    // Scripted answers: a real stop would show "stop" in the realtime reports, which clear the
    // counters on their own.
    for (const StopCase& c : kStops) {
        SCOPED_TRACE(c.command);
        sim_.clear_received();
        zq_motion_count_op(arm_, 0);
        zq_motion_count_op(arm_, 1);
        zq_motion_count_op(arm_, 1);
        sim_.set_reply(c.command, std::string("{\"command\":\"") + c.command + "\",\"" + c.key + "\":true}", 1);
        EXPECT_EQ(c.fn(arm_), 0);
        EXPECT_EQ(request(c.command), std::string("{\"command\":\"") + c.command + "\"}");
        EXPECT_EQ(pending(), c.pending_after);
        // A refusal returns 1 and still moves the counters.
        zq_motion_count_op(arm_, 0);
        zq_motion_count_op(arm_, 1);
        zq_motion_count_op(arm_, 1);
        sim_.set_reply(c.command, std::string("{\"command\":\"") + c.command + "\",\"" + c.key + "\":false}", 1);
        EXPECT_EQ(c.fn(arm_), 1);
        EXPECT_EQ(pending(), c.pending_after);
    }
    zq_motion_count_op(arm_, 0);
    EXPECT_EQ(zq_set_delete_current_trajectory(arm_), 0);
    EXPECT_EQ(pending(), 0);  // not below 0
}

TEST_F(MotionTest, MotionUnansweredStopLeavesTheCounters) {
    zq_set_timeout(40);
    zq_motion_count_op(arm_, 1);
    sim_.drop_reply("set_arm_stop", 1);
    EXPECT_EQ(zq_set_arm_stop(arm_), -2);
    EXPECT_EQ(pending(), 1);
    zq_robot_handle stranger{};
    EXPECT_EQ(zq_set_arm_stop(&stranger), -1);
    EXPECT_EQ(zq_set_arm_emergency_stop(&stranger, true), -1);
}

TEST_F(MotionTest, MotionEmergencyStopHaltsTheArm) {
    const float far[6] = {40.0f, 0, 0, 0, 0, 0};
    ASSERT_EQ(zq_movej(arm_, far, 20, 0, 0, 0), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(zq_set_arm_emergency_stop(arm_, true), 0);
    EXPECT_EQ(request("set_arm_emergency_stop"), "{\"command\":\"set_arm_emergency_stop\",\"emergency_stop\":1}");
    EXPECT_FALSE(motion_.busy());
    EXPECT_LT(sim_.config().joint_angles[0], 40.0);
}

TEST_F(MotionTest, MotionSlowStopBrakesWithinTheAccelerationLimit) {
    const float target[6] = {30.0f, 0, 0, 0, 0, 0};
    ASSERT_EQ(zq_movej(arm_, target, 50, 0, 0, 0), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const double before = sim_.config().joint_angles[0];
    const double speed = sim_.config().state.joints.speed[0];
    ASSERT_GT(speed, 0.0);
    ASSERT_EQ(zq_set_arm_slow_stop(arm_), 0);
    EXPECT_EQ(pending(), 0);
    ASSERT_TRUE(motion_.wait_idle(2000));
    const double after = sim_.config().joint_angles[0];
    // Braking at no more than the limit takes at least v² / 2a further.
    const double acc = sim_.config().joints[0].max_acc;
    EXPECT_GT(after, before);
    EXPECT_LT(after, 30.0);
    EXPECT_GE(after - before, speed * speed / (2.0 * acc) * 0.8);
    EXPECT_EQ(motion_.reports_sent(), 0);
}

TEST_F(MotionTest, MotionPauseHoldsTheArmUntilContinue) {
    const float target[6] = {8.0f, 0, 0, 0, 0, 0};
    ASSERT_EQ(zq_movej(arm_, target, 30, 0, 0, 0), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    ASSERT_EQ(zq_set_arm_pause(arm_), 0);
    const double held = sim_.config().joint_angles[0];
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(sim_.config().joint_angles[0], held);
    zq_arm_current_trajectory_e type = ZQ_TRAJECTORY_NONE;
    float data[7] = {0};
    ASSERT_EQ(zq_get_arm_current_trajectory(arm_, &type, data), 0);
    EXPECT_EQ(type, ZQ_TRAJECTORY_MOVEJ);  // a paused move is still the running trajectory
    EXPECT_FLOAT_EQ(data[0], 8.0f);
    ASSERT_EQ(zq_set_arm_continue(arm_), 0);
    ASSERT_TRUE(motion_.wait_idle(3000));
    EXPECT_NEAR(sim_.config().joint_angles[0], 8.0, 1e-9);
}

}  // namespace
