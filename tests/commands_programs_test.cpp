// Programs, waypoints, trajectory files, tool actions and the saved drag trajectory against
// the simulated controller.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "test_env.h"
#include "zq_api.h"

namespace {

std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

class CommandsPrograms : public zqtest::ArmTest {
protected:
    void SetUp() override {
        static int serial = 0;
        const std::filesystem::path dir = std::filesystem::temp_directory_path() /
                                          ("zq_programs_" + std::to_string(zq::platform::process_id()) + "_" +
                                           std::to_string(serial++));
        std::error_code ec;
        std::filesystem::remove_all(dir, ec);
        ASSERT_TRUE(std::filesystem::create_directories(dir, ec)) << ec.message();
        dir_ = dir.string();
        ArmTest::SetUp();
    }
    void TearDown() override {
        ArmTest::TearDown();
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
    }
    std::string write_file(const std::string& name, const std::string& bytes) {
        const std::string path = dir_ + "/" + name;
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }
    static zq_waypoint_t waypoint(const char* name, float j0) {
        zq_waypoint_t w{};
        std::snprintf(w.point_name, sizeof w.point_name, "%s", name);
        w.joint[0] = j0;
        w.joint[5] = -12.5f;
        w.pose.position = {0.25f, 0, 0.5f};
        w.pose.euler = {3.1f, 0, -1.5f};
        std::strcpy(w.work_frame, "Base");
        std::strcpy(w.tool_frame, "Flange");
        return w;
    }
    std::string dir_;
};

class CommandsProgramsGen3 : public CommandsPrograms {
protected:
    void SetUp() override {
        sim_.update([](zqsim::ArmConfig& a) { a.controller_version = "3.5.2"; });
        CommandsPrograms::SetUp();
        ASSERT_EQ(arm_->controller_version, 3);
    }
    zq_send_project_t project(const std::string& path, int type) {
        zq_send_project_t p{};
        std::snprintf(p.project_path, sizeof p.project_path, "%s", path.c_str());
        p.project_path_len = static_cast<int>(path.size());
        p.plan_speed = 40;
        p.save_id = 7;
        p.project_type = type;
        return p;
    }
};

TEST_F(CommandsProgramsGen3, UploadSendsTheFileInPiecesAndStoresIt) {
    std::string text;
    for (int i = 0; i < 30; ++i) text += "{\"line\":" + std::to_string(i) + "}\r\n";  // 30 lines, several pieces
    int err_line = 0;
    ASSERT_EQ(zq_send_project(arm_, project(write_file("pick.job", text), 0), &err_line), 0);
    EXPECT_EQ(err_line, -1);
    const std::string announce = R"({"command":"run_project","project_name":"pick","file_size":)" +
                                 std::to_string(text.size()) + R"(,"plan_speed":40,"step_flag":0,"only_save":0,"save_id":7})";
    const std::string bytes = sim_.received_bytes();
    EXPECT_EQ(bytes, announce + "\r\n" + text);
    zq_program_trajectorys_t list{};
    ASSERT_EQ(zq_get_program_trajectory_list(arm_, 1, 10, nullptr, &list), 0);
    EXPECT_EQ(list.total_size, 1);
    EXPECT_EQ(list.list[0].id, 7);
    EXPECT_STREQ(list.list[0].trajectory_name, "pick");
}

TEST_F(CommandsProgramsGen3, HeadedCopyAndFileFailures) {
    const std::string path = write_file("demo.txt", "a\nb\n");
    int err_line = 0;
    ASSERT_EQ(zq_send_project(arm_, project(path, 1), &err_line), 0);
    const std::string head = "{\"file\":6}\r\n{\"name\":\"Folder\",\"num\":1,\"type\":2,\"enabled\":true,\"parent_number\":0}\r\n";
    const std::string bytes = sim_.received_bytes();
    EXPECT_EQ(bytes.substr(bytes.size() - head.size() - 4), head + "a\nb\n");
    EXPECT_NE(bytes.find(R"("project_name":"demo")"), std::string::npos);

    sim_.clear_received();
    EXPECT_EQ(zq_send_project(arm_, project(dir_ + "/missing.txt", 0), &err_line), -5);
    EXPECT_EQ(zq_send_project(arm_, project("no_separator.txt", 1), &err_line), -5);
    zq_send_project_t cut = project(path + "xyz", 0);
    cut.project_path_len = static_cast<int>(path.size());  // the length governs
    EXPECT_EQ(zq_send_project(arm_, cut, &err_line), 0);
    EXPECT_EQ(zq_send_project(arm_, project(path, 0), nullptr), -4);

    sim_.on_command("run_project", [](const std::string&) {
        return std::vector<std::string>{R"({"command":"run_project","project_state":true})",
                                        R"({"command":"download_project","project_state":false,"err_line":3})"};
    });
    EXPECT_EQ(zq_send_project(arm_, project(path, 0), &err_line), 1);
    EXPECT_EQ(err_line, 3);
}

TEST_F(CommandsProgramsGen3, BlockingRunEndsWithItsProgram) {
    int err_line = 0;
    ASSERT_EQ(zq_send_project(arm_, project(write_file("p.txt", "x"), 0), &err_line), 0);
    sim_.clear_received();
    EXPECT_EQ(zq_set_program_id_run(arm_, 7, 0, 5), 0);
    EXPECT_NE(sim_.received_bytes().find(R"({"command":"set_program_id_start","id":7})" "\r\n"), std::string::npos);
    EXPECT_EQ(zq_set_program_id_run(arm_, 99, 20, 0), 1);  // no such program
    zq_flowchart_run_state_t flow{};
    EXPECT_EQ(zq_get_flowchart_program_run_state(arm_, &flow), -4);
    zq_program_run_state_t st{};
    ASSERT_EQ(zq_get_program_run_state(arm_, &st), 0);
    EXPECT_EQ(st.run_state, 0);
}

TEST_F(CommandsPrograms, GenerationGatesSendNothing) {
    int err_line = 0;
    zq_send_project_t p{};
    zq_program_run_state_t st{};
    EXPECT_EQ(zq_send_project(arm_, p, &err_line), -6);
    EXPECT_EQ(zq_get_program_run_state(arm_, &st), -4);
    EXPECT_TRUE(sim_.received_lines().empty());
}

TEST_F(CommandsPrograms, WaypointsRoundTrip) {
    ASSERT_EQ(zq_add_global_waypoint(arm_, waypoint("home", 10.5f)), 0);
    const std::string line = sim_.received_lines().front();
    const std::string head = R"({"command":"add_global_waypoint","point_name":"home","joint":[10500,0,0,0,0,-12500],)"
                                   R"("pose":[250000,0,500000,3100,0,-1500],"work_frame":"Base","tool_frame":"Flange","time":")";
    EXPECT_EQ(line.substr(0, head.size()), head);
    EXPECT_NE(line.find(R"(","create_time":")"), std::string::npos);
    EXPECT_EQ(zq_add_global_waypoint(arm_, waypoint("home", 1)), 1);  // exists
    ASSERT_EQ(zq_update_global_waypoint(arm_, waypoint("home", -20.25f)), 0);
    ASSERT_EQ(zq_add_global_waypoint(arm_, waypoint("away", 0)), 0);

