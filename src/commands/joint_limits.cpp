// Joint limits: queries with their copies in the handle.
#include "commands/catalogue.h"
#include "zq_api.h"

namespace zq {
namespace {

float per_mille(int32_t v) { return static_cast<float>(v) / 1000.0f; }
// Speed limits travel in sixths: integer × 6, then ÷ 1000 in single precision.
float speed_from_wire(int32_t v) { return static_cast<float>(v * 6) / 1000.0f; }
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
