// The controller's store of tool and work frames, the install pose and the DH chain in the
// setting direction.
//
// Tool frames: "set_manual_tool_frame" / "update_tool_frame" {"tool_name","payload":g,
// "position":[µm x3],"tool_pose":[µm x3, mrad x3]}; "set_change_tool_frame" /
// "set_delete_tool_frame" {"tool_name"}; "set_auto_tool_frame" {"point_num":1..6} records a
// teach point; "generate_auto_tool_frame" {"tool_name","payload","position"} makes a frame of
// the recorded points (answered under "set_auto_tool_frame" by a generation 3 controller);
// "get_total_tool_frame" -> {"command":"total_tool_frame","tool_names":[...]};
// "get_tool_frame" {"tool_name"} -> {"command":"given_tool_frame","tool_name","pose","payload",
// "position"} or, for an unknown name, {"command":"get_tool_frame","get_state":false}.
// Work frames likewise with "frame_name" and "frame_pose", "set_auto_work_frame"
// {"frame_name","point_num":1..3} (the third point makes the frame), "total_work_frame" with
// "frame_names", "given_work_frame" with "frame_name" and "pose".
// Names are 1 to 10 characters; the store holds at most 10 frames of each kind. A name that
// exists cannot be created again; the current frame and the default frame ("Flange", "Base")
// cannot be deleted. Refusals answer false under the row's result key.
#include <algorithm>
#include <string>

#include "arm_models.h"
#include "command_families.h"
#include "wire.h"

