// Safety zones: stored electronic fences, the fence and the virtual wall in
// force, the spheres around a tool, and the collision and singularity
// switches. Coordinates travel as integer millimetres.
#include <cstring>
#include <string>

#include "commands/bounded_input.h"
#include "commands/int_rows.h"
#include "commands/paged_lists.h"
#include "session/wire_input.h"
#include "platform/log.h"
#include "zq_api.h"

namespace zq {
namespace {

constexpr float kMilli = 1000.0f;
constexpr int kFenceName = 11;  // characters a fence name keeps

// ---- the fence record on the wire ------------------------------------------------------

// The coordinates of each form, in wire order. A cube's "z_min_limit"
// carries x_min_limit: that is what the controller has always been sent.
struct CoordinateKey {
    const char* key;
    float zq_fence_config_t::*out;  // the field a reply fills
    float zq_fence_config_t::*in;   // the field a request sends
};

const CoordinateKey kCube[] = {
    {"x_max_limit", &zq_fence_config_t::x_max_limit, &zq_fence_config_t::x_max_limit},
    {"x_min_limit", &zq_fence_config_t::x_min_limit, &zq_fence_config_t::x_min_limit},
    {"y_max_limit", &zq_fence_config_t::y_max_limit, &zq_fence_config_t::y_max_limit},
    {"y_min_limit", &zq_fence_config_t::y_min_limit, &zq_fence_config_t::y_min_limit},
    {"z_max_limit", &zq_fence_config_t::z_max_limit, &zq_fence_config_t::z_max_limit},
    {"z_min_limit", &zq_fence_config_t::z_min_limit, &zq_fence_config_t::x_min_limit},
};
const CoordinateKey kPlane[] = {
    {"x1", &zq_fence_config_t::x1, &zq_fence_config_t::x1}, {"y1", &zq_fence_config_t::y1, &zq_fence_config_t::y1},
    {"z1", &zq_fence_config_t::z1, &zq_fence_config_t::z1}, {"x2", &zq_fence_config_t::x2, &zq_fence_config_t::x2},
    {"y2", &zq_fence_config_t::y2, &zq_fence_config_t::y2}, {"z2", &zq_fence_config_t::z2, &zq_fence_config_t::z2},
    {"x3", &zq_fence_config_t::x3, &zq_fence_config_t::x3}, {"y3", &zq_fence_config_t::y3, &zq_fence_config_t::y3},
    {"z3", &zq_fence_config_t::z3, &zq_fence_config_t::z3},
};
const CoordinateKey kSphere[] = {
    {"radius", &zq_fence_config_t::radius, &zq_fence_config_t::radius},
    {"x", &zq_fence_config_t::x, &zq_fence_config_t::x},
    {"y", &zq_fence_config_t::y, &zq_fence_config_t::y},
    {"z", &zq_fence_config_t::z, &zq_fence_config_t::z},
};

struct FormKeys {
    const CoordinateKey* keys;
    int count;
};

// The keys of form 1 to 3, or none.
FormKeys form_keys(int form) {
    switch (form) {
        case 1: return {kCube, 6};
        case 2: return {kPlane, 9};
        case 3: return {kSphere, 4};
        default: return {nullptr, 0};
    }
}

constexpr int kFenceEntries = 12;  // command, form, name and nine coordinates at most

// A fence request: "command", "form", the name when `name` is set, then the
// coordinates of `keys`. False when a coordinate does not fit the wire.
struct FenceRequest {
    zq_send_value_t values[kFenceEntries] = {};
    int32_t wire[9] = {};
    char name[kFenceName + 1] = {};
    int count = 0;

