// Common shapes of set and get commands.
#include "session/catalogue.h"

#include <cstring>

#include "platform/log.h"

namespace zq::cat {

int set(const char* fn, zq_robot_handle* handle, const zq_send_value_t* values, int count, const char* reply_key,
        const char* result_key, int timeout_ms) {
    char out[kReplyBuffer] = {0};
    int n = zq_command_exchange(fn, handle, values, count, reply_key, out, sizeof out, timeout_ms);
    if (n < 1) return n;
    return zq_parse_state(fn, out, result_key);
}

int get(const char* fn, zq_robot_handle* handle, const char* command, const char* reply_key, zq_key_value_t* table,
        int count, int timeout_ms) {
    zq_send_value_t values[] = {send_str("command", command)};
    char out[kReplyBuffer] = {0};
    int n = zq_command_exchange(fn, handle, values, 1, reply_key, out, sizeof out, timeout_ms);
    if (n < 1) return n;
    return zq_parse_reply(fn, out, table, count);
}

int get_or_length(const char* fn, zq_robot_handle* handle, const char* command, const char* reply_key,
                  zq_key_value_t* table, int count, int timeout_ms) {
    zq_send_value_t values[] = {send_str("command", command)};
    char out[kReplyBuffer] = {0};
    int n = zq_command_exchange(fn, handle, values, 1, reply_key, out, sizeof out, timeout_ms);
    if (n < 1) return n;
    return zq_parse_reply(fn, out, table, count) == 0 ? 0 : n;
}

int joint_count(const char* fn, const zq_robot_handle* handle) {
    int dof = read_joint_count(handle);
    if (dof < 0) log_error("[%s] The robotic arm has been disconnected\n", fn);
    return dof;
}

int get_joints(const char* fn, zq_robot_handle* handle, const char* command, const char* reply_key,
               zq_key_value_t* table, int count, int timeout_ms, int* dof, const char* own_length_key) {
    zq_send_value_t values[] = {send_str("command", command)};
    char out[kReplyBuffer] = {0};
    int n = zq_command_exchange(fn, handle, values, 1, reply_key, out, sizeof out, timeout_ms);
    if (n < 1) return n;
    int joints = joint_count(fn, handle);
    if (joints < 0) return -1;
    for (int i = 0; i < count; ++i) {
        if (table[i].type != ZQ_VALUE_INT_ARRAY || table[i].count != 0 || !table[i].key) continue;
        if (own_length_key && std::strcmp(table[i].key, own_length_key) == 0) continue;
        table[i].count = joints;
    }
    if (dof) *dof = joints;
    return zq_parse_reply(fn, out, table, count);
}

int get_tree(const char* fn, zq_robot_handle* handle, const char* command, const char* reply_key, int timeout_ms,
             cJSON** root, char* out, int capacity) {
    zq_send_value_t values[] = {send_str("command", command)};
    int n = zq_command_exchange(fn, handle, values, 1, reply_key, out, capacity, timeout_ms);
    if (n < 1) return n;
    *root = cJSON_Parse(out);
    return 0;
}

}  // namespace zq::cat
