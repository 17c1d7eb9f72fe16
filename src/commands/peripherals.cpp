// Lift and expansion axis, the register-level end-effector device, and the
// tool connector's IO and voltage.
#include <cstddef>
#include <cstring>

#include "session/catalogue.h"
#include "motion/completion.h"
#include "motion/device_wait.h"
#include "platform/log.h"
#include "zq_api.h"

namespace zq {
namespace {

// ---- lift and expansion axis ----------------------------------------------------

struct AxisRow {
    const char* fn;
    const char* command;
    const char* target_key;  // "height" or "pos"
    const char* result_key;
    int device;
    bool wait_after_refusal;  // a refused move still waits for the report
    int (*query)(zq_robot_handle*, zq_expand_state_t*);
};

const AxisRow kLift{"zq_set_lift_height", "set_lift_height", "height", "set_state", motion::kLift, true,
                    zq_get_lift_state};
const AxisRow kExpand{"zq_set_expand_pos", "expand_set_pos", "pos", "set_pos_state", motion::kExpand, false,
                      zq_get_expand_state};

int axis_move(const AxisRow& row, zq_robot_handle* handle, int speed, int target, int block) {
    zq_send_value_t values[] = {send_str("command", row.command), send_int("speed", speed),
                                send_int(row.target_key, target), send_bool("block", block != 0)};
    char out[cat::kReplyBuffer] = {0};
    const int n = zq_command_exchange(row.fn, handle, values, 4, row.command, out, sizeof out, query_timeout());
    if (n < 1) return n;
    const int rc = zq_parse_state(row.fn, out, row.result_key);
    if (block == 0 || (rc != 0 && !row.wait_after_refusal)) return rc;
    if (thread_mode() == ZQ_SINGLE_THREAD_MODE) return zq_movecmd_singlemode_parse(handle, block, row.device);
    return motion::wait_axis(row.fn, handle, row.device, row.query);
}

int axis_state(const char* fn, const char* command, const char* reply_key, const char* pos_key,
               zq_robot_handle* handle, zq_expand_state_t* state) {
    if (!state) return -4;
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_INT, pos_key), reply_entry(ZQ_VALUE_INT, "current"),
                              reply_entry(ZQ_VALUE_INT, "err_flag"), reply_entry(ZQ_VALUE_INT, "mode")};
    const int rc = cat::get(fn, handle, command, reply_key, table, 4, query_timeout());
    if (rc != 0) return rc;
    *state = zq_expand_state_t{table[0].value.i, table[1].value.i, table[2].value.i, table[3].value.i};
    return 0;
}

int one_key_set(const char* fn, const char* command, const char* key, const char* reply_key, const char* result_key,
                zq_robot_handle* handle, int value) {
    zq_send_value_t values[] = {send_str("command", command), send_int(key, value)};
    return cat::set(fn, handle, values, 2, reply_key, result_key, query_timeout());
}

// ---- the end-effector device's records, read by hand ----------------------------

enum class Field { kInt, kText, kInts, kUints, kFlag };

struct FieldRow {
    const char* key;
    Field kind;
    std::size_t offset;
    std::size_t size;  // bytes of the field
};

#define ZQ_FIELD(rec, name, kind) {#name, kind, offsetof(rec, name), sizeof(rec::name)}

const FieldRow kBaseInfo[] = {
    ZQ_FIELD(zq_plus_base_info_t, manu, Field::kText),       ZQ_FIELD(zq_plus_base_info_t, type, Field::kInt),
    ZQ_FIELD(zq_plus_base_info_t, hv, Field::kText),         ZQ_FIELD(zq_plus_base_info_t, sv, Field::kText),
    ZQ_FIELD(zq_plus_base_info_t, bv, Field::kText),         ZQ_FIELD(zq_plus_base_info_t, id, Field::kInt),
    ZQ_FIELD(zq_plus_base_info_t, dof, Field::kInt),         ZQ_FIELD(zq_plus_base_info_t, check, Field::kInt),
    ZQ_FIELD(zq_plus_base_info_t, bee, Field::kInt),         ZQ_FIELD(zq_plus_base_info_t, force, Field::kFlag),
    ZQ_FIELD(zq_plus_base_info_t, touch, Field::kFlag),      ZQ_FIELD(zq_plus_base_info_t, touch_num, Field::kInt),
    ZQ_FIELD(zq_plus_base_info_t, touch_sw, Field::kInt),    ZQ_FIELD(zq_plus_base_info_t, hand, Field::kInt),
    ZQ_FIELD(zq_plus_base_info_t, pos_up, Field::kInts),     ZQ_FIELD(zq_plus_base_info_t, pos_low, Field::kInts),
    ZQ_FIELD(zq_plus_base_info_t, angle_up, Field::kInts),   ZQ_FIELD(zq_plus_base_info_t, angle_low, Field::kInts),
    ZQ_FIELD(zq_plus_base_info_t, speed_up, Field::kInts),   ZQ_FIELD(zq_plus_base_info_t, speed_low, Field::kInts),
    ZQ_FIELD(zq_plus_base_info_t, force_up, Field::kInts),   ZQ_FIELD(zq_plus_base_info_t, force_low, Field::kInts),
};

