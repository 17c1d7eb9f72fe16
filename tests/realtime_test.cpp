// Realtime state push: the report parser, the push settings on the wire, and reports from the
// simulator reaching the callback over UDP.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "loopback.h"
#include "session/realtime.h"
#include "session/session.h"
#include "sim_kinematics.h"
#include "test_env.h"
#include "zq_api.h"

namespace {

using Report = zq_realtime_arm_joint_state_t;

// A report with every section; `extra` is spliced in before the closing brace.
std::string full_report(const std::string& extra = "") {
    return R"({"joint_status":{"joint_current":[1500,-250,0,1,2,3,4],"joint_en_flag":[1,0,7,1,1,1,1],)"
           R"("joint_err_code":[65537,2,3,4,5,6,7],"joint_position":[90000,-45500,1,2,3,4,5],)"
           R"("joint_temperature":[31500,0,0,0,0,0,0],"joint_voltage":[48250,0,0,0,0,0,0],)"
           R"("joint_speed":[150,0,0,0,0,0,0]},)"
           R"("six_force_sensor":{"force":[1500,-2500,3000,125,-250,375],"zero_force":[100,200,300,10,20,30],"coordinate":1},)"
           R"("waypoint":{"position":[250000,-125000,500000],"quat":[1000000,0,0,0],"euler":[1570,-10,3141]},)"
           R"("err":[0,4096],"arm_current_status":"move_J",)"
           R"("lift_state":{"height":420,"pos":12500,"current":310,"err_flag":0,"en_flag":1},)"
           R"("expand_state":{"pos":-7250,"current":120,"err_flag":3,"en_flag":1,"joint_id":8,"mode":2},)"
           R"("hand":{"hand_pos":[1,2,3,4,5,6],"hand_angle":[10,20,30,40,50,60],"hand_force":[6,5,4,3,2,1],)"
           R"("hand_state":[0,1,0,1,0,1],"hand_err":9},)"
           R"("aloha_state":{"io1_state":1,"io2_state":2},)"
           R"("zq_plus_base":{"manu":"SIMHAND","type":2,"hv":"1.0","sv":"2.1","bv":"3.2.1","id":1,"dof":6,)"
           R"("check":0,"bee":1,"force":true,"touch":true,"touch_num":5,"touch_sw":1,"hand":1,)"
           R"("pos_up":[1,2,3,4,5,6],"force_low":[-1,-2,-3,-4,-5,-6]},)"
           R"("zq_plus_state":{"sys_state":3,"pos":[11,12,13,14,15,16],"tsa":[4000000000,1,-1,4294967296,2.9],)"
           R"("tma":[7],"touch_data":[1,2,3],"force":[6,5,4,3,2,1]})" +
           extra + "}";
}

int parse(const std::string& text, Report* r) {
    return zq::parse_realtime_report(text.data(), static_cast<int>(text.size()), r);
}

TEST(ReportParser, FullReportFillsEverySectionWithItsScale) {
    Report r;
    ASSERT_EQ(parse(full_report(), &r), 0);
    EXPECT_FLOAT_EQ(r.joint_current[0], 1.5f);
    EXPECT_FLOAT_EQ(r.joint_current[1], -0.25f);
    EXPECT_EQ(r.joint_en_flag[0], 1);
    EXPECT_EQ(r.joint_en_flag[1], 0);
    EXPECT_EQ(r.joint_en_flag[2], 1);  // any non-zero value
    EXPECT_EQ(r.joint_err_code[0], 1);  // low 16 bits of 65537
    EXPECT_FLOAT_EQ(r.joint_position[0], 90.0f);
    EXPECT_FLOAT_EQ(r.joint_position[1], -45.5f);
    EXPECT_FLOAT_EQ(r.joint_temperature[0], 31.5f);
    EXPECT_FLOAT_EQ(r.joint_voltage[0], 48.25f);
    EXPECT_FLOAT_EQ(r.joint_speed[0], 1.5f);  // hundredths
    EXPECT_FLOAT_EQ(r.force[0], 1.5f);
    EXPECT_FLOAT_EQ(r.force[4], -0.25f);
    EXPECT_FLOAT_EQ(r.zero_force[2], 0.3f);
    EXPECT_EQ(r.coordinate, 1);
    EXPECT_EQ(r.err_len, 2);
    EXPECT_EQ(r.err[1], 4096);
    EXPECT_FLOAT_EQ(r.waypoint.position.x, 0.25f);
    EXPECT_FLOAT_EQ(r.waypoint.position.y, -0.125f);
    EXPECT_FLOAT_EQ(r.waypoint.quaternion.w, 1.0f);
    EXPECT_FLOAT_EQ(r.waypoint.euler.rx, 1.57f);
    EXPECT_FLOAT_EQ(r.waypoint.euler.rz, 3.141f);
    EXPECT_EQ(r.arm_current_status, 2);
    EXPECT_EQ(r.lift_height, 420);
    EXPECT_FLOAT_EQ(r.lift_pos, 12.5f);
    EXPECT_EQ(r.lift_current, 310);
    EXPECT_EQ(r.lift_en_flag, 1);
    EXPECT_FLOAT_EQ(r.expand_pos, -7.25f);
    EXPECT_EQ(r.expand_err_flag, 3);
    EXPECT_EQ(r.expand_joint_id, 8);
    EXPECT_EQ(r.expand_mode, 2);
    EXPECT_EQ(r.hand_pos[5], 6);
    EXPECT_EQ(r.hand_angle[2], 30);
    EXPECT_EQ(r.hand_force[0], 6);
    EXPECT_EQ(r.hand_state[1], 1);
    EXPECT_EQ(r.hand_err, 9);
    EXPECT_EQ(r.aloha_io1_state, 1);
    EXPECT_EQ(r.aloha_io2_state, 2);
    EXPECT_EQ(r.plus_state, 0);
    EXPECT_STREQ(r.manu, "SIMHAND");
    EXPECT_STREQ(r.bv, "3.2.1");
    EXPECT_EQ(r.type, 2);
    EXPECT_EQ(r.dof, 6);
    EXPECT_EQ(r.force_enable, 1);
    EXPECT_EQ(r.touch, 1);
    EXPECT_EQ(r.touch_num, 5);
    EXPECT_EQ(r.pos_up[5], 6);
    EXPECT_EQ(r.force_low[0], -1);
    EXPECT_EQ(r.sys_state, 3);
    EXPECT_EQ(r.pos[0], 11);
    EXPECT_EQ(r.plus_force[0], 6);
    EXPECT_EQ(r.touch_data[2], 3);
    EXPECT_EQ(r.touch_data[3], 0);  // the report's size bounds the copy
    // tsa: values within 0..4294967295 truncated, others leave 0.
    EXPECT_EQ(r.tsa[0], 4000000000u);
    EXPECT_EQ(r.tsa[1], 1u);
    EXPECT_EQ(r.tsa[2], 0u);
    EXPECT_EQ(r.tsa[3], 0u);
    EXPECT_EQ(r.tsa[4], 2u);
    EXPECT_EQ(r.tma[0], 7u);
}

TEST(ReportParser, MissingSectionsReadZeroAndStatusNamesMap) {
    const char* text =
        R"({"joint_status":{},"waypoint":{"position":[0,0,0],"quat":[0,0,0,0],"euler":[0,0,0]},"err":[5],)"
        R"("arm_current_status":"slow_stop"})";
    Report r;
    std::memset(&r, 0x5a, sizeof r);
    ASSERT_EQ(parse(text, &r), 0);
    EXPECT_EQ(r.arm_current_status, 10);
    EXPECT_EQ(r.err_len, 1);
    EXPECT_EQ(r.err[0], 5);
    EXPECT_EQ(r.lift_height, 0);
    EXPECT_FLOAT_EQ(r.joint_position[0], 0.0f);
    EXPECT_EQ(r.manu[0], '\0');

    const std::vector<std::pair<std::string, int>> names = {
        {"idle", 0}, {"move_C", 3}, {"move_through_current", 8}, {"stop", 9}, {"current_drag", 12},
        {"trajectory_reproducton", 15}, {"movev_canfd", 17}, {"trajectory_reproduction", 0}, {"", 0}};
    for (const auto& n : names) {
        std::string t = R"({"joint_status":{},"waypoint":{"position":[0,0,0],"quat":[0,0,0,0],"euler":[0,0,0]},)"
                        R"("err":[0],"arm_current_status":")" + n.first + "\"}";
        ASSERT_EQ(parse(t, &r), 0) << n.first;
        EXPECT_EQ(r.arm_current_status, n.second) << n.first;
    }
}