    bool build(const char* command, const zq_fence_config_t& f, bool with_name, FormKeys keys) {
        values[count++] = send_str("command", command);
        values[count++] = send_int("form", f.form);
        if (with_name) {
            copy_text(name, sizeof name, f.name);
            values[count++] = send_str("form_name", name);
        }
        for (int i = 0; i < keys.count; ++i) {
            if (!wire_scaled(f.*keys.keys[i].in, kMilli, &wire[i])) return false;
            values[count++] = send_int(keys.keys[i].key, wire[i]);
        }
        return true;
    }
};

int send_fence(const char* fn, zq_robot_handle* handle, const char* command, const zq_fence_config_t& f,
               bool with_name, FormKeys keys, const char* result_key) {
    FenceRequest request;
    if (!request.build(command, f, with_name, keys)) return -4;
    return cat::set(fn, handle, request.values, request.count, command, result_key, query_timeout());
}

// The coordinates of `keys` from `obj` into `f`. `strict`: each has to be a
// number; otherwise only present, as the reply parser reads integers.
bool fence_coordinates(const cJSON* obj, FormKeys keys, bool strict, zq_fence_config_t* f) {
    for (int i = 0; i < keys.count; ++i) {
        const cJSON* item = cJSON_GetObjectItemCaseSensitive(obj, keys.keys[i].key);
        if (!item || (strict && !cJSON_IsNumber(item))) return false;
        f->*keys.keys[i].out = unscale(cJSON_IsNumber(item) ? item->valueint : 0, kMilli);
    }
    return true;
}

// "form" and "form_name", then the coordinates if `form_allowed` takes the form.
int fence_from_reply(const cJSON* obj, bool with_name, bool strict, bool (*form_allowed)(int),
                     zq_fence_config_t* f) {
    const cJSON* form = cJSON_GetObjectItemCaseSensitive(obj, "form");
    if (!form || (strict && !cJSON_IsNumber(form))) return -3;
    f->form = form->valueint;
    if (with_name) {
        const cJSON* name = cJSON_GetObjectItemCaseSensitive(obj, "form_name");
        if (!cJSON_IsString(name)) return -3;
        std::memset(f->name, 0, sizeof f->name);
        copy_text(f->name, kFenceName + 1, name->valuestring);
    }
    if (!form_allowed(f->form)) return 0;
    return fence_coordinates(obj, form_keys(f->form), strict, f) ? 0 : -3;
}

bool any_form(int form) { return form >= 1 && form <= 3; }
bool fence_form(int form) { return form == 1 || form == 2; }
bool wall_form(int form) { return form == 1 || form == 3; }

// The fence or wall in force: "form", or the "given_state" refusal.
int zone_config(const char* fn, zq_robot_handle* handle, const char* command, bool (*form_allowed)(int),
                zq_fence_config_t* config) {
    if (!config) return -4;
    zq_send_value_t values[] = {send_str("command", command)};
    char out[cat::kReplyBuffer] = {0};
    int n = zq_command_exchange(fn, handle, values, 1, command, out, sizeof out, query_timeout());
    if (n < 1) return n;
    cJSON* root = cJSON_Parse(out);
    zq_fence_config_t f = *config;
    int rc = root ? fence_from_reply(root, false, false, form_allowed, &f) : -3;
    cJSON_Delete(root);
    if (rc != 0) return zq_parse_state(fn, out, "given_state") == 1 ? 1 : -3;
    *config = f;
    return 0;
}

// ---- enables and switches ---------------------------------------------------------------

int set_enable(const char* fn, zq_robot_handle* handle, const char* command, const zq_electronic_fence_enable_t& s) {
    zq_send_value_t values[] = {send_str("command", command), send_bool("set_enable", s.enable_state),
                                send_int("in_out_side", s.in_out_side),
                                send_int("effective_region", s.effective_region)};
    return cat::set(fn, handle, values, 4, command, "set_state", query_timeout());
}

int get_enable(const char* fn, zq_robot_handle* handle, const char* command, zq_electronic_fence_enable_t* s) {
    if (!s) return -4;
    zq_robot_info_t info{};
    zq_get_robot_info(handle, &info);
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_BOOL, "enable_state"), reply_entry(ZQ_VALUE_INT, "in_out_side"),
                              reply_entry(ZQ_VALUE_INT, "effective_region")};
    int rc = cat::get(fn, handle, command, command, table, 3, query_timeout());
    if (rc != 0) return rc;
    s->enable_state = table[0].value.b != 0;
    s->in_out_side = table[1].value.i;
    s->effective_region = table[2].value.i;
    return 0;
}

