// Recorded trajectory files and hand tool actions, both of the generation 4
// controllers: lists, run, save, change and delete by name.
#include "session/catalogue.h"
#include "commands/bounded_input.h"
#include "session/wire_input.h"
#include "commands/paged_lists.h"
#include "motion/device_wait.h"
#include "zq_api.h"

namespace zq {
namespace {

constexpr int kNameField = 20;  // names of trajectory files and tool actions

// A command by name; the reply key is the command literal.
struct NamedRow {
    const char* fn;
    const char* command;
    const char* result_key;
};

const NamedRow kRunTrajectory{"zq_set_run_trajectory", "set_run_trajectory_file", "run_state"};
const NamedRow kDeleteTrajectory{"zq_delete_trajectory_file", "delete_trajectory_file", "delete_state"};
const NamedRow kSaveTrajectory{"zq_save_trajectory_file", "save_trajectory_file", "save_state"};
const NamedRow kRunAction{"zq_run_tool_action", "run_tool_action", "run_state"};
const NamedRow kDeleteAction{"zq_delete_tool_action", "delete_tool_action", "delete_state"};

int by_name(const NamedRow& row, zq_robot_handle* handle, const char* name) {
    if (!name) return -4;
    const int gate = generation_gate(handle, 4, -4);
    if (gate != 0) return gate;
    char cut[kNameField];
    copy_text(cut, sizeof cut, name);
    zq_send_value_t values[] = {send_str("command", row.command), send_str("name", cut)};
    return cat::set(row.fn, handle, values, 2, row.command, row.result_key, query_timeout());
}

// Saves or changes a tool action: hand angles when `type` is not 0, else hand positions.
int action_values(const char* fn, const char* command, const char* result_key, zq_robot_handle* handle,
                  const char* name, const char* new_name, const int* v, int count, int type) {
    if (!name || !v || count < 1 || count > ZQ_TOOL_ACTION_VALUES) return -4;
    const int gate = generation_gate(handle, 4, -4);
    if (gate != 0) return gate;
    char cut[kNameField], cut_new[kNameField];
    copy_text(cut, sizeof cut, name);
    copy_text(cut_new, sizeof cut_new, new_name);
    zq_send_value_t values[4] = {send_str("command", command), send_str("name", cut)};
    int n = 2;
    if (new_name) values[n++] = send_str("new_name", cut_new);
    values[n++] = send_ints(type != 0 ? "hand_angle" : "hand_pos", v, count);
    return cat::set(fn, handle, values, n, command, result_key, query_timeout());
}

// The values of a tool action; the places behind the last one keep the marker.
bool action_array(const cJSON* el, const char* key, int32_t* field) {
    for (int i = 0; i < ZQ_TOOL_ACTION_VALUES; ++i) field[i] = ZQ_TOOL_ACTION_UNSET;
    const cJSON* arr = cJSON_GetObjectItemCaseSensitive(el, key);
    if (!arr) return true;
    if (!cJSON_IsArray(arr)) return false;
    int i = 0;
    for (const cJSON* v = arr->child; v && i < ZQ_TOOL_ACTION_VALUES; v = v->next, ++i) {
        if (!cJSON_IsNumber(v)) return false;
        field[i] = v->valueint;
    }
    return true;
}

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" {

int zq_get_trajectory_file_list(zq_robot_handle* handle, int page_num, int page_size, const char* vague_search,
                                zq_trajectory_list_t* list) {
    if (!list) return -4;
    const int gate = generation_gate(handle, 4, -4);
    if (gate != 0) return gate;
    char fragment[32];
    copy_text(fragment, sizeof fragment, vague_search);
    const lists::Request req{"zq_get_trajectory_file_list", "get_trajectory_file_list", page_num, page_size,
                             vague_search ? fragment : nullptr, config_timeout() + 1000};
    const lists::Head head{&list->page_num, &list->page_size, &list->total_size, list->vague_search, &list->list_len};
    return lists::read_paged(req, handle, "list", head, ZQ_LIST_ENTRIES, [&](const cJSON* el, int i) {
        zq_trajectory_data_t& e = list->tra_list[i];
        e = zq_trajectory_data_t{};
        if (!cJSON_IsString(cJSON_GetObjectItemCaseSensitive(el, "name"))) return false;
        const char* stamp_key = cJSON_GetObjectItemCaseSensitive(el, "create_time") ? "create_time" : "time";
        return lists::text_member(el, "name", e.name, sizeof e.name) && lists::int_member(el, "point_num", &e.point_num) &&
               lists::text_member(el, stamp_key, e.create_time, sizeof e.create_time);
    });
}

int zq_set_run_trajectory(zq_robot_handle* handle, const char* name) { return by_name(kRunTrajectory, handle, name); }
int zq_delete_trajectory_file(zq_robot_handle* handle, const char* name) {
    return by_name(kDeleteTrajectory, handle, name);
}
int zq_save_trajectory_file(zq_robot_handle* handle, const char* name) {
    return by_name(kSaveTrajectory, handle, name);
}

int zq_get_tool_action_list(zq_robot_handle* handle, int page_num, int page_size, const char* vague_search,
                            zq_tool_action_list_t* list) {
    if (!list) return -4;
    const int gate = generation_gate(handle, 4, -4);
    if (gate != 0) return gate;
    char fragment[32];
    copy_text(fragment, sizeof fragment, vague_search);
    const lists::Request req{"zq_get_tool_action_list", "get_tool_action_list", page_num, page_size,
                             vague_search ? fragment : nullptr, query_timeout()};
    const lists::Head head{&list->page_num, &list->page_size, &list->total_size, list->vague_search, &list->list_len};
    return lists::read_paged(req, handle, "action_list", head, ZQ_LIST_ENTRIES, [&](const cJSON* el, int i) {
        zq_tool_action_t& e = list->act_list[i];
        e = zq_tool_action_t{};
        return cJSON_IsString(cJSON_GetObjectItemCaseSensitive(el, "name")) &&
               lists::text_member(el, "name", e.name, sizeof e.name) && action_array(el, "hand_pos", e.hand_pos) &&
               action_array(el, "hand_angle", e.hand_angle);
    });
}

int zq_run_tool_action(zq_robot_handle* handle, const char* name) {
    const int rc = by_name(kRunAction, handle, name);
    if (rc != 0) return rc;
    return motion::await_device(kRunAction.fn, handle, 1000, motion::kToolAction, -2, -5);
}

int zq_delete_tool_action(zq_robot_handle* handle, const char* name) { return by_name(kDeleteAction, handle, name); }

int zq_save_tool_action(zq_robot_handle* handle, const char* name, int* values, int count, int type) {
    return action_values("zq_save_tool_action", "save_tool_action", "save_state", handle, name, nullptr, values,
                         count, type);
}

int zq_update_tool_action(zq_robot_handle* handle, const char* name, const char* new_name, int* values, int count,
                          int type) {
    if (!new_name) return -4;
    return action_values("zq_update_tool_action", "update_tool_action", "update_state", handle, name, new_name,
                         values, count, type);
}

}  // extern "C"
