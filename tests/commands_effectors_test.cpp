// Gripper, hand, lift, expansion axis, end-effector device and tool connector against the
// simulated controller.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "test_env.h"
#include "zq_api.h"

namespace {

class CommandsEffectors : public zqtest::ArmTest {
protected:
    // The request lines of a call, once at least `n` have arrived.
    std::vector<std::string> sent(std::size_t n = 1) {
        sim_.wait_for_lines(n, 1000);
        return sim_.received_lines();
    }
    void devices(const std::function<void(zqsim::DeviceState&)>& f) {
        sim_.update([&](zqsim::ArmConfig& a) { f(a.devices); });
    }
    static std::string report(int device) {
        return R"({"state":"current_trajectory_state","trajectory_state":true,"device":)" + std::to_string(device) +
               R"(,"trajectory_connect":0})";
    }
};

struct WireRow {
    const char* name;
    std::function<int(zq_robot_handle*)> call;
    const char* request;
};

TEST_F(CommandsEffectors, RequestBytesOfEachShape) {
    const int six[6] = {1, 2, 3, 4, 5, 1000};
    int regs[3] = {7, -8, 9};
    const WireRow rows[] = {
        {"route", [](zq_robot_handle* h) { return zq_set_gripper_route(h, 10, 900); },
         R"({"command":"set_gripper_route","min":10,"max":900})"},
        {"pick", [](zq_robot_handle* h) { return zq_set_gripper_pick(h, 500, 200, false, 5); },
         R"({"command":"set_gripper_pick","speed":500,"force":200,"block":false})"},
        {"hand angle", [&](zq_robot_handle* h) { return zq_set_hand_angle(h, six, false, 0); },
         R"({"command":"set_hand_angle","hand_angle":[1,2,3,4,5,1000],"block":false})"},
        {"lift", [](zq_robot_handle* h) { return zq_set_lift_height(h, 20, 300, 0); },
         R"({"command":"set_lift_height","speed":20,"height":300,"block":false})"},
        {"expand speed", [](zq_robot_handle* h) { return zq_set_expand_speed(h, -30); },
         R"({"command":"expand_set_speed","speed":-30})"},
        {"plus mode", [](zq_robot_handle* h) { return zq_set_zq_plus_mode(h, 3); },
         R"({"command":"set_zq_plus_mode","mode":3})"},
        {"plus reg", [&](zq_robot_handle* h) { return zq_set_zq_plus_reg(h, 40, 3, regs); },
         R"({"command":"set_zq_plus_reg","addr":40,"length":3,"data":[7,-8,9]})"},
        {"tool DO", [](zq_robot_handle* h) { return zq_set_tool_DO_state(h, 2, 1); },
         R"({"command":"set_tool_DO_state","IO_Num":2,"state":1})"},
        {"voltage", [](zq_robot_handle* h) { return zq_set_tool_voltage(h, 3); },
         R"({"command":"set_tool_voltage","voltage_type":3})"},
    };
    for (const WireRow& row : rows) {
        sim_.clear_received();
        EXPECT_EQ(row.call(arm_), 0) << row.name;
        EXPECT_EQ(sent().front(), row.request) << row.name;
    }
}

TEST_F(CommandsEffectors, StateRoundTrips) {
    int regs[2] = {11, 12}, back[2] = {0, 0}, mode[2], state[2], voltage = -1;
    ASSERT_EQ(zq_set_zq_plus_reg(arm_, 5, 2, regs), 0);
    ASSERT_EQ(zq_get_zq_plus_reg(arm_, 5, 2, back), 0);
    EXPECT_EQ(back[1], 12);
    ASSERT_EQ(zq_set_tool_IO_mode(arm_, 1, 1), 0);
    ASSERT_EQ(zq_get_tool_IO_state(arm_, mode, state), 0);
    EXPECT_EQ(mode[0], 1);
    ASSERT_EQ(zq_set_tool_voltage(arm_, 2), 0);
    ASSERT_EQ(zq_get_tool_voltage(arm_, &voltage), 0);
    EXPECT_EQ(voltage, 2);
    EXPECT_EQ(zq_set_tool_voltage(arm_, 9), 1);  // refused
    zq_gripper_state_t g{};
    ASSERT_EQ(zq_set_gripper_position(arm_, 321, false, 1), 0);
    ASSERT_EQ(zq_get_gripper_state(arm_, &g), 0);
    EXPECT_EQ(g.actpos, 321);
    EXPECT_EQ(g.temperature, 36);
}

// A blocking motion ends with the report of its own device, in every thread mode.
TEST_F(CommandsEffectors, BlockingMotionsEndWithTheirDevice) {
    const int six[6] = {0, 0, 0, 0, 0, 0};
    EXPECT_EQ(zq_set_gripper_pick(arm_, 500, 200, true, 2), 0);
    EXPECT_EQ(zq_set_gripper_release(arm_, 500, true, 2), 0);
    EXPECT_EQ(zq_set_hand_angle(arm_, six, true, 2), 0);
    EXPECT_EQ(zq_set_lift_height(arm_, 50, 60, 3), 0);
    EXPECT_EQ(zq_set_expand_pos(arm_, 50, -40, 3), 0);
    zq_expand_state_t lift{};
    ASSERT_EQ(zq_get_lift_state(arm_, &lift), 0);
    EXPECT_EQ(lift.pos, 60);
    EXPECT_EQ(lift.mode, 0);
}

// Each gripper function keeps its own codes for another device and for no report at all.
TEST_F(CommandsEffectors, GripperCodesForAnotherDeviceAndSilence) {
    devices([](zqsim::DeviceState& d) { d.report_device = 3; });
    EXPECT_EQ(zq_set_gripper_release(arm_, 500, true, 2), -4);
    EXPECT_EQ(zq_set_gripper_pick(arm_, 500, 200, true, 2), -4);
    EXPECT_EQ(zq_set_gripper_pick_on(arm_, 500, 200, true, 2), -5);
    EXPECT_EQ(zq_set_gripper_position(arm_, 100, true, 2), -5);
    EXPECT_EQ(zq_set_hand_posture(arm_, 2, true, 2), -4);
    devices([](zqsim::DeviceState& d) { d.lose_reports = true; });
    EXPECT_EQ(zq_set_gripper_pick_on(arm_, 500, 200, true, 0), -4);  // a budget of 0 s
    EXPECT_EQ(zq_set_gripper_release(arm_, 500, true, 1), -5);       // one second without a report
}

// The lift's wait passes over the report of another device.
TEST_F(CommandsEffectors, LiftWaitSkipsAnotherDevice) {
    sim_.on_command("set_lift_height", [](const std::string&) {
        return std::vector<std::string>{R"({"command":"set_lift_height","set_state":true})", report(4), report(3)};
    });
    EXPECT_EQ(zq_set_lift_height(arm_, 50, 60, 3), 0);
}

TEST_F(CommandsEffectors, EndEffectorRecords) {
    zq_plus_base_info_t base{};
    ASSERT_EQ(zq_get_zq_plus_base_info(arm_, &base), 0);
    EXPECT_STREQ(base.manu, "SIMHAND");
    EXPECT_EQ(base.dof, 6);
    EXPECT_TRUE(base.force);
    zq_plus_state_info_t st{};
    ASSERT_EQ(zq_get_zq_plus_state_info(arm_, &st), 0);
    EXPECT_EQ(st.tsa[0], 4000000000u);
    EXPECT_EQ(st.pos[5], 16);

    // Missing numbers read -1, non-numbers -3, a negative "tsa" entry is skipped, and an
    // over-long text is cut to its field.
    sim_.set_reply("get_zq_plus_state_info",
                   R"({"command":"get_zq_plus_state_info","state_info":{"tsa":[-1,5]}})");
    st.tsa[0] = 77;
    ASSERT_EQ(zq_get_zq_plus_state_info(arm_, &st), 0);
    EXPECT_EQ(st.sys_state, -1);
    EXPECT_EQ(st.tsa[0], 77u);
    EXPECT_EQ(st.tsa[1], 5u);
    sim_.set_reply("get_zq_plus_base_info",
                   R"({"command":"get_zq_plus_base_info","base_info":{"manu":"ABCDEFGHIJKLMNOP","hv":"1",)"
                   R"("sv":"2","bv":"3","dof":"x","id":0}})");
    ASSERT_EQ(zq_get_zq_plus_base_info(arm_, &base), 0);
    EXPECT_STREQ(base.manu, "ABCDEFGHI");
    EXPECT_EQ(base.dof, -3);
    EXPECT_TRUE(base.touch);  // missing: -1, which is not 0
    EXPECT_EQ(base.type, -1);
}

TEST_F(CommandsEffectors, HandFollow) {
    const int pos[6] = {10, 20, 30, 40, 50, 60};
    EXPECT_EQ(zq_set_hand_follow_pos(arm_, pos, true), 0);
    EXPECT_EQ(sent(2)[1], R"({"command":"hand_follow_pos","hand_pos":[10,20,30,40,50,60]})");
    sim_.clear_received();
    EXPECT_EQ(zq_set_hand_follow_angle(arm_, pos, false), 0);  // no reply awaited
    EXPECT_EQ(sent().front(), R"({"command":"hand_follow_angle","hand_angle":[10,20,30,40,50,60]})");
    sim_.set_reply("get_zq_plus_base_info",
                   R"({"command":"get_zq_plus_base_info","base_info":{"manu":"m","hv":"","sv":"","bv":"","dof":0}})");
    EXPECT_EQ(zq_set_hand_follow_pos(arm_, pos, true), -1);
}

TEST_F(CommandsEffectors, BadInputIsRefusedUnsent) {
    int v[6] = {};
    const std::function<int()> calls[] = {
        [&] { return zq_set_hand_angle(arm_, nullptr, true, 1); },
        [&] { return zq_set_hand_follow_angle(arm_, nullptr, false); },
        [&] { return zq_set_hand_follow_pos(arm_, nullptr, false); },
        [&] { return zq_get_gripper_state(arm_, nullptr); },
        [&] { return zq_get_lift_state(arm_, nullptr); },
        [&] { return zq_get_zq_plus_state_info(arm_, nullptr); },
        [&] { return zq_get_zq_plus_reg(arm_, 0, 101, v); },
        [&] { return zq_set_zq_plus_reg(arm_, 0, 0, v); },
        [&] { return zq_get_tool_IO_state(arm_, v, nullptr); },
    };
    for (const auto& call : calls) EXPECT_EQ(call(), -4);
    EXPECT_TRUE(sim_.received_lines().empty());
    zq_robot_handle stranger{};
    EXPECT_EQ(zq_set_gripper_route(&stranger, 0, 1), -1);
}

}  // namespace