int set_switch(const char* fn, zq_robot_handle* handle, const char* command, bool enable) {
    zq_send_value_t values[] = {send_str("command", command), send_bool("set_enable", enable)};
    return cat::set(fn, handle, values, 2, command, "set_state", query_timeout());
}

int get_switch(const char* fn, zq_robot_handle* handle, const char* command, bool* enable) {
    if (!enable) return -4;
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_BOOL, "enable_state")};
    int rc = cat::get(fn, handle, command, command, table, 1, query_timeout());
    if (rc == 0) *enable = table[0].value.b != 0;
    return rc;
}

using cat::IntGetRow;
using cat::IntSetRow;
const IntSetRow kCollisionDetection{"zq_set_collision_detection", "set_collision_detection", {"mode"},
                                    "set_collision_detection", "set_state"};
const IntSetRow kAvoidSingularity{"zq_set_avoid_singularity_mode", "set_avoid_singularity_mode", {"mode"},
                                  "set_avoid_singularity_mode", "set_state"};
const IntGetRow kCollisionDetectionGet{"zq_get_collision_detection", "get_collision_detection",
                                       "get_collision_detection", {"mode"}};
const IntGetRow kAvoidSingularityGet{"zq_get_avoid_singularity_mode", "get_avoid_singularity_mode",
                                     "get_avoid_singularity_mode", {"mode"}};

// ---- tool envelope ----------------------------------------------------------------------

// The envelope message, formatted over several lines as the controller takes
// it; null when a value does not fit the wire.
cJSON* envelope_message(const zq_envelope_balls_list_t& e) {
    char tool[12];
    copy_text(tool, sizeof tool, e.tool_name);
    cJSON* root = cJSON_CreateObject();
    cJSON_AddStringToObject(root, "command", "set_tool_envelope");
    cJSON_AddStringToObject(root, "tool_name", tool);
    cJSON* list = cJSON_AddArrayToObject(root, "list");
    for (int i = 0; i < e.size; ++i) {
        const zq_envelope_ball_t& b = e.balls[i];
        int32_t v[4];
        if (!wire_scaled(b.radius, kMilli, &v[0]) || !wire_scaled(b.x, kMilli, &v[1]) ||
            !wire_scaled(b.y, kMilli, &v[2]) || !wire_scaled(b.z, kMilli, &v[3])) {
            cJSON_Delete(root);
            return nullptr;
        }
        char name[12];
        copy_text(name, sizeof name, b.name);
        cJSON* ball = cJSON_CreateObject();
        cJSON_AddStringToObject(ball, "name", name);
        cJSON_AddNumberToObject(ball, "radius", v[0]);
        cJSON_AddNumberToObject(ball, "x", v[1]);
        cJSON_AddNumberToObject(ball, "y", v[2]);
        cJSON_AddNumberToObject(ball, "z", v[3]);
        cJSON_AddItemToArray(list, ball);
    }
    return root;
}

// One send of the whole text, no retry, under the shared hold of the pool.
int send_text(zq_robot_handle* handle, const std::string& text) {
    std::shared_lock<platform::RwLock> lock(pool_lock());
    zq_robot_session* session = find_session(handle);
    if (!session || !session->socket) return -1;
    return session->socket->zq_socket_send(session->socket, text.data(), static_cast<int>(text.size())) == 0 ? 0
                                                                                                            : -1;
}