namespace zqsim {
namespace {

constexpr std::size_t kMaxFrames = 10;
constexpr std::size_t kMaxName = 10;

const cJSON* member(const CommandContext& c, const char* key) {
    return cJSON_GetObjectItemCaseSensitive(c.request, key);
}

void reply_state(CommandContext& c, const char* reply_key, const char* result_key, bool ok) {
    cJSON* r = wire::reply(reply_key);
    cJSON_AddBoolToObject(r, result_key, ok);
    c.reply(r);
}

bool valid_name(const std::string& n) { return !n.empty() && n.size() <= kMaxName; }

// Exactly `n` numbers under `key`.
bool numbers(const CommandContext& c, const char* key, std::size_t n, std::vector<double>* out) {
    const cJSON* arr = member(c, key);
    if (!cJSON_IsArray(arr) || cJSON_GetArraySize(arr) != static_cast<int>(n)) return false;
    out->clear();
    for (const cJSON* el = arr->child; el; el = el->next) {
        if (!cJSON_IsNumber(el)) return false;
        out->push_back(el->valuedouble);
    }
    return true;
}

bool pose_member(const CommandContext& c, const char* key, Pose* p) {
    std::vector<double> v;
    if (!numbers(c, key, 6, &v)) return false;
    *p = Pose{v[0] / wire::kLength, v[1] / wire::kLength, v[2] / wire::kLength,
              v[3] / wire::kEuler,  v[4] / wire::kEuler,  v[5] / wire::kEuler};
    return true;
}

std::vector<std::int64_t> pose_on_wire(const Pose& p) {
    return {wire::scaled(p.x, wire::kLength),  wire::scaled(p.y, wire::kLength),  wire::scaled(p.z, wire::kLength),
            wire::scaled(p.rx, wire::kEuler), wire::scaled(p.ry, wire::kEuler), wire::scaled(p.rz, wire::kEuler)};
}

// The stores always hold the current frames.
std::vector<ToolFrame>& tools(ArmConfig& a) {
    auto& v = a.tool_frames;
    if (std::none_of(v.begin(), v.end(), [&](const ToolFrame& f) { return f.name == a.tool.name; }))
        v.insert(v.begin(), a.tool);
    return v;
}
std::vector<WorkFrame>& works(ArmConfig& a) {
    auto& v = a.work_frames;
    if (std::none_of(v.begin(), v.end(), [&](const WorkFrame& f) { return f.name == a.work.name; }))
        v.insert(v.begin(), a.work);
    return v;
}

template <class Frame>
Frame* find(std::vector<Frame>& v, const std::string& name) {
    auto it = std::find_if(v.begin(), v.end(), [&](const Frame& f) { return f.name == name; });
    return it == v.end() ? nullptr : &*it;
}

// ---- tool frames ------------------------------------------------------------------

// A tool frame from a manual or update request.
bool tool_from_request(const CommandContext& c, ToolFrame* t) {
    const cJSON* payload = member(c, "payload");
    std::vector<double> com;
    if (!cJSON_IsNumber(payload) || payload->valuedouble < 0 || !numbers(c, "position", 3, &com)) return false;
    if (!pose_member(c, "tool_pose", &t->pose)) return false;
    t->name = wire::string_member(c.request, "tool_name");
    t->payload = payload->valuedouble / wire::kPayload;
    t->com_x = com[0] / wire::kLength;
    t->com_y = com[1] / wire::kLength;
    t->com_z = com[2] / wire::kLength;
    return valid_name(t->name);
}

void set_manual_tool_frame(CommandContext& c) {
    ToolFrame t;
    auto& list = tools(c.arm);
    const bool ok = tool_from_request(c, &t) && !find(list, t.name) && list.size() < kMaxFrames;
    if (ok) list.push_back(t);
    reply_state(c, "set_manual_tool_frame", "manual_tool_frame", ok);
}

void update_tool_frame(CommandContext& c) {
    ToolFrame t;
    ToolFrame* existing = nullptr;
    const bool ok = tool_from_request(c, &t) && (existing = find(tools(c.arm), t.name)) != nullptr;
    if (ok) {
        *existing = t;
        if (c.arm.tool.name == t.name) c.arm.tool = t;
    }
    reply_state(c, "update_tool_frame", "update_state", ok);
}

void set_change_tool_frame(CommandContext& c) {
    const ToolFrame* t = find(tools(c.arm), wire::string_member(c.request, "tool_name"));
    if (t) c.arm.tool = *t;
    reply_state(c, "set_change_tool_frame", "change_tool_frame", t != nullptr);
}

void set_delete_tool_frame(CommandContext& c) {
    const std::string name = wire::string_member(c.request, "tool_name");
    auto& list = tools(c.arm);
    const bool ok = find(list, name) && name != c.arm.tool.name && name != "Flange";
    if (ok) list.erase(std::remove_if(list.begin(), list.end(), [&](const ToolFrame& f) { return f.name == name; }), list.end());
    reply_state(c, "set_delete_tool_frame", "delete_tool_frame", ok);
}

void set_auto_tool_frame(CommandContext& c) {
    const cJSON* n = member(c, "point_num");
    const bool ok = cJSON_IsNumber(n) && n->valueint >= 1 && n->valueint <= 6;
    if (ok) c.arm.state.auto_tool_points |= 1 << (n->valueint - 1);
    reply_state(c, "set_auto_tool_frame", "auto_tool_frame", ok);
}

// Needs at least four recorded points; the frame it makes sits 0.1 m out along the flange's z.
void generate_auto_tool_frame(CommandContext& c) {
    ToolFrame t;
    t.name = wire::string_member(c.request, "tool_name");
    const cJSON* payload = member(c, "payload");
    std::vector<double> com;
    int points = 0;
    for (int bit = 0; bit < 6; ++bit) points += (c.arm.state.auto_tool_points >> bit) & 1;
    auto& list = tools(c.arm);
    const bool ok = valid_name(t.name) && cJSON_IsNumber(payload) && numbers(c, "position", 3, &com) &&
                    points >= 4 && !find(list, t.name) && list.size() < kMaxFrames;
    if (ok) {
        t.payload = payload->valuedouble / wire::kPayload;
        t.com_x = com[0] / wire::kLength;
        t.com_y = com[1] / wire::kLength;
        t.com_z = com[2] / wire::kLength;
        t.pose.z = 0.1;
        list.push_back(t);
        c.arm.state.auto_tool_points = 0;
    }
    reply_state(c, c.arm.generation() == 4 ? "generate_auto_tool_frame" : "set_auto_tool_frame", "auto_tool_frame",
                ok);
}

template <class Frame>
void list_names(CommandContext& c, std::vector<Frame>& list, const char* reply_key, const char* array_key) {
    cJSON* r = wire::reply(reply_key);
    cJSON* names = cJSON_AddArrayToObject(r, array_key);
    for (const Frame& f : list) cJSON_AddItemToArray(names, cJSON_CreateString(f.name.c_str()));
    c.reply(r);
}

void get_total_tool_frame(CommandContext& c) { list_names(c, tools(c.arm), "total_tool_frame", "tool_names"); }

void get_tool_frame(CommandContext& c) {
    const ToolFrame* t = find(tools(c.arm), wire::string_member(c.request, "tool_name"));
    if (!t) {
        reply_state(c, "get_tool_frame", "get_state", false);
        return;
    }
    cJSON* r = wire::reply("given_tool_frame");
    cJSON_AddStringToObject(r, "tool_name", t->name.c_str());
    wire::add_int_array(r, "pose", pose_on_wire(t->pose));
    cJSON_AddNumberToObject(r, "payload", static_cast<double>(wire::scaled(t->payload, wire::kPayload)));
    wire::add_int_array(r, "position", {wire::scaled(t->com_x, wire::kLength), wire::scaled(t->com_y, wire::kLength),
                                        wire::scaled(t->com_z, wire::kLength)});
    c.reply(r);
}

// ---- work frames ------------------------------------------------------------------

bool work_from_request(const CommandContext& c, WorkFrame* w) {
    w->name = wire::string_member(c.request, "frame_name");
    return valid_name(w->name) && pose_member(c, "frame_pose", &w->pose);
}

void set_manual_work_frame(CommandContext& c) {
    WorkFrame w;
    auto& list = works(c.arm);
    const bool ok = work_from_request(c, &w) && !find(list, w.name) && list.size() < kMaxFrames;
    if (ok) list.push_back(w);
    reply_state(c, "set_manual_work_frame", "manual_work_frame", ok);
}

void update_work_frame(CommandContext& c) {
    WorkFrame w;
    WorkFrame* existing = nullptr;
    const bool ok = work_from_request(c, &w) && (existing = find(works(c.arm), w.name)) != nullptr;
    if (ok) {
        *existing = w;
        if (c.arm.work.name == w.name) c.arm.work = w;
    }
    reply_state(c, "update_work_frame", "update_state", ok);
}

void set_change_work_frame(CommandContext& c) {
    const WorkFrame* w = find(works(c.arm), wire::string_member(c.request, "frame_name"));
    if (w) c.arm.work = *w;
    reply_state(c, "set_change_work_frame", "change_work_frame", w != nullptr);
}

void set_delete_work_frame(CommandContext& c) {
    const std::string name = wire::string_member(c.request, "frame_name");
    auto& list = works(c.arm);
    const bool ok = find(list, name) && name != c.arm.work.name && name != "Base";
    if (ok) list.erase(std::remove_if(list.begin(), list.end(), [&](const WorkFrame& f) { return f.name == name; }), list.end());
    reply_state(c, "set_delete_work_frame", "delete_work_frame", ok);
}

// The third point makes the frame (or moves an existing one), 0.5 m out along the base's x.
void set_auto_work_frame(CommandContext& c) {
    const std::string name = wire::string_member(c.request, "frame_name");
    const cJSON* n = member(c, "point_num");
    auto& list = works(c.arm);
    bool ok = valid_name(name) && cJSON_IsNumber(n) && n->valueint >= 1 && n->valueint <= 3;
    if (ok && n->valueint == 3) {
        WorkFrame w;
        w.name = name;
        w.pose.x = 0.5;
        if (WorkFrame* existing = find(list, name)) {
            *existing = w;
        } else if (list.size() < kMaxFrames) {
            list.push_back(w);
        } else {
            ok = false;
        }
    }
    reply_state(c, "set_auto_work_frame", "auto_work_frame", ok);
}

void get_total_work_frame(CommandContext& c) { list_names(c, works(c.arm), "total_work_frame", "frame_names"); }

void get_work_frame(CommandContext& c) {
    const WorkFrame* w = find(works(c.arm), wire::string_member(c.request, "frame_name"));
    if (!w) {
        reply_state(c, "get_work_frame", "get_state", false);
        return;
    }
    cJSON* r = wire::reply("given_work_frame");
    cJSON_AddStringToObject(r, "frame_name", w->name.c_str());
    wire::add_int_array(r, "pose", pose_on_wire(w->pose));
    c.reply(r);
}

// ---- install pose and DH chain ----------------------------------------------------

// {"command":"set_install_pose","pose":[x,y,z]} in whole degrees -> "set_state"
void set_install_pose(CommandContext& c) {
    std::vector<double> v;
    const bool ok = numbers(c, "pose", 3, &v);
    if (ok) {
        for (int i = 0; i < 3; ++i) c.arm.install_pose[static_cast<std::size_t>(i)] = static_cast<int>(v[static_cast<std::size_t>(i)]);
    }
    reply_state(c, "set_install_pose", "set_state", ok);
}

// {"command":"set_DH_data","joint_1":[alpha,a,d,offset],...}: every row of the chain is required.
void set_DH_data(CommandContext& c) {
    std::vector<DhRow> rows = c.arm.dh;
    bool ok = true;
    for (std::size_t i = 0; i < rows.size() && ok; ++i) {
        std::vector<double> v;
        const std::string key = "joint_" + std::to_string(i + 1);
        ok = numbers(c, key.c_str(), 4, &v);
        if (ok) rows[i] = DhRow{v[2] / wire::kLength, v[1] / wire::kLength, v[0] / wire::kDhAngle, v[3] / wire::kDhAngle};
    }
    if (ok) c.arm.dh = rows;
    reply_state(c, "set_DH_data", "set_state", ok);
}

// The factory chain of the arm's model.
void set_DH_data_default(CommandContext& c) {
    ArmConfig factory;
    apply_factory_data(factory, c.arm.product_version);
    factory.normalise();
    if (factory.dh.size() == c.arm.dh.size()) c.arm.dh = factory.dh;
    reply_state(c, "set_DH_data_default", "set_state", true);
}

}  // namespace

void register_frame_store_commands(CommandTable& table) {
    table.add("set_manual_tool_frame", set_manual_tool_frame);
    table.add("update_tool_frame", update_tool_frame);
    table.add("set_change_tool_frame", set_change_tool_frame);
    table.add("set_delete_tool_frame", set_delete_tool_frame);
    table.add("set_auto_tool_frame", set_auto_tool_frame);
    table.add("generate_auto_tool_frame", generate_auto_tool_frame);
    table.add("get_total_tool_frame", get_total_tool_frame);
    table.add("get_tool_frame", get_tool_frame);
    table.add("set_manual_work_frame", set_manual_work_frame);
    table.add("update_work_frame", update_work_frame);
    table.add("set_change_work_frame", set_change_work_frame);
    table.add("set_delete_work_frame", set_delete_work_frame);
    table.add("set_auto_work_frame", set_auto_work_frame);
    table.add("get_total_work_frame", get_total_work_frame);
    table.add("get_work_frame", get_work_frame);
    table.add("set_install_pose", set_install_pose);
    table.add("set_DH_data", set_DH_data);
    table.add("set_DH_data_default", set_DH_data_default);
}

}  // namespace zqsim
