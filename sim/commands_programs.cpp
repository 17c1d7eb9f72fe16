// What the controller stores: programs (uploaded from the host, listed, run, changed and
// deleted), global waypoints, recorded trajectory files and hand tool actions, and the
// save of a dragged trajectory as pushed point lines.
//
// Uploads: "run_project" announces a file (generation 3 only); its "file_size" raw bytes follow
// on the connection and are taken as data, not requests; the verdict {"command":"download_project","project_state":true} is pushed
// once it can have arrived (the host sends about 50 bytes per millisecond). The program is
// stored under "save_id", or the next free id. A run lasts 150 ms and ends with a pushed
// {"state":"program_run_finish","finish_id":id}; meanwhile the run state is 1.
// Lists are paged ("page_num" from 1, "page_size" 0 for all) and filtered by the fragment
// "vague_search". "save_trajectory" answers the number of points of the last recording and
// pushes them, one {"point":[...]} line each, 2 ms apart, then "save_trajectory_finish".
#include <algorithm>
#include <chrono>

#include "command_families.h"
#include "device_replies.h"

namespace zqsim {
namespace {

constexpr int kRunMs = 150;
constexpr int kPointGapMs = 2;

template <class T>
T* by_name(std::vector<T>& v, const std::string& name) {
    auto it = std::find_if(v.begin(), v.end(), [&](const T& e) { return e.name == name; });
    return it == v.end() ? nullptr : &*it;
}

template <class T>
bool erase_name(std::vector<T>& v, const std::string& name) {
    const auto n = v.size();
    v.erase(std::remove_if(v.begin(), v.end(), [&](const T& e) { return e.name == name; }), v.end());
    return v.size() != n;
}

bool valid_name(const std::string& n, std::size_t max) { return !n.empty() && n.size() <= max; }

// A paged answer: the head, then `list_key` with the page's entries that match the fragment.
template <class T, class Fill>
void paged(CommandContext& c, const char* reply_key, const char* list_key, const std::vector<T>& all, Fill fill) {
    int page_num = 1, page_size = 0;
    dev::int_in(c, "page_num", 1, 1000000, &page_num);
    dev::int_in(c, "page_size", 0, 1000000, &page_size);
    const std::string fragment = dev::text(c, "vague_search");
    std::vector<const T*> hits;
    for (const T& e : all)
        if (e.name.find(fragment) != std::string::npos) hits.push_back(&e);
    cJSON* r = wire::reply(reply_key);
    cJSON_AddNumberToObject(r, "page_num", page_num);
    cJSON_AddNumberToObject(r, "page_size", page_size);
    cJSON_AddNumberToObject(r, "total_size", static_cast<double>(hits.size()));
    cJSON_AddStringToObject(r, "vague_search", fragment.c_str());
    cJSON* list = cJSON_AddArrayToObject(r, list_key);
    const std::size_t from = page_size ? static_cast<std::size_t>(page_num - 1) * page_size : 0;
    const std::size_t to = page_size ? std::min(hits.size(), from + page_size) : hits.size();
    for (std::size_t i = from; i < to; ++i) {
        cJSON* e = cJSON_CreateObject();
        fill(e, *hits[i]);
        cJSON_AddItemToArray(list, e);
    }
    c.reply(r);
}

// ---- programs ----------------------------------------------------------------------

StoredProgram* program(DeviceState& d, int id) {
    auto it = std::find_if(d.programs.begin(), d.programs.end(), [&](const StoredProgram& p) { return p.id == id; });
    return it == d.programs.end() ? nullptr : &*it;
}

void run_project(CommandContext& c) {
    DeviceState& d = c.arm.devices;
    int size = 0, save_id = 0, speed = 0;
    const std::string name = dev::text(c, "project_name");
    const bool ok = c.arm.generation() == 3 && valid_name(name, 299) && dev::int_in(c, "file_size", 1, 1 << 30, &size) &&
                    dev::int_in(c, "plan_speed", 0, 100, &speed);
    dev::int_in(c, "save_id", 0, 100000, &save_id);
    dev::state(c, "run_project", "project_state", ok);
    if (!ok) return;
    c.data_bytes = size;  // the file follows
    StoredProgram* p = save_id > 0 ? program(d, save_id) : nullptr;
    if (!p) {
        d.programs.push_back(StoredProgram{save_id > 0 ? save_id : d.next_program_id, name, size, speed});
        p = &d.programs.back();
    }
    *p = StoredProgram{p->id, name, size, speed ? speed : p->speed};
    d.next_program_id = std::max(d.next_program_id, p->id + 1);
    cJSON* verdict = wire::reply("download_project");
    cJSON_AddBoolToObject(verdict, "project_state", true);
    c.push_later(size / 50 + 30, verdict);
}

void get_program_trajectory_list(CommandContext& c) {
    paged(c, "get_program_trajectory_list", "list", c.arm.devices.programs, [](cJSON* e, const StoredProgram& p) {
        cJSON_AddNumberToObject(e, "id", p.id);
        cJSON_AddNumberToObject(e, "size", p.size);
        cJSON_AddNumberToObject(e, "speed", p.speed);
        cJSON_AddStringToObject(e, "trajectory_name", p.name.c_str());
    });
}

void set_program_id_start(CommandContext& c) {
    DeviceState& d = c.arm.devices;
    int id = 0, speed = 0;
    const bool ok = dev::int_in(c, "id", 1, 100000, &id) && program(d, id) && d.running_program == 0;
    dev::state(c, "set_program_id_start", "start_state", ok);
    if (!ok) return;
    if (dev::int_in(c, "speed", 1, 100, &speed)) program(d, id)->speed = speed;
    d.running_program = id;
    d.program_until = SimClock::now() + std::chrono::milliseconds(kRunMs);
    cJSON* done = cJSON_CreateObject();
    cJSON_AddStringToObject(done, "state", "program_run_finish");
    cJSON_AddNumberToObject(done, "finish_id", id);
    c.push_later(kRunMs, done);
}

// The running program, 0 once its time is over.
int running(DeviceState& d) {
    if (d.running_program && SimClock::now() >= d.program_until) d.running_program = 0;
    return d.running_program;
}

void get_program_run_state(CommandContext& c) {
    DeviceState& d = c.arm.devices;
    const int id = running(d);
    cJSON* r = wire::reply("get_program_run_state");
    cJSON_AddNumberToObject(r, "run_state", id ? 1 : 0);
    if (id) {
        cJSON_AddNumberToObject(r, "id", id);
        cJSON_AddNumberToObject(r, "edit_id", 0);
        cJSON_AddNumberToObject(r, "plan_num", 1);
        wire::add_int_array(r, "loop_num", {2, 3});
        wire::add_int_array(r, "loop_cont", {1, 0});
        cJSON_AddNumberToObject(r, "step_mode", 0);
        cJSON_AddNumberToObject(r, "plan_speed", program(d, id)->speed);
    }
    c.reply(r);
}

void get_flowchart_program_run_state(CommandContext& c) {
    DeviceState& d = c.arm.devices;
    const int id = running(d);
    cJSON* r = wire::reply("get_flowchart_program_run_state");
    cJSON_AddNumberToObject(r, "run_state", id ? 1 : 0);
    if (id) {
        cJSON_AddNumberToObject(r, "id", id);
        cJSON_AddStringToObject(r, "name", program(d, id)->name.c_str());
        cJSON_AddNumberToObject(r, "plan_speed", program(d, id)->speed);
        cJSON_AddNumberToObject(r, "step_mode", 0);
        cJSON_AddStringToObject(r, "modal_id", "start-1");
    }
    c.reply(r);
}

void delete_program_trajectory(CommandContext& c) {
    DeviceState& d = c.arm.devices;
    int id = 0;
    const bool ok = dev::int_in(c, "id", 1, 100000, &id) && program(d, id) && running(d) != id;
    if (ok) d.programs.erase(std::find_if(d.programs.begin(), d.programs.end(), [&](const StoredProgram& p) { return p.id == id; }));
    dev::state(c, "delete_program_trajectory", "delete_state", ok);
}

void update_program_trajectory(CommandContext& c) {
    int id = 0, speed = 0;
    const std::string name = dev::text(c, "project_name");
    StoredProgram* p = dev::int_in(c, "id", 1, 100000, &id) ? program(c.arm.devices, id) : nullptr;
    const bool ok = p && dev::int_in(c, "plan_speed", 1, 100, &speed) && valid_name(name, 299);
    if (ok) p->speed = speed, p->name = name;
    dev::state(c, "update_program_trajectory", "update_state", ok);
}

void set_default_run_program(CommandContext& c) {
    int id = 0;
    const bool ok = dev::int_in(c, "id", 0, 100000, &id) && (id == 0 || program(c.arm.devices, id));
    if (ok) c.arm.devices.default_program = id;
    dev::state(c, "set_default_run_program", "set_state", ok);
}

// ---- global waypoints ------------------------------------------------------------------

bool waypoint_from(const CommandContext& c, StoredWaypoint* w) {
    w->name = dev::text(c, "point_name");
    w->work_frame = dev::text(c, "work_frame");
    w->tool_frame = dev::text(c, "tool_frame");
    w->time = dev::text(c, "time");
    return valid_name(w->name, 39) && dev::ints(c, "joint", c.arm.dof, &w->joint) && dev::ints(c, "pose", 6, &w->pose) &&
           valid_name(w->work_frame, 10) && valid_name(w->tool_frame, 10);
}

void add_waypoint_fields(cJSON* e, const StoredWaypoint& w) {
    cJSON_AddStringToObject(e, "point_name", w.name.c_str());
    wire::add_int_array(e, "joint", std::vector<std::int64_t>(w.joint.begin(), w.joint.end()));
    wire::add_int_array(e, "pose", std::vector<std::int64_t>(w.pose.begin(), w.pose.end()));
    cJSON_AddStringToObject(e, "work_frame", w.work_frame.c_str());
    cJSON_AddStringToObject(e, "tool_frame", w.tool_frame.c_str());
    cJSON_AddStringToObject(e, "time", w.time.c_str());
}

void add_global_waypoint(CommandContext& c) {
    StoredWaypoint w;
    auto& all = c.arm.devices.waypoints;
    const bool ok = waypoint_from(c, &w) && !by_name(all, w.name);
    if (ok) all.push_back(w);
    dev::state(c, "add_global_waypoint", "add_state", ok);
}

void update_global_waypoint(CommandContext& c) {
    StoredWaypoint w;
    StoredWaypoint* existing = nullptr;
    const bool ok = waypoint_from(c, &w) && (existing = by_name(c.arm.devices.waypoints, w.name)) != nullptr;
    if (ok) *existing = w;
    dev::state(c, "update_global_waypoint", "update_state", ok);
}

void given_global_waypoint(CommandContext& c) {
    const StoredWaypoint* w = by_name(c.arm.devices.waypoints, dev::text(c, "point_name"));
    if (!w) {
        dev::state(c, "given_global_waypoint", "given_state", false);
        return;
    }
    cJSON* r = wire::reply("given_global_waypoint");
    add_waypoint_fields(r, *w);
    c.reply(r);
}

// ---- recorded trajectories and tool actions -------------------------------------------------

void save_trajectory_file(CommandContext& c) {
    DeviceState& d = c.arm.devices;
    const std::string name = dev::text(c, "name");
    const bool ok = d.recorded_points > 0 && valid_name(name, 19) && !by_name(d.trajectories, name);
    if (ok) d.trajectories.push_back(StoredTrajectory{name, d.recorded_points, "2024-05-20 10:00:00"});
    dev::state(c, "save_trajectory_file", "save_state", ok);
}

bool tool_action_from(const CommandContext& c, const char* name_key, StoredToolAction* a) {
    a->name = dev::text(c, name_key);
    const bool angle = dev::ints(c, "hand_angle", -1, &a->hand_angle);
    const bool pos = dev::ints(c, "hand_pos", -1, &a->hand_pos);
    return valid_name(a->name, 19) && (angle || pos);
}

void save_tool_action(CommandContext& c) {
    StoredToolAction a;
    auto& all = c.arm.devices.tool_actions;
    const bool ok = tool_action_from(c, "name", &a) && !by_name(all, a.name);
    if (ok) all.push_back(a);
    dev::state(c, "save_tool_action", "save_state", ok);
}

void update_tool_action(CommandContext& c) {
    StoredToolAction a;
    auto& all = c.arm.devices.tool_actions;
    StoredToolAction* existing = by_name(all, dev::text(c, "name"));
    const bool ok = existing && tool_action_from(c, "new_name", &a) && (a.name == existing->name || !by_name(all, a.name));
    if (ok) *existing = a;
    dev::state(c, "update_tool_action", "update_state", ok);
}

void run_tool_action(CommandContext& c) {
    const bool ok = by_name(c.arm.devices.tool_actions, dev::text(c, "name")) != nullptr;
    dev::state(c, "run_tool_action", "run_state", ok);
    if (ok) dev::complete_later(c, 5, c.arm.devices.motion_ms);
}

void save_trajectory(CommandContext& c) {
    const int n = c.arm.devices.recorded_points;
    cJSON* r = wire::reply("save_trajectory");
    cJSON_AddBoolToObject(r, "save_state", n > 0);
    cJSON_AddNumberToObject(r, "total_num", n);
    c.reply(r);
    for (int i = 0; i < n; ++i) {
        std::vector<std::int64_t> joints;
        for (double q : c.arm.joint_angles) joints.push_back(wire::scaled(q + 0.5 * i, wire::kAngle));
        cJSON* p = cJSON_CreateObject();
        wire::add_int_array(p, "point", joints);
        c.push_later(kPointGapMs * (i + 1), p);
    }
    if (n > 0) {
        cJSON* done = cJSON_CreateObject();
        cJSON_AddStringToObject(done, "state", "save_trajectory_finish");
        c.push_later(kPointGapMs * (n + 1), done);
    }
}

}  // namespace

void register_program_commands(CommandTable& table) {
    table.add("plan_speed", [](CommandContext& c) {
        dev::state(c, "plan_speed", "plan_state", dev::int_in(c, "speed", 1, 100, &c.arm.devices.plan_speed));
    });
    table.add("run_project", run_project);
    table.add("get_program_trajectory_list", get_program_trajectory_list);
    table.add("set_program_id_start", set_program_id_start);
    table.add("get_program_run_state", get_program_run_state);
    table.add("get_flowchart_program_run_state", get_flowchart_program_run_state);
    table.add("delete_program_trajectory", delete_program_trajectory);
    table.add("update_program_trajectory", update_program_trajectory);
    table.add("set_default_run_program", set_default_run_program);
    table.add("get_default_run_program", [](CommandContext& c) {
        dev::value(c, "get_default_run_program", "id", c.arm.devices.default_program);
    });
    table.add("add_global_waypoint", add_global_waypoint);
    table.add("update_global_waypoint", update_global_waypoint);
    table.add("delete_global_waypoint", [](CommandContext& c) {
        dev::state(c, "delete_global_waypoint", "delete_state",
                   erase_name(c.arm.devices.waypoints, dev::text(c, "point_name")));
    });
    table.add("given_global_waypoint", given_global_waypoint);
    table.add("get_global_waypoints_list", [](CommandContext& c) {
        paged(c, "get_global_waypoints_list", "list", c.arm.devices.waypoints, add_waypoint_fields);
    });
    table.add("get_trajectory_file_list", [](CommandContext& c) {
        paged(c, "get_trajectory_file_list", "list", c.arm.devices.trajectories, [](cJSON* e, const StoredTrajectory& t) {
            cJSON_AddStringToObject(e, "name", t.name.c_str());
            cJSON_AddNumberToObject(e, "point_num", t.points);
            cJSON_AddStringToObject(e, "create_time", t.create_time.c_str());
        });
    });
    table.add("set_run_trajectory_file", [](CommandContext& c) {
        dev::state(c, "set_run_trajectory_file", "run_state",
                   by_name(c.arm.devices.trajectories, dev::text(c, "name")) != nullptr);
    });
    table.add("delete_trajectory_file", [](CommandContext& c) {
        dev::state(c, "delete_trajectory_file", "delete_state", erase_name(c.arm.devices.trajectories, dev::text(c, "name")));
    });
    table.add("save_trajectory_file", save_trajectory_file);
    table.add("get_tool_action_list", [](CommandContext& c) {
        paged(c, "get_tool_action_list", "action_list", c.arm.devices.tool_actions, [](cJSON* e, const StoredToolAction& a) {
            cJSON_AddStringToObject(e, "name", a.name.c_str());
            wire::add_int_array(e, "hand_pos", std::vector<std::int64_t>(a.hand_pos.begin(), a.hand_pos.end()));
            wire::add_int_array(e, "hand_angle", std::vector<std::int64_t>(a.hand_angle.begin(), a.hand_angle.end()));
        });
    });
    table.add("run_tool_action", run_tool_action);
    table.add("delete_tool_action", [](CommandContext& c) {
        dev::state(c, "delete_tool_action", "delete_state", erase_name(c.arm.devices.tool_actions, dev::text(c, "name")));
    });
    table.add("save_tool_action", save_tool_action);
    table.add("update_tool_action", update_tool_action);
    table.add("save_trajectory", save_trajectory);
}

}  // namespace zqsim