    zq_waypoint_t w{};
    ASSERT_EQ(zq_get_given_global_waypoint(arm_, "home", &w), 0);
    EXPECT_FLOAT_EQ(w.joint[0], -20.25f);
    EXPECT_FLOAT_EQ(w.pose.euler.rx, 3.1f);
    EXPECT_STREQ(w.tool_frame, "Flange");
    EXPECT_EQ(std::strlen(w.time), 19u);
    EXPECT_EQ(zq_get_given_global_waypoint(arm_, "nowhere", &w), 1);

    std::unique_ptr<zq_waypoint_list_t> list(new zq_waypoint_list_t());
    ASSERT_EQ(zq_get_global_waypoints_list(arm_, 1, 10, "wa", list.get()), 0);
    EXPECT_EQ(list->list_len, 1);
    EXPECT_STREQ(list->points_list[0].point_name, "away");
    ASSERT_EQ(zq_delete_global_waypoint(arm_, "home"), 0);
    ASSERT_EQ(zq_get_global_waypoints_list(arm_, 1, 10, nullptr, list.get()), 0);
    EXPECT_EQ(list->total_size, 1);

    sim_.clear_received();
    EXPECT_EQ(zq_add_global_waypoint(arm_, waypoint("", 0)), -2);
    EXPECT_EQ(zq_delete_global_waypoint(arm_, nullptr), -2);
    EXPECT_EQ(zq_get_given_global_waypoint(arm_, "x", nullptr), -3);
    zq_waypoint_t nan_point = waypoint("n", 0);
    nan_point.joint[1] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(zq_add_global_waypoint(arm_, nan_point), -4);
    EXPECT_TRUE(sim_.received_lines().empty());
}

