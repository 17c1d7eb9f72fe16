// Stored tool and work frames, install pose and DH data against the simulated controller.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "test_env.h"
#include "zq_api.h"

namespace {

class CommandsFrames : public zqtest::ArmTest {
protected:
    static zq_frame_t tool(const char* name) {
        zq_frame_t f{};
        std::snprintf(f.frame_name, sizeof f.frame_name, "%s", name);
        f.pose.position = {0.01f, -0.02f, 0.125f};
        f.pose.euler = {0.5f, -0.25f, 1.0f};
        f.payload = 1.5f;
        f.x = 0.001f;
        f.y = 0.0f;
        f.z = 0.05f;
        return f;
    }
    std::vector<std::string> names_of(int (*total)(zq_robot_handle*, zq_frame_name_t*, int*)) {
        zq_frame_name_t names[ZQ_FRAME_LIST_MAX] = {};
        int len = -1;
        EXPECT_EQ(total(arm_, names, &len), 0);
        std::vector<std::string> out;
        for (int i = 0; i < len; ++i) out.emplace_back(names[i].name);
        return out;
    }
};

class CommandsFramesGen3 : public CommandsFrames {
protected:
    void SetUp() override {
        sim_.update([](zqsim::ArmConfig& a) { a.controller_version = "3.5.2"; });
        CommandsFrames::SetUp();
        ASSERT_EQ(arm_->controller_version, 3);
    }
};

TEST_F(CommandsFrames, ManualToolFrameRequestAndLifecycle) {
    ASSERT_EQ(zq_set_manual_tool_frame(arm_, tool("grip")), 0);
    EXPECT_EQ(sim_.received_lines().front(),
              R"({"command":"set_manual_tool_frame","tool_name":"grip","payload":1500,"position":[1000,0,50000],)"
              R"("tool_pose":[10000,-20000,125000,500,-250,1000]})");
    EXPECT_EQ(names_of(zq_get_total_tool_frame), (std::vector<std::string>{"Flange", "grip"}));
    EXPECT_EQ(zq_set_manual_tool_frame(arm_, tool("grip")), 1);  // the name exists

    sim_.clear_received();
    ASSERT_EQ(zq_change_tool_frame(arm_, "grip"), 0);
    auto lines = sim_.received_lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], R"({"command":"set_change_tool_frame","tool_name":"grip"})");
    EXPECT_EQ(lines[1], R"({"command":"get_current_tool_frame"})");
    EXPECT_STREQ(arm_->tool_frame.frame_name, "grip");
    EXPECT_FLOAT_EQ(arm_->tool_frame.pose.position.z, 0.125f);
    EXPECT_FLOAT_EQ(arm_->tool_frame.payload, 1.5f);

    EXPECT_EQ(zq_delete_tool_frame(arm_, "grip"), 1);  // the current frame stays
    ASSERT_EQ(zq_change_tool_frame(arm_, "Flange"), 0);
    ASSERT_EQ(zq_delete_tool_frame(arm_, "grip"), 0);
    EXPECT_STREQ(arm_->tool_frame.frame_name, "Flange");
    EXPECT_EQ(names_of(zq_get_total_tool_frame), (std::vector<std::string>{"Flange"}));
    EXPECT_EQ(zq_change_tool_frame(arm_, "grip"), 1);
}

TEST_F(CommandsFrames, GivenAndCurrentToolFrameScaleThePositionDifferently) {
    zq_frame_t t = tool("probe");
    t.x = 0.1f;
    ASSERT_EQ(zq_set_manual_tool_frame(arm_, t), 0);
    zq_frame_t given{};
    ASSERT_EQ(zq_get_given_tool_frame(arm_, "probe", &given), 0);
    EXPECT_EQ(sim_.received_lines().back(), R"({"command":"get_tool_frame","tool_name":"probe"})");
    EXPECT_STREQ(given.frame_name, "probe");
    EXPECT_FLOAT_EQ(given.x, 0.1f);  // 100000 on the wire ÷ 1000000
    EXPECT_FLOAT_EQ(given.z, 0.05f);
    EXPECT_FLOAT_EQ(given.payload, 1.5f);
    EXPECT_FLOAT_EQ(given.pose.euler.rx, 0.5f);
    ASSERT_EQ(zq_change_tool_frame(arm_, "probe"), 0);
    zq_frame_t current{};
    ASSERT_EQ(zq_get_current_tool_frame(arm_, &current), 0);
    EXPECT_FLOAT_EQ(current.x, 100.0f);  // the same 100000 ÷ 1000
}

