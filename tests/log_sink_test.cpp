// The level-aware log sink beside the plain one, and the texts of the return codes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/log.h"
#include "zq/arm.hpp"
#include "zq_api.h"

namespace {

struct Seen {
    std::mutex mu;
    std::vector<std::pair<int, std::string>> lines;
};

void level_sink(zq_log_level_e level, const char* line, void* user) {
    Seen* s = static_cast<Seen*>(user);
    std::lock_guard<std::mutex> lock(s->mu);
    s->lines.emplace_back(static_cast<int>(level), line);
}

std::string g_plain;
void plain_sink(const char* fmt, va_list args) {
    char buf[256];
    std::vsnprintf(buf, sizeof buf, fmt, args);
    g_plain += buf;
}

class LogSink : public ::testing::Test {
protected:
    void TearDown() override { zq_set_log_call_back(nullptr, 3); }  // the default sink again
};

TEST_F(LogSink, LinesArriveFormattedWithTheirLevelAndTheUserPointer) {
    Seen seen;
    zq_set_log_sink(level_sink, ZQ_LOG_INFO, &seen);
    zq::log_debug("[f] hidden %d\n", 0);
    zq::log_info("[f] info %d\n", 1);
    zq::log_warning("[f] warn %s\n", "w");
    zq::log_error("[f] error %.1f\n", 2.5);
    const std::vector<std::pair<int, std::string>> want = {
        {ZQ_LOG_INFO, "[f] info 1\n"}, {ZQ_LOG_WARNING, "[f] warn w\n"}, {ZQ_LOG_ERROR, "[f] error 2.5\n"}};
    EXPECT_EQ(seen.lines, want);
}

TEST_F(LogSink, LongLinesAreCutAndTheOtherSinksReplaceIt) {
    Seen seen;
    zq_set_log_sink(level_sink, ZQ_LOG_ERROR, &seen);
    const std::string long_text(5000, 'x');
    zq::log_error("%s", long_text.c_str());
    ASSERT_EQ(seen.lines.size(), 1u);
    EXPECT_EQ(seen.lines[0].second, std::string(1023, 'x'));
    // The plain sink takes over and the level sink hears nothing more.
    g_plain.clear();
    zq_set_log_call_back(plain_sink, ZQ_LOG_ERROR);
    zq::log_error("[g] plain %d\n", 7);
    EXPECT_EQ(g_plain, "[g] plain 7\n");
    EXPECT_EQ(seen.lines.size(), 1u);
    // A null sink is the default one, not a crash.
    zq_set_log_sink(nullptr, ZQ_LOG_ERROR, &seen);
    zq::log_debug("[g] below the level\n");
    EXPECT_EQ(seen.lines.size(), 1u);
}

TEST(ResultText, EveryCommandAndControllerCodeHasItsOwnTextAndOthersAreUnknown) {
    const std::string unknown = zq_strerror(-12345);
    EXPECT_EQ(unknown, "unknown return code");
    EXPECT_EQ(std::string(zq_strerror(-2)), "no reply within the time-out");
    std::vector<std::string> texts;
    for (int code = -7; code <= 1; ++code) {
        const std::string t = zq_strerror(code);
        EXPECT_NE(t, unknown) << code;
        for (const std::string& other : texts) EXPECT_NE(t, other) << code;
        texts.push_back(t);
    }
    EXPECT_EQ(std::string(zq_strerror(-8)), unknown);
    // Above 1: codes of the arm's error list, never a command's text.
    for (int code : {2, 0x5001, 0x6101, 0x6102, 0x6201}) {
        const std::string t = zq_strerror(code);
        EXPECT_EQ(t.rfind("controller error", 0), 0u) << code;
        EXPECT_EQ(std::find(texts.begin(), texts.end(), t), texts.end()) << code;
    }
    EXPECT_NE(std::string(zq_strerror(0x6101)), zq_strerror(0x6102));
    EXPECT_EQ(std::string(zq::Error::text(0x6201)), zq_strerror(0x6201));
}

}  // namespace
