// The library's log: four levels, one sink, an optional file.
#pragma once

#include <cstdarg>

#if defined(__GNUC__)
#define ZQ_PRINTF(a, b) __attribute__((format(printf, a, b)))
#else
#define ZQ_PRINTF(a, b)
#endif

namespace zq {

void log_debug(const char* fmt, ...) ZQ_PRINTF(1, 2);    // level 0
void log_info(const char* fmt, ...) ZQ_PRINTF(1, 2);     // level 1
void log_warning(const char* fmt, ...) ZQ_PRINTF(1, 2);  // level 2
void log_error(const char* fmt, ...) ZQ_PRINTF(1, 2);    // level 3
bool log_enabled(int level);

}  // namespace zq
