// The simulator's answers to the connection queries, and its arm models.
#include <gtest/gtest.h>

#include <cjson/cJSON.h>

#include <memory>
#include <string>

#include "arm_models.h"
#include "sim_client.h"
#include "simulator.h"

namespace {

using simtest::RawClient;

struct JsonDeleter {
    void operator()(cJSON* j) const { cJSON_Delete(j); }
};
using Json = std::unique_ptr<cJSON, JsonDeleter>;

// Sends one request of `command` and returns the parsed reply.
Json ask(RawClient& c, const std::string& command) {
    c.send("{\"command\":\"" + command + "\"}\r\n");
    std::string line;
    if (!c.read_line(&line)) return Json(nullptr);
    return Json(cJSON_Parse(line.c_str()));
}

std::vector<long long> ints(const cJSON* obj, const char* key) {
    std::vector<long long> out;
    const cJSON* arr = cJSON_GetObjectItemCaseSensitive(obj, key);
    const cJSON* item = nullptr;
    cJSON_ArrayForEach(item, arr) out.push_back(static_cast<long long>(item->valuedouble));
    return out;
}

std::string text(const cJSON* obj, const char* key) {
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(obj, key);
    return cJSON_IsString(item) ? item->valuestring : "<missing>";
}

class SimCommands : public ::testing::Test {
  protected:
    void serve(zqsim::ArmConfig cfg) {
        sim = std::make_unique<zqsim::Simulator>(std::move(cfg));
        client = std::make_unique<RawClient>(sim->start());
        ASSERT_TRUE(client->ok());
    }
    Json ask(const std::string& command) { return ::ask(*client, command); }