const FieldRow kStateInfo[] = {
    ZQ_FIELD(zq_plus_state_info_t, sys_state, Field::kInt),
    ZQ_FIELD(zq_plus_state_info_t, dof_state, Field::kInts),
    ZQ_FIELD(zq_plus_state_info_t, dof_err, Field::kInts),
    ZQ_FIELD(zq_plus_state_info_t, pos, Field::kInts),
    ZQ_FIELD(zq_plus_state_info_t, speed, Field::kInts),
    ZQ_FIELD(zq_plus_state_info_t, angle, Field::kInts),
    ZQ_FIELD(zq_plus_state_info_t, current, Field::kInts),
    ZQ_FIELD(zq_plus_state_info_t, normal_force, Field::kInts),
    ZQ_FIELD(zq_plus_state_info_t, tangential_force, Field::kInts),
    ZQ_FIELD(zq_plus_state_info_t, tangential_force_dir, Field::kInts),
    ZQ_FIELD(zq_plus_state_info_t, tsa, Field::kUints),
    ZQ_FIELD(zq_plus_state_info_t, tma, Field::kUints),
    ZQ_FIELD(zq_plus_state_info_t, touch_data, Field::kInts),
    ZQ_FIELD(zq_plus_state_info_t, force, Field::kInts),
};

#undef ZQ_FIELD

// A missing number reads -1 and a non-number -3; neither fails the record.
int32_t number_field(const cJSON* item) {
    if (!item) return -1;
    return cJSON_IsNumber(item) ? item->valueint : -3;
}

// Fills one field of `rec`; false when a required text is missing.
bool read_field(const FieldRow& f, const cJSON* obj, unsigned char* rec) {
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(obj, f.key);
    unsigned char* at = rec + f.offset;
    switch (f.kind) {
        case Field::kInt: {
            const int32_t v = number_field(item);
            std::memcpy(at, &v, sizeof v);
            return true;
        }
        case Field::kFlag: {
            const bool v = number_field(item) != 0;
            std::memcpy(at, &v, sizeof v);
            return true;
        }
        case Field::kText: {
            if (!cJSON_IsString(item)) return false;
            std::memset(at, 0, f.size);
            std::strncpy(reinterpret_cast<char*>(at), item->valuestring, f.size - 1);
            return true;
        }
        case Field::kInts:
        case Field::kUints: {
            if (!cJSON_IsArray(item)) return true;
            std::size_t i = 0;
            for (const cJSON* el = item->child; el && i < f.size / 4; el = el->next, ++i) {
                if (f.kind == Field::kInts) {
                    const int32_t v = cJSON_IsNumber(el) ? el->valueint : -1;
                    std::memcpy(at + 4 * i, &v, 4);
                } else if (cJSON_IsNumber(el) && el->valuedouble >= 0 && el->valuedouble <= 4294967295.0) {
                    const uint32_t v = static_cast<uint32_t>(el->valuedouble);
                    std::memcpy(at + 4 * i, &v, 4);
                }
            }
            return true;
        }
    }
    return true;
}

template <std::size_t N>
int plus_record(const char* fn, const char* command, const char* object_key, const FieldRow (&rows)[N],
                zq_robot_handle* handle, void* record) {
    if (!record) return -4;
    char out[4096] = {0};
    cJSON* root = nullptr;
    int rc = cat::get_tree(fn, handle, command, command, query_timeout(), &root, out, sizeof out);
    if (rc != 0) return rc;
    if (!root) return -3;
    if (cJSON_IsFalse(cJSON_GetObjectItemCaseSensitive(root, "get_state"))) {
        cJSON_Delete(root);
        return 1;
    }
    const cJSON* obj = cJSON_GetObjectItemCaseSensitive(root, object_key);
    rc = cJSON_IsObject(obj) ? 0 : -3;
    for (std::size_t i = 0; rc == 0 && i < N; ++i) {
        if (!read_field(rows[i], obj, static_cast<unsigned char*>(record))) rc = -3;
    }
    cJSON_Delete(root);
    return rc;
}

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" {

int zq_set_lift_speed(zq_robot_handle* handle, int speed) {
    return one_key_set("zq_set_lift_speed", "set_lift_speed", "speed", "set_lift_speed", "set_state", handle, speed);
}
int zq_set_lift_height(zq_robot_handle* handle, int speed, int height, int block) {
    return axis_move(kLift, handle, speed, height, block);
}
int zq_get_lift_state(zq_robot_handle* handle, zq_expand_state_t* state) {
    return axis_state("zq_get_lift_state", "get_lift_state", "lift_state", "height", handle, state);
}
int zq_set_expand_speed(zq_robot_handle* handle, int speed) {
    return one_key_set("zq_set_expand_speed", "expand_set_speed", "speed", "expand_set_speed", "set_speed_state",
                       handle, speed);
}
int zq_set_expand_pos(zq_robot_handle* handle, int speed, int pos, int block) {
    return axis_move(kExpand, handle, speed, pos, block);
}
int zq_get_expand_state(zq_robot_handle* handle, zq_expand_state_t* state) {
    return axis_state("zq_get_expand_state", "expand_get_state", "expand_state", "pos", handle, state);
}

