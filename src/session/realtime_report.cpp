// Realtime report datagrams: the parser into zq_realtime_arm_joint_state_t,
// the callback, and what a report of a stopping arm does to its session.
#include <atomic>
#include <cstddef>
#include <cstring>

#include <cjson/cJSON.h>

#include "platform/log.h"
#include "session/realtime.h"
#include "session/report_json.h"
#include "session/session.h"
#include "session/state_cache.h"
#include "zq_api.h"

namespace zq {
namespace {

using Report = zq_realtime_arm_joint_state_t;

std::atomic<zq_realtime_callback_t> g_callback{nullptr};

// The first member named `key`, as cJSON_GetObjectItemCaseSensitive finds it;
// most names differ in their first character, which spares the comparison.
const cJSON* member(const cJSON* obj, const char* key) {
    if (!obj) return nullptr;
    for (const cJSON* c = obj->child; c && c->string; c = c->next) {
        if (c->string[0] == key[0] && std::strcmp(c->string, key) == 0) return c;
    }
    return nullptr;
}

// An array element: its integer value, or -1 when it is no number.
int32_t element(const cJSON* el) { return cJSON_IsNumber(el) ? el->valueint : -1; }

// Field kinds of the report, each copied element by element for as many
// elements as the report holds, cut at the field's width.
enum class Kind { Int, Float, Flag, Low16, Unsigned32 };

struct ArrayField {
    const char* key;
    std::size_t offset;  // of the field's first element in the record
    int width;           // elements of the field
    Kind kind;
    float divisor;       // Float only
};

#define ZQ_FIELD(key, field, kind, div)                                                             \
    ArrayField {                                                                                    \
        key, offsetof(Report, field), static_cast<int>(sizeof(Report::field) / sizeof(Report::field[0])), \
            Kind::kind, div                                                                         \
    }

void copy_array(const cJSON* item, Report* r, const ArrayField& f) {
    char* base = reinterpret_cast<char*>(r) + f.offset;
    int k = 0;
    for (const cJSON* el = item->child; el && k < f.width; el = el->next, ++k) {
        switch (f.kind) {
            case Kind::Int: reinterpret_cast<int32_t*>(base)[k] = element(el); break;
            case Kind::Float:
                reinterpret_cast<float*>(base)[k] = static_cast<float>(element(el)) / f.divisor;
                break;
            case Kind::Flag: reinterpret_cast<uint8_t*>(base)[k] = element(el) != 0 ? 1 : 0; break;
            case Kind::Low16:
                reinterpret_cast<uint16_t*>(base)[k] = static_cast<uint16_t>(element(el) & 0xFFFF);
                break;
            case Kind::Unsigned32: {
                // The double value, stored truncated when it fits 32 bits unsigned.
                const double v = cJSON_IsNumber(el) ? el->valuedouble : -1.0;
                if (v >= 0.0 && v <= 4294967295.0) reinterpret_cast<uint32_t*>(base)[k] = static_cast<uint32_t>(v);
                break;
            }
        }
    }
}

// Copies each field whose key holds an array; the others stay 0.
template <std::size_t N>
void copy_optional_arrays(const cJSON* section, Report* r, const ArrayField (&fields)[N]) {
    for (const ArrayField& f : fields) {
        const cJSON* item = member(section, f.key);
        if (cJSON_IsArray(item)) copy_array(item, r, f);
    }
}

struct IntField {
    const char* key;
    int32_t Report::*field;
};

// Reads each integer whose key holds a number.
template <std::size_t N>
void copy_optional_ints(const cJSON* section, Report* r, const IntField (&fields)[N]) {
    for (const IntField& f : fields) {
        const cJSON* item = member(section, f.key);
        if (cJSON_IsNumber(item)) r->*f.field = item->valueint;
    }
}

// Reads integers that must all be numbers; false at the first that isn't.
template <std::size_t N>
bool copy_required_ints(const cJSON* section, Report* r, const IntField (&fields)[N]) {
    for (const IntField& f : fields) {
        const cJSON* item = member(section, f.key);
        if (!cJSON_IsNumber(item)) return false;
        r->*f.field = item->valueint;
    }
    return true;
}

void copy_text(const cJSON* section, const char* key, char* dst, std::size_t size) {
    const cJSON* item = member(section, key);
    if (!cJSON_IsString(item)) return;
    std::size_t n = strnlen(item->valuestring, size - 1);
    std::memcpy(dst, item->valuestring, n);
    dst[n] = '\0';
}

void copy_bool(const cJSON* section, const char* key, uint8_t* dst) {
    const cJSON* item = member(section, key);
    if (cJSON_IsBool(item)) *dst = cJSON_IsTrue(item) ? 1 : 0;
}

// ---- "zq_plus_state" and "zq_plus_base" -----------------------------------

const ArrayField kPlusStateArrays[] = {
    ZQ_FIELD("dof_state", dof_state, Int, 1.0f),
    ZQ_FIELD("dof_err", dof_err, Int, 1.0f),
    ZQ_FIELD("pos", pos, Int, 1.0f),
    ZQ_FIELD("speed", speed, Int, 1.0f),
    ZQ_FIELD("angle", angle, Int, 1.0f),
    ZQ_FIELD("current", current, Int, 1.0f),
    ZQ_FIELD("normal_force", normal_force, Int, 1.0f),
    ZQ_FIELD("tangential_force", tangential_force, Int, 1.0f),
    ZQ_FIELD("tangential_force_dir", tangential_force_dir, Int, 1.0f),
    ZQ_FIELD("tsa", tsa, Unsigned32, 1.0f),
    ZQ_FIELD("tma", tma, Unsigned32, 1.0f),
    ZQ_FIELD("touch_data", touch_data, Int, 1.0f),
    ZQ_FIELD("force", plus_force, Int, 1.0f),
};
const IntField kPlusStateInts[] = {{"sys_state", &Report::sys_state}};

const ArrayField kPlusBaseArrays[] = {
    ZQ_FIELD("pos_up", pos_up, Int, 1.0f),       ZQ_FIELD("pos_low", pos_low, Int, 1.0f),
    ZQ_FIELD("angle_up", angle_up, Int, 1.0f),   ZQ_FIELD("angle_low", angle_low, Int, 1.0f),
    ZQ_FIELD("speed_up", speed_up, Int, 1.0f),   ZQ_FIELD("speed_low", speed_low, Int, 1.0f),
    ZQ_FIELD("force_up", force_up, Int, 1.0f),   ZQ_FIELD("force_low", force_low, Int, 1.0f),
};
const IntField kPlusBaseInts[] = {
    {"type", &Report::type}, {"id", &Report::id},     {"dof", &Report::dof},
    {"check", &Report::check}, {"bee", &Report::bee}, {"touch_num", &Report::touch_num},
    {"touch_sw", &Report::touch_sw}, {"hand", &Report::hand},
};

void read_plus_state(const cJSON* s, Report* r) {
    copy_optional_ints(s, r, kPlusStateInts);
    copy_optional_arrays(s, r, kPlusStateArrays);
}

void read_plus_base(const cJSON* s, Report* r) {
    copy_text(s, "manu", r->manu, sizeof r->manu);
    copy_text(s, "hv", r->hv, sizeof r->hv);
    copy_text(s, "sv", r->sv, sizeof r->sv);
    copy_text(s, "bv", r->bv, sizeof r->bv);
    copy_optional_ints(s, r, kPlusBaseInts);
    copy_bool(s, "force", &r->force_enable);
    copy_bool(s, "touch", &r->touch);
    copy_optional_arrays(s, r, kPlusBaseArrays);
}

// A text "disable" or "offline" instead of the section's data; other text fails.
bool read_plus_section(const cJSON* root, const char* key, Report* r, void (*read)(const cJSON*, Report*)) {
    const cJSON* s = member(root, key);
    if (cJSON_IsString(s)) {
        if (std::strcmp(s->valuestring, "disable") == 0) {
            r->plus_state = 1;
        } else if (std::strcmp(s->valuestring, "offline") == 0) {
            r->plus_state = 2;
        } else {
            log_warning("[zq_realtime_arm_joint_state] parse zq_plus_state :%s\n", s->valuestring);
            return false;
        }
    } else if (cJSON_IsObject(s)) {
        read(s, r);
    }
    return true;
}

// ---- the arm's own sections ----------------------------------------------------

const IntField kAloha[] = {{"io1_state", &Report::aloha_io1_state}, {"io2_state", &Report::aloha_io2_state}};

const char* const kArmStatus[] = {
    "idle",        "move_L",       "move_J",        "move_C",          "move_S",
    "move_through_joint", "move_through_pose", "move_through_force_pose", "move_through_current",
    "stop",        "slow_stop",    "pause",         "current_drag",    "sensor_drag",
    "tech_demonstration", "trajectory_reproducton", "move_init_position", "movev_canfd",
};

int arm_status(const char* text) {
    for (int i = 0; i < static_cast<int>(sizeof kArmStatus / sizeof kArmStatus[0]); ++i) {
        if (std::strcmp(text, kArmStatus[i]) == 0) return i;
    }
    return 0;
}

const ArrayField kHandArrays[] = {
    ZQ_FIELD("hand_pos", hand_pos, Int, 1.0f),
    ZQ_FIELD("hand_angle", hand_angle, Int, 1.0f),
    ZQ_FIELD("hand_force", hand_force, Int, 1.0f),
    ZQ_FIELD("hand_state", hand_state, Int, 1.0f),
};

bool read_hand(const cJSON* s, Report* r) {
    for (const ArrayField& f : kHandArrays) {
        const cJSON* item = member(s, f.key);
        if (!cJSON_IsArray(item)) return false;
        copy_array(item, r, f);
    }
    const cJSON* err = member(s, "hand_err");
    if (!cJSON_IsNumber(err)) return false;
    r->hand_err = err->valueint;
    return true;
}

const IntField kLiftInts[] = {
    {"height", &Report::lift_height}, {"current", &Report::lift_current},
    {"err_flag", &Report::lift_err_flag}, {"en_flag", &Report::lift_en_flag},
};
const IntField kExpandInts[] = {
    {"current", &Report::expand_current}, {"err_flag", &Report::expand_err_flag},
    {"en_flag", &Report::expand_en_flag}, {"joint_id", &Report::expand_joint_id},
    {"mode", &Report::expand_mode},
};

// The section's "pos" (÷ 1000) and its integers, all required.
template <std::size_t N>
bool read_axis(const cJSON* s, Report* r, float Report::*pos, const IntField (&ints)[N]) {
    const cJSON* p = member(s, "pos");
    if (!cJSON_IsNumber(p)) return false;
    r->*pos = static_cast<float>(p->valueint) / 1000.0f;
    return copy_required_ints(s, r, ints);
}

const ArrayField kJointArrays[] = {
    ZQ_FIELD("joint_current", joint_current, Float, 1000.0f),
    ZQ_FIELD("joint_en_flag", joint_en_flag, Flag, 1.0f),
    ZQ_FIELD("joint_err_code", joint_err_code, Low16, 1.0f),
    ZQ_FIELD("joint_position", joint_position, Float, 1000.0f),
    ZQ_FIELD("joint_temperature", joint_temperature, Float, 1000.0f),
    ZQ_FIELD("joint_voltage", joint_voltage, Float, 1000.0f),
    ZQ_FIELD("joint_speed", joint_speed, Float, 100.0f),
};

const ArrayField kForceArrays[] = {
    ZQ_FIELD("force", force, Float, 1000.0f),
    ZQ_FIELD("zero_force", zero_force, Float, 1000.0f),
};
const IntField kForceInts[] = {{"coordinate", &Report::coordinate}};

// An array of exactly `n` numbers, each ÷ `divisor` into `out`.
bool read_exact(const cJSON* s, const char* key, int n, float divisor, float* const* out) {
    const cJSON* item = member(s, key);
    if (!cJSON_IsArray(item) || cJSON_GetArraySize(item) != n) return false;
    int k = 0;
    for (const cJSON* el = item->child; el && k < n; el = el->next, ++k) {
        *out[k] = static_cast<float>(element(el)) / divisor;
    }
    return true;
}

bool read_waypoint(const cJSON* w, Report* r) {
    if (!cJSON_IsObject(w)) return false;
    zq_pose_t& p = r->waypoint;
    float* const quat[] = {&p.quaternion.w, &p.quaternion.x, &p.quaternion.y, &p.quaternion.z};
    float* const euler[] = {&p.euler.rx, &p.euler.ry, &p.euler.rz};
    float* const position[] = {&p.position.x, &p.position.y, &p.position.z};
    return read_exact(w, "quat", 4, 1000000.0f, quat) && read_exact(w, "euler", 3, 1000.0f, euler) &&
           read_exact(w, "position", 3, 1000000.0f, position);
}

int parse_sections(const cJSON* root, Report* r) {
    if (!read_plus_section(root, "zq_plus_state", r, read_plus_state)) return -3;
    if (!read_plus_section(root, "zq_plus_base", r, read_plus_base)) return -3;

    if (const cJSON* s = member(root, "aloha_state")) {
        if (!copy_required_ints(s, r, kAloha)) return -3;
    }
    if (const cJSON* s = member(root, "arm_current_status")) {
        if (!cJSON_IsString(s)) return -3;
        r->arm_current_status = arm_status(s->valuestring);
    }
    if (const cJSON* s = member(root, "hand")) {
        if (!read_hand(s, r)) return -3;
    }
    if (const cJSON* s = member(root, "lift_state")) {
        if (!read_axis(s, r, &Report::lift_pos, kLiftInts)) return -3;
    }
    if (const cJSON* s = member(root, "expand_state")) {
        if (!read_axis(s, r, &Report::expand_pos, kExpandInts)) return -3;
    }

    const cJSON* joints = member(root, "joint_status");
    if (!cJSON_IsObject(joints)) return -3;
    copy_optional_arrays(joints, r, kJointArrays);

    for (const char* sensor : {"six_force_sensor", "one_force_sensor"}) {
        const cJSON* s = member(root, sensor);
        if (!cJSON_IsObject(s)) continue;
        copy_optional_arrays(s, r, kForceArrays);
        copy_optional_ints(s, r, kForceInts);
    }

    if (!read_waypoint(member(root, "waypoint"), r)) return -3;

    const cJSON* err = member(root, "err");
    if (!cJSON_IsArray(err)) return -3;
    const int n = cJSON_GetArraySize(err);
    if (n < 1) return -3;
    r->err_len = n;
    copy_array(err, r, ZQ_FIELD("err", err, Int, 1.0f));
    return 0;
}

}  // namespace

int parse_realtime_report(const char* data, int len, zq_realtime_arm_joint_state_t* out) {
    std::memset(out, 0, sizeof *out);
    // The tree lives in the thread's own storage: no allocation per report.
    const cJSON* root = len > 0 ? parse_report_json(data, static_cast<std::size_t>(len)) : nullptr;
    if (!root) {
        log_error("[zq_realtime_arm_joint_state] parse err\n");
        return -3;
    }
    return parse_sections(root, out);
}

void realtime_dispatch(const char* data, int len, const char* ip, int arm_port, int udp_port) {
    Report r;
    const int rc = parse_realtime_report(data, len, &r);
    r.errCode = rc;
    if (ip) {
        std::size_t n = strnlen(ip, sizeof r.arm_ip - 1);
        std::memcpy(r.arm_ip, ip, n);
        r.arm_ip[n] = '\0';
    }
    r.arm_port = arm_port;
    // A stopping arm ends whatever moves were pending on its session.
    if (rc == 0 && (r.arm_current_status == 9 || r.arm_current_status == 10)) {
        if (zq_robot_handle* h = find_handle_by_address(r.arm_ip, r.arm_port)) zq_motion_count_op(h, 0);
    }
    state_cache_store(r, ip, udp_port);
    if (zq_realtime_callback_t cb = g_callback.load(std::memory_order_acquire)) cb(r);
}

const char* arm_status_name(int status) {
    return status >= 0 && status < static_cast<int>(sizeof kArmStatus / sizeof kArmStatus[0]) ? kArmStatus[status]
                                                                                              : nullptr;
}

}  // namespace zq

extern "C" void zq_realtime_arm_state_call_back(zq_realtime_callback_t callback) {
    if (callback) zq::g_callback.store(callback, std::memory_order_release);
}
