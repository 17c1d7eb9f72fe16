// Force sensors, force-position control and drag teaching.
//
// What an arm may do follows the end-of-arm variant of its product version: the six-axis
// sensor arms ("-6F", "-6FB", "-6FB-V") read and calibrate "get_force_data" and run the
// multi-axis drag teach; the one-axis arms ("-ZF") read "get_Fz"; force-position control and
// the drag mode need any sensor. An arm without the sensor answers false under the row's
// result key (queries: "get_state" false). Calibration steps answer under "set_force_sensor";
// the first three manual points are taken silently. A drag teach with recording keeps 25
// points; "drag_trajectory_origin" moves to the first of them and pushes the arm's
// completion; the replay pushes the completion of device 5.
#include "arm_models.h"
#include "command_families.h"
#include "device_replies.h"

namespace zqsim {
namespace {

constexpr int kRecordedPoints = 25;
constexpr int kReplayMs = 80;

bool six_axis(const CommandContext& c) {
    const EndVariant v = end_variant_of(c.arm.product_version);
    return v == EndVariant::SixF || v == EndVariant::SixFB || v == EndVariant::SixFBV;
}
bool one_axis(const CommandContext& c) { return end_variant_of(c.arm.product_version) == EndVariant::ZF; }
bool any_sensor(const CommandContext& c) { return has_force_sensor(end_variant_of(c.arm.product_version)); }

// A command answered true under its own literal when the arm has what it needs.
struct GatedRow {
    const char* command;
    const char* reply_key;
    const char* result_key;
    bool (*allowed)(const CommandContext&);
};

const GatedRow kGated[] = {
    {"clear_force_data", "clear_force_data", "clear_state", six_axis},
    {"set_force_sensor", "set_force_sensor", "set_state", six_axis},
    {"stop_set_force_sensor", "stop_set_force_sensor", "stop_state", any_sensor},
    {"clear_Fz", "clear_Fz", "set_state", one_axis},
    {"auto_set_Fz", "set_force_sensor", "set_state", one_axis},
    {"stop_force_position", "stop_force_position", "stop_state", any_sensor},
    {"Start_Force_Position_Move", "Start_Force_Position_Move", "set_state", any_sensor},
    {"Stop_Force_Position_Move", "Stop_Force_Position_Move", "set_state", any_sensor},
    {"pause_drag_trajectory", "pause_drag_trajectory", "pause_state", nullptr},
    {"continue_drag_trajectory", "continue_drag_trajectory", "continue_state", nullptr},
    {"stop_drag_trajectory", "stop_drag_trajectory", "stop_state", nullptr},
};

void gated(const GatedRow& row, CommandContext& c) {
    dev::state(c, row.reply_key, row.result_key, !row.allowed || row.allowed(c));
}

void get_force_data(CommandContext& c) {
    if (!six_axis(c)) {
        dev::state(c, "get_force_data", "get_state", false);
        return;
    }
    const ReportPeripherals& p = c.arm.state.peripherals;
    std::vector<std::int64_t> force(p.force.begin(), p.force.end()), zero(p.zero_force.begin(), p.zero_force.end());
    std::vector<std::int64_t> work(6), tool(6);
    for (int i = 0; i < 6; ++i) work[i] = force[i] - zero[i], tool[i] = -work[i];
    cJSON* r = wire::reply("get_force_data");
    wire::add_int_array(r, "force_data", force);
    wire::add_int_array(r, "zero_force_data", zero);
    wire::add_int_array(r, "work_zero_force_data", work);
    wire::add_int_array(r, "tool_zero_force_data", tool);
    c.reply(r);
}

void manual_point(CommandContext& c, int point) {
    std::vector<long long> joint;
    DeviceState& d = c.arm.devices;
    const bool ok = six_axis(c) && dev::ints(c, "joint", c.arm.dof, &joint);
    if (ok) d.calibration_points = point == 1 ? 1 : d.calibration_points + 1;
    if (point == 4) dev::state(c, "set_force_sensor", "set_state", ok && d.calibration_points == 4);
}

void get_Fz(CommandContext& c) {
    if (!one_axis(c)) {
        dev::state(c, "get_Fz", "get_state", false);
        return;
    }
    const DeviceState& d = c.arm.devices;
    cJSON* r = wire::reply("get_Fz");
    cJSON_AddNumberToObject(r, "Fz", d.fz);
    cJSON_AddNumberToObject(r, "zero_Fz", d.zero_fz);
    cJSON_AddNumberToObject(r, "work_zero_Fz", d.fz - d.zero_fz);
    cJSON_AddNumberToObject(r, "tool_zero_Fz", d.zero_fz - d.fz);
    c.reply(r);
}

void manual_set_Fz(CommandContext& c) {
    std::vector<long long> a, b;
    const bool ok = one_axis(c) && dev::ints(c, "pose1", c.arm.dof, &a) && dev::ints(c, "pose2", c.arm.dof, &b);
    dev::state(c, "set_force_sensor", "set_state", ok);
}

void set_force_position(CommandContext& c) {
    int sensor = 0, mode = 0;
    const bool ok = any_sensor(c) && dev::int_in(c, "sensor", 0, 1, &sensor) && dev::int_in(c, "mode", 0, 1, &mode);
    if (ok) c.arm.devices.force_position = true;
    dev::state(c, "set_force_position", "set_state", ok);
}

void start_drag_teach(CommandContext& c) {
    int record = 0;
    DeviceState& d = c.arm.devices;
    const bool ok = dev::int_in(c, "trajectory_record", 0, 1, &record);
    if (ok) {
        d.dragging = true;
        d.recorded_points = record ? kRecordedPoints : 0;
    }
    dev::state(c, "start_drag_teach", "drag_teach", ok);
}

void stop_drag_teach(CommandContext& c) {
    c.arm.devices.dragging = false;
    dev::state(c, "stop_drag_teach", "drag_teach", true);
}

void start_multi_drag_teach(CommandContext& c) {
    int v = 0;
    const bool frame_form = cJSON_GetObjectItemCaseSensitive(c.request, "frame") != nullptr;
    const bool ok = six_axis(c) && (frame_form ? dev::int_in(c, "frame", 0, 1, &v) : dev::int_in(c, "mode", 0, 5, &v));
    if (ok) c.arm.devices.dragging = true;
    dev::state(c, "start_multi_drag_teach", "set_state", ok);
}

void drag_trajectory_origin(CommandContext& c) {
    if (c.arm.devices.recorded_points > 0) dev::complete_later(c, 0, kReplayMs);
}

void run_drag_trajectory(CommandContext& c) {
    const bool ok = c.arm.devices.recorded_points > 0;
    dev::state(c, "run_drag_trajectory", "run_state", ok);
    if (ok) dev::complete_later(c, 5, kReplayMs);
}

}  // namespace

void register_force_commands(CommandTable& table) {
    for (const GatedRow& row : kGated) table.add(row.command, [&row](CommandContext& c) { gated(row, c); });
    table.add("get_force_data", get_force_data);
    for (int point = 1; point <= 4; ++point)
        table.add("manual_set_force_pose" + std::to_string(point), [point](CommandContext& c) { manual_point(c, point); });
    table.add("get_Fz", get_Fz);
    table.add("manual_set_Fz", manual_set_Fz);
    table.add("set_force_position", set_force_position);
    table.add("Force_Position_Move", [](CommandContext&) {});  // streamed set points are not answered
    table.add("start_drag_teach", start_drag_teach);
    table.add("stop_drag_teach", stop_drag_teach);
    table.add("start_multi_drag_teach", start_multi_drag_teach);
    table.add("set_drag_teach_sensitivity", [](CommandContext& c) {
        dev::state(c, "set_drag_teach_sensitivity", "set_state",
                   dev::int_in(c, "grade", 1, 100, &c.arm.devices.drag_sensitivity));
    });
    table.add("get_drag_teach_sensitivity", [](CommandContext& c) {
        dev::value(c, "get_drag_teach_sensitivity", "grade", c.arm.devices.drag_sensitivity);
    });
    table.add("set_force_drag_mode", [](CommandContext& c) {
        dev::state(c, "set_force_drag_mode", "set_state",
                   any_sensor(c) && dev::int_in(c, "mode", 0, 1, &c.arm.devices.force_drag_mode));
    });
    table.add("get_force_drag_mode", [](CommandContext& c) {
        dev::value(c, "get_force_drag_mode", "mode", c.arm.devices.force_drag_mode);
    });
    table.add("drag_trajectory_origin", drag_trajectory_origin);
    table.add("run_drag_trajectory", run_drag_trajectory);
}

}  // namespace zqsim