int envelope_from_reply(const char* fn, const cJSON* root, zq_envelope_balls_list_t* e) {
    const cJSON* state = cJSON_GetObjectItemCaseSensitive(root, "get_state");
    if (cJSON_IsFalse(state)) {
        log_error("[%s] Get tool envelope return false! You can check if the tool frame exists.\n", fn);
        return 1;
    }
    const cJSON* tool = cJSON_GetObjectItemCaseSensitive(root, "tool_name");
    const cJSON* list = cJSON_GetObjectItemCaseSensitive(root, "list");
    if (!cJSON_IsString(tool) || !cJSON_IsArray(list)) return -3;
    zq_envelope_balls_list_t got = *e;
    copy_text(got.tool_name, sizeof got.tool_name, tool->valuestring);
    const int kept = lists::entries_kept(fn, cJSON_GetArraySize(list), ZQ_ENVELOPE_BALLS_MAX);
    int n = 0;
    for (const cJSON* el = list->child; el && n < kept; el = el->next, ++n) {
        const cJSON* name = cJSON_GetObjectItemCaseSensitive(el, "name");
        const char* keys[4] = {"radius", "x", "y", "z"};
        float values[4];
        if (!cJSON_IsString(name)) return -3;
        for (int k = 0; k < 4; ++k) {
            const cJSON* item = cJSON_GetObjectItemCaseSensitive(el, keys[k]);
            if (!cJSON_IsNumber(item)) return -3;
            values[k] = unscale(item->valueint, kMilli);
        }
        zq_envelope_ball_t& b = got.balls[n];
        copy_text(b.name, sizeof b.name, name->valuestring);
        b.radius = values[0];
        b.x = values[1];
        b.y = values[2];
        b.z = values[3];
    }
    got.size = n;
    *e = got;
    return 0;
}

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" {

int zq_add_electronic_fence_config(zq_robot_handle* handle, zq_fence_config_t config) {
    if (!any_form(config.form)) {
        log_error("Configuration error for the form of the newly added electronic fence! Wrong form: %d\n",
                  config.form);
        return -4;
    }
    return send_fence("zq_add_electronic_fence_config", handle, "add_electronic_fence_config", config, true,
                      form_keys(config.form), "add_config");
}

int zq_update_electronic_fence_config(zq_robot_handle* handle, zq_fence_config_t config) {
    if (!any_form(config.form)) {
        log_error("Configuration error for the form of the newly added electronic fence! Wrong form: %d\n",
                  config.form);
        return -4;
    }
    return send_fence("zq_update_electronic_fence_config", handle, "update_electronic_fence_config", config, true,
                      form_keys(config.form), "update_config");
}

int zq_delete_electronic_fence_config(zq_robot_handle* handle, const char* name) {
    if (!name) return -4;
    char cut[kFenceName + 1];
    copy_text(cut, sizeof cut, name);
    zq_send_value_t values[] = {send_str("command", "delete_electronic_fence_config"), send_str("form_name", cut)};
    return cat::set("zq_delete_electronic_fence_config", handle, values, 2, "delete_electronic_fence_config",
                    "delete_config", query_timeout());
}

int zq_get_electronic_fence_list_names(zq_robot_handle* handle, zq_fence_names_t* names, int* len) {
    const char* fn = "zq_get_electronic_fence_list_names";
    if (!names || !len) return -4;
    char out[cat::kReplyBuffer] = {0};
    cJSON* root = nullptr;
    int rc = cat::get_tree(fn, handle, "get_electronic_fence_list_names", "get_electronic_fence_list_names",
                           query_timeout(), &root, out, sizeof out);
    if (rc != 0) return rc;
    const cJSON* list = cJSON_GetObjectItemCaseSensitive(root, "name_list");
    if (!cJSON_IsArray(list)) {
        log_error("Get fence list names parse err\n");
        cJSON_Delete(root);
        return -3;
    }
    const int kept = lists::entries_kept(fn, cJSON_GetArraySize(list), ZQ_FENCE_LIST_MAX);
    int n = 0;
    for (const cJSON* el = list->child; el && n < kept; el = el->next, ++n) {
        std::memset(names[n].name, 0, sizeof names[n].name);
        if (cJSON_IsString(el)) std::memcpy(names[n].name, el->valuestring, strnlen(el->valuestring, 12));
    }
    *len = n;
    cJSON_Delete(root);
    return 0;
}

