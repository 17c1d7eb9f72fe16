// Global waypoints: named joint and pose targets stored on the controller.
// Names are in the local code page here and UTF-8 on the wire.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "commands/catalogue.h"
#include "commands/bounded_input.h"
#include "session/wire_input.h"
#include "commands/paged_lists.h"
#include "commands/wire_forms.h"
#include "session/log.h"
#include "zq_api.h"

namespace zq {
namespace {

using Text = std::unique_ptr<char, void (*)(char*)>;

// The name in UTF-8, cut to the record's field; null for a null or empty
// name or a failed conversion.
Text wire_name(const char* name) {
    char local[sizeof(zq_waypoint_t::point_name)];
    copy_text(local, sizeof local, name);
    return Text(local[0] ? gbk_to_utf8(local) : nullptr, platform::free_text);
}

// A received name in the local code page, the raw text when that fails.
void local_name(const char* wire, char* field, std::size_t size) {
    Text converted(utf8_to_gbk(wire), platform::free_text);
    copy_text(field, size, converted ? converted.get() : wire);
}

// "%04d-%02d-%02d %02d:%02d:%02d" of the local time.
void time_stamp(char* out, std::size_t size) {
    const platform::LocalTime t = platform::local_time();
    std::snprintf(out, size, "%04d-%02d-%02d %02d:%02d:%02d", t.year, t.month, t.day, t.hour, t.minute, t.second);
}

struct WaypointRow {
    const char* fn;
    const char* command;
    const char* result_key;
    const char* stamp_key;  // the stamp's second key
};

const WaypointRow kAdd{"zq_add_global_waypoint", "add_global_waypoint", "add_state", "create_time"};
const WaypointRow kUpdate{"zq_update_global_waypoint", "update_global_waypoint", "update_state", "update_time"};

int send_waypoint(const WaypointRow& row, zq_robot_handle* handle, const zq_waypoint_t& wp) {
    const int dof = cat::joint_count(row.fn, handle);
    if (dof < 0) return -1;
    const int joints = dof < 7 ? dof : 7;
    const float position[3] = {wp.pose.position.x, wp.pose.position.y, wp.pose.position.z};
    const float euler[3] = {wp.pose.euler.rx, wp.pose.euler.ry, wp.pose.euler.rz};
    if (!values_ok(wp.joint, joints, 1000.0) || !values_ok(position, 3, 1000000.0) ||
        !values_ok(euler, 3, 1000.0))
        return -4;
    int32_t joint[7], pose[6];
    for (int i = 0; i < joints; ++i) joint[i] = scale_double(wp.joint[i], 1000.0);
    pose_to_wire(wp.pose, pose);
    char stamp[sizeof wp.time];
    time_stamp(stamp, sizeof stamp);
    Text name = wire_name(wp.point_name);
    if (!name) return -2;
    char work[sizeof wp.work_frame], tool[sizeof wp.tool_frame];
    copy_text(work, sizeof work, wp.work_frame);
    copy_text(tool, sizeof tool, wp.tool_frame);
    zq_send_value_t values[] = {send_str("command", row.command), send_str("point_name", name.get()),
                                send_ints("joint", joint, joints),  send_ints("pose", pose, 6),
                                send_str("work_frame", work),      send_str("tool_frame", tool),
                                send_str("time", stamp),           send_str(row.stamp_key, stamp)};
    return cat::set(row.fn, handle, values, 8, row.command, row.result_key, query_timeout());
}

// One waypoint of a list reply, `dof` joints.
bool read_waypoint(const cJSON* el, int dof, zq_waypoint_t* wp) {
    const cJSON* name = cJSON_GetObjectItemCaseSensitive(el, "point_name");
    if (!cJSON_IsString(name)) return false;
    local_name(name->valuestring, wp->point_name, sizeof wp->point_name);
    const cJSON* joint = cJSON_GetObjectItemCaseSensitive(el, "joint");
    if (joint) {
        if (!cJSON_IsArray(joint) || cJSON_GetArraySize(joint) != dof) return false;
        int i = 0;
        for (const cJSON* v = joint->child; v; v = v->next, ++i) {
            if (!cJSON_IsNumber(v)) return false;
            if (i < 7) wp->joint[i] = unscale(v->valueint, 1000.0f);
        }
    }
    const cJSON* pose = cJSON_GetObjectItemCaseSensitive(el, "pose");
    if (pose) {
        if (!cJSON_IsArray(pose) || cJSON_GetArraySize(pose) != 6) return false;
        int32_t wire[6];
        int i = 0;
        for (const cJSON* v = pose->child; v; v = v->next, ++i) {
            if (!cJSON_IsNumber(v)) return false;
            wire[i] = v->valueint;
        }
        pose_from_wire(wire, &wp->pose);
    }
    return lists::text_member(el, "work_frame", wp->work_frame, sizeof wp->work_frame) &&
           lists::text_member(el, "tool_frame", wp->tool_frame, sizeof wp->tool_frame) &&
           lists::text_member(el, "time", wp->time, sizeof wp->time);
}

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" {

int zq_add_global_waypoint(zq_robot_handle* handle, zq_waypoint_t waypoint) {
    return send_waypoint(kAdd, handle, waypoint);
}

int zq_update_global_waypoint(zq_robot_handle* handle, zq_waypoint_t waypoint) {
    return send_waypoint(kUpdate, handle, waypoint);
}

int zq_delete_global_waypoint(zq_robot_handle* handle, const char* point_name) {
    Text name = wire_name(point_name);
    if (!name) return -2;
    zq_send_value_t values[] = {send_str("command", "delete_global_waypoint"), send_str("point_name", name.get())};
    return cat::set("zq_delete_global_waypoint", handle, values, 2, "delete_global_waypoint", "delete_state",
                    query_timeout());
}

int zq_get_given_global_waypoint(zq_robot_handle* handle, const char* point_name, zq_waypoint_t* waypoint) {
    const char* fn = "zq_get_given_global_waypoint";
    if (!handle || !point_name || !waypoint) return -3;
    Text name = wire_name(point_name);
    if (!name) return -2;
    zq_send_value_t values[] = {send_str("command", "given_global_waypoint"), send_str("point_name", name.get())};
    char out[cat::kReplyBuffer] = {0};
    const int n = zq_command_exchange(fn, handle, values, 2, "given_global_waypoint", out, sizeof out,
                                      query_timeout());
    if (n < 1) return n;
    const int dof = read_joint_count(handle);
    if (dof < 0) return -1;
    // An unknown name is answered with "given_state" false.
    std::unique_ptr<cJSON, void (*)(cJSON*)> root(cJSON_Parse(out), cJSON_Delete);
    if (root && cJSON_IsFalse(cJSON_GetObjectItemCaseSensitive(root.get(), "given_state"))) return 1;
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_STRING, "point_name"), reply_entry(ZQ_VALUE_INT_ARRAY, "joint", dof),
                              reply_entry(ZQ_VALUE_INT_ARRAY, "pose", 6),   reply_entry(ZQ_VALUE_STRING, "work_frame"),
                              reply_entry(ZQ_VALUE_STRING, "tool_frame"),   reply_entry(ZQ_VALUE_STRING, "time")};
    const int rc = zq_parse_reply(fn, out, table, 6);
    if (rc != 0) {
        log_error("[%s] JSON parse failed: ret=%d\n", fn, rc);
        return rc;
    }
    zq_waypoint_t wp{};
    local_name(table[0].value.str, wp.point_name, sizeof wp.point_name);
    for (int i = 0; i < dof && i < 7; ++i) wp.joint[i] = unscale(table[1].value.arr[i], 1000.0f);
    pose_from_wire(table[2].value.arr, &wp.pose);
    copy_text(wp.work_frame, 10 + 1, table[3].value.str);
    copy_text(wp.tool_frame, 10 + 1, table[4].value.str);
    copy_text(wp.time, 28 + 1, table[5].value.str);
    *waypoint = wp;
    return 0;
}

int zq_get_global_waypoints_list(zq_robot_handle* handle, int page_num, int page_size, const char* vague_search,
                                 zq_waypoint_list_t* list) {
    const char* fn = "zq_get_global_waypoints_list";
    if (!list) return -4;
    const int dof = cat::joint_count(fn, handle);
    if (dof < 0) return -1;
    Text fragment = wire_name(vague_search);
    const lists::Request req{fn, "get_global_waypoints_list", page_num, page_size, fragment.get(),
                             config_timeout() + 1000};
    const lists::Head head{&list->page_num, &list->page_size, &list->total_size, list->vague_search, &list->list_len};
    return lists::read_paged(req, handle, "list", head, ZQ_LIST_ENTRIES, [&](const cJSON* el, int i) {
        list->points_list[i] = zq_waypoint_t{};
        return read_waypoint(el, dof, &list->points_list[i]);
    });
}

}  // extern "C"
