// The library's log caught in a string: start() routes warnings and errors
// into it, stop() hands the log back to standard error.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>

#include "zq_api.h"

namespace zqtest::log_capture {

inline std::mutex& mu() {
    static std::mutex m;
    return m;
}
inline std::string& text() {
    static std::string t;
    return t;
}
inline void capture(const char* fmt, va_list args) {
    char buf[512];
    std::vsnprintf(buf, sizeof buf, fmt, args);
    std::lock_guard<std::mutex> lock(mu());
    text() += buf;
}
inline void to_stderr(const char* fmt, va_list args) { std::vfprintf(stderr, fmt, args); }

inline void clear() {
    std::lock_guard<std::mutex> lock(mu());
    text().clear();
}
inline void start() { zq_set_log_call_back(capture, 2); }
inline void stop() { zq_set_log_call_back(to_stderr, 3); }
inline std::string log() {
    std::lock_guard<std::mutex> lock(mu());
    return text();
}

}  // namespace zqtest::log_capture
