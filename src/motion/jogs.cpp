// Jogging (teach) along or about one axis until the teach stop, and the
// frame that jogging refers to.
#include "session/catalogue.h"

namespace zq::motion {
namespace {

struct JogRow {
    const char* fn;
    const char* command;    // also the reply key
    const char* state_key;  // the boolean result
    bool exchange_failure_is_minus_one;
    const char* types[3];   // "teach_type" by axis 0, 1, 2
};

constexpr JogRow kJointJog = {"zq_set_joint_teach", "set_joint_teach", "joint_teach", true, {}};
constexpr JogRow kPosJog = {"zq_set_pos_teach", "set_pos_teach", "pos_teach", true, {"x", "y", "z"}};
constexpr JogRow kOrtJog = {"zq_set_ort_teach", "set_ort_teach", "ort_teach", false, {"rx", "ry", "rz"}};
constexpr JogRow kStopJog = {"zq_set_stop_teach", "set_stop_teach", "stop_teach", false, {}};

const char* direction(int d) { return d != 0 ? "pos" : "neg"; }

int jog(const JogRow& row, zq_robot_handle* handle, const zq_send_value_t* values, int count) {
    const int rc = cat::set(row.fn, handle, values, count, row.command, row.state_key, query_timeout());
    if (row.exchange_failure_is_minus_one && (rc == -1 || rc == -2)) return -1;
    return rc;
}

// "v", "direction", "teach_type": the Cartesian jogs.
int cartesian_jog(const JogRow& row, zq_robot_handle* handle, int axis, int dir, int v) {
    zq_send_value_t values[] = {send_str("command", row.command), send_int("v", v), send_str("direction", direction(dir)),
                                send_str("teach_type", axis >= 0 && axis < 3 ? row.types[axis] : nullptr)};
    if (!values[3].value.str) values[3].key = nullptr;
    return jog(row, handle, values, 4);
}

}  // namespace
}  // namespace zq::motion

using namespace zq;
using namespace zq::motion;

extern "C" {

int zq_set_joint_teach(zq_robot_handle* handle, int joint_num, int dir, int v) {
    const zq_send_value_t values[] = {send_str("command", kJointJog.command), send_int("teach_joint", joint_num),
                                      send_int("v", v), send_str("direction", direction(dir))};
    return jog(kJointJog, handle, values, 4);
}

int zq_set_pos_teach(zq_robot_handle* handle, zq_pos_teach_type_e type, int dir, int v) {
    return cartesian_jog(kPosJog, handle, type, dir, v);
}

int zq_set_ort_teach(zq_robot_handle* handle, zq_ort_teach_type_e type, int dir, int v) {
    return cartesian_jog(kOrtJog, handle, type, dir, v);
}

int zq_set_stop_teach(zq_robot_handle* handle) {
    const zq_send_value_t values[] = {send_str("command", kStopJog.command)};
    return jog(kStopJog, handle, values, 1);
}

int zq_set_teach_frame(zq_robot_handle* handle, int frame_type) {
    const zq_send_value_t values[] = {send_str("command", "set_teach_frame"), send_int("frame_type", frame_type)};
    return cat::set("zq_set_teach_frame", handle, values, 2, "set_teach_frame", "set_state", query_timeout());
}

// A reply that does not parse gives back the exchange's length, as it is.
int zq_get_teach_frame(zq_robot_handle* handle, int* frame_type) {
    const zq_send_value_t values[] = {send_str("command", "get_teach_frame")};
    char out[cat::kReplyBuffer] = {0};
    const int n = zq_command_exchange("zq_get_teach_frame", handle, values, 1, "get_teach_frame", out, sizeof out,
                                      query_timeout());
    if (n < 1) return n;
    zq_key_value_t reply[] = {reply_entry(ZQ_VALUE_INT, "frame_type")};
    if (zq_parse_reply("zq_get_teach_frame", out, reply, 1) != 0) return n;
    if (frame_type) *frame_type = reply[0].value.i;
    return 0;
}

}  // extern "C"
