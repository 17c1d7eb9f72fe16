// State and software queries: joint readings, the arm's state records, the
// initial pose, the controller's readings and the software versions.
#include <cstdio>
#include <cstring>

#include "session/wire_input.h"
#include "session/catalogue.h"
#include "platform/log.h"
#include "zq_api.h"

namespace zq {
namespace {

float per_mille(int32_t v) { return unscale(v, 1000.0f); }

// Shape J queries of one array, each value ÷ 1000.
struct JointReadingRow {
    const char* fn;
    const char* command;
    const char* reply_key;
    const char* array_key;
};

const JointReadingRow kTemperature{"zq_get_current_joint_temperature", "get_current_joint_temperature",
                                   "current_joint_temperature", "joint_temperature"};
const JointReadingRow kCurrent{"zq_get_current_joint_current", "get_current_joint_current", "current_joint_current",
                               "joint_current"};
const JointReadingRow kVoltage{"zq_get_current_joint_voltage", "get_current_joint_voltage", "current_joint_voltage",
                               "joint_voltage"};
const JointReadingRow kDegree{"zq_get_joint_degree", "get_joint_degree", "joint_degree", "joint"};
const JointReadingRow kInitPose{"zq_get_init_pose", "get_init_pose", "arm_init_pose", "init_pose"};

int query_readings(const JointReadingRow& row, zq_robot_handle* handle, float* out) {
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_INT_ARRAY, row.array_key)};
    int dof = 0;
    int rc = cat::get_joints(row.fn, handle, row.command, row.reply_key, table, 1, query_timeout(), &dof);
    if (rc != 0) return rc;
    for (int i = 0; i < dof && out; ++i) out[i] = per_mille(table[0].value.arr[i]);
    return 0;
}

// The "err" list of a wrapped state reply, at most the record's room.
template <class Record>
void copy_errors(const zq_key_value_t& e, Record* r) {
    const int n = e.count < ZQ_ERR_MAX ? e.count : ZQ_ERR_MAX;
    r->err_len = static_cast<uint8_t>(n);
    for (int i = 0; i < n; ++i) r->err[i] = e.value.arr[i];
}

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" {

int zq_get_current_joint_temperature(zq_robot_handle* handle, float* temperature) {
    return query_readings(kTemperature, handle, temperature);
}
int zq_get_current_joint_current(zq_robot_handle* handle, float* current) {
    return query_readings(kCurrent, handle, current);
}
int zq_get_current_joint_voltage(zq_robot_handle* handle, float* voltage) {
    return query_readings(kVoltage, handle, voltage);
}
int zq_get_joint_degree(zq_robot_handle* handle, float* joint) { return query_readings(kDegree, handle, joint); }
int zq_get_init_pose(zq_robot_handle* handle, float* joint) { return query_readings(kInitPose, handle, joint); }

int zq_set_init_pose(zq_robot_handle* handle, const float* joint) {
    const char* fn = "zq_set_init_pose";
    const int dof = cat::joint_count(fn, handle);
    if (dof < 0) return -1;
    if (!joints_ok(joint, dof)) return refuse_input(fn);
    int32_t wire[10] = {0};
    for (int i = 0; i < dof; ++i) wire[i] = scale_double(joint[i], 1000.0);
    zq_send_value_t values[] = {send_str("command", "set_init_pose"), send_ints("init_pose", wire, dof)};
    return cat::set(fn, handle, values, 2, "set_init_pose", "init_pose", query_timeout());
}

// {"state":"current_arm_state","arm_state":{"joint":[...],"pose":[6],"err":[...]}}
int zq_get_current_arm_state(zq_robot_handle* handle, zq_current_arm_state_t* state) {
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_INT_ARRAY, "err"), reply_entry(ZQ_VALUE_INT_ARRAY, "joint"),
                              reply_entry(ZQ_VALUE_INT_ARRAY, "pose", 6)};
    int dof = 0;
    int rc = cat::get_joints("zq_get_current_arm_state", handle, "get_current_arm_state", "current_arm_state", table,
                             3, query_timeout(), &dof, "err");
    if (rc != 0 || !state) return rc;
    zq_current_arm_state_t s{};
    for (int i = 0; i < dof && i < 7; ++i) s.joint[i] = per_mille(table[1].value.arr[i]);
    const int32_t* p = table[2].value.arr;
    s.pose.position = {unscale(p[0], 1000000.0f), unscale(p[1], 1000000.0f), unscale(p[2], 1000000.0f)};
    s.pose.euler = {unscale(p[3], 1000.0f), unscale(p[4], 1000.0f), unscale(p[5], 1000.0f)};
    s.pose.quaternion = zq_algo_euler2quaternion(s.pose.euler);
    copy_errors(table[0], &s);
    *state = s;
    return 0;
}

