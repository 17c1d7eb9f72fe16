// Safety zones: stored electronic fences, the fence and virtual wall in force, the spheres
// around a tool, and the collision and singularity switches.
//
// A fence is {"form" 1 cube / 2 plane / 3 sphere, "form_name" (1 to 11 characters), and its
// coordinates in millimetres: cube "x_max_limit" ... "z_min_limit", plane "x1" ... "z3", sphere
// "radius","x","y","z"}. The controller keeps what it is sent, key by key, and hands it back
// the same way. At most 10 fences are stored; a name exists once. "add_" / "update_" /
// "delete_electronic_fence_config" answer "add_config" / "update_config" / "delete_config";
// "get_electronic_fence_list_names" answers "name_list", "get_electronic_fence_list_infos"
// "info_list"; "given_electronic_fence_config" {"form_name"} answers the fence or
// "given_state": false. The fence in force takes forms 1 and 2, the virtual wall 1 and 3
// ("set_config"); their queries answer "given_state": false while none is set. Enables:
// {"set_enable","in_out_side","effective_region"} -> "set_state"; queries answer
// "enable_state","in_out_side","effective_region". "set_tool_envelope" {"tool_name","list":
// [{"name","radius","x","y","z"}]} needs a known tool frame and at most 5 spheres.
#include <algorithm>

#include "command_families.h"
#include "request_fields.h"

