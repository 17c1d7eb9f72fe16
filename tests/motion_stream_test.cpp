// Pass-through streaming: wire bytes, the quaternion rule, the smoothing warning and the
// current streaming gate; the QP teleoperation service's steps streamed to the arm.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "log_capture.h"
#include "motion/stream.h"
#include "motion_env.h"
#include "sim_kinematics.h"

namespace {

using zqtest::MotionTest;

namespace logs = zqtest::log_capture;

class MotionStreamTest : public MotionTest {
protected:
    void SetUp() override {
        MotionTest::SetUp();
        logs::clear();
    }
    void TearDown() override {
        logs::stop();
        MotionTest::TearDown();
    }
    std::string log() { return logs::log(); }
};

TEST_F(MotionStreamTest, MotionStreamJointsGoOutAtOnceAndMoveTheArm) {
    logs::start();
    float q[6] = {2.675f, -1.0f, 0.5f, 0.0f, 10.0f, -20.0f};
    // The arm stands next to the set point: the controller refuses jumps beyond its limits.
    sim_.update([](zqsim::ArmConfig& a) { a.joint_angles = {2.674, -1.0, 0.5, 0.0, 10.0, -19.99}; });
    zq_movej_canfd_mode_t c{};
    c.joint = q;
    c.expand = 2.675f;
    c.follow = true;
    c.trajectory_mode = 2;
    c.radio = 1001;
    EXPECT_EQ(zq_movej_canfd(arm_, c), 0);
    c.radio = 1000;
    EXPECT_EQ(zq_movej_canfd(arm_, c), 0);
    ASSERT_TRUE(sim_.wait_for_lines(2, 1000));
    EXPECT_EQ(sim_.received_lines()[0],
              "{\"command\":\"movej_canfd\",\"joint\":[2674,-1000,500,0,10000,-20000],\"follow\":true,"
              "\"expand\":2675,\"trajectory_mode\":2,\"radio\":1001}");
    // One warning, for 1001 only.
    EXPECT_EQ(log(), "[zq_movej_canfd] zq_movej_canfd_mode_t config warn, invaild radio: 1001!\n");
    EXPECT_NEAR(sim_.config().joint_angles[5], -20.0, 1e-9);
    EXPECT_EQ(zq_movej_follow(arm_, q), 0);
    EXPECT_EQ(request("movej_follow"), "{\"command\":\"movej_follow\",\"joint\":[2674,-1000,500,0,10000,-20000]}");
}

TEST_F(MotionStreamTest, MotionStreamRadioBoundsByMode) {
    logs::start();
    zq_movev_canfd_mode_t v{};
    float vel[6] = {0.1f, -0.2f, 0.0f, 2.675f, 0.0f, -0.5f};
    v.cartesian_velocity = vel;
    v.trajectory_mode = 0;
    v.radio = 1;
    EXPECT_EQ(zq_movev_canfd(arm_, v), 0);
    v.trajectory_mode = 1;
    v.radio = 100;
    EXPECT_EQ(zq_movev_canfd(arm_, v), 0);
    v.radio = 101;
    EXPECT_EQ(zq_movev_canfd(arm_, v), 0);
    EXPECT_EQ(log(),
              "[zq_movev_canfd] zq_movev_canfd_mode_t config warn, invaild radio: 1!\n"
              "[zq_movev_canfd] zq_movev_canfd_mode_t config warn, invaild radio: 101!\n");
    ASSERT_TRUE(sim_.wait_for_lines(3, 1000));
    // Double precision: 2.675f * 1000 truncates to 2674.
    EXPECT_EQ(sim_.received_lines()[0],
              "{\"command\":\"movev_canfd\",\"cartesian_velocity\":[100000,-200000,0,2674,0,-500],\"follow\":false,"
              "\"trajectory_mode\":0,\"radio\":1}");
}

TEST_F(MotionStreamTest, MotionStreamQuaternionChoosesTheForm) {
    zq_movep_canfd_mode_t c{};
    c.pose.position = {0.1f, 0.2f, 0.3f};
    c.pose.euler = {2.675f, 0.0f, -1.0f};
    c.pose.quaternion = {0.0f, 0.0f, 0.0f, 0.0f};
    EXPECT_EQ(zq_movep_canfd(arm_, c), 0);                  // zero: Euler form
    c.pose.quaternion = {0.5f, 0.5f, 0.5f, 0.5f};           // norm 1
    EXPECT_EQ(zq_movep_canfd(arm_, c), 0);
    c.pose.quaternion = {1.0f, 0.3f, 0.0f, 0.0f};           // 1.09: still inside
    EXPECT_EQ(zq_movep_follow(arm_, c.pose), 0);
    c.pose.quaternion = {1.0f, 0.32f, 0.0f, 0.0f};          // 1.1024: outside
    EXPECT_EQ(zq_movep_follow(arm_, c.pose), 0);
    ASSERT_TRUE(sim_.wait_for_lines(4, 1000));
    const std::vector<std::string> l = sim_.received_lines();
    EXPECT_EQ(l[0], "{\"command\":\"movep_canfd\",\"follow\":false,\"pose\":[100000,200000,300000,2675,0,-1000],"
                    "\"trajectory_mode\":0,\"radio\":0}");
    EXPECT_EQ(l[1], "{\"command\":\"movep_canfd\",\"follow\":false,"
                    "\"pose_quat\":[100000,200000,300000,500000,500000,500000,500000],\"trajectory_mode\":0,"
                    "\"radio\":0}");
    EXPECT_EQ(l[2], "{\"command\":\"movep_follow\",\"pose_quat\":[100000,200000,300000,1000000,300000,0,0]}");
    EXPECT_EQ(l[3], "{\"command\":\"movep_follow\",\"pose\":[100000,200000,300000,2675,0,-1000]}");
}

TEST_F(MotionStreamTest, MotionStreamUnknownHandle) {
    zq_robot_handle stranger{};
    float velocity[6] = {};
    zq_movev_canfd_mode_t v{};
    v.cartesian_velocity = velocity;
    EXPECT_EQ(zq_movev_canfd(&stranger, v), -1);
    zq_movej_canfd_mode_t j{};
    EXPECT_EQ(zq_movej_canfd(&stranger, j), -1);
    EXPECT_EQ(zq_movep_follow(&stranger, zq_pose_t{}), -1);
}

TEST_F(MotionStreamTest, MotionStreamVelocityInit) {
    EXPECT_EQ(zq_set_movev_canfd_init(arm_, 1, 0, 10), 0);
    EXPECT_EQ(request("set_movev_canfd_init"),
              "{\"command\":\"set_movev_canfd_init\",\"avoid_singularity_flag\":1,\"frame_type\":0,\"dt\":10}");
    sim_.set_reply("set_movev_canfd_init", "{\"command\":\"set_movev_canfd_init\",\"movev_canfd_init_state\":false}");
    EXPECT_EQ(zq_set_movev_canfd_init(arm_, 1, 0, 10), 1);
}

TEST_F(MotionStreamTest, MotionStreamCurrentNeedsItsSwitch) {
    float current[6] = {1.5f, -0.25f, 0, 0, 0, 2.675f};
    EXPECT_EQ(zq_current_canfd(arm_, current), -4);
    EXPECT_EQ(count_requests("get_current_canfd_enable"), 1);
    EXPECT_EQ(count_requests("current_canfd"), 0);
    ASSERT_EQ(zq_set_current_canfd_enable(arm_, true), 0);
    EXPECT_EQ(request("set_current_canfd_enable"), "{\"command\":\"set_current_canfd_enable\",\"enable\":true}");
    bool on = false;
    ASSERT_EQ(zq_get_current_canfd_enable(arm_, &on), 0);
    EXPECT_TRUE(on);
    EXPECT_EQ(zq_current_canfd(arm_, current), 0);
    EXPECT_EQ(request("current_canfd"), "{\"command\":\"current_canfd\",\"current\":[1500,-250,0,0,0,2674]}");
    // Generation 3 answers under "enable_state"; a reply under the other key leaves it off.
    arm_->controller_version = 3;
    sim_.set_reply("get_current_canfd_enable", "{\"command\":\"get_current_canfd_enable\",\"set_state\":true}", 1);
    EXPECT_EQ(zq_get_current_canfd_enable(arm_, &on), -3);
    sim_.set_reply("get_current_canfd_enable", "{\"command\":\"get_current_canfd_enable\",\"enable_state\":true}", 1);
    on = false;
    EXPECT_EQ(zq_get_current_canfd_enable(arm_, &on), 0);
    EXPECT_TRUE(on);
    arm_->controller_version = 5;
    EXPECT_EQ(zq_get_current_canfd_enable(arm_, &on), -1);
    arm_->controller_version = 4;
}

}  // namespace