int zq_get_given_electronic_fence_config(zq_robot_handle* handle, const char* name, zq_fence_config_t* config) {
    const char* fn = "zq_get_given_electronic_fence_config";
    if (!name || !config) return -4;
    char cut[kFenceName + 1];
    copy_text(cut, sizeof cut, name);
    zq_send_value_t values[] = {send_str("command", "given_electronic_fence_config"), send_str("form_name", cut)};
    char out[cat::kReplyBuffer] = {0};
    int n = zq_command_exchange(fn, handle, values, 2, "given_electronic_fence_config", out, sizeof out,
                                query_timeout());
    if (n < 1) return n;
    if (zq_parse_state(fn, out, "given_state") == 1) {
        log_error("The given electronic fence name does not exist!\n");
        return 1;
    }
    cJSON* root = cJSON_Parse(out);
    zq_fence_config_t f = *config;
    int rc = root ? fence_from_reply(root, true, false, any_form, &f) : -3;
    cJSON_Delete(root);
    if (rc == 0) *config = f;
    return rc;
}

int zq_get_electronic_fence_list_infos(zq_robot_handle* handle, zq_fence_config_list_t* list, int* len) {
    const char* fn = "zq_get_electronic_fence_list_infos";
    if (!list || !len) return -4;
    char out[2048] = {0};
    cJSON* root = nullptr;
    int rc = cat::get_tree(fn, handle, "get_electronic_fence_list_infos", "get_electronic_fence_list_infos",
                           query_timeout(), &root, out, sizeof out);
    if (rc != 0) return rc;
    const cJSON* infos = cJSON_GetObjectItemCaseSensitive(root, "info_list");
    if (!cJSON_IsArray(infos)) {
        cJSON_Delete(root);
        return -3;
    }
    zq_fence_config_list_t got = *list;
    const int kept = lists::entries_kept(fn, cJSON_GetArraySize(infos), ZQ_FENCE_LIST_MAX);
    int n = 0;
    for (const cJSON* el = infos->child; el && n < kept && rc == 0; el = el->next, ++n)
        rc = fence_from_reply(el, true, true, any_form, &got.config[n]);
    cJSON_Delete(root);
    if (rc != 0) return rc;
    *list = got;
    *len = n;
    return 0;
}

int zq_set_electronic_fence_enable(zq_robot_handle* handle, zq_electronic_fence_enable_t state) {
    return set_enable("zq_set_electronic_fence_enable", handle, "set_electronic_fence_enable", state);
}
int zq_get_electronic_fence_enable(zq_robot_handle* handle, zq_electronic_fence_enable_t* state) {
    return get_enable("zq_get_electronic_fence_enable", handle, "get_electronic_fence_enable", state);
}

int zq_set_electronic_fence_config(zq_robot_handle* handle, zq_fence_config_t config) {
    if (config.form == 3) {
        log_error("electronic fence form check err!!");
        return -4;
    }
    return send_fence("zq_set_electronic_fence_config", handle, "set_electronic_fence_config", config, false,
                      form_keys(fence_form(config.form) ? config.form : 0), "set_config");
}
int zq_get_electronic_fence_config(zq_robot_handle* handle, zq_fence_config_t* config) {
    return zone_config("zq_get_electronic_fence_config", handle, "get_electronic_fence_config", fence_form, config);
}

int zq_set_virtual_wall_enable(zq_robot_handle* handle, zq_electronic_fence_enable_t state) {
    return set_enable("zq_set_virtual_wall_enable", handle, "set_virtual_wall_enable", state);
}
int zq_get_virtual_wall_enable(zq_robot_handle* handle, zq_electronic_fence_enable_t* state) {
    return get_enable("zq_get_virtual_wall_enable", handle, "get_virtual_wall_enable", state);
}