TEST(ReportParser, PlusSectionsAsText) {
    Report r;
    const std::string base = R"({"joint_status":{},"waypoint":{"position":[0,0,0],"quat":[0,0,0,0],"euler":[0,0,0]},"err":[0])";
    ASSERT_EQ(parse(base + R"(,"zq_plus_state":"disable"})", &r), 0);
    EXPECT_EQ(r.plus_state, 1);
    ASSERT_EQ(parse(base + R"(,"zq_plus_base":"offline"})", &r), 0);
    EXPECT_EQ(r.plus_state, 2);
    EXPECT_EQ(parse(base + R"(,"zq_plus_state":"broken"})", &r), -3);
    EXPECT_EQ(parse(base + R"(,"zq_plus_base":"broken"})", &r), -3);
}

TEST(ReportParser, BadReportsFailWithMinusThree) {
    const std::string wp = R"("waypoint":{"position":[0,0,0],"quat":[0,0,0,0],"euler":[0,0,0]})";
    const std::vector<std::string> bad = {
        "",
        "not json",
        "{",
        R"({"waypoint":{"position":[0,0,0],"quat":[0,0,0,0],"euler":[0,0,0]},"err":[0]})",  // no joint_status
        R"({"joint_status":{},"err":[0]})",                                                  // no waypoint
        R"({"joint_status":{},)" + wp + "}",                                                 // no err
        R"({"joint_status":{},)" + wp + R"(,"err":[]})",                                     // empty err
        R"({"joint_status":{},)" + wp + R"(,"err":3})",
        R"({"joint_status":{},"waypoint":{"position":[0,0,0],"quat":[0,0,0],"euler":[0,0,0]},"err":[0]})",
        R"({"joint_status":{},"waypoint":{"position":[0,0,0,0],"quat":[0,0,0,0],"euler":[0,0,0]},"err":[0]})",
        R"({"joint_status":{},"waypoint":{"position":[0,0,0],"quat":[0,0,0,0],"euler":[0,0]},"err":[0]})",
        R"({"joint_status":{},"waypoint":[1,2],"err":[0]})",
        R"({"joint_status":1,)" + wp + R"(,"err":[0]})",
        R"({"joint_status":{},)" + wp + R"(,"err":[0],"arm_current_status":3})",
        R"({"joint_status":{},)" + wp + R"(,"err":[0],"aloha_state":{"io1_state":1}})",
        R"({"joint_status":{},)" + wp + R"(,"err":[0],"lift_state":{"height":1,"pos":2,"current":3,"err_flag":4}})",
        R"({"joint_status":{},)" + wp +
            R"(,"err":[0],"expand_state":{"pos":1,"current":2,"err_flag":3,"en_flag":4,"joint_id":"x","mode":0}})",
        R"({"joint_status":{},)" + wp +
            R"(,"err":[0],"hand":{"hand_pos":[1],"hand_angle":[1],"hand_force":[1],"hand_state":2,"hand_err":0}})",
        R"({"joint_status":{},)" + wp +
            R"(,"err":[0],"hand":{"hand_pos":[1],"hand_angle":[1],"hand_force":[1],"hand_state":[2]}})",
    };
    for (const std::string& t : bad) {
        Report r;
        EXPECT_EQ(parse(t, &r), -3) << t;
    }
}

