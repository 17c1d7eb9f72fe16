// Tool and work frames the controller stores: create, change, delete,
// update, list and read them; the install pose and the DH parameters in the
// setting direction.
#include <cstdio>
#include <cstring>

#include "session/wire_input.h"
#include "session/catalogue.h"
#include "commands/wire_forms.h"
#include "platform/log.h"
#include "zq_api.h"

namespace zq {
namespace {

const cJSON* member(const cJSON* root, const char* key) { return cJSON_GetObjectItemCaseSensitive(root, key); }

int32_t micro(float v) { return scale_single(v, 1000000.0f); }

// A text of at most `n` characters, terminated, from a possibly unterminated field.
void copy_name(char* dst, const char* src, std::size_t n) {
    const std::size_t len = strnlen(src, n);
    std::memcpy(dst, src, len);
    dst[len] = '\0';
}

// ---- shape S rows --------------------------------------------------------------

struct FrameSetRow {
    const char* fn;
    const char* command;
    const char* result_key;  // the reply key is the command literal
    int (*reread)(zq_robot_handle*, zq_frame_t*);  // after a 0, or null
};

const FrameSetRow kAutoTool{"zq_set_auto_tool_frame", "set_auto_tool_frame", "auto_tool_frame", nullptr};
const FrameSetRow kManualTool{"zq_set_manual_tool_frame", "set_manual_tool_frame", "manual_tool_frame", nullptr};
const FrameSetRow kChangeTool{"zq_change_tool_frame", "set_change_tool_frame", "change_tool_frame",
                              zq_get_current_tool_frame};
const FrameSetRow kDeleteTool{"zq_delete_tool_frame", "set_delete_tool_frame", "delete_tool_frame",
                              zq_get_current_tool_frame};
const FrameSetRow kUpdateTool{"zq_update_tool_frame", "update_tool_frame", "update_state", nullptr};
const FrameSetRow kAutoWork{"zq_set_auto_work_frame", "set_auto_work_frame", "auto_work_frame", nullptr};
const FrameSetRow kManualWork{"zq_set_manual_work_frame", "set_manual_work_frame", "manual_work_frame", nullptr};
const FrameSetRow kChangeWork{"zq_change_work_frame", "set_change_work_frame", "change_work_frame",
                              zq_get_current_work_frame};
const FrameSetRow kDeleteWork{"zq_delete_work_frame", "set_delete_work_frame", "delete_work_frame",
                              zq_get_current_work_frame};
const FrameSetRow kUpdateWork{"zq_update_work_frame", "update_work_frame", "update_state", nullptr};
const FrameSetRow kDhDefault{"zq_set_DH_data_default", "set_DH_data_default", "set_state", nullptr};

// `values` holds the request keys behind its entry 0, which this fills.
int frame_set(const FrameSetRow& row, zq_robot_handle* handle, zq_send_value_t* values, int count,
              int timeout_ms) {
    values[0] = send_str("command", row.command);
    int rc = cat::set(row.fn, handle, values, count, row.command, row.result_key, timeout_ms);
    if (rc != 0 || !row.reread) return rc;
    zq_frame_t scratch{};
    return row.reread(handle, &scratch);
}

// The request of a manual or updated tool frame.
int tool_frame_set(const FrameSetRow& row, zq_robot_handle* handle, const zq_frame_t& frame) {
    const float at[3] = {frame.x, frame.y, frame.z};
    if (!pose_ok(frame.pose) || !value_ok(frame.payload, 1000.0) || !values_ok(at, 3, 1e6)) return refuse_input(row.fn);
    char name[sizeof frame.frame_name + 1];
    copy_name(name, frame.frame_name, sizeof frame.frame_name);
    const int32_t position[3] = {micro(frame.x), micro(frame.y), micro(frame.z)};
    int32_t pose[6];
    pose_to_wire(frame.pose, pose);
    zq_send_value_t values[] = {{}, send_str("tool_name", name),
                                send_int("payload", scale_double(frame.payload, 1000.0)),
                                send_ints("position", position, 3), send_ints("tool_pose", pose, 6)};
    return frame_set(row, handle, values, 5, query_timeout());
}

int named_set(const FrameSetRow& row, zq_robot_handle* handle, const char* key, const char* name) {
    zq_send_value_t values[] = {{}, send_str(key, name)};
    return frame_set(row, handle, values, 2, query_timeout());
}

int work_frame_set(const FrameSetRow& row, zq_robot_handle* handle, const char* name, const zq_pose_t& pose) {
    if (!pose_ok(pose)) return refuse_input(row.fn);
    int32_t wire[6];
    pose_to_wire(pose, wire);
    zq_send_value_t values[] = {{}, send_str("frame_name", name), send_ints("frame_pose", wire, 6)};
    return frame_set(row, handle, values, 3, query_timeout());
}

// ---- lists and given frames ----------------------------------------------------

int total_frames(const char* fn, const char* command, const char* reply_key, zq_robot_handle* handle,
                 zq_frame_name_t* names, int* len) {
    char out[cat::kReplyBuffer] = {0};
    cJSON* root = nullptr;
    int rc = cat::get_tree(fn, handle, command, reply_key, query_timeout(), &root, out, sizeof out);
    if (rc < 0) return rc;
    if (!root) {
        log_error("Get total frame name parse err\n");
        return -2;
    }
    const cJSON* list = member(root, "frame_names");
    if (!list) list = member(root, "tool_names");
    if (!cJSON_IsArray(list)) {
        cJSON_Delete(root);
        return -2;
    }
    int n = 0;
    for (const cJSON* el = list->child; el && n < ZQ_FRAME_LIST_MAX; el = el->next) {
        const char* text = cJSON_IsString(el) ? el->valuestring : "";
        if (std::strcmp(text, "NULL") == 0) break;
        if (names) copy_name(names[n].name, text, sizeof names[n].name - 1);
        ++n;
    }
    if (len) *len = n;
    cJSON_Delete(root);
    return 0;
}

// No answer under the given-frame key: a refusal comes under the request's
// own key with "get_state".
int refused_given(const char* fn, zq_robot_handle* handle, const char* command, int timeout_ms) {
    char out[cat::kReplyBuffer] = {0};
    int rc = zq_command_exchange(fn, handle, nullptr, 0, command, out, sizeof out, timeout_ms);
    if (rc > 0) return zq_parse_state(fn, out, "get_state");
    if (rc < 0 && thread_mode() == ZQ_SINGLE_THREAD_MODE) return 1;
    return rc;
}

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" {

int zq_set_auto_tool_frame(zq_robot_handle* handle, int point_num) {
    zq_send_value_t values[] = {{}, send_int("point_num", point_num)};
    return frame_set(kAutoTool, handle, values, 2, query_timeout());
}

int zq_generate_auto_tool_frame(zq_robot_handle* handle, const char* name, float payload, float x, float y,
                                float z) {
    const char* fn = "zq_generate_auto_tool_frame";
    int generation = 0;
    if (read_handle(handle, [&](const zq_robot_handle& h) { generation = h.controller_version; }) != 0) return -1;
    const float at[3] = {x, y, z};
    if (!value_ok(payload, 1000.0) || !values_ok(at, 3, 1e6)) return refuse_input(fn);
    const int32_t position[3] = {micro(x), micro(y), micro(z)};
    zq_send_value_t values[] = {send_str("command", "generate_auto_tool_frame"), send_str("tool_name", name),
                                send_int("payload", scale_double(payload, 1000.0)), send_ints("position", position, 3)};
    // The older generation answers under the older command name.
    const char* reply_key = generation == 4 ? "generate_auto_tool_frame" : "set_auto_tool_frame";
    return cat::set(fn, handle, values, 4, reply_key, "auto_tool_frame", query_timeout());
}

int zq_set_manual_tool_frame(zq_robot_handle* handle, zq_frame_t frame) {
    int rc = tool_frame_set(kManualTool, handle, frame);
    if (rc == 1) {
        log_error("[%s] Failed to create the tool frame system, please check if the name already exists",
                  kManualTool.fn);
    }
    return rc;
}

int zq_change_tool_frame(zq_robot_handle* handle, const char* name) {
    return named_set(kChangeTool, handle, "tool_name", name);
}
int zq_delete_tool_frame(zq_robot_handle* handle, const char* name) {
    return named_set(kDeleteTool, handle, "tool_name", name);
}
int zq_update_tool_frame(zq_robot_handle* handle, zq_frame_t frame) { return tool_frame_set(kUpdateTool, handle, frame); }

int zq_get_total_tool_frame(zq_robot_handle* handle, zq_frame_name_t* names, int* len) {
    return total_frames("zq_get_total_tool_frame", "get_total_tool_frame", "total_tool_frame", handle, names, len);
}

int zq_get_given_tool_frame(zq_robot_handle* handle, const char* name, zq_frame_t* frame) {
    const char* fn = "zq_get_given_tool_frame";
    zq_send_value_t values[] = {send_str("command", "get_tool_frame"), send_str("tool_name", name)};
    char out[cat::kReplyBuffer] = {0};
    int n = zq_command_exchange(fn, handle, values, 2, "given_tool_frame", out, sizeof out, query_timeout());
    if (n < -1) return refused_given(fn, handle, "get_tool_frame", query_timeout());
    if (n < 1) return n;
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_STRING, "tool_name"), reply_entry(ZQ_VALUE_INT_ARRAY, "pose", 6),
                              reply_entry(ZQ_VALUE_INT, "payload"), reply_entry(ZQ_VALUE_INT_ARRAY, "position", 3)};
    if (zq_parse_reply(fn, out, table, 4) != 0) return n;
    if (!frame) return 0;
    zq_frame_t f = *frame;
    std::memset(f.frame_name, 0, sizeof f.frame_name);
    copy_name(f.frame_name, table[0].value.str, 10);
    pose_from_wire(table[1].value.arr, &f.pose);
    f.payload = unscale(table[2].value.i, 1000.0f);
    f.x = unscale(table[3].value.arr[0], 1000000.0f);
    f.y = unscale(table[3].value.arr[1], 1000000.0f);
    f.z = unscale(table[3].value.arr[2], 1000000.0f);
    *frame = f;
    return 0;
}

