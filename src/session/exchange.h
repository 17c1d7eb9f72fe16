// The common command path: request and reply tables, send, wait, parse.
#pragma once

#include <cstdint>

#include <cjson/cJSON.h>

#include "session/session.h"

extern "C" {

// A fixed underlying type: a table entry of an unknown kind is a value to
// refuse, not undefined behaviour.
typedef enum : int32_t {
    ZQ_VALUE_STRING = 0,
    ZQ_VALUE_INT = 1,
    ZQ_VALUE_INT_ARRAY = 2,
    ZQ_VALUE_BOOL = 3,
    ZQ_VALUE_JSON = 4
} zq_value_type_e;

// One entry of a request table. A null key makes the sender skip the entry.
typedef struct {
    zq_value_type_e type;
    const char* key;
    int32_t count;
    union {
        const char* str;
        int32_t i;
        const int32_t* arr;
        cJSON* json;  // taken over by the request
    } value;
} zq_send_value_t;

constexpr int ZQ_KEY_VALUE_TEXT = 400;
constexpr int ZQ_KEY_VALUE_INTS = ZQ_KEY_VALUE_TEXT / 4;

// One entry of a reply table; the caller zeroes the value area.
typedef struct {
    zq_value_type_e type;
    const char* key;
    int32_t count;
    union {
        char str[ZQ_KEY_VALUE_TEXT];
        int32_t i;
        int32_t arr[ZQ_KEY_VALUE_INTS];
        uint8_t b;
        cJSON* json;  // a private copy, deleted by the caller
    } value;
} zq_key_value_t;

int zq_send_request(const char* function_name, zq::zq_robot_session* session, const zq_send_value_t* values,
                    int count);
int zq_wait_reply(const char* function_name, zq::zq_robot_session* session, const char* reply_key, char* out,
                  int capacity, int timeout_ms);
// values and reply key given: send and wait (the normal command).
// values given, reply key null: send, sleep the time-out, return 0.
// values null, reply key given: only wait (pushed messages).
// Returns the reply length (> 0), -1 unknown handle or send failure, -2 no reply.
int zq_command_exchange(const char* function_name, zq_robot_handle* handle, const zq_send_value_t* values,
                        int count, const char* reply_key, char* out, int capacity, int timeout_ms);
int zq_parse_reply(const char* function_name, const char* text, zq_key_value_t* table, int count);
int zq_parse_state(const char* function_name, const char* text, const char* key);
int zq_get_data_common(zq_robot_handle* handle, int* value, const char* command, const char* key);
int zq_set_common(zq_robot_handle* handle, int value, const char* command, const char* key);

// Code-page helpers for global waypoint names; the caller frees with free().
char* utf8_to_gbk(const char* text);
char* gbk_to_utf8(const char* text);
}

namespace zq {

// Request-table builders, so a command reads as its row.
inline zq_send_value_t send_str(const char* key, const char* v) {
    zq_send_value_t e{};
    e.type = ZQ_VALUE_STRING;
    e.key = key;
    e.value.str = v;
    return e;
}
inline zq_send_value_t send_int(const char* key, int32_t v) {
    zq_send_value_t e{};
    e.type = ZQ_VALUE_INT;
    e.key = key;
    e.value.i = v;
    return e;
}
inline zq_send_value_t send_ints(const char* key, const int32_t* v, int32_t n) {
    zq_send_value_t e{};
    e.type = ZQ_VALUE_INT_ARRAY;
    e.key = key;
    e.count = n;
    e.value.arr = v;
    return e;
}
inline zq_send_value_t send_bool(const char* key, bool v) {
    zq_send_value_t e{};
    e.type = ZQ_VALUE_BOOL;
    e.key = key;
    e.value.i = v ? 1 : 0;
    return e;
}
inline zq_send_value_t send_json(const char* key, cJSON* v) {
    zq_send_value_t e{};
    e.type = ZQ_VALUE_JSON;
    e.key = key;
    e.value.json = v;
    return e;
}
inline zq_key_value_t reply_entry(zq_value_type_e type, const char* key, int32_t count = 0) {
    zq_key_value_t e{};
    e.type = type;
    e.key = key;
    e.count = count;
    return e;
}

// Wire scaling, truncating toward zero. A value that no 32-bit integer holds
// saturates (NaN gives 0); commands refuse such caller input beforehand.
inline int32_t saturate_int32(double x) {
    if (!(x == x)) return 0;
    if (x >= 2147483647.0) return 2147483647;
    if (x <= -2147483648.0) return -2147483647 - 1;
    return static_cast<int32_t>(x);
}
inline int32_t scale_double(float v, double factor) { return saturate_int32(static_cast<double>(v) * factor); }
inline int32_t scale_single(float v, float factor) { return saturate_int32(static_cast<double>(v * factor)); }
inline float unscale(int32_t v, float factor) { return static_cast<float>(v) / factor; }

}  // namespace zq
