// Force sensors, force-position control and drag teaching against the simulated controller.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "test_env.h"
#include "zq_api.h"

namespace {

template <const char* Model>
class ForceArm : public zqtest::ArmTest {
protected:
    ForceArm() : ArmTest(Model) {}
    std::vector<std::string> sent(std::size_t n = 1) {
        sim_.wait_for_lines(n, 1000);
        return sim_.received_lines();
    }
};

constexpr char kSixAxis[] = "ZQ41-6F-1.0";
constexpr char kOneAxis[] = "ZQ41-ZF-1.0";
constexpr char kNoSensor[] = "ZQ41-B-1.0";
using CommandsForce = ForceArm<kSixAxis>;
using CommandsForceOneAxis = ForceArm<kOneAxis>;
using CommandsForceNoSensor = ForceArm<kNoSensor>;

TEST_F(CommandsForce, RequestBytes) {
    const float joint[6] = {1.5f, -2.25f, 0, 0, 0, 90};
    zq_pose_t unit{};
    unit.position = {0.1f, -0.2f, 0.3f};
    unit.quaternion = {1, 0, 0, 0};
    unit.euler = {0.5f, 0, 0};
    zq_pose_t euler = unit;
    euler.quaternion = {0, 0, 0, 0};
    zq_force_position_t fp{1, 0, {1, 0, 0, 0, 0, 2}, {2.95f, 0, 0, 0, 0, -1.5f}, {0.25f, 0, 0, 0, 0, 0}};
    struct Row {
        std::function<int(zq_robot_handle*)> call;
        const char* request;
    } rows[] = {
        {[](zq_robot_handle* h) { return zq_set_force_position(h, 1, 0, 2, 2.9f); },
         R"({"command":"set_force_position","sensor":1,"mode":0,"direction":2,"N":20})"},
        {[&](zq_robot_handle* h) { return zq_set_force_position_new(h, fp); },
         R"({"command":"set_force_position","mode":0,"sensor":1,"desired_force":[29,0,0,0,0,-15],)"
         R"("control_mode":[1,0,0,0,0,2],"limit_vel":[250,0,0,0,0,0]})"},
        {[&](zq_robot_handle* h) { return zq_force_position_move_joint(h, joint, 1, 0, 2, -3.5f, true); },
         R"({"command":"Force_Position_Move","joint":[1500,-2250,0,0,0,90000],"follow":true,"sensor":1,)"
         R"("mode":0,"dir":2,"force":-30})"},
        {[&](zq_robot_handle* h) { return zq_force_position_move_pose(h, unit, 0, 1, 5, 10, false); },
         R"({"command":"Force_Position_Move","follow":false,"sensor":0,"mode":1,"dir":5,"force":100,)"
         R"("pose_quat":[100000,-200000,300000,1000000,0,0,0]})"},
        {[&](zq_robot_handle* h) { return zq_force_position_move_pose(h, euler, 0, 1, 5, 10, false); },
         R"({"command":"Force_Position_Move","follow":false,"sensor":0,"mode":1,"dir":5,"force":100,)"
         R"("pose":[100000,-200000,300000,500,0,0]})"},
        {[&](zq_robot_handle* h) { return zq_manual_set_force(h, 5, const_cast<float*>(joint), false); },
         R"({"joint":[1500,-2250,0,0,0,90000]})"},
        {[](zq_robot_handle* h) { return zq_set_force_sensor(h, false); }, R"({"command":"set_force_sensor"})"},
        {[](zq_robot_handle* h) { return zq_start_drag_teach(h, 1); },
         R"({"command":"start_drag_teach","trajectory_record":1})"},
    };
    for (const Row& row : rows) {
        sim_.clear_received();
        EXPECT_EQ(row.call(arm_), 0) << row.request;
        EXPECT_EQ(sent().front(), row.request);
    }
}

TEST_F(CommandsForce, RecordFormOfTheMove) {
    zq_force_position_move_t m{};
    m.flag = 0;
    m.joint[0] = 10.0f;
    m.joint[5] = -0.0015f;
    m.trajectory_mode = 1;
    m.radio = 101;  // out of range: warned, sent all the same
    m.follow = true;
    EXPECT_EQ(zq_force_position_move(arm_, m), 0);
    EXPECT_EQ(sent().front(),
              R"({"command":"Force_Position_Move","follow":true,"sensor":0,"mode":0,"trajectory_mode":1,"radio":101,)"
              R"("control_mode":[0,0,0,0,0,0],"desired_force":[0,0,0,0,0,0],"limit_vel":[0,0,0,0,0,0],)"
              R"("joint":[10000,0,0,0,0,-1]})");
}

TEST_F(CommandsForce, ReadingsCalibrationAndDragTeach) {
    zq_force_data_t f{};
    ASSERT_EQ(zq_get_force_data(arm_, &f), 0);
    EXPECT_FLOAT_EQ(f.force_data[0], 1.5f);
    EXPECT_FLOAT_EQ(f.work_zero_force_data[1], -2.7f);
    EXPECT_EQ(zq_set_force_sensor(arm_, true), 0);
    float joint[6] = {};
    for (int type = 1; type <= 3; ++type) EXPECT_EQ(zq_manual_set_force(arm_, type, joint, true), 0);
    EXPECT_EQ(zq_manual_set_force(arm_, 4, joint, true), 0);
    EXPECT_EQ(zq_clear_force_data(arm_), 0);
    EXPECT_EQ(zq_start_multi_drag_teach(arm_, 1, 0), -4);  // generation 4 controller
    zq_multi_drag_teach_t multi{{1, 1, 1, 0, 0, 0}, 0, 1};
    EXPECT_EQ(zq_start_multi_drag_teach_new(arm_, multi), 0);
    int grade = 0;
    ASSERT_EQ(zq_set_drag_teach_sensitivity(arm_, 42), 0);
    ASSERT_EQ(zq_get_drag_teach_sensitivity(arm_, &grade), 0);
    EXPECT_EQ(grade, 42);
    EXPECT_EQ(zq_start_drag_teach(arm_, 1), 0);
    EXPECT_EQ(zq_stop_drag_teach(arm_), 0);
    EXPECT_EQ(zq_pause_drag_trajectory(arm_), 0);
}

// The replay's move to its start and the replay itself end by their reports in every mode.
TEST_F(CommandsForce, DragReplayWaits) {
    ASSERT_EQ(zq_start_drag_teach(arm_, 1), 0);
    ASSERT_EQ(zq_stop_drag_teach(arm_), 0);
    EXPECT_EQ(zq_drag_trajectory_origin(arm_, 2), 0);
    EXPECT_EQ(zq_run_drag_trajectory(arm_, 1), 0);
    sim_.clear_received();
    EXPECT_EQ(zq_run_drag_trajectory(arm_, 0), 0);
    EXPECT_EQ(sent().front(), R"({"command":"run_drag_trajectory"})");
}

TEST_F(CommandsForceOneAxis, OneAxisGates) {
    zq_fz_data_t fz{};
    ASSERT_EQ(zq_get_Fz(arm_, &fz), 0);
    EXPECT_FLOAT_EQ(fz.Fz, 2.5f);
    EXPECT_FLOAT_EQ(fz.work_zero_Fz, 2.4f);
    sim_.clear_received();
    zq_multi_drag_teach_t multi{{1, 1, 1, 1, 1, 1}, 1, 1};
    EXPECT_EQ(zq_start_multi_drag_teach_new(arm_, multi), 1);  // the controller refuses
    EXPECT_EQ(sent().front(), R"({"command":"start_multi_drag_teach","frame":1})");
    EXPECT_EQ(zq_start_multi_drag_teach(arm_, 0, 0), 1);
    EXPECT_EQ(zq_auto_set_Fz(arm_, true), 0);
}

TEST_F(CommandsForceNoSensor, FeaturesOfOtherForceTypesAreRefused) {
    zq_fz_data_t fz{};
    int mode = 0;
    EXPECT_EQ(zq_get_Fz(arm_, &fz), -4);
    EXPECT_EQ(zq_set_force_drag_mode(arm_, 1), -4);
    EXPECT_EQ(zq_get_force_drag_mode(arm_, &mode), -4);
    EXPECT_EQ(zq_start_multi_drag_teach(arm_, 0, 0), 1);
    EXPECT_TRUE(sim_.received_lines().empty());
    zq_force_data_t f{};
    EXPECT_EQ(zq_get_force_data(arm_, &f), -3);  // the controller answers only "get_state" false
}

TEST_F(CommandsForce, BadInputIsRefusedUnsent) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    float joint[6] = {0, 0, nan, 0, 0, 0};
    zq_pose_t pose{};
    pose.position.x = std::numeric_limits<float>::infinity();
    zq_force_position_t fp{};
    fp.limit_vel[2] = 3e9f;
    const std::function<int()> calls[] = {
        [&] { return zq_set_force_position(arm_, 0, 0, 0, nan); },
        [&] { return zq_set_force_position_new(arm_, fp); },
        [&] { return zq_manual_set_force(arm_, 1, joint, false); },
        [&] { return zq_manual_set_force(arm_, 1, nullptr, false); },
        [&] { return zq_manual_set_Fz(arm_, joint, nullptr, false); },
        [&] { return zq_force_position_move_joint(arm_, joint, 0, 0, 0, 1, false); },
        [&] { return zq_force_position_move_pose(arm_, pose, 0, 0, 0, 1, false); },
        [&] { return zq_get_force_data(arm_, nullptr); },
        [&] { return zq_get_drag_teach_sensitivity(arm_, nullptr); },
    };
    for (const auto& call : calls) EXPECT_EQ(call(), -4);
    EXPECT_TRUE(sim_.received_lines().empty());
}

}  // namespace