TEST(ReportParser, ArraysLongerThanTheirFieldsAreCutAndNonNumbersReadMinusOne) {
    std::string err = "[";
    for (int i = 0; i < 100; ++i) err += std::to_string(i) + (i < 99 ? "," : "]");
    const std::string text =
        R"({"joint_status":{"joint_position":[1000,"x",3000,4000,5000,6000,7000,8000,9000,10000,11000]},)"
        R"("waypoint":{"position":[0,0,0],"quat":[0,0,0,0],"euler":[0,0,0]},"err":)" + err +
        R"(,"zq_plus_base":{"manu":"ABCDEFGHIJKLMNOPQRSTUVWXYZ","hv":"0123456789ABCDEF"},)"
        R"("hand":{"hand_pos":[1,2,3,4,5,6,7,8,9],"hand_angle":[],"hand_force":[],"hand_state":[],"hand_err":0}})";
    Report r;
    std::memset(&r, 0, sizeof r);
    ASSERT_EQ(parse(text, &r), 0);
    EXPECT_FLOAT_EQ(r.joint_position[0], 1.0f);
    EXPECT_FLOAT_EQ(r.joint_position[1], -0.001f);
    EXPECT_FLOAT_EQ(r.joint_position[6], 7.0f);
    EXPECT_FLOAT_EQ(r.joint_temperature[0], 0.0f);  // the next field is untouched
    EXPECT_EQ(r.err_len, 100);
    EXPECT_EQ(r.err[23], 23);
    EXPECT_EQ(r.hand_pos[5], 6);
    EXPECT_EQ(r.hand_angle[0], 0);
    EXPECT_STREQ(r.manu, "ABCDEFGHIJK");
    EXPECT_STREQ(r.hv, "012345678");
}