int zq_set_auto_work_frame(zq_robot_handle* handle, const char* name, int point_num) {
    zq_send_value_t values[] = {{}, send_str("frame_name", name), send_int("point_num", point_num)};
    return frame_set(kAutoWork, handle, values, 3, query_timeout());
}
int zq_set_manual_work_frame(zq_robot_handle* handle, const char* name, zq_pose_t pose) {
    return work_frame_set(kManualWork, handle, name, pose);
}
int zq_change_work_frame(zq_robot_handle* handle, const char* name) {
    return named_set(kChangeWork, handle, "frame_name", name);
}
int zq_delete_work_frame(zq_robot_handle* handle, const char* name) {
    return named_set(kDeleteWork, handle, "frame_name", name);
}
int zq_update_work_frame(zq_robot_handle* handle, const char* name, zq_pose_t pose) {
    return work_frame_set(kUpdateWork, handle, name, pose);
}

int zq_get_total_work_frame(zq_robot_handle* handle, zq_frame_name_t* names, int* len) {
    return total_frames("zq_get_total_work_frame", "get_total_work_frame", "total_work_frame", handle, names, len);
}

int zq_get_given_work_frame(zq_robot_handle* handle, const char* name, zq_pose_t* pose) {
    const char* fn = "zq_get_given_work_frame";
    zq_send_value_t values[] = {send_str("command", "get_work_frame"), send_str("frame_name", name)};
    char out[cat::kReplyBuffer] = {0};
    int n = zq_command_exchange(fn, handle, values, 2, "given_work_frame", out, sizeof out, query_timeout());
    if (n < 1) return refused_given(fn, handle, "get_work_frame", config_timeout());
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_STRING, "frame_name"), reply_entry(ZQ_VALUE_INT_ARRAY, "pose", 6)};
    int rc = zq_parse_reply(fn, out, table, 2);
    if (rc != 0) return rc;
    if (pose) {
        zq_pose_t p{};
        pose_from_wire(table[1].value.arr, &p);
        pose->position = p.position;
        pose->euler = p.euler;
    }
    return 0;
}

