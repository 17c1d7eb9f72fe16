// The devices on and beside the arm: gripper, dexterous hand, lift, expansion axis, the
// register-level end-effector device and the tool connector.
//
// Motions are acknowledged at once ("state" / "set_state" true) and, when the request asked
// to block, end with a pushed {"state":"current_trajectory_state","trajectory_state":true,
// "device":1|2|3|4,"trajectory_connect":0} once the motion has run: a gripper or hand motion
// takes DeviceState::motion_ms, a lift or axis move 2 ms per unit of travel (at least 40 ms).
// While an axis moves its state query reports "mode" 1. Out-of-range values are refused
// with false and leave the device as it was.
#include <algorithm>
#include <chrono>
#include <cstdlib>

#include "command_families.h"
#include "device_replies.h"

namespace zqsim {
namespace {

// ---- gripper -------------------------------------------------------------------------

void gripper_motion(CommandContext& c, bool ok, int actpos) {
    GripperState& g = c.arm.devices.gripper;
    if (ok) g.actpos = actpos;
    dev::state(c, "set_gripper", "state", ok);
    if (ok && dev::flag(c, "block")) dev::complete_later(c, 1, c.arm.devices.motion_ms);
}

void set_gripper_route(CommandContext& c) {
    int lo = 0, hi = 0;
    const bool ok = dev::int_in(c, "min", 0, 1000, &lo) && dev::int_in(c, "max", 0, 1000, &hi) && lo < hi;
    if (ok) c.arm.devices.gripper.route_min = lo, c.arm.devices.gripper.route_max = hi;
    dev::state(c, "set_gripper_route", "state", ok);
}

void set_gripper_release(CommandContext& c) {
    int speed = 0;
    gripper_motion(c, dev::int_in(c, "speed", 1, 1000, &speed), c.arm.devices.gripper.route_max);
}

void set_gripper_pick(CommandContext& c) {
    int speed = 0, force = 0;
    const bool ok = dev::int_in(c, "speed", 1, 1000, &speed) && dev::int_in(c, "force", 50, 1000, &force);
    if (ok) c.arm.devices.gripper.current_force = force;
    gripper_motion(c, ok, c.arm.devices.gripper.route_min);
}

void set_gripper_position(CommandContext& c) {
    int pos = 0;
    const bool ok = dev::int_in(c, "position", 1, 1000, &pos);
    gripper_motion(c, ok, pos);
}

void get_gripper_state(CommandContext& c) {
    const GripperState& g = c.arm.devices.gripper;
    cJSON* r = wire::reply("get_gripper_state");
    const std::pair<const char*, int> fields[] = {{"enable", g.enable},   {"status", g.status},
                                                  {"error", g.error},     {"mode", g.mode},
                                                  {"current_force", g.current_force},
                                                  {"temperature", g.temperature}, {"actpos", g.actpos}};
    for (const auto& f : fields) cJSON_AddNumberToObject(r, f.first, f.second);
    c.reply(r);
}

// ---- hand ----------------------------------------------------------------------------

void hand_motion(CommandContext& c, const char* reply_key, bool ok) {
    dev::state(c, reply_key, "set_state", ok);
    if (ok && dev::flag(c, "block")) dev::complete_later(c, 2, c.arm.devices.motion_ms);
}

void set_hand_posture(CommandContext& c) {
    int n = 0;
    hand_motion(c, "set_hand_posture", dev::int_in(c, "posture_num", 1, 40, &n));
}

void set_hand_seq(CommandContext& c) {
    int n = 0;
    hand_motion(c, "set_hand_seq", dev::int_in(c, "seq_num", 1, 40, &n));
}

bool hand_values(const CommandContext& c, const char* key, int n, std::vector<long long>* v) {
    return dev::ints(c, key, n, v) && std::all_of(v->begin(), v->end(), [](long long x) { return x >= -1 && x <= 1000; });
}

void set_hand_angle(CommandContext& c) {
    std::vector<long long> v;
    const bool ok = hand_values(c, "hand_angle", 6, &v);
    if (ok) std::copy(v.begin(), v.end(), c.arm.devices.hand_angle.begin());
    hand_motion(c, "set_hand_angle", ok);
}

void hand_follow_angle(CommandContext& c) {
    std::vector<long long> v;
    dev::state(c, "hand_follow_angle", "set_state", hand_values(c, "hand_angle", 6, &v));
}

void hand_follow_pos(CommandContext& c) {
    std::vector<long long> v;
    dev::state(c, "hand_follow_pos", "set_state", hand_values(c, "hand_pos", c.arm.state.peripherals.plus_dof, &v));
}

void set_hand_speed(CommandContext& c) {
    const bool ok = dev::int_in(c, "hand_speed", 1, 1000, &c.arm.devices.hand_speed);
    dev::state(c, "set_hand_speed", "set_state", ok);
}

void set_hand_force(CommandContext& c) {
    const bool ok = dev::int_in(c, "hand_force", 1, 1000, &c.arm.devices.hand_force);
    dev::state(c, "set_hand_force", "set_state", ok);
}

// ---- lift and expansion axis ------------------------------------------------------------

struct AxisRow {
    const char* speed_command;
    const char* speed_result;
    const char* move_command;
    const char* move_result;
    const char* target_key;
    const char* state_reply;
    const char* pos_key;
    int device;
    int lo, hi;  // travel
    AxisState DeviceState::*axis;
};

const AxisRow kAxes[] = {
    {"set_lift_speed", "set_state", "set_lift_height", "set_state", "height", "lift_state", "height", 3, 0, 2600,
     &DeviceState::lift},
    {"expand_set_speed", "set_speed_state", "expand_set_pos", "set_pos_state", "pos", "expand_state", "pos", 4,
     -10000, 10000, &DeviceState::expand},
};

void axis_speed(const AxisRow& row, CommandContext& c) {
    AxisState& a = c.arm.devices.*row.axis;
    dev::state(c, row.speed_command, row.speed_result, dev::int_in(c, "speed", -100, 100, &a.speed));
}

void axis_move(const AxisRow& row, CommandContext& c) {
    AxisState& a = c.arm.devices.*row.axis;
    int speed = 0, target = 0;
    const bool ok = dev::int_in(c, "speed", 1, 100, &speed) && dev::int_in(c, row.target_key, row.lo, row.hi, &target);
    dev::state(c, row.move_command, row.move_result, ok);
    if (!ok) return;
    const int ms = std::max(40, 2 * std::abs(target - a.pos));
    a.pos = target;
    a.busy_until = SimClock::now() + std::chrono::milliseconds(ms);
    if (dev::flag(c, "block")) dev::complete_later(c, row.device, ms);
}

void axis_state(const AxisRow& row, CommandContext& c) {
    const AxisState& a = c.arm.devices.*row.axis;
    cJSON* r = wire::reply(row.state_reply);
    cJSON_AddNumberToObject(r, row.pos_key, a.pos);
    cJSON_AddNumberToObject(r, "current", a.current);
    cJSON_AddNumberToObject(r, "err_flag", a.err_flag);
    cJSON_AddNumberToObject(r, "mode", SimClock::now() < a.busy_until ? 1 : 0);
    c.reply(r);
}

// ---- end-effector device and tool connector -----------------------------------------------

void add_ints(cJSON* obj, const char* key, int n, int first, int step) {
    std::vector<std::int64_t> v;
    for (int i = 0; i < n; ++i) v.push_back(first + step * i);
    wire::add_int_array(obj, key, v);
}

void get_zq_plus_base_info(CommandContext& c) {
    const ReportPeripherals& p = c.arm.state.peripherals;
    cJSON* r = wire::reply("get_zq_plus_base_info");
    cJSON* b = cJSON_AddObjectToObject(r, "base_info");
    cJSON_AddStringToObject(b, "manu", p.plus_manu.c_str());
    cJSON_AddNumberToObject(b, "type", p.plus_type);
    cJSON_AddStringToObject(b, "hv", p.plus_hv.c_str());
    cJSON_AddStringToObject(b, "sv", p.plus_sv.c_str());
    cJSON_AddStringToObject(b, "bv", p.plus_bv.c_str());
    const std::pair<const char*, int> numbers[] = {
        {"id", p.plus_id},     {"dof", p.plus_dof},         {"check", p.plus_check},
        {"bee", p.plus_bee},   {"force", p.plus_force},     {"touch", p.plus_touch},
        {"touch_num", p.plus_touch_num}, {"touch_sw", p.plus_touch_sw}, {"hand", p.plus_hand}};
    for (const auto& n : numbers) cJSON_AddNumberToObject(b, n.first, n.second);
    const char* limits[] = {"pos_up", "pos_low", "angle_up", "angle_low", "speed_up", "speed_low", "force_up", "force_low"};
    for (int i = 0; i < 8; ++i) add_ints(b, limits[i], 6, i % 2 ? 0 : 1000 * (i / 2 + 1), i % 2 ? 0 : 10);
    c.reply(r);
}

void get_zq_plus_state_info(CommandContext& c) {
    const ReportPeripherals& p = c.arm.state.peripherals;
    cJSON* r = wire::reply("get_zq_plus_state_info");
    cJSON* s = cJSON_AddObjectToObject(r, "state_info");
    cJSON_AddNumberToObject(s, "sys_state", p.plus_sys_state);
    add_ints(s, "dof_state", 6, 1, 0);
    add_ints(s, "dof_err", 6, 0, 0);
    wire::add_int_array(s, "pos", std::vector<std::int64_t>(p.plus_pos.begin(), p.plus_pos.end()));
    add_ints(s, "speed", 6, 5, 1);
    add_ints(s, "angle", 6, 100, 50);
    add_ints(s, "current", 6, 20, 2);
    add_ints(s, "normal_force", 18, 0, 3);
    add_ints(s, "tangential_force", 18, 1, 1);
    add_ints(s, "tangential_force_dir", 18, 0, 20);
    wire::add_int_array(s, "tsa", std::vector<std::int64_t>(p.plus_tsa.begin(), p.plus_tsa.end()));
    wire::add_int_array(s, "tma", std::vector<std::int64_t>(p.plus_tma.begin(), p.plus_tma.end()));
    add_ints(s, "touch_data", 18, 7, 0);
    add_ints(s, "force", 6, -3, 1);
    c.reply(r);
}

void get_zq_plus_reg(CommandContext& c) {
    int addr = 0, length = 0;
    if (!dev::int_in(c, "addr", 0, 65535, &addr) || !dev::int_in(c, "length", 1, 100, &length)) {
        dev::state(c, "get_zq_plus_reg", "get_state", false);
        return;
    }
    std::vector<std::int64_t> v;
    for (int i = 0; i < length; ++i) v.push_back(c.arm.devices.plus_regs[addr + i]);
    cJSON* r = wire::reply("get_zq_plus_reg");
    wire::add_int_array(r, "plus_reg_data", v);
    c.reply(r);
}

void set_zq_plus_reg(CommandContext& c) {
    int addr = 0, length = 0;
    std::vector<long long> v;
    const bool ok = dev::int_in(c, "addr", 0, 65535, &addr) && dev::int_in(c, "length", 1, 100, &length) &&
                    dev::ints(c, "data", length, &v);
    for (int i = 0; ok && i < length; ++i) c.arm.devices.plus_regs[addr + i] = static_cast<int>(v[i]);
    dev::state(c, "set_zq_plus_reg", "set_state", ok);
}

void one_setting(CommandContext& c, const char* command, const char* key, const char* result, int lo, int hi,
                 int* field) {
    dev::state(c, command, result, dev::int_in(c, key, lo, hi, field));
}

void tool_io(CommandContext& c, const char* command, std::array<int, 2>& field) {
    int num = 0, state = 0;
    const bool ok = dev::int_in(c, "IO_Num", 1, 2, &num) && dev::int_in(c, "state", 0, 1, &state);
    if (ok) field[static_cast<std::size_t>(num - 1)] = state;
    dev::state(c, command, "set_state", ok);
}

void get_tool_IO_state(CommandContext& c) {
    const DeviceState& d = c.arm.devices;
    cJSON* r = wire::reply("tool_IO_state");
    wire::add_int_array(r, "IO_Mode", {d.tool_io_mode[0], d.tool_io_mode[1]});
    wire::add_int_array(r, "IO_state", {d.tool_io_state[0], d.tool_io_state[1]});
    c.reply(r);
}

}  // namespace

void register_effector_commands(CommandTable& table) {
    table.add("set_gripper_route", set_gripper_route);
    table.add("set_gripper_release", set_gripper_release);
    table.add("set_gripper_pick", set_gripper_pick);
    table.add("set_gripper_pick_on", set_gripper_pick);
    table.add("set_gripper_position", set_gripper_position);
    table.add("get_gripper_state", get_gripper_state);
    table.add("set_hand_posture", set_hand_posture);
    table.add("set_hand_seq", set_hand_seq);
    table.add("set_hand_angle", set_hand_angle);
    table.add("hand_follow_angle", hand_follow_angle);
    table.add("hand_follow_pos", hand_follow_pos);
    table.add("set_hand_speed", set_hand_speed);
    table.add("set_hand_force", set_hand_force);
    for (const AxisRow& row : kAxes) {
        table.add(row.speed_command, [&row](CommandContext& c) { axis_speed(row, c); });
        table.add(row.move_command, [&row](CommandContext& c) { axis_move(row, c); });
    }
    table.add("get_lift_state", [](CommandContext& c) { axis_state(kAxes[0], c); });
    table.add("expand_get_state", [](CommandContext& c) { axis_state(kAxes[1], c); });
    table.add("set_zq_plus_mode", [](CommandContext& c) {
        one_setting(c, "set_zq_plus_mode", "mode", "set_state", 0, 0xFFFF, &c.arm.devices.plus_mode);
    });
    table.add("get_zq_plus_mode", [](CommandContext& c) { dev::value(c, "get_zq_plus_mode", "mode", c.arm.devices.plus_mode); });
    table.add("set_zq_plus_touch", [](CommandContext& c) {
        one_setting(c, "set_zq_plus_touch", "mode", "set_state", 0, 0xFFFF, &c.arm.devices.plus_touch);
    });
    table.add("get_zq_plus_touch", [](CommandContext& c) { dev::value(c, "get_zq_plus_touch", "mode", c.arm.devices.plus_touch); });
    table.add("get_zq_plus_base_info", get_zq_plus_base_info);
    table.add("get_zq_plus_state_info", get_zq_plus_state_info);
    table.add("get_zq_plus_reg", get_zq_plus_reg);
    table.add("set_zq_plus_reg", set_zq_plus_reg);
    table.add("set_tool_DO_state", [](CommandContext& c) { tool_io(c, "set_tool_DO_state", c.arm.devices.tool_io_state); });
    table.add("set_tool_IO_mode", [](CommandContext& c) { tool_io(c, "set_tool_IO_mode", c.arm.devices.tool_io_mode); });
    table.add("get_tool_IO_state", get_tool_IO_state);
    table.add("set_tool_voltage", [](CommandContext& c) {
        one_setting(c, "set_tool_voltage", "voltage_type", "state", 0, 3, &c.arm.devices.tool_voltage);
    });
    table.add("get_tool_voltage", [](CommandContext& c) {
        dev::value(c, "tool_voltage_state", "voltage_type", c.arm.devices.tool_voltage);
    });
}

}  // namespace zqsim