// ---- against the simulator -----------------------------------------------------------------

std::mutex g_mu;
std::condition_variable g_cv;
std::vector<Report> g_reports;

void on_report(Report r) {
    std::lock_guard<std::mutex> lock(g_mu);
    if (g_reports.size() < 4096) g_reports.push_back(r);
    g_cv.notify_all();
}

// Waits for a report that `match` accepts.
bool wait_report(const std::function<bool(const Report&)>& match, Report* out, int timeout_ms) {
    std::unique_lock<std::mutex> lock(g_mu);
    return g_cv.wait_for(lock, std::chrono::milliseconds(timeout_ms), [&] {
        for (const Report& r : g_reports) {
            if (match(r)) {
                *out = r;
                return true;
            }
        }
        g_reports.clear();
        return false;
    });
}

// A UDP port that nothing listens on at the moment.
int free_udp_port() { return looptest::unused_udp_port(); }

// The library listens on at most five UDP ports for the whole process, so the settings of the
// request tests leave reports off, and the report tests share one port.
int report_port() {
    static const int port = free_udp_port();
    return port;
}

zq_realtime_push_config_t config(int cycle, int port, const char* ip, bool enable = false) {
    zq_realtime_push_config_t c{};
    c.cycle = cycle;
    c.enable = enable ? 1 : 0;
    c.port = port;
    c.force_coordinate = -1;
    std::snprintf(c.ip, sizeof c.ip, "%s", ip);
    c.joint_speed = c.lift_state = c.expand_state = c.hand_state = c.arm_current_status = c.aloha_state =
        c.plus_base = c.plus_state = -1;
    return c;
}

class RealtimePush : public zqtest::ArmTest {};

TEST_F(RealtimePush, RequestCarriesTheSettingsInOrder) {
    zq_realtime_push_config_t c = config(2, 8123, "127.0.0.1");
    c.joint_speed = 1;
    c.lift_state = 0;
    c.hand_state = 1;
    c.plus_base = 1;
    c.plus_state = 0;
    ASSERT_EQ(zq_set_realtime_push(arm_, c), 0);
    auto lines = sim_.received_lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0],
              R"({"command":"set_realtime_push","enable":false,"cycle":2,"port":8123,"ip":"127.0.0.1",)"
              R"("custom":{"joint_speed":true,"lift_state":false,"hand":true,"zq_plus_base":true,"zq_plus_state":false}})");
    EXPECT_EQ(lines[1], R"({"command":"get_realtime_push"})");
    EXPECT_EQ(arm_->udp_port, 8123);

    // The controller keeps what was set.
    zq_realtime_push_config_t got{};
    ASSERT_EQ(zq_get_realtime_push(arm_, &got), 0);
    EXPECT_EQ(got.cycle, 2);
    EXPECT_EQ(got.port, 8123);
    EXPECT_STREQ(got.ip, "127.0.0.1");
    EXPECT_EQ(got.enable, 0);
    EXPECT_EQ(got.joint_speed, 1);
    EXPECT_EQ(got.lift_state, 0);
    EXPECT_EQ(got.hand_state, 1);
    EXPECT_EQ(got.plus_base, 1);
    EXPECT_EQ(got.plus_state, 0);
    EXPECT_EQ(got.force_coordinate, -1);
}

TEST_F(RealtimePush, SectionsAllUnsaidSendNoCustomAndPlusStateFollowsPlusBase) {
    zq_realtime_push_config_t c = config(1, 8124, "127.0.0.1");
    c.plus_state = 1;  // decided by plus_base, which is -1
    ASSERT_EQ(zq_set_realtime_push(arm_, c), 0);
    auto lines = sim_.received_lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0], R"({"command":"set_realtime_push","enable":false,"cycle":1,"port":8124,"ip":"127.0.0.1"})");
}

