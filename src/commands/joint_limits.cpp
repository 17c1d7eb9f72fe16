// Joint limits: queries with their copies in the handle.
#include "session/wire_input.h"
#include "session/catalogue.h"
#include "zq_api.h"

namespace zq {
namespace {

float per_mille(int32_t v) { return static_cast<float>(v) / 1000.0f; }
// Speed limits travel in sixths: integer × 6, then ÷ 1000 in single precision.
// Sixths of a degree per second: widened, so that no controller value overflows.
float speed_from_wire(int32_t v) { return static_cast<float>(static_cast<int64_t>(v) * 6) / 1000.0f; }
float acc_from_wire(int32_t v) { return static_cast<float>(v) * 6.0f / 1000.0f; }

struct JointArrayQuery {
    const char* fn;
    const char* command;
    const char* reply_key;
    const char* array_key;
    float (*convert)(int32_t);
    float (zq_robot_handle::*cache)[7];  // copy in the handle, or null
};

const JointArrayQuery kMaxSpeed{"zq_get_joint_max_speed", "get_joint_max_speed", "joint_max_speed", "joint_speed",
                                speed_from_wire, &zq_robot_handle::joint_max_speed};
const JointArrayQuery kMaxAcc{"zq_get_joint_max_acc", "get_joint_max_acc", "joint_max_acc", "joint_acc",
                              acc_from_wire, &zq_robot_handle::joint_max_acc};
const JointArrayQuery kMinPos{"zq_get_joint_min_pos", "get_joint_min_pos", "joint_min_pos", "min_pos", per_mille,
                              &zq_robot_handle::joint_min_pos};
const JointArrayQuery kMaxPos{"zq_get_joint_max_pos", "get_joint_max_pos", "joint_max_pos", "max_pos", per_mille,
                              &zq_robot_handle::joint_max_pos};

// The drive twins answer under their own command literal and have no copy in the handle.
const JointArrayQuery kDriveMaxSpeed{"zq_get_joint_drive_max_speed", "get_joint_drive_max_speed",
                                     "get_joint_drive_max_speed", "joint_speed", acc_from_wire, nullptr};
const JointArrayQuery kDriveMaxAcc{"zq_get_joint_drive_max_acc", "get_joint_drive_max_acc", "get_joint_drive_max_acc",
                                   "joint_acc", acc_from_wire, nullptr};
const JointArrayQuery kDriveMinPos{"zq_get_joint_drive_min_pos", "get_joint_drive_min_pos", "get_joint_drive_min_pos",
                                   "min_pos", per_mille, nullptr};
const JointArrayQuery kDriveMaxPos{"zq_get_joint_drive_max_pos", "get_joint_drive_max_pos", "get_joint_drive_max_pos",
                                   "max_pos", per_mille, nullptr};

int query_joint_array(const JointArrayQuery& row, zq_robot_handle* handle, float* out) {
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_INT_ARRAY, row.array_key)};
    int dof = 0;
    int rc = cat::get_joints(row.fn, handle, row.command, row.reply_key, table, 1, query_timeout(), &dof);
    if (rc != 0) return rc;
    float values[10] = {0};
    for (int i = 0; i < dof; ++i) values[i] = row.convert(table[0].value.arr[i]);
    if (out) {
        for (int i = 0; i < dof; ++i) out[i] = values[i];
    }
    if (!row.cache) return 0;
    return store_in_handle(handle, [&](zq_robot_handle& h) {
        for (int i = 0; i < dof && i < 7; ++i) (h.*row.cache)[i] = values[i];
    });
}

// ---- setters, shape S with the query time-out ----------------------------------

// How a setter turns its arguments into its one request entry.
enum class Request {
    Sixths,    // [joint_num, value ÷ 6 × 1000] in double precision
    PerMille,  // [joint_num, value × 1000] in double precision
    Pair,      // [joint_num, integer]
    Integer,   // the integer alone
};

struct JointSetRow {
    const char* fn;
    const char* command;
    Request request;
    const char* key;         // request key
    const char* reply_key;
    const char* result_key;
    const JointArrayQuery* reread;  // re-read after success, or null
};

const JointSetRow kSetMaxSpeed{"zq_set_joint_max_speed", "set_joint_max_speed", Request::Sixths, "joint_max_speed",
                               "set_joint_max_speed", "joint_max_speed", &kMaxSpeed};
const JointSetRow kSetMaxAcc{"zq_set_joint_max_acc", "set_joint_max_acc", Request::Sixths, "joint_max_acc",
                             "set_joint_max_acc", "joint_max_acc", &kMaxAcc};
const JointSetRow kSetMinPos{"zq_set_joint_min_pos", "set_joint_min_pos", Request::PerMille, "joint_min_pos",
                             "set_joint_min_pos", "joint_min_pos", &kMinPos};
