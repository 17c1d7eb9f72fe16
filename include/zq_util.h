/**
 * @file zq_util.h
 * @brief Log lines with their level, and the text of a return code.
 *
 * Included by zq_api.h; compiles as C11 and as C++.
 */
#ifndef ZQ_UTIL_H
#define ZQ_UTIL_H

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup util Utilities
 * @brief Logging and small helpers.
 * @{
 */

/** Severity of a log line. A line passes when the stored level is at most its own. */
typedef enum {
    ZQ_LOG_DEBUG = 0,   /**< the exchange in detail: requests, replies, ports */
    ZQ_LOG_INFO = 1,    /**< connections, threads, realtime ports */
    ZQ_LOG_WARNING = 2, /**< arguments corrected or ignored, replies of unexpected shape */
    ZQ_LOG_ERROR = 3    /**< failed calls; the default level */
} zq_log_level_e;

/**
 * @brief A log sink that knows the level of each line.
 * @param level the line's severity.
 * @param line  the formatted line, ended by its newline as the library wrote it; at most
 *              1023 characters (longer lines are cut). Valid during the call only.
 * @param user  the pointer given to zq_set_log_sink().
 *
 * Runs on whichever thread logs (caller, receive thread, UDP thread), possibly on several
 * at once: it must be thread-safe and should return quickly. It must not call
 * zq_set_log_sink(), zq_set_log_call_back() or zq_set_log_save().
 */
typedef void (*zq_log_sink_t)(zq_log_level_e level, const char* line, void* user);

/**
 * @brief Routes log lines to `sink` with their level, and sets the level that passes.
 * @param sink  the new sink; NULL restores the default sink (standard error).
 * @param level lines of this severity and above pass (0 debug ... 3 error; the default is 3).
 * @param user  handed to every call of `sink` as it is.
 *
 * Replaces the sink of zq_set_log_call_back() and the log file of zq_set_log_save(); either
 * of those replaces this sink in turn. Thread-safe; lines being written while the sink
 * changes go to the old or the new sink. Any controller generation, any thread mode, before
 * or after zq_init().
 */
ZQ_API void zq_set_log_sink(zq_log_sink_t sink, int level, void* user);

/**
 * @brief The text of a command's return code.
 * @param code a return code of a controller command or move (1, 0, -1 ... -7), or a code of
 *             the arm's error list (above 1, e.g. 0x6101).
 * @return a static, NUL-terminated English text, e.g. "no reply within the time-out" for
 *         -2; a controller error's text for a code above 1; "unknown return code" for any
 *         other value. Never NULL. Thread-safe.
 *
 * The solvers (zq_algo_*) use some of the same numbers with their own meanings; see their
 * documentation.
 */
ZQ_API const char* zq_strerror(int code);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZQ_UTIL_H */