TEST_F(CommandsFrames, UnknownGivenFramesAreRefusedWithOne) {
    zq_frame_t f{};
    EXPECT_EQ(zq_get_given_tool_frame(arm_, "nothing", &f), 1);
    zq_pose_t p{};
    EXPECT_EQ(zq_get_given_work_frame(arm_, "nothing", &p), 1);
}

TEST_F(CommandsFrames, GivenToolFrameReturnsTheByteCountOnABadReply) {
    const std::string bad = R"({"command":"given_tool_frame","tool_name":"x","pose":[1,2,3],"payload":0,"position":[0,0,0]})";
    sim_.set_reply("get_tool_frame", bad);
    zq_frame_t f{};
    f.payload = 7.0f;
    const int rc = zq_get_given_tool_frame(arm_, "x", &f);
    EXPECT_GE(rc, static_cast<int>(bad.size()));
    EXPECT_FLOAT_EQ(f.payload, 7.0f);
}

TEST_F(CommandsFrames, UpdateToolFrameKeepsTheCurrentCopyOnTheController) {
    ASSERT_EQ(zq_set_manual_tool_frame(arm_, tool("t1")), 0);
    zq_frame_t t = tool("t1");
    t.payload = 2.25f;
    ASSERT_EQ(zq_update_tool_frame(arm_, t), 0);
    EXPECT_EQ(sim_.received_lines().back().rfind(R"({"command":"update_tool_frame","tool_name":"t1","payload":2250,)", 0),
              0u);
    zq_frame_t given{};
    ASSERT_EQ(zq_get_given_tool_frame(arm_, "t1", &given), 0);
    EXPECT_FLOAT_EQ(given.payload, 2.25f);
    t = tool("none");
    EXPECT_EQ(zq_update_tool_frame(arm_, t), 1);
}

TEST_F(CommandsFrames, ChangeWithAFailingReReadReturnsTheReReadsCode) {
    ASSERT_EQ(zq_set_manual_tool_frame(arm_, tool("t2")), 0);
    sim_.set_reply("get_current_tool_frame", R"({"command":"current_tool_frame","tool_name":"t2"})");
    EXPECT_EQ(zq_change_tool_frame(arm_, "t2"), -1);
    EXPECT_EQ(sim_.config().tool.name, "t2");
}

TEST_F(CommandsFrames, TotalListStopsAtNull) {
    sim_.set_reply("get_total_tool_frame", R"({"command":"total_tool_frame","tool_names":["a","NULL","c"]})");
    zq_frame_name_t names[ZQ_FRAME_LIST_MAX] = {};
    int len = -1;
    ASSERT_EQ(zq_get_total_tool_frame(arm_, names, &len), 0);
    EXPECT_EQ(len, 1);
    sim_.set_reply("get_total_tool_frame",
                   R"({"command":"total_tool_frame","frame_names":["abcdefghijklmnop"],"tool_names":["x","y"]})");
    ASSERT_EQ(zq_get_total_tool_frame(arm_, names, &len), 0);
    EXPECT_EQ(len, 1);
    EXPECT_STREQ(names[0].name, "abcdefghijk");  // cut at the field, terminated
    sim_.set_reply("get_total_tool_frame", R"({"command":"total_tool_frame","tool_names":"x"})");
    EXPECT_EQ(zq_get_total_tool_frame(arm_, names, &len), -2);
    sim_.set_reply("get_total_tool_frame", R"({"command":"total_tool_frame"})");
    EXPECT_EQ(zq_get_total_tool_frame(arm_, names, &len), -2);
}

