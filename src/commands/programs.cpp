// Programs stored on the controller: list, run (and wait for the end), run
// state of both controller generations, change, delete, default program.
#include <cstring>
#include <memory>

#include "session/catalogue.h"
#include "commands/int_rows.h"
#include "commands/bounded_input.h"
#include "session/wire_input.h"
#include "commands/paged_lists.h"
#include "motion/device_wait.h"
#include "platform/log.h"
#include "zq_api.h"

namespace zq {
namespace {

constexpr int kRunBudget = 15000;  // the start of a program

using Tree = std::unique_ptr<cJSON, void (*)(cJSON*)>;

// Sends only "command" and returns the reply's tree in *root: 0, or the
// exchange's code, or -3 when the reply is no JSON.
int query_tree(const char* fn, zq_robot_handle* handle, const char* command, int capacity, Tree* root) {
    std::unique_ptr<char[]> out(new char[capacity]());
    cJSON* tree = nullptr;
    const int rc = cat::get_tree(fn, handle, command, command, query_timeout(), &tree, out.get(), capacity);
    if (rc != 0) return rc;
    root->reset(tree);
    return tree ? 0 : -3;
}

// An optional integer array into `field` (at most `capacity`): its length, or
// -1 when present but no array.
int int_array(const cJSON* root, const char* key, int32_t* field, int capacity) {
    const cJSON* arr = cJSON_GetObjectItemCaseSensitive(root, key);
    if (!arr) return 0;
    if (!cJSON_IsArray(arr)) return -1;
    int i = 0;
    for (const cJSON* el = arr->child; el && i < capacity; el = el->next, ++i)
        field[i] = cJSON_IsNumber(el) ? el->valueint : 0;
    return cJSON_GetArraySize(arr);
}

int read_run_state(const char* fn, const cJSON* root, zq_program_run_state_t* s) {
    const cJSON* run = cJSON_GetObjectItemCaseSensitive(root, "run_state");
    zq_program_run_state_t r{};
    bool ok = cJSON_IsNumber(run);
    if (ok) {
        r.run_state = run->valueint;
        ok = lists::int_member(root, "id", &r.id) && lists::int_member(root, "edit_id", &r.edit_id) &&
             lists::int_member(root, "plan_num", &r.plan_num) && lists::int_member(root, "step_mode", &r.step_mode) &&
             lists::int_member(root, "plan_speed", &r.plan_speed);
    }
    const int loops = ok ? int_array(root, "loop_num", r.loop_num, 100) : -1;
    if (loops < 0 || int_array(root, "loop_cont", r.loop_cont, 100) < 0) {
        log_error("[%s] get program run state parser error!\n", fn);
        return -3;
    }
    r.total_loop = loops;
    *s = r;
    return 0;
}

int read_flowchart_state(const char* fn, const cJSON* root, zq_flowchart_run_state_t* s) {
    const cJSON* run = cJSON_GetObjectItemCaseSensitive(root, "run_state");
    zq_flowchart_run_state_t r{};
    if (!cJSON_IsNumber(run) || !lists::int_member(root, "id", &r.id) ||
        !lists::int_member(root, "plan_speed", &r.plan_speed) || !lists::int_member(root, "step_mode", &r.step_mode) ||
        !lists::text_member(root, "name", r.name, sizeof r.name) ||
        !lists::text_member(root, "modal_id", r.modal_id, sizeof r.modal_id)) {
        log_error("[%s] get flowchart run state parser error!\n", fn);
        return -3;
    }
    r.run_state = run->valueint;
    *s = r;
    return 0;
}

// Single-thread mode: the end of program `id` within `block` seconds.
int await_program_end(const char* fn, zq_robot_handle* handle, int id, int block) {
    char out[cat::kReplyBuffer] = {0};
    if (zq_command_exchange(fn, handle, nullptr, 0, "program_run_finish", out, sizeof out,
                            motion::seconds_budget(block)) < 1)
        return -4;
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_INT, "finish_id")};
    if (zq_parse_reply(fn, out, table, 1) != 0 || table[0].value.i != id) return -4;
    return 0;
}

// Commands on one program by its id; the reply key is the command literal.
const cat::IntSetRow kDelete{"zq_delete_program_trajectory", "delete_program_trajectory", {"id"},
                             "delete_program_trajectory", "delete_state"};
const cat::IntSetRow kSetDefault{"zq_set_default_run_program", "set_default_run_program", {"id"},
                                 "set_default_run_program", "set_state"};

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" {

int zq_set_plan_speed(zq_robot_handle* handle, int speed) {
    zq_send_value_t values[] = {send_str("command", "plan_speed"), send_int("speed", speed)};
    return cat::set("zq_set_plan_speed", handle, values, 2, "plan_speed", "plan_state", query_timeout());
}