namespace {

using zqtest::MotionTest;

zq_Mat_t mat_of_pose(const zq_pose_t& p) {
    const zq_matrix_t m = zq_algo_pos2matrix(p);
    zq_Mat_t out{};
    out.rows = out.cols = 4;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) out.data[r][c] = m.data[r][c];
    return out;
}

// The QP teleoperation service limits each step to the joints' speed limits over its period and
// nothing more: a target that jumps starts a joint at its full speed limit from rest, which the
// controller refuses; the same way on a smooth ramp is followed to the end without an error.
TEST_F(MotionTest, MotionQpStepsJumpAtFullSpeedAndFollowARamp) {
    constexpr float kDt = 0.01f;
    float q[8] = {0, 20, 70, 0, 90, 0};
    sim_.update([](zqsim::ArmConfig& a) { a.joint_angles = {0, 20, 70, 0, 90, 0}; });
    zq_algo_forward_kinematics(arm_, q);  // loads the arm's model
    const zq_pose_t start = zq_algo_forward_kinematics(nullptr, q);
    zq_algo_ik_remote_init(kDt, 1);
    const std::vector<zqsim::JointLimits> lim = sim_.config().joints;

    zq_pose_t far = start;
    far.position.y += 0.02f;
    float cur[8], out[8] = {0};
    std::memcpy(cur, q, sizeof cur);
    ASSERT_EQ(zq_algo_ik_remote(mat_of_pose(far), cur, out), 0);
    double largest = 0;  // share of each joint's step limit, (limit in rad/s - 0.0087) x dT
    for (int j = 0; j < 6; ++j) {
        const double limit = (lim[static_cast<std::size_t>(j)].max_speed * M_PI / 180.0 - 0.0087) * kDt;
        largest = std::max(largest, std::fabs(out[j] - q[j]) * M_PI / 180.0 / limit);
    }
    EXPECT_NEAR(largest, 1.0, 1e-3);
    zq_movej_canfd_mode_t set_point{};
    set_point.joint = out;
    set_point.follow = true;
    ASSERT_EQ(zq_movej_canfd(arm_, set_point), 0);
    std::vector<int> err;
    for (int i = 0; i < 200 && (err = sim_.config().state.err) == std::vector<int>{0}; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_TRUE(err == std::vector<int>{0x6101} || err == std::vector<int>{0x6102}) << err[0];
    EXPECT_NEAR(sim_.config().joint_angles[1], 20.0, 1e-9);  // refused: the arm stays

    // The ramp: minimum jerk over one second, one step per period, from rest again.
    sim_.update([](zqsim::ArmConfig& a) { a.state.err = {0}; });
    std::this_thread::sleep_for(std::chrono::milliseconds(150));  // a new stream
    set_point.joint = out;
    auto due = std::chrono::steady_clock::now();
    for (int i = 1; i <= 120; ++i) {
        const double s = std::min(1.0, i * kDt / 1.0);
        zq_pose_t target = start;
        target.position.y += static_cast<float>(0.02 * s * s * s * (10 - 15 * s + 6 * s * s));
        std::memcpy(cur, q, sizeof cur);
        ASSERT_EQ(zq_algo_ik_remote(mat_of_pose(target), cur, out), 0) << i;
        ASSERT_EQ(zq_movej_canfd(arm_, set_point), 0);
        std::memcpy(q, out, sizeof q);
        // Late (a loaded host): no burst to catch up, whose short intervals the controller would
        // take for a sudden acceleration.
        due = std::max(due + std::chrono::milliseconds(10), std::chrono::steady_clock::now() + std::chrono::milliseconds(5));
        std::this_thread::sleep_until(due);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(sim_.config().state.err, std::vector<int>{0});
    const zqsim::ArmConfig c = sim_.config();
    const zqsim::Pose end = zqsim::tool_pose(c, c.joint_angles);  // the simulator's own kinematics
    EXPECT_NEAR(end.y - start.position.y, 0.02, 1e-3);
    EXPECT_NEAR(end.x, start.position.x, 1e-3);
    EXPECT_NEAR(end.z, start.position.z, 1e-3);
}

}  // namespace
