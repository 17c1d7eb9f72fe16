// Electronic fences, virtual walls, tool envelopes and the collision switches against the
// simulated controller.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>

#include "test_env.h"
#include "zq_api.h"

namespace {

class CommandsSafety : public zqtest::ArmTest {
protected:
    std::string last() {
        auto lines = sim_.received_lines();
        return lines.empty() ? std::string() : lines.back();
    }
    static zq_fence_config_t cube(const char* name) {
        zq_fence_config_t f{};
        f.form = 1;
        std::snprintf(f.name, sizeof f.name, "%s", name);
        f.x_min_limit = -0.5f;
        f.x_max_limit = 0.75f;
        f.y_min_limit = -0.25f;
        f.y_max_limit = 0.25f;
        f.z_min_limit = 0.1f;
        f.z_max_limit = 1.2f;
        return f;
    }
    static zq_fence_config_t sphere(const char* name) {
        zq_fence_config_t f{};
        f.form = 3;
        std::snprintf(f.name, sizeof f.name, "%s", name);
        f.radius = 0.3f;
        f.x = 0.5f;
        f.y = -0.125f;
        f.z = 0.002f;
        return f;
    }
};

TEST_F(CommandsSafety, CubeRequestCarriesXMinUnderZMin) {
    ASSERT_EQ(zq_add_electronic_fence_config(arm_, cube("box")), 0);
    EXPECT_EQ(last(), R"({"command":"add_electronic_fence_config","form":1,"form_name":"box","x_max_limit":750,)"
                      R"("x_min_limit":-500,"y_max_limit":250,"y_min_limit":-250,"z_max_limit":1200,"z_min_limit":-500})");
    zq_fence_config_t got{};
    ASSERT_EQ(zq_get_given_electronic_fence_config(arm_, "box", &got), 0);
    EXPECT_EQ(last(), R"({"command":"given_electronic_fence_config","form_name":"box"})");
    EXPECT_STREQ(got.name, "box");
    EXPECT_FLOAT_EQ(got.x_max_limit, 0.75f);
    EXPECT_FLOAT_EQ(got.z_min_limit, -0.5f);  // the controller stored what it was sent
}

TEST_F(CommandsSafety, StoredFencesLifecycle) {
    zq_fence_config_t plane{};
    plane.form = 2;
    std::snprintf(plane.name, sizeof plane.name, "floor");
    plane.x1 = 1.0f;
    plane.y2 = 1.0f;
    plane.z3 = -0.0015f;  // -1.5 mm truncates to -1
    ASSERT_EQ(zq_add_electronic_fence_config(arm_, plane), 0);
    EXPECT_EQ(last(), R"({"command":"add_electronic_fence_config","form":2,"form_name":"floor","x1":1000,"y1":0,)"
                      R"("z1":0,"x2":0,"y2":1000,"z2":0,"x3":0,"y3":0,"z3":-1})");
    ASSERT_EQ(zq_add_electronic_fence_config(arm_, sphere("ball")), 0);
    EXPECT_EQ(last(), R"({"command":"add_electronic_fence_config","form":3,"form_name":"ball","radius":300,"x":500,)"
                      R"("y":-125,"z":2})");
    EXPECT_EQ(zq_add_electronic_fence_config(arm_, sphere("ball")), 1);

    zq_fence_names_t names[ZQ_FENCE_LIST_MAX] = {};
    int len = -1;
    ASSERT_EQ(zq_get_electronic_fence_list_names(arm_, names, &len), 0);
    ASSERT_EQ(len, 2);
    EXPECT_STREQ(names[1].name, "ball");

    zq_fence_config_list_t list{};
    ASSERT_EQ(zq_get_electronic_fence_list_infos(arm_, &list, &len), 0);
    ASSERT_EQ(len, 2);
    EXPECT_EQ(list.config[0].form, 2);
    EXPECT_FLOAT_EQ(list.config[0].z3, -0.001f);
    EXPECT_FLOAT_EQ(list.config[1].y, -0.125f);

    zq_fence_config_t s = sphere("ball");
    s.radius = 0.5f;
    ASSERT_EQ(zq_update_electronic_fence_config(arm_, s), 0);
    zq_fence_config_t got{};
    ASSERT_EQ(zq_get_given_electronic_fence_config(arm_, "ball", &got), 0);
    EXPECT_FLOAT_EQ(got.radius, 0.5f);
    ASSERT_EQ(zq_delete_electronic_fence_config(arm_, "ball"), 0);
    EXPECT_EQ(last(), R"({"command":"delete_electronic_fence_config","form_name":"ball"})");
    EXPECT_EQ(zq_get_given_electronic_fence_config(arm_, "ball", &got), 1);
    EXPECT_EQ(zq_update_electronic_fence_config(arm_, s), 1);
}

TEST_F(CommandsSafety, ListRepliesAreBoundedAndChecked) {
    zq_fence_names_t names[ZQ_FENCE_LIST_MAX];
    std::memset(names, 'x', sizeof names);
    int len = -1;
    sim_.set_reply("get_electronic_fence_list_names",
                   R"({"command":"get_electronic_fence_list_names","name_list":["abcdefghijkl","abcdefghijklmnop"]})", 1);
    ASSERT_EQ(zq_get_electronic_fence_list_names(arm_, names, &len), 0);
    EXPECT_EQ(std::string(names[0].name, 12), "abcdefghijkl");  // full, no terminator
    EXPECT_EQ(std::string(names[1].name, 12), "abcdefghijkl");
    EXPECT_EQ(names[2].name[0], 'x');

    std::string many = R"({"command":"get_electronic_fence_list_names","name_list":[)";
    for (int i = 0; i < ZQ_FENCE_LIST_MAX + 5; ++i) many += std::string(i ? "," : "") + "\"f\"";
    sim_.set_reply("get_electronic_fence_list_names", many + "]}", 1);
    ASSERT_EQ(zq_get_electronic_fence_list_names(arm_, names, &len), 0);
    EXPECT_EQ(len, ZQ_FENCE_LIST_MAX);
    sim_.set_reply("get_electronic_fence_list_names", R"({"command":"get_electronic_fence_list_names"})", 1);
    EXPECT_EQ(zq_get_electronic_fence_list_names(arm_, names, &len), -3);

    zq_fence_config_list_t list{};
    sim_.set_reply("get_electronic_fence_list_infos", R"({"command":"get_electronic_fence_list_infos","info_list":[)"
                                                      R"({"form":3,"form_name":"s","radius":1,"x":2,"y":"3","z":4}]})", 1);
    EXPECT_EQ(zq_get_electronic_fence_list_infos(arm_, &list, &len), -3);
    sim_.set_reply("get_electronic_fence_list_infos", R"({"command":"get_electronic_fence_list_infos","info_list":[)"
                                                      R"({"form":7,"form_name":"odd"}]})", 1);
    ASSERT_EQ(zq_get_electronic_fence_list_infos(arm_, &list, &len), 0);
    EXPECT_EQ(list.config[0].form, 7);
    EXPECT_STREQ(list.config[0].name, "odd");
}

TEST_F(CommandsSafety, FormsEachCommandTakes) {
    zq_fence_config_t bad = cube("x");
    bad.form = 4;
    EXPECT_EQ(zq_add_electronic_fence_config(arm_, bad), -4);
    EXPECT_EQ(zq_update_electronic_fence_config(arm_, bad), -4);
    EXPECT_EQ(zq_set_electronic_fence_config(arm_, sphere("s")), -4);
    EXPECT_TRUE(sim_.received_lines().empty());

    bad.form = 9;
    EXPECT_EQ(zq_set_electronic_fence_config(arm_, bad), 1);
    EXPECT_EQ(last(), R"({"command":"set_electronic_fence_config","form":9})");
    zq_fence_config_t plane{};
    plane.form = 2;
    EXPECT_EQ(zq_set_virtual_wall_config(arm_, plane), 1);  // logged, still exchanged
    EXPECT_EQ(last(), R"({"command":"set_virtual_wall_config","form":2})");

    ASSERT_EQ(zq_set_virtual_wall_config(arm_, sphere("w")), 0);
    EXPECT_EQ(last(), R"({"command":"set_virtual_wall_config","form":3,"radius":300,"x":500,"y":-125,"z":2})");
    zq_fence_config_t wall{};
    ASSERT_EQ(zq_get_virtual_wall_config(arm_, &wall), 0);
    EXPECT_FLOAT_EQ(wall.radius, 0.3f);

    zq_fence_config_t fence{};
    EXPECT_EQ(zq_get_electronic_fence_config(arm_, &fence), 1);  // none set yet
    ASSERT_EQ(zq_set_electronic_fence_config(arm_, cube("ignored")), 0);
    EXPECT_EQ(last(), R"({"command":"set_electronic_fence_config","form":1,"x_max_limit":750,"x_min_limit":-500,)"
                      R"("y_max_limit":250,"y_min_limit":-250,"z_max_limit":1200,"z_min_limit":-500})");
    ASSERT_EQ(zq_get_electronic_fence_config(arm_, &fence), 0);
    EXPECT_FLOAT_EQ(fence.y_min_limit, -0.25f);

    // The fence in force has no sphere branch: only the form comes back.
    sim_.set_reply("get_electronic_fence_config",
                   R"({"command":"get_electronic_fence_config","form":3,"radius":100,"x":1,"y":2,"z":3})", 1);
    fence.radius = 9.0f;
    ASSERT_EQ(zq_get_electronic_fence_config(arm_, &fence), 0);
    EXPECT_EQ(fence.form, 3);
    EXPECT_FLOAT_EQ(fence.radius, 9.0f);
}

TEST_F(CommandsSafety, NonFiniteOrHugeCoordinatesAreRefused) {
    const float bad[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 3.0e6f};
    for (float v : bad) {
        zq_fence_config_t c = cube("c");
        c.y_max_limit = v;
        EXPECT_EQ(zq_add_electronic_fence_config(arm_, c), -4);
        zq_fence_config_t s = sphere("s");
        s.radius = v;
        EXPECT_EQ(zq_set_virtual_wall_config(arm_, s), -4);
        zq_envelope_balls_list_t e{};
        e.size = 1;
        e.balls[0].z = v;
        EXPECT_EQ(zq_set_tool_envelope(arm_, e), -4);
    }
    zq_electronic_fence_enable_t en;
    bool b;
    int mode;
    EXPECT_EQ(zq_delete_electronic_fence_config(arm_, nullptr), -4);
    EXPECT_EQ(zq_get_given_electronic_fence_config(arm_, "x", nullptr), -4);
    EXPECT_EQ(zq_get_electronic_fence_list_names(arm_, nullptr, &mode), -4);
    EXPECT_EQ(zq_get_virtual_wall_enable(arm_, nullptr), -4);
    EXPECT_EQ(zq_get_self_collision_enable(arm_, nullptr), -4);
    EXPECT_EQ(zq_get_collision_detection(arm_, nullptr), -4);
    EXPECT_EQ(zq_get_tool_envelope(arm_, nullptr, nullptr), -4);
    (void)en;
    (void)b;
    EXPECT_TRUE(sim_.received_lines().empty());
}

TEST_F(CommandsSafety, EnablesAndSwitches) {
    ASSERT_EQ(zq_set_electronic_fence_enable(arm_, zq_electronic_fence_enable_t{true, 1, 0}), 0);
    EXPECT_EQ(last(), R"({"command":"set_electronic_fence_enable","set_enable":true,"in_out_side":1,"effective_region":0})");
    zq_electronic_fence_enable_t en{};
    ASSERT_EQ(zq_get_electronic_fence_enable(arm_, &en), 0);
    EXPECT_TRUE(en.enable_state);
    EXPECT_EQ(en.in_out_side, 1);
    ASSERT_EQ(zq_set_virtual_wall_enable(arm_, zq_electronic_fence_enable_t{false, 0, 1}), 0);
    ASSERT_EQ(zq_get_virtual_wall_enable(arm_, &en), 0);
    EXPECT_FALSE(en.enable_state);
    EXPECT_EQ(en.effective_region, 1);

    bool on = true;
    ASSERT_EQ(zq_set_self_collision_enable(arm_, false), 0);
    EXPECT_EQ(last(), R"({"command":"set_self_collision_enable","set_enable":false})");
    ASSERT_EQ(zq_get_self_collision_enable(arm_, &on), 0);
    EXPECT_FALSE(on);
    ASSERT_EQ(zq_set_collision_remove_enable(arm_, true), 0);
    ASSERT_EQ(zq_get_collision_remove_enable(arm_, &on), 0);
    EXPECT_TRUE(on);

    int mode = -1;
    ASSERT_EQ(zq_set_collision_detection(arm_, 2), 0);
    EXPECT_EQ(last(), R"({"command":"set_collision_detection","mode":2})");
    ASSERT_EQ(zq_get_collision_detection(arm_, &mode), 0);
    EXPECT_EQ(mode, 2);
    ASSERT_EQ(zq_set_avoid_singularity_mode(arm_, 1), 0);
    ASSERT_EQ(zq_get_avoid_singularity_mode(arm_, &mode), 0);
    EXPECT_EQ(mode, 1);
}

TEST_F(CommandsSafety, ToolEnvelope) {
    zq_envelope_balls_list_t e{};
    std::snprintf(e.tool_name, sizeof e.tool_name, "Flange");
    e.size = 2;
    e.balls[0] = zq_envelope_ball_t{"tip", 0.05f, 0.0f, 0.0f, 0.125f};
    e.balls[1] = zq_envelope_ball_t{"body", 0.08f, -0.01f, 0.02f, 0.0625f};
    ASSERT_EQ(zq_set_tool_envelope(arm_, e), 0);
    const std::string sent = last();
    EXPECT_NE(sent.find('\n'), std::string::npos);  // formatted over several lines, one CR LF at the end
    EXPECT_EQ(sent.find('\r'), std::string::npos);
    EXPECT_NE(sent.find("\"radius\":\t80"), std::string::npos);
    EXPECT_NE(sent.find("\"x\":\t-10"), std::string::npos);

    zq_envelope_balls_list_t got{};
    ASSERT_EQ(zq_get_tool_envelope(arm_, "Flange", &got), 0);
    EXPECT_EQ(last(), R"({"command":"get_tool_envelope","tool_name":"Flange"})");
    ASSERT_EQ(got.size, 2);
    EXPECT_STREQ(got.balls[1].name, "body");
    EXPECT_FLOAT_EQ(got.balls[1].y, 0.02f);
    EXPECT_FLOAT_EQ(got.balls[0].z, 0.125f);

    e.size = 0;
    ASSERT_EQ(zq_set_tool_envelope(arm_, e), 0);
    EXPECT_NE(last().find("\"list\":\t[]"), std::string::npos);
    std::snprintf(e.tool_name, sizeof e.tool_name, "nowhere");
    EXPECT_EQ(zq_set_tool_envelope(arm_, e), 1);
    EXPECT_EQ(zq_get_tool_envelope(arm_, "nowhere", &got), 1);
    e.size = ZQ_ENVELOPE_BALLS_MAX + 1;
    sim_.clear_received();
    EXPECT_EQ(zq_set_tool_envelope(arm_, e), -4);
    EXPECT_TRUE(sim_.received_lines().empty());
    sim_.set_reply("get_tool_envelope", "{\"command\":\"get_tool_envelope\",\"tool_name\":\"Flange\",\"list\":[{\"name\":\"a\"}]}", 1);
    EXPECT_EQ(zq_get_tool_envelope(arm_, "Flange", &got), -3);
}

}  // namespace