    std::unique_ptr<zqsim::Simulator> sim;
    std::unique_ptr<RawClient> client;
};

TEST_F(SimCommands, RunModePersists) {
    serve({});
    Json r = ask("get_arm_run_mode");
    ASSERT_TRUE(r);
    EXPECT_EQ(text(r.get(), "command"), "get_arm_run_mode");
    EXPECT_EQ(cJSON_GetObjectItem(r.get(), "mode")->valueint, 1);
    client->send("{\"command\":\"set_arm_run_mode\",\"mode\":0}\r\n");
    EXPECT_EQ(client->line(), "{\"command\":\"set_arm_run_mode\",\"mode\":true}");
    r = ask("get_arm_run_mode");
    EXPECT_EQ(cJSON_GetObjectItem(r.get(), "mode")->valueint, 0);
    EXPECT_EQ(sim->config().run_mode, 0);
}

TEST_F(SimCommands, RunModeRefusesOtherValues) {
    serve({});
    client->send("{\"command\":\"set_arm_run_mode\",\"mode\":2}\r\n");
    EXPECT_EQ(client->line(), "{\"command\":\"set_arm_run_mode\",\"mode\":false}");
    client->send("{\"command\":\"set_arm_run_mode\"}\r\n");
    EXPECT_EQ(client->line(), "{\"command\":\"set_arm_run_mode\",\"mode\":false}");
    EXPECT_EQ(sim->config().run_mode, 1);
}

TEST_F(SimCommands, SoftwareInfoOfAGenerationFourController) {
    serve(zqsim::ArmConfig::for_model("ZQ41-B-1.0"));
    Json r = ask("get_arm_software_info");
    ASSERT_TRUE(r);
    EXPECT_EQ(text(r.get(), "command"), "arm_software_info");
    EXPECT_EQ(text(r.get(), "Product_version"), "ZQ41-B-1.0");
    EXPECT_EQ(text(r.get(), "robot_controller_version"), "4.0");
    for (const char* module :
         {"algorithm_info", "ctrl_info", "dynamic_info", "plan_info", "program_info", "communication_info"}) {
        EXPECT_TRUE(cJSON_IsObject(cJSON_GetObjectItem(r.get(), module))) << module;
    }
    const cJSON* ctrl = cJSON_GetObjectItem(r.get(), "ctrl_info");
    EXPECT_LE(text(ctrl, "build_time").size(), 19u);
    EXPECT_LE(text(ctrl, "version").size() + 1 + text(ctrl, "commit_id").size(), 19u);
    EXPECT_LE(text(cJSON_GetObjectItem(r.get(), "dynamic_info"), "model_version").size(), 4u);
    EXPECT_NE(text(cJSON_GetObjectItem(r.get(), "program_info"), "version"), "<missing>");
}

TEST_F(SimCommands, SoftwareInfoOfAGenerationThreeController) {
    zqsim::ArmConfig cfg = zqsim::ArmConfig::for_model("ZQ52-6F-1.0");
    cfg.controller_version = "3.5.2";
    serve(cfg);
    Json r = ask("get_arm_software_info");
    ASSERT_TRUE(r);
    EXPECT_EQ(text(r.get(), "robot_controller_version"), "3.5.2");
    EXPECT_EQ(cJSON_GetObjectItem(r.get(), "program_info"), nullptr);
    EXPECT_EQ(cJSON_GetObjectItem(r.get(), "communication_info"), nullptr);
    sim->update([](zqsim::ArmConfig& a) { a.controller_version.clear(); });
    r = ask("get_arm_software_info");
    EXPECT_EQ(cJSON_GetObjectItem(r.get(), "robot_controller_version"), nullptr);
}

TEST_F(SimCommands, RealtimePushReportsForceFrameOnlyWithASensor) {
    serve(zqsim::ArmConfig::for_model("ZQ41-B-1.0"));
    Json r = ask("get_realtime_push");
    ASSERT_TRUE(r);
    EXPECT_EQ(text(r.get(), "command"), "get_realtime_push");
    EXPECT_EQ(cJSON_GetObjectItem(r.get(), "port")->valueint, 8089);
    EXPECT_EQ(cJSON_GetObjectItem(r.get(), "cycle")->valueint, 5);
    EXPECT_TRUE(cJSON_IsTrue(cJSON_GetObjectItem(r.get(), "enable")));
    EXPECT_EQ(text(r.get(), "ip"), "127.0.0.1");
    EXPECT_EQ(cJSON_GetObjectItem(r.get(), "force_coordinate"), nullptr);
    const cJSON* custom = cJSON_GetObjectItem(r.get(), "custom");
    ASSERT_TRUE(cJSON_IsObject(custom));
    EXPECT_TRUE(cJSON_IsTrue(cJSON_GetObjectItem(custom, "joint_speed")));
    EXPECT_TRUE(cJSON_IsFalse(cJSON_GetObjectItem(custom, "zq_plus_state")));
    EXPECT_EQ(cJSON_GetArraySize(custom), 8);

    sim->update([](zqsim::ArmConfig& a) {
        a = zqsim::ArmConfig::for_model("ZQ41-6F-1.0");
        a.realtime.port = 9000;
    });
    r = ask("get_realtime_push");
    EXPECT_EQ(cJSON_GetObjectItem(r.get(), "port")->valueint, 9000);
    ASSERT_NE(cJSON_GetObjectItem(r.get(), "force_coordinate"), nullptr);
    EXPECT_EQ(cJSON_GetObjectItem(r.get(), "force_coordinate")->valueint, 0);
}

TEST_F(SimCommands, FramesAndInstallPoseInWireUnits) {
    zqsim::ArmConfig cfg;
    cfg.tool.name = "Gripper";
    cfg.tool.pose = {0.01, -0.02, 0.1234, 0.5, -1.5, 3.14159};
    cfg.tool.payload = 1.5;
    cfg.tool.com_x = 0.001;
    cfg.tool.com_z = 0.05;
    cfg.work.name = "Table";
    cfg.work.pose = {0.5, 0.25, -0.1, 0, 0, 1.5708};
    cfg.install_pose = {0, 90, 0};
    serve(cfg);
    EXPECT_EQ(client->send("{\"command\":\"get_current_tool_frame\"}\r\n"), true);
    EXPECT_EQ(client->line(),
              "{\"command\":\"current_tool_frame\",\"tool_name\":\"Gripper\",\"pose\":[10000,-20000,123400,"
              "500,-1500,"
              "3142],\"payload\":1500,\"position\":[1000,0,50000]}");
    client->send("{\"command\":\"get_current_work_frame\"}\r\n");
    EXPECT_EQ(client->line(),
              "{\"command\":\"current_work_frame\",\"frame_name\":\"Table\",\"pose\":[500000,250000,-100000,"
              "0,0,1571]}");
    client->send("{\"command\":\"get_install_pose\"}\r\n");
    EXPECT_EQ(client->line(), "{\"command\":\"install_pose\",\"pose\":[0,90,0]}");
}

TEST_F(SimCommands, DhRowsOfASixJointArm) {
    serve(zqsim::ArmConfig::for_model("ZQ41-B-1.0"));
    Json r = ask("get_DH_data");
    ASSERT_TRUE(r);
    EXPECT_EQ(text(r.get(), "command"), "get_DH_data");
    EXPECT_EQ(ints(r.get(), "joint_1"), (std::vector<long long>{0, 0, 240500, 0}));
    EXPECT_EQ(ints(r.get(), "joint_2"), (std::vector<long long>{90000, 0, 0, 90000}));
    EXPECT_EQ(ints(r.get(), "joint_3"), (std::vector<long long>{0, 256000, 0, 90000}));
    EXPECT_EQ(ints(r.get(), "joint_6"), (std::vector<long long>{90000, 0, 144000, 0}));
    EXPECT_EQ(cJSON_GetObjectItem(r.get(), "joint_7"), nullptr);
}

TEST_F(SimCommands, DhRowsOfATwoArmFamilyHaveTheFixedLink) {
    serve(zqsim::ArmConfig::for_model("KWBL37-B-1.0"));
    Json r = ask("get_DH_data");
    ASSERT_TRUE(r);
    EXPECT_EQ(ints(r.get(), "joint_8"), (std::vector<long long>{90000, 0, 114620, 0}));
    EXPECT_EQ(cJSON_GetObjectItem(r.get(), "joint_9"), nullptr);
    Json t = ask("get_arm_current_trajectory");
    EXPECT_EQ(ints(t.get(), "data").size(), 7u);
}

TEST_F(SimCommands, JointLimitsAnswerUnderTheirReplyKeys) {
    serve(zqsim::ArmConfig::for_model("ZQ41-B-1.0"));
    Json r = ask("get_joint_min_pos");
    EXPECT_EQ(text(r.get(), "command"), "joint_min_pos");
    EXPECT_EQ(ints(r.get(), "min_pos"),
              (std::vector<long long>{-178000, -130000, -135000, -178000, -128000, -360000}));
    r = ask("get_joint_max_pos");
    EXPECT_EQ(text(r.get(), "command"), "joint_max_pos");
    EXPECT_EQ(ints(r.get(), "max_pos"),
              (std::vector<long long>{178000, 130000, 135000, 178000, 128000, 360000}));
    r = ask("get_joint_max_speed");
    EXPECT_EQ(text(r.get(), "command"), "joint_max_speed");
    EXPECT_EQ(ints(r.get(), "joint_speed"),
              (std::vector<long long>{30000, 30000, 37500, 37500, 37500, 37500}));
    r = ask("get_joint_max_acc");
    EXPECT_EQ(text(r.get(), "command"), "joint_max_acc");
    EXPECT_EQ(ints(r.get(), "joint_acc"), std::vector<long long>(6, 100000));
}

TEST_F(SimCommands, IdleTrajectoryCarriesTheJoints) {
    zqsim::ArmConfig cfg = zqsim::ArmConfig::for_model("ZQ52-B-1.0");
    cfg.joint_angles = {10, -20.5, 0.001, 45, 0, -90, 179.9995};
    serve(cfg);
    Json r = ask("get_arm_current_trajectory");
    ASSERT_TRUE(r);
    EXPECT_EQ(text(r.get(), "command"), "arm_current_trajectory");
    EXPECT_EQ(text(r.get(), "type"), "none");
    EXPECT_EQ(ints(r.get(), "data"), (std::vector<long long>{10000, -20500, 1, 45000, 0, -90000, 180000}));
}

TEST_F(SimCommands, JointCountFollowsUpdates) {
    serve(zqsim::ArmConfig::for_model("ZQ41-B-1.0"));
    sim->update([](zqsim::ArmConfig& a) { a.dof = 7; });
    EXPECT_EQ(ints(ask("get_arm_current_trajectory").get(), "data").size(), 7u);
    EXPECT_EQ(ints(ask("get_joint_max_speed").get(), "joint_speed").size(), 7u);
    Json dh = ask("get_DH_data");
    EXPECT_NE(cJSON_GetObjectItem(dh.get(), "joint_7"), nullptr);
    sim->update([](zqsim::ArmConfig& a) { a.dof = 99; });
    EXPECT_EQ(sim->config().dof, 10);
}

TEST(SimArmModels, FamiliesAndVariants) {
    using zqsim::ArmConfig;
    const ArmConfig def;
    EXPECT_EQ(def.product_version, "ZQ41-B-1.0");
    EXPECT_EQ(def.controller_version, "4.0");
    EXPECT_EQ(def.dof, 6);
    EXPECT_EQ(def.dh.size(), 6u);
    EXPECT_EQ(def.joints.size(), 6u);
    EXPECT_EQ(def.joint_angles.size(), 6u);
    EXPECT_EQ(def.realtime.port, 8089);

    EXPECT_EQ(ArmConfig::for_model("ZQ52-6F-1.0").dof, 7);
    EXPECT_DOUBLE_EQ(ArmConfig::for_model("ZQ52-6F-1.0").dh[6].d, 0.1725);
    EXPECT_DOUBLE_EQ(ArmConfig::for_model("ZQL36III-ZF-1.0").dh[0].d, 0.1625);  // not the ZQL36 chain
    EXPECT_DOUBLE_EQ(ArmConfig::for_model("ZQL36-ZF-1.0").dh[0].d, 0.172);
    EXPECT_DOUBLE_EQ(ArmConfig::for_model("MQL52II-6FB-V").dh[7].d, 0.119);
    EXPECT_DOUBLE_EQ(ArmConfig::for_model("MQR52-B-1.0").dh[7].d, 0.0968);
    EXPECT_EQ(ArmConfig::for_model("MQR52-B-1.0").dh.size(), 8u);
    EXPECT_EQ(ArmConfig::for_model("HTR27-B").dof, 7);
    EXPECT_EQ(ArmConfig::for_model("HTR27-B").fixed_links, 0);
    const ArmConfig odd = ArmConfig::for_model("XYZ-6F-2.0");
    EXPECT_EQ(odd.dof, 6);
    EXPECT_EQ(odd.product_version, "XYZ-6F-2.0");
    EXPECT_EQ(odd.realtime.force_coordinate, 0);

    EXPECT_EQ(zqsim::end_variant_of("VDA41-6FB-V"), zqsim::EndVariant::SixFBV);
    EXPECT_EQ(zqsim::end_variant_of("ZQ41-B-V1"), zqsim::EndVariant::BV);
    EXPECT_FALSE(zqsim::has_force_sensor(zqsim::EndVariant::BV));
    EXPECT_TRUE(zqsim::has_force_sensor(zqsim::EndVariant::ZF));
}

}  // namespace