TEST_F(CommandsFrames, AutomaticToolFrameOnGeneration4) {
    for (int p = 1; p <= 4; ++p) ASSERT_EQ(zq_set_auto_tool_frame(arm_, p), 0) << p;
    EXPECT_EQ(sim_.received_lines()[3], R"({"command":"set_auto_tool_frame","point_num":4})");
    ASSERT_EQ(zq_generate_auto_tool_frame(arm_, "auto1", 0.5f, 0.0f, 0.0f, 0.02f), 0);
    EXPECT_EQ(sim_.received_lines().back(),
              R"({"command":"generate_auto_tool_frame","tool_name":"auto1","payload":500,"position":[0,0,20000]})");
    zq_frame_t f{};
    ASSERT_EQ(zq_get_given_tool_frame(arm_, "auto1", &f), 0);
    EXPECT_FLOAT_EQ(f.z, 0.02f);
    EXPECT_EQ(zq_generate_auto_tool_frame(arm_, "auto2", 0.5f, 0, 0, 0), 1);  // the points were used
}

TEST_F(CommandsFramesGen3, AutomaticToolFrameAnswersUnderTheOlderName) {
    for (int p = 1; p <= 4; ++p) ASSERT_EQ(zq_set_auto_tool_frame(arm_, p), 0);
    ASSERT_EQ(zq_generate_auto_tool_frame(arm_, "old", 0.0f, 0, 0, 0), 0);
    EXPECT_EQ(names_of(zq_get_total_tool_frame).back(), "old");
    // The handle's lock was not kept: a delete (exclusive) still goes through in TearDown.
}

TEST_F(CommandsFrames, WorkFrames) {
    zq_pose_t p{};
    p.position = {0.25f, -0.5f, 0.0f};
    p.euler = {0.0f, 0.0f, 1.5707f};
    ASSERT_EQ(zq_set_manual_work_frame(arm_, "table", p), 0);
    EXPECT_EQ(sim_.received_lines().front(),
              R"({"command":"set_manual_work_frame","frame_name":"table","frame_pose":[250000,-500000,0,0,0,1570]})");
    EXPECT_EQ(zq_set_manual_work_frame(arm_, "table", p), 1);
    EXPECT_EQ(names_of(zq_get_total_work_frame), (std::vector<std::string>{"Base", "table"}));

    zq_pose_t got{};
    ASSERT_EQ(zq_get_given_work_frame(arm_, "table", &got), 0);
    EXPECT_FLOAT_EQ(got.position.x, 0.25f);
    EXPECT_FLOAT_EQ(got.euler.rz, 1.57f);

    ASSERT_EQ(zq_change_work_frame(arm_, "table"), 0);
    EXPECT_EQ(sim_.received_lines().back(), R"({"command":"get_current_work_frame"})");
    EXPECT_STREQ(arm_->work_frame.frame_name, "table");
    EXPECT_FLOAT_EQ(arm_->work_frame.pose.position.y, -0.5f);

    p.position.z = 0.75f;
    ASSERT_EQ(zq_update_work_frame(arm_, "table", p), 0);
    EXPECT_DOUBLE_EQ(sim_.config().work.pose.z, 0.75);
    EXPECT_EQ(zq_delete_work_frame(arm_, "table"), 1);
    ASSERT_EQ(zq_change_work_frame(arm_, "Base"), 0);
    ASSERT_EQ(zq_delete_work_frame(arm_, "table"), 0);
    EXPECT_STREQ(arm_->work_frame.frame_name, "Base");

    for (int n = 1; n <= 3; ++n) ASSERT_EQ(zq_set_auto_work_frame(arm_, "auto", n), 0);
    EXPECT_EQ(sim_.received_lines().back(), R"({"command":"set_auto_work_frame","frame_name":"auto","point_num":3})");
    ASSERT_EQ(zq_get_given_work_frame(arm_, "auto", &got), 0);
    EXPECT_FLOAT_EQ(got.position.x, 0.5f);
}