int zq_set_zq_plus_mode(zq_robot_handle* handle, int mode) {
    return zq_set_common(handle, mode, "set_zq_plus_mode", "mode");
}
int zq_get_zq_plus_mode(zq_robot_handle* handle, int* mode) {
    if (!mode) return -4;
    return zq_get_data_common(handle, mode, "get_zq_plus_mode", "mode");
}
int zq_set_zq_plus_touch(zq_robot_handle* handle, int mode) {
    return zq_set_common(handle, mode, "set_zq_plus_touch", "mode");
}
int zq_get_zq_plus_touch(zq_robot_handle* handle, int* mode) {
    if (!mode) return -4;
    return zq_get_data_common(handle, mode, "get_zq_plus_touch", "mode");
}

int zq_get_zq_plus_base_info(zq_robot_handle* handle, zq_plus_base_info_t* info) {
    return plus_record("zq_get_zq_plus_base_info", "get_zq_plus_base_info", "base_info", kBaseInfo, handle, info);
}
int zq_get_zq_plus_state_info(zq_robot_handle* handle, zq_plus_state_info_t* info) {
    return plus_record("zq_get_zq_plus_state_info", "get_zq_plus_state_info", "state_info", kStateInfo, handle, info);
}

int zq_get_zq_plus_reg(zq_robot_handle* handle, int addr, int length, int* data) {
    const char* fn = "zq_get_zq_plus_reg";
    if (!data || length < 1 || length > ZQ_KEY_VALUE_INTS) return -4;
    zq_send_value_t values[] = {send_str("command", "get_zq_plus_reg"), send_int("addr", addr),
                                send_int("length", length)};
    char out[cat::kReplyBuffer] = {0};
    const int n = zq_command_exchange(fn, handle, values, 3, "get_zq_plus_reg", out, sizeof out, query_timeout());
    if (n < 1) return n;
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_INT_ARRAY, "plus_reg_data", length)};
    if (zq_parse_reply(fn, out, table, 1) != 0) return zq_parse_state(fn, out, "get_state");
    for (int i = 0; i < length; ++i) data[i] = table[0].value.arr[i];
    return 0;
}

int zq_set_zq_plus_reg(zq_robot_handle* handle, int addr, int length, int* data) {
    if (!data || length < 1 || length > ZQ_KEY_VALUE_INTS) return -4;
    zq_send_value_t values[] = {send_str("command", "set_zq_plus_reg"), send_int("addr", addr),
                                send_int("length", length), send_ints("data", data, length)};
    return cat::set("zq_set_zq_plus_reg", handle, values, 4, "set_zq_plus_reg", "set_state", query_timeout());
}

int zq_set_tool_DO_state(zq_robot_handle* handle, int io_num, int state) {
    zq_send_value_t values[] = {send_str("command", "set_tool_DO_state"), send_int("IO_Num", io_num),
                                send_int("state", state)};
    return cat::set("zq_set_tool_DO_state", handle, values, 3, "set_tool_DO_state", "set_state", query_timeout());
}

int zq_set_tool_IO_mode(zq_robot_handle* handle, int io_num, int state) {
    zq_send_value_t values[] = {send_str("command", "set_tool_IO_mode"), send_int("IO_Num", io_num),
                                send_int("state", state)};
    return cat::set("zq_set_tool_IO_mode", handle, values, 3, "set_tool_IO_mode", "set_state", query_timeout());
}

int zq_get_tool_IO_state(zq_robot_handle* handle, int* io_mode, int* io_state) {
    if (!io_mode || !io_state) return -4;
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_INT_ARRAY, "IO_Mode", 2),
                              reply_entry(ZQ_VALUE_INT_ARRAY, "IO_state", 2)};
    const int rc = cat::get("zq_get_tool_IO_state", handle, "get_tool_IO_state", "tool_IO_state", table, 2,
                            query_timeout());
    if (rc != 0) return rc;
    for (int i = 0; i < 2; ++i) {
        io_mode[i] = table[0].value.arr[i];
        io_state[i] = table[1].value.arr[i];
    }
    return 0;
}

int zq_set_tool_voltage(zq_robot_handle* handle, int voltage_type) {
    return one_key_set("zq_set_tool_voltage", "set_tool_voltage", "voltage_type", "set_tool_voltage", "state", handle,
                       voltage_type);
}

int zq_get_tool_voltage(zq_robot_handle* handle, int* voltage_type) {
    if (!voltage_type) return -4;
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_INT, "voltage_type")};
    const int rc = cat::get("zq_get_tool_voltage", handle, "get_tool_voltage", "tool_voltage_state", table, 1,
                            query_timeout());
    if (rc == 0) *voltage_type = table[0].value.i;
    return rc;
}

}  // extern "C"