// {"state":"arm_all_state","all_state":{"temperature":[...],...,"err":[...]}}
int zq_get_arm_all_state(zq_robot_handle* handle, zq_arm_all_state_t* state) {
    zq_key_value_t table[] = {
        reply_entry(ZQ_VALUE_INT_ARRAY, "temperature"), reply_entry(ZQ_VALUE_INT_ARRAY, "current"),
        reply_entry(ZQ_VALUE_INT_ARRAY, "voltage"),     reply_entry(ZQ_VALUE_INT_ARRAY, "err_flag"),
        reply_entry(ZQ_VALUE_INT_ARRAY, "en_flag"),     reply_entry(ZQ_VALUE_INT_ARRAY, "err"),
    };
    int dof = 0;
    int rc = cat::get_joints("zq_get_arm_all_state", handle, "get_arm_all_state", "arm_all_state", table, 6,
                             query_timeout(), &dof, "err");
    if (rc != 0 || !state) return rc;
    zq_arm_all_state_t s{};
    for (int i = 0; i < dof && i < 7; ++i) {
        s.joint_temperature[i] = per_mille(table[0].value.arr[i]);
        s.joint_current[i] = per_mille(table[1].value.arr[i]);
        s.joint_voltage[i] = per_mille(table[2].value.arr[i]);
        // The error codes pass through a float on their way.
        s.joint_err_code[i] = static_cast<int32_t>(static_cast<float>(table[3].value.arr[i]));
        s.joint_en_flag[i] = table[4].value.arr[i];
    }
    copy_errors(table[5], &s);
    *state = s;
    return 0;
}

int zq_get_controller_state(zq_robot_handle* handle, float* voltage, float* current, float* temperature,
                            int* err_flag) {
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_INT, "voltage"), reply_entry(ZQ_VALUE_INT, "current"),
                              reply_entry(ZQ_VALUE_INT, "temperature"), reply_entry(ZQ_VALUE_INT, "err_flag")};
    int rc = cat::get("zq_get_controller_state", handle, "get_controller_state", "controller_state", table, 4,
                      query_timeout());
    if (rc != 0) return rc;
    if (voltage) *voltage = per_mille(table[0].value.i);
    if (current) *current = per_mille(table[1].value.i);
    if (temperature) *temperature = per_mille(table[2].value.i);
    if (err_flag) *err_flag = table[3].value.i;
    return 0;
}

// "version": integers on generation 3, texts on generation 4; the count
// becomes the handle's joint count.
int zq_get_joint_software_version(zq_robot_handle* handle, int* version, zq_version_t* text) {
    const char* fn = "zq_get_joint_software_version";
    char out[cat::kReplyBuffer] = {0};
    cJSON* root = nullptr;
    int rc = cat::get_tree(fn, handle, "get_joint_software_version", "joint_software_version", query_timeout(),
                           &root, out, sizeof out);
    if (rc < 0) return rc;
    const cJSON* list = cJSON_GetObjectItemCaseSensitive(root, "version");
    if (!cJSON_IsArray(list)) {
        cJSON_Delete(root);
        return -3;
    }
    const int n = cJSON_GetArraySize(list);
    if (n >= 1 && n <= 10) set_joint_count(handle, n);
    int texts = 0, ints = 0;
    for (const cJSON* el = list->child; el; el = el->next) {
        if (cJSON_IsString(el)) {
            if (text && texts < kMaxJoints) std::snprintf(text[texts].version, sizeof text[texts].version, "%s", el->valuestring);
            ++texts;
        } else {
            if (version && ints < kMaxJoints) version[ints] = el->valueint;
            ++ints;
        }
    }
    cJSON_Delete(root);
    return 0;
}

int zq_get_tool_software_version(zq_robot_handle* handle, int* version, zq_version_t* text) {
    const char* fn = "zq_get_tool_software_version";
    int generation = 0;
    if (read_handle(handle, [&](const zq_robot_handle& h) { generation = h.controller_version; }) != 0) return -1;
    const bool texts = generation == 4;
    zq_key_value_t table[] = {reply_entry(texts ? ZQ_VALUE_STRING : ZQ_VALUE_INT, "version")};
    int rc = cat::get(fn, handle, "get_tool_software_version", "tool_software_version", table, 1, query_timeout());
    if (rc != 0) return rc;
    if (texts) {
        if (text) std::snprintf(text->version, sizeof text->version, "%.9s", table[0].value.str);
    } else if (version) {
        *version = table[0].value.i;
    }
    return 0;
}

}  // extern "C"