const JointSetRow kSetMaxPos{"zq_set_joint_max_pos", "set_joint_max_pos", Request::PerMille, "joint_max_pos",
                             "set_joint_max_pos", "joint_max_pos", &kMaxPos};
const JointSetRow kSetDriveMaxSpeed{"zq_set_joint_drive_max_speed", "set_joint_drive_max_speed", Request::Sixths,
                                    "joint_max_speed", "set_joint_drive_max_speed", "joint_max_speed", nullptr};
const JointSetRow kSetDriveMaxAcc{"zq_set_joint_drive_max_acc", "set_joint_drive_max_acc", Request::Sixths,
                                  "joint_max_acc", "set_joint_drive_max_acc", "joint_max_acc", nullptr};
const JointSetRow kSetDriveMinPos{"zq_set_joint_drive_min_pos", "set_joint_drive_min_pos", Request::PerMille,
                                  "joint_min_pos", "set_joint_drive_min_pos", "joint_min_pos", nullptr};
const JointSetRow kSetDriveMaxPos{"zq_set_joint_drive_max_pos", "set_joint_drive_max_pos", Request::PerMille,
                                  "joint_max_pos", "set_joint_drive_max_pos", "joint_max_pos", nullptr};
const JointSetRow kSetEnState{"zq_set_joint_en_state", "set_joint_en_state", Request::Pair, "joint_en_state",
                              "set_joint_en_state", "joint_en_state", nullptr};
const JointSetRow kSetZeroPos{"zq_set_joint_zero_pos", "set_joint_zero_pos", Request::Integer, "joint_zero_pos",
                              "set_joint_zero_pos", "joint_zero_pos", nullptr};
const JointSetRow kSetClearErr{"zq_set_joint_clear_err", "set_joint_clear_err", Request::Integer, "joint_clear_err",
                               "set_joint_clear_err", "joint_clear_err", nullptr};

int set_joint(const JointSetRow& row, zq_robot_handle* handle, int joint_num, float value, int ivalue,
              int timeout_ms) {
    if ((row.request == Request::Sixths || row.request == Request::PerMille) && !value_ok(value, 1000.0))
        return refuse_input(row.fn);
    int32_t pair[2] = {joint_num, 0};
    zq_send_value_t values[2] = {send_str("command", row.command)};
    switch (row.request) {
        case Request::Sixths:
            pair[1] = saturate_int32(static_cast<double>(value) / 6.0 * 1000.0);
            values[1] = send_ints(row.key, pair, 2);
            break;
        case Request::PerMille:
            pair[1] = scale_double(value, 1000.0);
            values[1] = send_ints(row.key, pair, 2);
            break;
        case Request::Pair:
            pair[1] = ivalue;
            values[1] = send_ints(row.key, pair, 2);
            break;
        case Request::Integer: values[1] = send_int(row.key, ivalue); break;
    }
    int rc = cat::set(row.fn, handle, values, 2, row.reply_key, row.result_key, timeout_ms);
    if (rc != 0 || !row.reread) return rc;
    float scratch[10];
    return query_joint_array(*row.reread, handle, scratch);
}

// Joint arrays of integers: the enable flags and the error and brake states.
int query_joint_ints(const char* fn, const char* command, const char* reply_key, zq_robot_handle* handle,
                     const char* key_a, const char* key_b, int32_t (*out)[10], int keys) {
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_INT_ARRAY, key_a), reply_entry(ZQ_VALUE_INT_ARRAY, key_b)};
    int dof = 0;
    int rc = cat::get_joints(fn, handle, command, reply_key, table, keys, query_timeout(), &dof);
    if (rc != 0) return rc;
    for (int k = 0; k < keys; ++k) {
        for (int i = 0; i < dof; ++i) out[k][i] = table[k].value.arr[i];
    }
    return dof;
}

}  // namespace
}  // namespace zq

extern "C" {

int zq_get_joint_max_speed(zq_robot_handle* handle, float* speed) {
    return zq::query_joint_array(zq::kMaxSpeed, handle, speed);
}
int zq_get_joint_max_acc(zq_robot_handle* handle, float* acc) { return zq::query_joint_array(zq::kMaxAcc, handle, acc); }
int zq_get_joint_min_pos(zq_robot_handle* handle, float* pos) { return zq::query_joint_array(zq::kMinPos, handle, pos); }
int zq_get_joint_max_pos(zq_robot_handle* handle, float* pos) { return zq::query_joint_array(zq::kMaxPos, handle, pos); }

}  // extern "C"

