// Global waypoint names in the caller's narrow code page: given in GBK (code
// page 936), they travel as UTF-8 and come back in GBK; a name that is no
// text of the code page is refused before anything is sent. These need a
// process whose narrow code page is 936 (on Windows, the ANSI code page of
// a Chinese locale; elsewhere a zh_CN.GBK locale) and are skipped otherwise.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <cstring>
#include <string>

#include "platform/platform.h"
#include "test_env.h"
#include "zq_api.h"

namespace {

// "测试点" ("test point") in GBK and in UTF-8.
const char kGbkName[] = "\xB2\xE2\xCA\xD4\xB5\xE3";
const char kUtf8Name[] = "\xE6\xB5\x8B\xE8\xAF\x95\xE7\x82\xB9";

// The narrow code page of the environment's locale; the library itself
// never changes the locale, the application does.
std::string environment_code_page() {
    static const std::string name = [] {
        std::setlocale(LC_CTYPE, "");
        return std::string(zq::platform::narrow_code_page_name());
    }();
    return name;
}

bool is_code_page_936(const std::string& name) { return name == "CP936" || name == "GBK"; }

zq_waypoint_t waypoint(const char* name) {
    zq_waypoint_t w{};
    std::snprintf(w.point_name, sizeof w.point_name, "%s", name);
    std::snprintf(w.work_frame, sizeof w.work_frame, "Base");
    std::snprintf(w.tool_frame, sizeof w.tool_frame, "Flange");
    w.joint[0] = 12.5f;
    w.pose.position.z = 0.4f;
    return w;
}

class CommandsCodePage : public zqtest::ArmTest {
protected:
    void SetUp() override {
        const std::string code_page = environment_code_page();
        if (!is_code_page_936(code_page))
            GTEST_SKIP() << "needs the narrow code page 936 (GBK); this process has " << code_page;
        ArmTest::SetUp();
    }
};

TEST_F(CommandsCodePage, GbkNameTravelsAsUtf8AndComesBackInGbk) {
    ASSERT_EQ(zq_add_global_waypoint(arm_, waypoint(kGbkName)), 0);
    ASSERT_FALSE(sim_.received_lines().empty());
    const std::string line = sim_.received_lines().front();
    EXPECT_NE(line.find(std::string("\"point_name\":\"") + kUtf8Name + "\""), std::string::npos) << line;
    EXPECT_EQ(line.find(kGbkName), std::string::npos);

    zq_waypoint_t got{};
    ASSERT_EQ(zq_get_given_global_waypoint(arm_, kGbkName, &got), 0);
    EXPECT_STREQ(got.point_name, kGbkName);
    EXPECT_FLOAT_EQ(got.joint[0], 12.5f);
    EXPECT_NE(sim_.received_lines().back().find(kUtf8Name), std::string::npos);

    ASSERT_EQ(zq_delete_global_waypoint(arm_, kGbkName), 0);
    EXPECT_EQ(zq_get_given_global_waypoint(arm_, kGbkName, &got), 1);  // gone
}

// Byte sequences that are no GBK text: a lead byte at the end, a lead byte
// with a trail byte out of range, and a byte that is no character at all.
TEST_F(CommandsCodePage, NameOutsideTheCodePageIsRefusedBeforeSending) {
    for (const char* bad : {"ab\x81", "\x81\x7F" "ab", "a\xFF"}) {
        SCOPED_TRACE(testing::PrintToString(std::string(bad)));
        sim_.clear_received();
        zq_waypoint_t got{};
        EXPECT_EQ(zq_add_global_waypoint(arm_, waypoint(bad)), -2);
        EXPECT_EQ(zq_update_global_waypoint(arm_, waypoint(bad)), -2);
        EXPECT_EQ(zq_delete_global_waypoint(arm_, bad), -2);
        EXPECT_EQ(zq_get_given_global_waypoint(arm_, bad, &got), -2);
        EXPECT_TRUE(sim_.received_lines().empty());
    }
}

}  // namespace