int zq_set_virtual_wall_config(zq_robot_handle* handle, zq_fence_config_t config) {
    if (config.form == 2) log_error("virtual wall form check err!\n");
    return send_fence("zq_set_virtual_wall_config", handle, "set_virtual_wall_config", config, false,
                      form_keys(wall_form(config.form) ? config.form : 0), "set_config");
}
int zq_get_virtual_wall_config(zq_robot_handle* handle, zq_fence_config_t* config) {
    return zone_config("zq_get_virtual_wall_config", handle, "get_virtual_wall_config", wall_form, config);
}

int zq_set_self_collision_enable(zq_robot_handle* handle, bool enable) {
    return set_switch("zq_set_self_collision_enable", handle, "set_self_collision_enable", enable);
}
int zq_get_self_collision_enable(zq_robot_handle* handle, bool* enable) {
    return get_switch("zq_get_self_collision_enable", handle, "get_self_collision_enable", enable);
}
int zq_set_collision_remove_enable(zq_robot_handle* handle, bool enable) {
    return set_switch("zq_set_collision_remove_enable", handle, "set_collision_remove_enable", enable);
}
int zq_get_collision_remove_enable(zq_robot_handle* handle, bool* enable) {
    return get_switch("zq_get_collision_remove_enable", handle, "get_collision_remove_enable", enable);
}
int zq_set_collision_detection(zq_robot_handle* handle, int mode) {
    return cat::set_ints(kCollisionDetection, handle, &mode);
}
int zq_get_collision_detection(zq_robot_handle* handle, int* mode) {
    int* const outs[] = {mode};
    return cat::get_ints(kCollisionDetectionGet, handle, outs);
}
int zq_set_avoid_singularity_mode(zq_robot_handle* handle, int mode) {
    return cat::set_ints(kAvoidSingularity, handle, &mode);
}
int zq_get_avoid_singularity_mode(zq_robot_handle* handle, int* mode) {
    int* const outs[] = {mode};
    return cat::get_ints(kAvoidSingularityGet, handle, outs);
}

int zq_set_tool_envelope(zq_robot_handle* handle, zq_envelope_balls_list_t envelope) {
    const char* fn = "zq_set_tool_envelope";
    if (envelope.size < 0 || envelope.size > ZQ_ENVELOPE_BALLS_MAX) return -4;
    cJSON* message = envelope_message(envelope);
    if (!message) return -4;
    char* printed = cJSON_Print(message);
    cJSON_Delete(message);
    if (!printed) return -1;
    std::string text(printed);
    cJSON_free(printed);
    text += "\r\n";
    if (send_text(handle, text) != 0) return -1;
    char out[cat::kReplyBuffer] = {0};
    int n = zq_command_exchange(fn, handle, nullptr, 0, "set_tool_envelope", out, sizeof out, query_timeout());
    if (n < 1) return n;
    int rc = zq_parse_state(fn, out, "set_state");
    if (rc == 1) log_error("[%s] Set tool envelope return false! You can check if the tool frame exists.\n", fn);
    return rc;
}

int zq_get_tool_envelope(zq_robot_handle* handle, const char* tool_name, zq_envelope_balls_list_t* envelope) {
    const char* fn = "zq_get_tool_envelope";
    if (!tool_name || !envelope) return -4;
    char tool[12];
    copy_text(tool, sizeof tool, tool_name);
    zq_send_value_t values[] = {send_str("command", "get_tool_envelope"), send_str("tool_name", tool)};
    char out[cat::kReplyBuffer] = {0};
    int n = zq_command_exchange(fn, handle, values, 2, "get_tool_envelope", out, sizeof out, query_timeout());
    if (n < 1) return n;
    cJSON* root = cJSON_Parse(out);
    if (!root) {
        log_error("[%s] parser error!", fn);
        return -3;
    }
    int rc = envelope_from_reply(fn, root, envelope);
    cJSON_Delete(root);
    return rc;
}

}  // extern "C"