TEST_F(CommandsFrames, InstallPoseIsWholeDegrees) {
    ASSERT_EQ(zq_set_install_pose(arm_, 89.9f, -45.5f, 0.0f), 0);
    auto lines = sim_.received_lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], R"({"command":"set_install_pose","pose":[89,-45,0]})");
    EXPECT_EQ(lines[1], R"({"command":"get_install_pose"})");
    EXPECT_FLOAT_EQ(arm_->install_angle[0], 89.0f);
    EXPECT_FLOAT_EQ(arm_->install_angle[1], -45.0f);
}

TEST_F(CommandsFrames, DhDataRoundTrip) {
    zq_dh_t dh{};
    ASSERT_EQ(zq_get_DH_data(arm_, &dh), 0);
    const zq_dh_t factory = dh;
    dh.d[0] = 0.2405f;
    dh.a[2] = 0.256f;
    dh.alpha[1] = -90.0f;
    dh.offset[5] = 12.5f;
    ASSERT_EQ(zq_set_DH_data(arm_, dh), 0);
    const std::string sent = sim_.received_lines().back();
    EXPECT_NE(sent.find(R"("joint_1":[)"), std::string::npos);
    EXPECT_NE(sent.find(R"("joint_6":[)"), std::string::npos);
    EXPECT_EQ(sent.find(R"("joint_7")"), std::string::npos);
    zq_dh_t got{};
    ASSERT_EQ(zq_get_DH_data(arm_, &got), 0);
    EXPECT_NEAR(got.d[0], 0.2405f, 1e-6);
    EXPECT_NEAR(got.a[2], 0.256f, 1e-6);
    EXPECT_FLOAT_EQ(got.alpha[1], -90.0f);
    EXPECT_FLOAT_EQ(got.offset[5], 12.5f);
    EXPECT_FLOAT_EQ(arm_->dh_data.offset[5], 12.5f);
    ASSERT_EQ(zq_set_DH_data_default(arm_), 0);
    EXPECT_EQ(sim_.received_lines().back(), R"({"command":"set_DH_data_default"})");
    ASSERT_EQ(zq_get_DH_data(arm_, &got), 0);
    EXPECT_FLOAT_EQ(got.offset[5], factory.offset[5]);
}

TEST_F(CommandsFrames, UnknownHandleIsMinusOne) {
    zq_robot_handle stranger{};
    EXPECT_EQ(zq_change_tool_frame(&stranger, "x"), -1);
    EXPECT_EQ(zq_generate_auto_tool_frame(&stranger, "x", 0, 0, 0, 0), -1);
    zq_frame_name_t names[ZQ_FRAME_LIST_MAX];
    int len = 0;
    EXPECT_EQ(zq_get_total_work_frame(&stranger, names, &len), -1);
    zq_dh_t dh{};
    EXPECT_EQ(zq_set_DH_data(&stranger, dh), -1);
    EXPECT_TRUE(sim_.received_lines().empty());
}

class CommandsFramesTwoArm : public CommandsFrames {
protected:
    CommandsFramesTwoArm() { }
    void SetUp() override {
        sim_.update([](zqsim::ArmConfig& a) { a = zqsim::ArmConfig::for_model("KWBL37-B-1.0"); });
        CommandsFrames::SetUp();
    }
};

TEST_F(CommandsFramesTwoArm, FurtherLinkAddsADhRow) {
    ASSERT_EQ(arm_->arm_model, ZQ_MODEL_KWBL37_E);
    ASSERT_EQ(arm_->arm_dof, 7);
    zq_dh_t dh{};
    ASSERT_EQ(zq_get_DH_data(arm_, &dh), 0);
    ASSERT_EQ(zq_set_DH_data(arm_, dh), 0);
    const std::string sent = sim_.received_lines().back();
    EXPECT_NE(sent.find(R"("joint_8":[)"), std::string::npos);
    EXPECT_EQ(sent.find(R"("joint_9")"), std::string::npos);
}

}  // namespace
