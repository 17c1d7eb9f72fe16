// What the simulated controller keeps about the devices on and beside the arm (gripper, hand,
// lift, expansion axis, end-effector registers, tool connector), its force control and drag
// teaching, and what it stores: programs, global waypoints, recorded trajectories and tool
// actions. Values are in wire integers as the controller reports them.
#pragma once

#include <array>
#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace zqsim {

using SimClock = std::chrono::steady_clock;

struct GripperState {
    int route_min = 0, route_max = 1000;
    int enable = 1, status = 0, error = 0, mode = 0, current_force = 0, temperature = 36, actpos = 1000;
};

// A lift or expansion axis: where it is, and until when it moves.
struct AxisState {
    int pos = 0;
    int current = 150;
    int err_flag = 0;
    int speed = 50;
    SimClock::time_point busy_until{};
};

struct StoredProgram {
    int id = 0;
    std::string name;
    int size = 0;   // bytes of the uploaded file
    int speed = 50;
};

struct StoredWaypoint {
    std::string name;  // UTF-8
    std::vector<long long> joint, pose;
    std::string work_frame, tool_frame, time;
};

struct StoredTrajectory {
    std::string name;
    int points = 0;
    std::string create_time;
};

struct StoredToolAction {
    std::string name;
    std::vector<long long> hand_pos, hand_angle;
};

struct DeviceState {
    // Faults for tests: completion reports of device motions are lost, or name another device.
    bool lose_reports = false;
    int report_device = -1;  // below 0: the device that moved
    int motion_ms = 60;      // how long a gripper, hand or tool action motion takes

    GripperState gripper;
    int hand_speed = 500, hand_force = 500;
    std::array<long long, 6> hand_angle{};
    AxisState lift, expand;
    int plus_mode = 0, plus_touch = 0;
    std::map<int, int> plus_regs;  // register address -> value
    std::array<int, 2> tool_io_mode{}, tool_io_state{};
    int tool_voltage = 0;

    // Force control and drag teaching.
    bool force_position = false, force_position_move = false;
    int drag_sensitivity = 50, force_drag_mode = 0;
    bool dragging = false;
    int recorded_points = 0;  // points of the last drag teach with recording
    int calibration_points = 0;
    int fz = 2500, zero_fz = 100;  // 0.001 N

    // Stores.
    std::vector<StoredProgram> programs;
    int next_program_id = 1;
    int default_program = 0;
    int plan_speed = 50;
    int running_program = 0;  // 0: none
    SimClock::time_point program_until{};
    std::string upload_name;  // announced upload awaiting its bytes
    int upload_size = 0;
    std::vector<StoredWaypoint> waypoints;
    std::vector<StoredTrajectory> trajectories;
    std::vector<StoredToolAction> tool_actions;
};

}  // namespace zqsim