TEST_F(RealtimePush, BadSettingsAreRefusedBeforeSending) {
    const std::vector<zq_realtime_push_config_t> bad = {
        config(0, 8125, "127.0.0.1"), config(1, 0, "127.0.0.1"), config(1, 8125, "1.2.3."),
        config(1, 8125, "127.000.000.0001")};
    for (const auto& c : bad) EXPECT_EQ(zq_set_realtime_push(arm_, c), -4);
    EXPECT_TRUE(sim_.received_lines().empty());
    // A full field with no terminator is too long, not an overrun.
    zq_realtime_push_config_t c = config(1, 8125, "");
    std::memset(c.ip, '1', sizeof c.ip);
    EXPECT_EQ(zq_set_realtime_push(arm_, c), -4);
    EXPECT_TRUE(sim_.received_lines().empty());
}

TEST_F(RealtimePush, ForceCoordinateOnlyWithASensor) {
    zq_realtime_push_config_t c = config(1, 8126, "127.0.0.1");
    c.force_coordinate = 0;  // this arm has no sensor: left out
    ASSERT_EQ(zq_set_realtime_push(arm_, c), 0);
    EXPECT_EQ(sim_.received_lines()[0].find("force_coordinate"), std::string::npos);
}

TEST_F(RealtimePush, ControllerRefusalIsOneAndNoReRead) {
    sim_.set_reply("set_realtime_push", R"({"command":"set_realtime_push","state":false})");
    EXPECT_EQ(zq_set_realtime_push(arm_, config(1, 8127, "127.0.0.1")), 1);
    EXPECT_EQ(sim_.received_lines().size(), 1u);
    sim_.set_reply("set_realtime_push", R"({"command":"set_realtime_push"})");
    EXPECT_EQ(zq_set_realtime_push(arm_, config(1, 8127, "127.0.0.1")), -3);
}

TEST_F(RealtimePush, UnknownHandleIsMinusOne) {
    zq_robot_handle stranger{};
    EXPECT_EQ(zq_set_realtime_push(&stranger, config(1, 8128, "127.0.0.1")), -1);
    EXPECT_EQ(zq_set_realtime_push(&stranger, config(0, 8128, "127.0.0.1")), -4);
}

class RealtimeSensorPush : public zqtest::ArmTest {
protected:
    RealtimeSensorPush() : ArmTest("ZQ52-6F-1.0") {}
};

TEST_F(RealtimeSensorPush, ForceCoordinateIsSentAndReadBack) {
    zq_realtime_push_config_t c = config(1, 8129, "127.0.0.1");
    c.force_coordinate = 2;
    ASSERT_EQ(zq_set_realtime_push(arm_, c), 0);
    EXPECT_EQ(sim_.received_lines()[0],
              R"({"command":"set_realtime_push","enable":false,"cycle":1,"port":8129,"ip":"127.0.0.1",)"
              R"("force_coordinate":2})");
    zq_realtime_push_config_t got{};
    ASSERT_EQ(zq_get_realtime_push(arm_, &got), 0);
    EXPECT_EQ(got.force_coordinate, 2);
}

// Reports of the simulator reach the callback in thread mode 2.
class RealtimeReports : public zqtest::ArmTest {
protected:
    RealtimeReports() : ArmTest("ZQ52-6F-1.0") {}
    void SetUp() override {
        if (zqtest::mode() != ZQ_RECV_UDP_THREAD_MODE) GTEST_SKIP() << "UDP reports need thread mode 2";
        ArmTest::SetUp();
        zq_realtime_arm_state_call_back(on_report);
        zq_realtime_arm_state_call_back(nullptr);  // ignored: the callback stays
    }
};

