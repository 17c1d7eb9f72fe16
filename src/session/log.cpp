// Log levels, sinks and the log file.
#include "session/log.h"

#include <atomic>
#include <cerrno>
#include <cstdio>

#include "platform/platform.h"
#include "zq_api.h"

namespace zq {
namespace {

void stderr_sink(const char* fmt, va_list args) { std::vfprintf(stderr, fmt, args); }

// The sink in a record of its own: some systems' va_list carries attributes
// that a template argument would drop.
struct LogCallback {
    zq_log_callback_t fn;
};
std::atomic<LogCallback> g_sink{LogCallback{stderr_sink}};
std::atomic<int> g_level{3};
platform::Mutex g_file_lock;
// The sink of zq_set_log_sink: while set, it takes every line instead of g_sink.
platform::Mutex g_level_sink_lock;
zq_log_sink_t g_level_sink = nullptr;  // guarded by g_level_sink_lock
void* g_level_sink_user = nullptr;     // guarded by g_level_sink_lock
std::atomic<bool> g_level_sink_on{false};
FILE* g_file = nullptr;  // guarded by g_file_lock

void format_time(char* out, size_t cap) {
    platform::LocalTime t = platform::local_time();
    std::snprintf(out, cap, "%04d-%02d-%02d %02d_%02d_%02d", t.year, t.month, t.day, t.hour, t.minute, t.second);
}

void file_sink(const char* fmt, va_list args) {
    if (!fmt) {
        std::fputs("Error: message is a null pointer\n", stderr);
        return;
    }
    char text[1024];
    std::vsnprintf(text, sizeof text, fmt, args);
    char stamp[64];
    format_time(stamp, sizeof stamp);
    std::lock_guard<platform::Mutex> lock(g_file_lock);
    if (!g_file) return;
    std::fprintf(g_file, "[%s]: %s\n", stamp, text);
    std::fflush(g_file);
}

void clear_level_sink() {
    std::lock_guard<platform::Mutex> lock(g_level_sink_lock);
    g_level_sink = nullptr;
    g_level_sink_user = nullptr;
    g_level_sink_on.store(false, std::memory_order_release);
}

void emit(int level, const char* fmt, va_list args) {
    if (!log_enabled(level)) return;
    if (g_level_sink_on.load(std::memory_order_acquire)) {
        zq_log_sink_t sink;
        void* user;
        {
            std::lock_guard<platform::Mutex> lock(g_level_sink_lock);
            sink = g_level_sink;
            user = g_level_sink_user;
        }
        if (sink) {
            char line[1024];
            std::vsnprintf(line, sizeof line, fmt ? fmt : "", args);
            sink(static_cast<zq_log_level_e>(level), line, user);
            return;
        }
    }
    zq_log_callback_t sink = g_sink.load(std::memory_order_acquire).fn;
    if (sink) sink(fmt, args);
}

}  // namespace

bool log_enabled(int level) { return g_level.load(std::memory_order_relaxed) < level + 1; }

#define ZQ_DEFINE_LOG(name, level)      \
    void name(const char* fmt, ...) {   \
        va_list args;                   \
        va_start(args, fmt);            \
        emit(level, fmt, args);         \
        va_end(args);                   \
    }
ZQ_DEFINE_LOG(log_debug, 0)
ZQ_DEFINE_LOG(log_info, 1)
ZQ_DEFINE_LOG(log_warning, 2)
ZQ_DEFINE_LOG(log_error, 3)
#undef ZQ_DEFINE_LOG

}  // namespace zq

extern "C" {

void zq_set_log_call_back(zq_log_callback_t sink, int level) {
    zq::clear_level_sink();
    zq::g_sink.store(zq::LogCallback{sink ? sink : zq::stderr_sink}, std::memory_order_release);
    zq::g_level.store(level, std::memory_order_relaxed);
}

void zq_set_log_save(const char* path) {
    FILE* f = path ? std::fopen(path, "a") : nullptr;
    if (!f) {
        if (!path) errno = EINVAL;
        // The process goes on: the call fails and the current sink stays.
        zq::platform::print_system_error("Failed to open log file");
        return;
    }
    char stamp[64];
    zq::format_time(stamp, sizeof stamp);
    std::fprintf(f, "[%s] Begin API Testing.\n", stamp);
    std::fflush(f);
    {
        std::lock_guard<zq::platform::Mutex> lock(zq::g_file_lock);
        if (zq::g_file) std::fclose(zq::g_file);
        zq::g_file = f;
    }
    zq::clear_level_sink();
    zq::g_sink.store(zq::LogCallback{zq::file_sink}, std::memory_order_release);
    zq::g_level.store(0, std::memory_order_relaxed);
}

void zq_set_log_sink(zq_log_sink_t sink, int level, void* user) {
    if (!sink) {
        zq_set_log_call_back(nullptr, level);  // the default sink
        return;
    }
    {
        std::lock_guard<zq::platform::Mutex> lock(zq::g_level_sink_lock);
        zq::g_level_sink = sink;
        zq::g_level_sink_user = user;
        zq::g_level_sink_on.store(true, std::memory_order_release);
    }
    zq::g_level.store(level, std::memory_order_relaxed);
}

}  // extern "C"