// Whole degrees on the wire, truncated; the handle follows through the re-read.
int zq_set_install_pose(zq_robot_handle* handle, float x, float y, float z) {
    const int32_t pose[3] = {static_cast<int32_t>(x), static_cast<int32_t>(y), static_cast<int32_t>(z)};
    zq_send_value_t values[] = {send_str("command", "set_install_pose"), send_ints("pose", pose, 3)};
    int rc = cat::set("zq_set_install_pose", handle, values, 2, "set_install_pose", "set_state", config_timeout());
    if (rc != 0) return rc;
    float ax, ay, az;
    return zq_get_install_pose(handle, &ax, &ay, &az);
}

// One row "joint_<i>" per joint, and one more on the models with a further link:
// [alpha × 1000, a × 1000000, d × 1000000, offset × 1000].
int zq_set_DH_data(zq_robot_handle* handle, zq_dh_t dh) {
    const char* fn = "zq_set_DH_data";
    DhRows rows;
    int rc = dh_rows(fn, handle, &rows);
    if (rc != 0) return rc;
    const int checked = rows.count < 8 ? rows.count : 8;
    if (!values_ok(dh.alpha, checked, 1000.0) || !values_ok(dh.a, checked, 1e6) || !values_ok(dh.d, checked, 1e6) ||
        !values_ok(dh.offset, checked, 1000.0))
        return refuse_input(fn);
    int32_t wire[10][4] = {};
    zq_send_value_t values[11] = {send_str("command", "set_DH_data")};
    for (int i = 0; i < rows.count; ++i) {
        if (i < 8) {
            wire[i][0] = scale_double(dh.alpha[i], 1000.0);
            wire[i][1] = scale_single(dh.a[i], 1000000.0f);
            wire[i][2] = scale_single(dh.d[i], 1000000.0f);
            wire[i][3] = scale_double(dh.offset[i], 1000.0);
        }
        values[i + 1] = send_ints(rows.keys[i], wire[i], 4);
    }
    return cat::set(fn, handle, values, rows.count + 1, "set_DH_data", "set_state", query_timeout());
}

int zq_set_DH_data_default(zq_robot_handle* handle) {
    zq_send_value_t values[1];
    return frame_set(kDhDefault, handle, values, 1, query_timeout());
}

}  // extern "C"
