// Which trajectory the arm runs, and where to.
#include <cstring>

#include "session/catalogue.h"
#include "platform/log.h"
#include "zq_api.h"

namespace zq {
namespace {

struct TrajectoryType {
    const char* wire;
    zq_arm_current_trajectory_e type;
    bool pose;          // data is an end pose rather than joints
    const char* label;  // for the debug line
};
const TrajectoryType kTypes[] = {
    {"none", ZQ_TRAJECTORY_NONE, false, "None"},
    {"movej", ZQ_TRAJECTORY_MOVEJ, false, "MoveJ"},
    {"movel", ZQ_TRAJECTORY_MOVEL, true, "MoveL"},
    {"movec", ZQ_TRAJECTORY_MOVEC, true, "MoveC"},
    {"moves", ZQ_TRAJECTORY_MOVES, true, "MoveS"},
    {"re_trajectory", ZQ_TRAJECTORY_RE_TRAJECTORY, false, "Re-Trajectory"},
    {"blend", ZQ_TRAJECTORY_BLEND, false, "Blend"},
};

#define ZQ_TQ "[zq_get_arm_current_trajectory] "

int parse_trajectory(const char* out, zq_arm_current_trajectory_e* type_out, float* data_out, int* joints_seen) {
    cJSON* root = cJSON_Parse(out);
    if (!root) {
        log_error(ZQ_TQ "Get arm current trajectory parse err\n");
        return -3;
    }
    int rc = -3;
    int32_t v[7] = {0};
    int size = 0;
    const TrajectoryType* row = nullptr;
    const cJSON* data = cJSON_GetObjectItemCaseSensitive(root, "data");
    const cJSON* type = cJSON_GetObjectItemCaseSensitive(root, "type");
    if (!data) {
        log_error(ZQ_TQ "Get arm current trajectory parse err\n");
    } else if (!cJSON_IsArray(data)) {
        log_error(ZQ_TQ "Data type parse err\n");
    } else if ((size = cJSON_GetArraySize(data)) >= 8) {
        log_error(ZQ_TQ "Get arm current trajectory data size err\n");
    } else {
        int k = 0;
        for (const cJSON* el = data->child; el && k < 7; el = el->next) v[k++] = el->valueint;
        log_debug(ZQ_TQ "Current trajectory data size: %d, data : (%d, %d, %d, %d, %d, %d, %d)\n", size, v[0], v[1],
                  v[2], v[3], v[4], v[5], v[6]);
        if (!cJSON_IsString(type)) {
            log_error(ZQ_TQ "Get arm current trajectory parse err\n");
        } else {
            for (const TrajectoryType& t : kTypes) {
                if (std::strcmp(type->valuestring, t.wire) == 0) row = &t;
            }
        }
    }
    cJSON_Delete(root);
    if (!row) return rc;

    float values[7] = {0};
    if (data_out) std::memcpy(values, data_out, sizeof values);
    if (row->pose) {
        for (int i = 0; i < 6; ++i) {
            if (i < size) values[i] = static_cast<float>(v[i]) / (i < 3 ? 1000000.0f : 1000.0f);
        }
    } else {
        for (int i = 0; i < size; ++i) values[i] = static_cast<float>(v[i]) / 1000.0f;
    }
    if (type_out) *type_out = row->type;
    if (data_out) {
        const int n = row->pose ? 6 : size;
        std::memcpy(data_out, values, sizeof(float) * static_cast<size_t>(n));
    }
    *joints_seen = row->type == ZQ_TRAJECTORY_NONE ? size : -1;

    log_debug(ZQ_TQ "Current trajectory is %s!\n", row->label);
    if (row->pose) {
        log_debug(ZQ_TQ "End effector pose:  %.3f, %.3f, %.3f, %.3f, %.3f, %.3f\n", values[0], values[1], values[2],
                  values[3], values[4], values[5]);
    } else if (size == 7) {
        log_debug(ZQ_TQ "Joint Angles: %.3f, %.3f, %.3f, %.3f, %.3f, %.3f, %.3f\n", values[0], values[1], values[2],
                  values[3], values[4], values[5], values[6]);
    } else {
        log_debug(ZQ_TQ "Joint Angles: %.3f, %.3f, %.3f, %.3f, %.3f, %.3f\n", values[0], values[1], values[2],
                  values[3], values[4], values[5]);
    }
    return 0;
}

}  // namespace
}  // namespace zq

extern "C" int zq_get_arm_current_trajectory(zq_robot_handle* handle, zq_arm_current_trajectory_e* type,
                                             float* data) {
    using namespace zq;
    zq_send_value_t values[] = {send_str("command", "get_arm_current_trajectory")};
    char out[cat::kReplyBuffer] = {0};
    int n = zq_command_exchange("zq_get_arm_current_trajectory", handle, values, 1, "arm_current_trajectory", out,
                                sizeof out, 1000);
    if (n < 1) return n;
    int joints = -1;
    int rc = parse_trajectory(out, type, data, &joints);
    // An idle arm reports its joints: their number is the arm's joint count.
    if (rc == 0 && joints >= 0) set_joint_count(handle, joints);
    return rc;
}