extern "C" {

int zq_get_joint_drive_max_speed(zq_robot_handle* handle, float* speed) {
    return zq::query_joint_array(zq::kDriveMaxSpeed, handle, speed);
}
int zq_get_joint_drive_max_acc(zq_robot_handle* handle, float* acc) {
    return zq::query_joint_array(zq::kDriveMaxAcc, handle, acc);
}
int zq_get_joint_drive_min_pos(zq_robot_handle* handle, float* pos) {
    return zq::query_joint_array(zq::kDriveMinPos, handle, pos);
}
int zq_get_joint_drive_max_pos(zq_robot_handle* handle, float* pos) {
    return zq::query_joint_array(zq::kDriveMaxPos, handle, pos);
}

int zq_get_joint_en_state(zq_robot_handle* handle, unsigned char* state) {
    int32_t v[2][10] = {};
    int dof = zq::query_joint_ints("zq_get_joint_en_state", "get_joint_en_state", "joint_en_state", handle, "en_state",
                                   nullptr, v, 1);
    if (dof <= 0) return dof;
    for (int i = 0; i < dof && state; ++i) state[i] = static_cast<unsigned char>(v[0][i] & 0xFF);
    return 0;
}

int zq_get_joint_err_flag(zq_robot_handle* handle, unsigned short* err_flag, unsigned short* brake_state) {
    int32_t v[2][10] = {};
    int dof = zq::query_joint_ints("zq_get_joint_err_flag", "get_joint_err_flag", "joint_err_flag", handle, "err_flag",
                                   "brake_state", v, 2);
    if (dof <= 0) return dof;
    for (int i = 0; i < dof; ++i) {
        if (err_flag) err_flag[i] = static_cast<unsigned short>(v[0][i] & 0xFFFF);
        if (brake_state) brake_state[i] = static_cast<unsigned short>(v[1][i] & 0xFFFF);
    }
    return 0;
}

int zq_set_joint_max_speed(zq_robot_handle* handle, int joint_num, float speed) {
    return zq::set_joint(zq::kSetMaxSpeed, handle, joint_num, speed, 0, zq::query_timeout());
}
int zq_set_joint_max_acc(zq_robot_handle* handle, int joint_num, float acc) {
    return zq::set_joint(zq::kSetMaxAcc, handle, joint_num, acc, 0, zq::query_timeout());
}
int zq_set_joint_min_pos(zq_robot_handle* handle, int joint_num, float pos) {
    return zq::set_joint(zq::kSetMinPos, handle, joint_num, pos, 0, zq::query_timeout());
}
int zq_set_joint_max_pos(zq_robot_handle* handle, int joint_num, float pos) {
    return zq::set_joint(zq::kSetMaxPos, handle, joint_num, pos, 0, zq::query_timeout());
}
int zq_set_joint_drive_max_speed(zq_robot_handle* handle, int joint_num, float speed) {
    return zq::set_joint(zq::kSetDriveMaxSpeed, handle, joint_num, speed, 0, zq::query_timeout());
}
int zq_set_joint_drive_max_acc(zq_robot_handle* handle, int joint_num, float acc) {
    return zq::set_joint(zq::kSetDriveMaxAcc, handle, joint_num, acc, 0, zq::query_timeout());
}
int zq_set_joint_drive_min_pos(zq_robot_handle* handle, int joint_num, float pos) {
    return zq::set_joint(zq::kSetDriveMinPos, handle, joint_num, pos, 0, zq::query_timeout());
}
int zq_set_joint_drive_max_pos(zq_robot_handle* handle, int joint_num, float pos) {
    return zq::set_joint(zq::kSetDriveMaxPos, handle, joint_num, pos, 0, zq::query_timeout());
}
int zq_set_joint_en_state(zq_robot_handle* handle, int joint_num, int state) {
    return zq::set_joint(zq::kSetEnState, handle, joint_num, 0.0f, state, zq::query_timeout());
}
int zq_set_joint_zero_pos(zq_robot_handle* handle, int joint_num) {
    return zq::set_joint(zq::kSetZeroPos, handle, joint_num, 0.0f, joint_num, zq::query_timeout());
}
int zq_set_joint_clear_err(zq_robot_handle* handle, int joint_num) {
    return zq::set_joint(zq::kSetClearErr, handle, joint_num, 0.0f, joint_num, zq::query_timeout());
}

// Sets the limits automatically, then re-reads the minimum and the maximum
// positions; the second re-read's code is the result.
int zq_auto_set_joint_limit(zq_robot_handle* handle, int limit_mode) {
    const char* fn = "zq_auto_set_joint_limit";
    zq_send_value_t values[] = {zq::send_str("command", "auto_set_joint_limit"), zq::send_int("limit_mode", limit_mode)};
    int rc = zq::cat::set(fn, handle, values, 2, "auto_set_joint_limit", "limit_mode", zq::add_ms(zq::query_timeout(), 3000));
    if (rc != 0) return rc;
    float scratch[10];
    zq::query_joint_array(zq::kMinPos, handle, scratch);
    return zq::query_joint_array(zq::kMaxPos, handle, scratch);
}

}  // extern "C"
