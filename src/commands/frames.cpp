// Frames, install pose and DH parameters.
#include <cstdio>
#include <cstring>

#include "session/catalogue.h"
#include "commands/wire_forms.h"
#include "platform/log.h"
#include "zq_api.h"

namespace zq {
namespace {

const cJSON* member(const cJSON* root, const char* key) { return cJSON_GetObjectItemCaseSensitive(root, key); }

// Reads a numeric array of exactly `n` elements.
bool read_ints(const cJSON* item, int32_t* out, int n) {
    if (!cJSON_IsArray(item) || cJSON_GetArraySize(item) != n) return false;
    int k = 0;
    for (const cJSON* el = item->child; el; el = el->next) out[k++] = cJSON_IsNumber(el) ? el->valueint : -1;
    return true;
}

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" {

int zq_get_current_tool_frame(zq_robot_handle* handle, zq_frame_t* frame) {
    char out[cat::kReplyBuffer] = {0};
    cJSON* root = nullptr;
    int rc = cat::get_tree("zq_get_current_tool_frame", handle, "get_current_tool_frame", "current_tool_frame",
                           query_timeout(), &root, out, sizeof out);
    if (rc < 0) return rc;
    if (!root) {
        log_error("[get_current_tool_frame] Current tool frame parse err\n");
        return -1;
    }
    zq_frame_t f = frame ? *frame : zq_frame_t{};
    int32_t pose[6], position[3];
    const cJSON* name = member(root, "tool_name");
    const cJSON* payload = member(root, "payload");
    rc = -1;
    if (!cJSON_IsString(name)) {
        log_error("[get_current_tool_frame] Tool frame Name parse err\n");
    } else if (!read_ints(member(root, "pose"), pose, 6)) {
        log_error("[get_current_tool_frame] Tool frame pose parse err\n");
    } else if (!cJSON_IsNumber(payload) || payload->valueint < 0) {
        log_error("[get_current_tool_frame] Tool frame payload parse err\n");
    } else if (!read_ints(member(root, "position"), position, 3)) {
        log_error("[get_current_tool_frame] Tool frame position parse err\n");
    } else {
        // At most 10 characters, no terminator added: the rest of the field stays.
        std::memcpy(f.frame_name, name->valuestring, strnlen(name->valuestring, 10));
        pose_from_wire(pose, &f.pose);
        f.payload = static_cast<float>(payload->valueint) / 1000.0f;
        // This reply carries the load's centre in millimetres.
        f.x = static_cast<float>(position[0]) / 1000.0f;
        f.y = static_cast<float>(position[1]) / 1000.0f;
        f.z = static_cast<float>(position[2]) / 1000.0f;
        log_debug("[get_current_tool_frame] Tool frame payloda: %.3f\n", f.payload);
        rc = 0;
    }
    cJSON_Delete(root);
    if (rc != 0) return rc;
    if (frame) *frame = f;
    // The kinematic model follows the controller's current tool frame.
    {
        std::lock_guard<platform::Mutex> lock(kinematics_state_lock());
        zq_algo_set_toolframe(&f);
    }
    return store_in_handle(handle, [&](zq_robot_handle& h) { h.tool_frame = f; });
}

int zq_get_current_work_frame(zq_robot_handle* handle, zq_frame_t* frame) {
    char out[cat::kReplyBuffer] = {0};
    cJSON* root = nullptr;
    int rc = cat::get_tree("zq_get_current_work_frame", handle, "get_current_work_frame", "current_work_frame",
                           query_timeout(), &root, out, sizeof out);
    if (rc < 0) return rc;
    if (!root) {
        log_error("[get_current_work_frame] Current Work frame parse err\n");
        return -1;
    }
    zq_frame_t f = frame ? *frame : zq_frame_t{};
    int32_t pose[6];
    const cJSON* name = member(root, "frame_name");
    rc = -1;
    if (!cJSON_IsString(name)) {
        log_error("[get_current_work_frame] Work frame Name parse err\n");
    } else if (!read_ints(member(root, "pose"), pose, 6)) {
        log_error("[get_current_work_frame] Work frame pose parse err\n");
    } else {
        std::memset(f.frame_name, 0, sizeof f.frame_name);
        std::memcpy(f.frame_name, name->valuestring, strnlen(name->valuestring, 11));
        pose_from_wire(pose, &f.pose);
        rc = 0;
    }
    cJSON_Delete(root);
    if (rc != 0) return rc;
    if (frame) *frame = f;
    {
        std::lock_guard<platform::Mutex> lock(kinematics_state_lock());
        zq_algo_set_workframe(&f);
    }
    return store_in_handle(handle, [&](zq_robot_handle& h) {
        std::memcpy(h.work_frame.frame_name, f.frame_name, sizeof f.frame_name);
        h.work_frame.pose = f.pose;
    });
}

int zq_get_install_pose(zq_robot_handle* handle, float* x, float* y, float* z) {
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_INT_ARRAY, "pose", 3)};
    int rc = cat::get("zq_get_install_pose", handle, "get_install_pose", "install_pose", table, 1, query_timeout());
    if (rc != 0) return rc;
    // Install angles are whole degrees on the wire.
    const float angle[3] = {static_cast<float>(table[0].value.arr[0]), static_cast<float>(table[0].value.arr[1]),
                            static_cast<float>(table[0].value.arr[2])};
    if (x) *x = angle[0];
    if (y) *y = angle[1];
    if (z) *z = angle[2];
    return store_in_handle(handle, [&](zq_robot_handle& h) { std::memcpy(h.install_angle, angle, sizeof angle); });
}

int zq_get_DH_data(zq_robot_handle* handle, zq_dh_t* dh) {
    const char* fn = "zq_get_DH_data";
    DhRows rows;
    int rc = dh_rows(fn, handle, &rows);
    if (rc != 0) return rc;
    zq_key_value_t table[10];
    for (int i = 0; i < rows.count; ++i) table[i] = reply_entry(ZQ_VALUE_INT_ARRAY, rows.keys[i], 4);
    rc = cat::get(fn, handle, "get_DH_data", "get_DH_data", table, rows.count, 1000);
    if (rc != 0) return rc;
    zq_dh_t d{};
    for (int i = 0; i < rows.count && i < 8; ++i) {
        const int32_t* v = table[i].value.arr;
        d.alpha[i] = static_cast<float>(v[0]) / 1000.0f;
        d.a[i] = static_cast<float>(v[1]) / 1000000.0f;
        d.d[i] = static_cast<float>(v[2]) / 1000000.0f;
        d.offset[i] = static_cast<float>(v[3]) / 1000.0f;
    }
    if (dh) *dh = d;
    return store_in_handle(handle, [&](zq_robot_handle& h) { h.dh_data = d; });
}

}  // extern "C"