TEST_F(RealtimeReports, EverySectionReachesTheCallback) {
    const int port = report_port();
    sim_.update([](zqsim::ArmConfig& a) {
        a.joint_angles = {10.5, -20.25, 30, 40, 50, 60};
        a.state.peripherals.lift_height = 4242;  // marks this arm's reports
        a.state.arm_status = "move_L";
        a.state.err = {0, 7};
    });
    zq_realtime_push_config_t c = config(1, port, "127.0.0.1", true);
    c.joint_speed = c.lift_state = c.expand_state = c.hand_state = c.arm_current_status = c.aloha_state =
        c.plus_base = c.plus_state = 1;
    c.force_coordinate = 1;
    ASSERT_EQ(zq_set_realtime_push(arm_, c), 0);
    Report r;
    ASSERT_TRUE(wait_report([](const Report& x) { return x.lift_height == 4242 && x.hand_err == 0 && x.sys_state == 3; },
                            &r, 2000));
    const zqsim::ArmConfig a = sim_.config();
    EXPECT_EQ(r.errCode, 0);
    EXPECT_STREQ(r.arm_ip, "127.0.0.1");
    EXPECT_FLOAT_EQ(r.joint_position[0], 10.5f);
    EXPECT_FLOAT_EQ(r.joint_position[1], -20.25f);
    EXPECT_FLOAT_EQ(r.joint_current[1], static_cast<float>(a.state.joints.current[1]));
    EXPECT_FLOAT_EQ(r.joint_temperature[2], static_cast<float>(a.state.joints.temperature[2]));
    EXPECT_FLOAT_EQ(r.joint_voltage[0], 48.25f);
    EXPECT_FLOAT_EQ(r.joint_speed[4], 6.0f);
    EXPECT_EQ(r.joint_en_flag[5], 1);
    EXPECT_EQ(r.coordinate, 1);
    EXPECT_FLOAT_EQ(r.force[0], 1.5f);
    EXPECT_FLOAT_EQ(r.zero_force[5], 0.03f);
    EXPECT_EQ(r.err_len, 2);
    EXPECT_EQ(r.err[1], 7);
    EXPECT_EQ(r.arm_current_status, 1);
    EXPECT_FLOAT_EQ(r.lift_pos, 12.5f);
    EXPECT_FLOAT_EQ(r.expand_pos, -7.25f);
    EXPECT_EQ(r.expand_joint_id, 8);
    EXPECT_EQ(r.hand_pos[2], 300);
    EXPECT_EQ(r.aloha_io1_state, 1);
    EXPECT_STREQ(r.manu, "SIMHAND");
    EXPECT_EQ(r.force_enable, 1);
    EXPECT_EQ(r.tsa[0], 4000000000u);
    EXPECT_EQ(r.normal_force[17], 18);
    // The waypoint is the tool pose of the reported joints.
    std::vector<double> q(a.joint_angles.size());
    for (size_t j = 0; j < q.size(); ++j) q[j] = r.joint_position[j];
    const zqsim::Pose w = zqsim::tool_pose(a, q);
    EXPECT_NEAR(r.waypoint.position.x, w.x, 2e-6);
    EXPECT_NEAR(r.waypoint.position.y, w.y, 2e-6);
    EXPECT_NEAR(r.waypoint.position.z, w.z, 2e-6);
}

TEST_F(RealtimeReports, AStoppedArmClearsThePendingCounters) {
    sim_.update([](zqsim::ArmConfig& a) {
        a.state.arm_status = "stop";
        a.state.peripherals.lift_height = 9090;
        a.realtime.configured = true;  // as if a client had asked for the default port
        for (auto& s : a.realtime.sections) s.second = true;
    });
    for (int i = 0; i < 3; ++i) zq_motion_count_op(arm_, 1);
    zq_motion_count_op(arm_, 3);
    // The reports go to the simulator's default port, which this process listens on from its
    // first connection on, unless another process holds it.
    Report r;
    if (!wait_report([](const Report& x) { return x.lift_height == 9090 && x.arm_current_status == 9; }, &r, 2000))
        GTEST_SKIP() << "no report on the default port: another process holds it";
    // The session is found by the report's sender address and the port of the listening entry's slot.
    if (r.arm_port != port_) GTEST_SKIP() << "this arm's slot does not match the report's UDP entry";
    EXPECT_EQ(__atomic_load_n(&arm_->pending_trajectory, __ATOMIC_ACQUIRE), 0);
    EXPECT_EQ(__atomic_load_n(&arm_->pending_program, __ATOMIC_ACQUIRE), 0);
}

TEST_F(RealtimeReports, OversizedAndBrokenDatagramsReachTheCallbackAsMinusThree) {
    const int port = report_port();
    ASSERT_EQ(zq_set_realtime_push(arm_, config(200, port, "127.0.0.1", true)), 0);
    looptest::UdpSocket sender;
    const std::string big = full_report(",\"pad\":\"" + std::string(3000, 'x') + "\"");
    const std::string empty_err = R"({"joint_status":{},"waypoint":{"position":[0,0,0],"quat":[0,0,0,0],"euler":[0,0,0]},"err":[]})";
    for (const std::string* d : {&big, &empty_err}) {
        {
            std::lock_guard<std::mutex> lock(g_mu);
            g_reports.clear();
        }
        sender.send_to(port, *d);
        Report r;
        EXPECT_TRUE(wait_report([](const Report& x) { return x.errCode == -3; }, &r, 1000));
    }
}

}  // namespace