namespace zqsim {
namespace {

const std::vector<const char*>& keys_of(int form) {
    static const std::vector<const char*> cube = {"x_max_limit", "x_min_limit", "y_max_limit",
                                                  "y_min_limit", "z_max_limit", "z_min_limit"};
    static const std::vector<const char*> plane = {"x1", "y1", "z1", "x2", "y2", "z2", "x3", "y3", "z3"};
    static const std::vector<const char*> sphere = {"radius", "x", "y", "z"};
    static const std::vector<const char*> none;
    return form == 1 ? cube : form == 2 ? plane : form == 3 ? sphere : none;
}

// The form and coordinates of a request; the name too when `named`.
bool fence_from(const CommandContext& c, bool named, bool (*allowed)(int), Fence* f) {
    if (!req::integer(c, "form", &f->form) || !allowed(f->form)) return false;
    if (named && !req::text(c, "form_name", 11, &f->name)) return false;
    f->coordinates.clear();
    for (const char* k : keys_of(f->form)) {
        int v = 0;
        if (!req::integer(c, k, &v)) return false;
        f->coordinates.emplace_back(k, v);
    }
    return true;
}

cJSON* fence_object(const Fence& f, bool named, cJSON* into = nullptr) {
    cJSON* o = into ? into : cJSON_CreateObject();
    cJSON_AddNumberToObject(o, "form", f.form);
    if (named) cJSON_AddStringToObject(o, "form_name", f.name.c_str());
    for (const auto& kv : f.coordinates) cJSON_AddNumberToObject(o, kv.first.c_str(), static_cast<double>(kv.second));
    return o;
}

bool any_form(int f) { return f >= 1 && f <= 3; }
bool fence_form(int f) { return f == 1 || f == 2; }
bool wall_form(int f) { return f == 1 || f == 3; }

std::vector<Fence>::iterator stored(ArmConfig& arm, const std::string& name) {
    auto& v = arm.system_io.fences;
    return std::find_if(v.begin(), v.end(), [&](const Fence& f) { return f.name == name; });
}

void add_fence(CommandContext& c) {
    Fence f;
    auto& v = c.arm.system_io.fences;
    const bool ok = fence_from(c, true, any_form, &f) && stored(c.arm, f.name) == v.end() && v.size() < 10;
    if (ok) v.push_back(f);
    req::answer(c, "add_electronic_fence_config", "add_config", ok);
}

void update_fence(CommandContext& c) {
    Fence f;
    const bool ok = fence_from(c, true, any_form, &f) && stored(c.arm, f.name) != c.arm.system_io.fences.end();
    if (ok) *stored(c.arm, f.name) = f;
    req::answer(c, "update_electronic_fence_config", "update_config", ok);
}

void delete_fence(CommandContext& c) {
    auto it = stored(c.arm, wire::string_member(c.request, "form_name"));
    const bool ok = it != c.arm.system_io.fences.end();
    if (ok) c.arm.system_io.fences.erase(it);
    req::answer(c, "delete_electronic_fence_config", "delete_config", ok);
}

void given_fence(CommandContext& c) {
    auto it = stored(c.arm, wire::string_member(c.request, "form_name"));
    if (it == c.arm.system_io.fences.end())
        return req::answer(c, "given_electronic_fence_config", "given_state", false);
    c.reply(fence_object(*it, true, wire::reply("given_electronic_fence_config")));
}

void fence_lists(CommandContext& c, bool infos) {
    const char* command = infos ? "get_electronic_fence_list_infos" : "get_electronic_fence_list_names";
    cJSON* r = wire::reply(command);
    cJSON* list = cJSON_AddArrayToObject(r, infos ? "info_list" : "name_list");
    for (const Fence& f : c.arm.system_io.fences)
        cJSON_AddItemToArray(list, infos ? fence_object(f, true) : cJSON_CreateString(f.name.c_str()));
    c.reply(r);
}

void set_zone(CommandContext& c, const char* command, bool (*allowed)(int), bool wall) {
    Fence f;
    const bool ok = fence_from(c, false, allowed, &f);
    if (ok) {
        (wall ? c.arm.system_io.wall : c.arm.system_io.fence) = f;
        (wall ? c.arm.system_io.has_wall : c.arm.system_io.has_fence) = true;
    }
    req::answer(c, command, "set_config", ok);
}

void get_zone(CommandContext& c, const char* command, bool wall) {
    const SystemIoState& s = c.arm.system_io;
    if (!(wall ? s.has_wall : s.has_fence)) return req::answer(c, command, "given_state", false);
    c.reply(fence_object(wall ? s.wall : s.fence, false, wire::reply(command)));
}

void set_enable(CommandContext& c, const char* command, ZoneEnable& e) {
    ZoneEnable n;
    const bool ok = req::boolean(c, "set_enable", &n.enable) && req::integer(c, "in_out_side", &n.in_out_side) &&
                    req::integer(c, "effective_region", &n.effective_region);
    if (ok) e = n;
    req::answer(c, command, "set_state", ok);
}

void get_enable(CommandContext& c, const char* command, const ZoneEnable& e) {
    cJSON* r = wire::reply(command);
    cJSON_AddBoolToObject(r, "enable_state", e.enable);
    cJSON_AddNumberToObject(r, "in_out_side", e.in_out_side);
    cJSON_AddNumberToObject(r, "effective_region", e.effective_region);
    c.reply(r);
}

bool tool_known(const ArmConfig& arm, const std::string& name) {
    return name == arm.tool.name ||
           std::any_of(arm.tool_frames.begin(), arm.tool_frames.end(), [&](const ToolFrame& t) { return t.name == name; });
}

void set_envelope(CommandContext& c) {
    std::string tool;
    const cJSON* list = req::member(c, "list");
    bool ok = req::text(c, "tool_name", 11, &tool) && tool_known(c.arm, tool) && cJSON_IsArray(list) &&
              cJSON_GetArraySize(list) <= 5;
    std::vector<EnvelopeBall> balls;
    for (const cJSON* el = ok ? list->child : nullptr; el && ok; el = el->next) {
        EnvelopeBall b;
        const cJSON* name = cJSON_GetObjectItemCaseSensitive(el, "name");
        long long* fields[4] = {&b.radius, &b.x, &b.y, &b.z};
        const char* keys[4] = {"radius", "x", "y", "z"};
        ok = cJSON_IsString(name);
        if (ok) b.name = name->valuestring;
        for (int k = 0; k < 4 && ok; ++k) {
            const cJSON* v = cJSON_GetObjectItemCaseSensitive(el, keys[k]);
            ok = cJSON_IsNumber(v);
            if (ok) *fields[k] = static_cast<long long>(v->valuedouble);
        }
        balls.push_back(b);
    }
    if (ok) c.arm.system_io.envelopes[tool] = balls;
    req::answer(c, "set_tool_envelope", "set_state", ok);
}

void get_envelope(CommandContext& c) {
    const std::string tool = wire::string_member(c.request, "tool_name");
    if (!tool_known(c.arm, tool)) return req::answer(c, "get_tool_envelope", "get_state", false);
    cJSON* r = wire::reply("get_tool_envelope");
    cJSON_AddStringToObject(r, "tool_name", tool.c_str());
    cJSON* list = cJSON_AddArrayToObject(r, "list");
    for (const EnvelopeBall& b : c.arm.system_io.envelopes[tool]) {
        cJSON* o = cJSON_CreateObject();
        cJSON_AddStringToObject(o, "name", b.name.c_str());
        cJSON_AddNumberToObject(o, "radius", static_cast<double>(b.radius));
        cJSON_AddNumberToObject(o, "x", static_cast<double>(b.x));
        cJSON_AddNumberToObject(o, "y", static_cast<double>(b.y));
        cJSON_AddNumberToObject(o, "z", static_cast<double>(b.z));
        cJSON_AddItemToArray(list, o);
    }
    c.reply(r);
}

// A boolean switch: "set_enable" -> "set_state"; its query answers "enable_state".
void switch_rows(CommandTable& t, const char* set, const char* get, bool SystemIoState::*field) {
    t.add(set, [set, field](CommandContext& c) {
        bool v = false;
        const bool ok = req::boolean(c, "set_enable", &v);
        if (ok) c.arm.system_io.*field = v;
        req::answer(c, set, "set_state", ok);
    });
    t.add(get, [get, field](CommandContext& c) { req::answer(c, get, "enable_state", c.arm.system_io.*field); });
}

// An integer mode 0 to 10: "mode" -> "set_state"; its query answers "mode".
void mode_rows(CommandTable& t, const char* set, const char* get, int SystemIoState::*field) {
    t.add(set, [set, field](CommandContext& c) {
        int v = -1;
        const bool ok = req::integer(c, "mode", &v) && v >= 0 && v <= 10;
        if (ok) c.arm.system_io.*field = v;
        req::answer(c, set, "set_state", ok);
    });
    t.add(get, [get, field](CommandContext& c) {
        cJSON* r = wire::reply(get);
        cJSON_AddNumberToObject(r, "mode", c.arm.system_io.*field);
        c.reply(r);
    });
}

}  // namespace

void register_safety_commands(CommandTable& t) {
    t.add("add_electronic_fence_config", add_fence);
    t.add("update_electronic_fence_config", update_fence);
    t.add("delete_electronic_fence_config", delete_fence);
    t.add("given_electronic_fence_config", given_fence);
    t.add("get_electronic_fence_list_names", [](CommandContext& c) { fence_lists(c, false); });
    t.add("get_electronic_fence_list_infos", [](CommandContext& c) { fence_lists(c, true); });
    t.add("set_electronic_fence_config",
          [](CommandContext& c) { set_zone(c, "set_electronic_fence_config", fence_form, false); });
    t.add("get_electronic_fence_config", [](CommandContext& c) { get_zone(c, "get_electronic_fence_config", false); });
    t.add("set_virtual_wall_config", [](CommandContext& c) { set_zone(c, "set_virtual_wall_config", wall_form, true); });
    t.add("get_virtual_wall_config", [](CommandContext& c) { get_zone(c, "get_virtual_wall_config", true); });
    t.add("set_electronic_fence_enable", [](CommandContext& c) {
        set_enable(c, "set_electronic_fence_enable", c.arm.system_io.fence_enable);
    });
    t.add("get_electronic_fence_enable", [](CommandContext& c) {
        get_enable(c, "get_electronic_fence_enable", c.arm.system_io.fence_enable);
    });
    t.add("set_virtual_wall_enable",
          [](CommandContext& c) { set_enable(c, "set_virtual_wall_enable", c.arm.system_io.wall_enable); });
    t.add("get_virtual_wall_enable",
          [](CommandContext& c) { get_enable(c, "get_virtual_wall_enable", c.arm.system_io.wall_enable); });
    switch_rows(t, "set_self_collision_enable", "get_self_collision_enable", &SystemIoState::self_collision);
    switch_rows(t, "set_collision_remove_enable", "get_collision_remove_enable", &SystemIoState::collision_remove);
    mode_rows(t, "set_collision_detection", "get_collision_detection", &SystemIoState::collision_detection);
    mode_rows(t, "set_avoid_singularity_mode", "get_avoid_singularity_mode", &SystemIoState::avoid_singularity);
    t.add("set_tool_envelope", set_envelope);
    t.add("get_tool_envelope", get_envelope);
}

}  // namespace zqsim