int zq_get_program_trajectory_list(zq_robot_handle* handle, int page_num, int page_size, const char* vague_search,
                                   zq_program_trajectorys_t* list) {
    const char* fn = "zq_get_program_trajectory_list";
    if (!list) return -4;
    char fragment[32];
    copy_text(fragment, sizeof fragment, vague_search);
    zq_send_value_t values[] = {send_str("command", "get_program_trajectory_list"),
                                send_str("vague_search", vague_search ? fragment : nullptr),
                                send_int("page_num", page_num), send_int("page_size", page_size)};
    std::unique_ptr<char[]> out(new char[lists::kListReply]());
    const int n = zq_command_exchange(fn, handle, values, 4, "get_program_trajectory_list", out.get(),
                                      lists::kListReply, query_timeout());
    if (n < 1) return n;
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_INT, "page_num"), reply_entry(ZQ_VALUE_INT, "page_size"),
                              reply_entry(ZQ_VALUE_INT, "total_size"), reply_entry(ZQ_VALUE_STRING, "vague_search")};
    const int rc = zq_parse_reply(fn, out.get(), table, 4);
    if (rc != 0) return rc;
    list->page_num = table[0].value.i;
    list->page_size = table[1].value.i;
    list->total_size = table[2].value.i;
    if (vague_search) copy_text(list->vague_search, 28 + 1, table[3].value.str);
    Tree root(cJSON_Parse(out.get()), cJSON_Delete);
    const cJSON* entries = cJSON_GetObjectItemCaseSensitive(root.get(), "list");
    if (!cJSON_IsArray(entries)) {
        log_error("[%s] get program trajectory list parser error!\n", fn);
        return -3;
    }
    const int kept = lists::entries_kept(fn, cJSON_GetArraySize(entries), ZQ_LIST_ENTRIES);
    int i = 0;
    for (const cJSON* el = entries->child; el && i < kept; el = el->next, ++i) {
        zq_program_trajectory_data_t& e = list->list[i];
        lists::int_member(el, "id", &e.id);
        lists::text_member(el, "trajectory_name", e.trajectory_name, sizeof e.trajectory_name);
        lists::int_member(el, "size", &e.size);
        lists::int_member(el, "speed", &e.speed);
    }
    return 0;
}

int zq_set_program_id_run(zq_robot_handle* handle, int id, int speed, int block) {
    const char* fn = "zq_set_program_id_run";
    int generation = 0;
    if (read_handle(handle, [&](const zq_robot_handle& h) { generation = h.controller_version; }) != 0) return -1;
    zq_send_value_t values[] = {send_str("command", "set_program_id_start"), send_int("id", id),
                                speed != 0 ? send_int("speed", speed) : zq_send_value_t{}};
    const int rc = cat::set(fn, handle, values, 3, "set_program_id_start", "start_state", kRunBudget);
    if (block == 0) {
        if (rc == 0) zq_motion_count_op(handle, 3);
        return rc;
    }
    if (rc != 0) return rc;
    if (thread_mode() == ZQ_SINGLE_THREAD_MODE) return await_program_end(fn, handle, id, block);
    return motion::wait_program(fn, handle, id, generation);
}

int zq_get_program_run_state(zq_robot_handle* handle, zq_program_run_state_t* state) {
    const char* fn = "zq_get_program_run_state";
    if (!state) return -4;
    const int gate = generation_gate(handle, 3, -4);
    if (gate != 0) return gate;
    Tree root(nullptr, cJSON_Delete);
    const int rc = query_tree(fn, handle, "get_program_run_state", cat::kReplyBuffer * 2, &root);
    return rc != 0 ? rc : read_run_state(fn, root.get(), state);
}

int zq_get_flowchart_program_run_state(zq_robot_handle* handle, zq_flowchart_run_state_t* state) {
    const char* fn = "zq_get_flowchart_program_run_state";
    if (!state) return -4;
    const int gate = generation_gate(handle, 4, -4);
    if (gate != 0) return gate;
    Tree root(nullptr, cJSON_Delete);
    const int rc = query_tree(fn, handle, "get_flowchart_program_run_state", cat::kReplyBuffer, &root);
    return rc != 0 ? rc : read_flowchart_state(fn, root.get(), state);
}

int zq_delete_program_trajectory(zq_robot_handle* handle, int id) { return cat::set_ints(kDelete, handle, &id); }

int zq_update_program_trajectory(zq_robot_handle* handle, int id, int plan_speed, const char* project_name) {
    if (!project_name) return -4;
    zq_send_value_t values[] = {send_str("command", "update_program_trajectory"), send_int("id", id),
                                send_int("plan_speed", plan_speed), send_str("project_name", project_name)};
    return cat::set("zq_update_program_trajectory", handle, values, 4, "update_program_trajectory", "update_state",
                    query_timeout());
}

int zq_set_default_run_program(zq_robot_handle* handle, int id) { return cat::set_ints(kSetDefault, handle, &id); }

int zq_get_default_run_program(zq_robot_handle* handle, int* id) {
    if (!id) return -4;
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_INT, "id")};
    const int rc = cat::get("zq_get_default_run_program", handle, "get_default_run_program",
                            "get_default_run_program", table, 1, query_timeout());
    if (rc == 0) *id = table[0].value.i;
    return rc;
}

}  // extern "C"
