// The C++ face: an arm that owns its handle, values out, exceptions with the C code.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "test_env.h"
#include "zq/arm.hpp"

namespace {

class SessionCppFace : public ::testing::Test {
protected:
    void SetUp() override {
        zqtest::start_library();
        port_ = sim_.start(0);
        ASSERT_GT(port_, 0);
    }
    zqsim::Simulator sim_{zqsim::ArmConfig::for_model("ZQ41-B-1.0")};
    int port_ = -1;
};

template <class F>
int code_of(F&& f) {
    try {
        f();
    } catch (const zq::Error& e) {
        return e.code();
    }
    return 0;
}

TEST_F(SessionCppFace, QueriesMovesAndErrorsCarryTheCode) {
    sim_.update([](zqsim::ArmConfig& a) { a.joint_angles = {1, 2, 3, 4, 5, 6}; });
    zq::Arm arm("127.0.0.1", port_);
    ASSERT_EQ(arm.joint_count(), 6u);
    EXPECT_EQ(arm.joint_degree(), (std::vector<float>{1, 2, 3, 4, 5, 6}));

    const std::vector<float> target = {10, -5, 20, 0, 30, 15};
    arm.movej(target, 100, 0, 0, zqtest::mode() == 0 ? 10 : 1);
    const std::vector<float> now = arm.joint_degree();
    for (std::size_t j = 0; j < 6; ++j) EXPECT_NEAR(now[j], target[j], 1e-3) << j;

    // The forward kinematics of this arm agree with the controller's own tool pose.
    const zq::Pose fk = arm.forward_kinematics(now);
    const zq_current_arm_state_t s = arm.current_arm_state();
    EXPECT_NEAR(fk.position.x, s.pose.position.x, 1e-4);
    EXPECT_NEAR(fk.position.z, s.pose.position.z, 1e-4);

    // Wrong joint count: refused before anything is sent.
    sim_.clear_received();
    const int bad = code_of([&] { arm.movej({1, 2, 3}, 10); });
    EXPECT_EQ(bad, -4);
    EXPECT_TRUE(sim_.received_lines().empty());

    // A refusal of the controller and a missing reply.
    sim_.set_reply("set_arm_run_mode", R"({"command":"set_arm_run_mode","mode":false})");
    EXPECT_EQ(code_of([&] { arm.set_run_mode(1); }), 1);
    zq::Library::set_timeout(50);
    sim_.drop_reply("get_arm_run_mode");
    try {
        arm.run_mode();
        ADD_FAILURE() << "no exception";
    } catch (const zq::Error& e) {
        EXPECT_EQ(e.code(), -2);
        EXPECT_NE(std::string(e.what()).find("zq_get_arm_run_mode"), std::string::npos);
    }
    zq::Library::set_timeout(500);
}

TEST_F(SessionCppFace, OwnershipMovesAndEndsWithTheObject) {
    zq::Arm a("127.0.0.1", port_);
    zq_robot_handle* h = a.handle();
    ASSERT_NE(h, nullptr);
    zq::Arm b(std::move(a));
    EXPECT_EQ(a.handle(), nullptr);
    EXPECT_EQ(b.handle(), h);
    EXPECT_EQ(code_of([&] { a.run_mode(); }), -1);  // moved-from: unknown handle
    EXPECT_EQ(code_of([&] { b.run_mode(); }), 0);
    {
        zq::Arm c("127.0.0.1", port_);
        ASSERT_TRUE(sim_.wait_for_connections(2, 1000));
        c = std::move(b);  // c's own connection ends here
        EXPECT_EQ(c.handle(), h);
    }
    // Both connections end with their owners.
    for (int i = 0; i < 200 && sim_.connection_count() > 0; ++i) sim_.wait_for_lines(1000000, 5);
    EXPECT_EQ(sim_.connection_count(), 0);

    sim_.stop();
    EXPECT_EQ(code_of([&] { zq::Arm none("127.0.0.1", port_); }), -1);
}

TEST_F(SessionCppFace, CommandFamiliesReturnValuesAndThrowTheirCode) {
    zq::Arm arm("127.0.0.1", port_);
    // A record out, several numbers out as a tuple, a record in that comes back unchanged.
    const zq_gripper_state_t g = arm.gripper_state();
    EXPECT_GE(g.actpos, 0);
    const auto [day, hour, min, sec] = arm.system_runtime();
    EXPECT_TRUE(day >= 0 && hour >= 0 && min >= 0 && sec >= 0);
    zq_fence_config_t fence{};
    fence.form = 3;
    std::snprintf(fence.name, sizeof fence.name, "%s", "ball");
    fence.x = 0.1f;
    fence.radius = 0.2f;
    arm.add_electronic_fence_config(fence);
    const zq_fence_config_t back = arm.given_electronic_fence_config("ball");
    EXPECT_EQ(back.form, 3);
    EXPECT_NEAR(back.radius, 0.2f, 1e-6);
    const std::vector<std::string> names = arm.electronic_fence_list_names();
    EXPECT_NE(std::find(names.begin(), names.end(), "ball"), names.end());

    // Arrays: as many elements as asked for; too few elements to write (a register is two) are
    // refused before sending.
    EXPECT_EQ(arm.read_modbus_rtu_holding_registers({10, 1, 0, 3}).size(), 3u);
    zq_peripheral_read_write_params_t p{1, 10, 1, 3};
    sim_.clear_received();
    EXPECT_EQ(code_of([&] { arm.write_registers(p, {1, 2, 3}); }), -4);
    EXPECT_TRUE(sim_.received_lines().empty());

    // A refusal carries the controller's code and the call's name.
    sim_.set_reply("set_DO_state", R"({"command":"set_DO_state","set_state":false})");
    try {
        arm.set_do_state(1, 1);
        ADD_FAILURE() << "no exception";
    } catch (const zq::Error& e) {
        EXPECT_EQ(e.code(), 1);
        EXPECT_NE(std::string(e.what()).find("zq_set_DO_state"), std::string::npos);
    }
}

TEST(CppFaceQp, StepThrowsItsOwnCodes) {
    EXPECT_EQ(code_of([] { zq::qp::step({}, std::vector<float>(8, 0.0f)); }), -1);
    const auto w = zq::qp::set_error_weight({2, 0, 0.5f, 1, 1, 1});
    EXPECT_EQ(w[0], 1.0f);
    EXPECT_NEAR(w[1], 0.001f, 1e-6);
    EXPECT_EQ(code_of([] { zq::qp::set_dq_weight(std::vector<float>(8, 1.0f)); }), -4);
}

// A path shorter than its count says is refused, never read past; a whole one is answered.
TEST(CppFaceAlgo, SelfCollisionPathReadsOnlyWhatItIsGiven) {
    zq::algo::init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
    const std::vector<float> free_pose = {0, 0, 90, 0, 90, 0};
    std::vector<float> path;
    for (int k = 0; k < 3; ++k) path.insert(path.end(), free_pose.begin(), free_pose.end());
    EXPECT_EQ(zq::algo::self_collision_path(path, 3), -1);
    path.pop_back();
    EXPECT_EQ(code_of([&] { zq::algo::self_collision_path(path, 3); }), -4);
    EXPECT_EQ(code_of([&] { zq::algo::self_collision_path(path, -1); }), -4);
}

}  // namespace