TEST_F(CommandsPrograms, ToolActionsAndTrajectoryFiles) {
    int pos[3] = {100, 200, 300};
    ASSERT_EQ(zq_save_tool_action(arm_, "wave", pos, 3, 0), 0);
    EXPECT_EQ(sim_.received_lines().front(), R"({"command":"save_tool_action","name":"wave","hand_pos":[100,200,300]})");
    ASSERT_EQ(zq_update_tool_action(arm_, "wave", "wave2", pos, 2, 1), 0);
    std::unique_ptr<zq_tool_action_list_t> list(new zq_tool_action_list_t());
    ASSERT_EQ(zq_get_tool_action_list(arm_, 1, 0, nullptr, list.get()), 0);
    ASSERT_EQ(list->list_len, 1);
    EXPECT_STREQ(list->act_list[0].name, "wave2");
    EXPECT_EQ(list->act_list[0].hand_angle[1], 200);
    EXPECT_EQ(list->act_list[0].hand_angle[2], ZQ_TOOL_ACTION_UNSET);
    EXPECT_EQ(list->act_list[0].hand_pos[0], ZQ_TOOL_ACTION_UNSET);
    EXPECT_EQ(zq_run_tool_action(arm_, "wave2"), 0);
    sim_.update([](zqsim::ArmConfig& a) { a.devices.report_device = 2; });
    EXPECT_EQ(zq_run_tool_action(arm_, "wave2"), -5);
    EXPECT_EQ(zq_delete_tool_action(arm_, "wave2"), 0);
    EXPECT_EQ(zq_save_tool_action(arm_, "x", pos, 101, 0), -4);

    ASSERT_EQ(zq_start_drag_teach(arm_, 1), 0);
    ASSERT_EQ(zq_stop_drag_teach(arm_), 0);
    ASSERT_EQ(zq_save_trajectory_file(arm_, "drag1"), 0);
    std::unique_ptr<zq_trajectory_list_t> files(new zq_trajectory_list_t());
    ASSERT_EQ(zq_get_trajectory_file_list(arm_, 1, 10, nullptr, files.get()), 0);
    EXPECT_EQ(files->tra_list[0].point_num, 25);
    EXPECT_STREQ(files->tra_list[0].create_time, "2024-05-20 10:00:00");
    EXPECT_EQ(zq_set_run_trajectory(arm_, "drag1"), 0);
    EXPECT_EQ(zq_delete_trajectory_file(arm_, "drag1"), 0);
    EXPECT_EQ(zq_delete_trajectory_file(arm_, "drag1"), 1);
}

// The saved file holds every pushed point line as it came, CR LF ended.
TEST_F(CommandsPrograms, SaveTrajectoryWritesThePoints) {
    const std::string path = dir_ + "/drag.txt";
    int points = -1;
    EXPECT_EQ(zq_save_trajectory(arm_, (dir_ + "/no/such/dir/x.txt").c_str(), &points), -4);
    EXPECT_EQ(zq_save_trajectory(arm_, path.c_str(), &points), -5);  // nothing recorded
    EXPECT_EQ(zq_save_trajectory(arm_, path.c_str(), nullptr), -4);
    if (zqtest::mode() == ZQ_SINGLE_THREAD_MODE) GTEST_SKIP() << "points are routed by the receive thread";
    ASSERT_EQ(zq_start_drag_teach(arm_, 1), 0);
    ASSERT_EQ(zq_stop_drag_teach(arm_), 0);
    ASSERT_EQ(zq_save_trajectory(arm_, path.c_str(), &points), 0);
    EXPECT_EQ(points, 25);
    std::string expected;
    for (int i = 0; i < 25; ++i) {
        expected += "{\"point\":[";
        for (int j = 0; j < 6; ++j) expected += std::to_string(500 * i) + (j < 5 ? "," : "");
        expected += "]}\r\n";
    }
    EXPECT_EQ(slurp(path), expected);
}

}  // namespace
