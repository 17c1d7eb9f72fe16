// The live state of the simulated arm beyond its chain, limits and frames: joint and controller
// readings, error lists, Cartesian limits, the collision stage, and the
// peripheral sections of the realtime report. Values are in the controller's own units as noted;
// the answers convert them to wire integers.
#pragma once

#include <array>
#include <string>
#include <vector>

namespace zqsim {

constexpr int kMaxJoints = 10;

template <class T>
using PerJoint = std::array<T, kMaxJoints>;

// What every joint reports; the first `dof` entries are used.
struct JointReadings {
    PerJoint<double> current;      // amperes (wire: 0.001 A)
    PerJoint<double> temperature;  // degrees Celsius (wire: 0.001)
    PerJoint<double> voltage;      // volts (wire: 0.001 V)
    PerJoint<double> speed;        // degrees per second (realtime report: 0.01)
    PerJoint<int> enabled;         // 1 enabled, 0 not
    PerJoint<int> err_code;        // drive error code
    PerJoint<int> brake;           // brake state
    JointReadings() {
        for (int i = 0; i < kMaxJoints; ++i) {
            current[i] = 0.25 + 0.125 * i;
            temperature[i] = 31.5 + i;
            voltage[i] = 48.25;
            speed[i] = 0.0;  // at rest; the motion engine writes them while the arm moves
            enabled[i] = 1;
            err_code[i] = 0;
            brake[i] = 0;
        }
    }
};

// Limits of the joint drives themselves (degrees, deg/s, deg/s^2), beside the software limits.
struct DriveLimits {
    PerJoint<double> min_pos, max_pos, max_speed, max_acc;
    DriveLimits() {
        min_pos.fill(-180.0);
        max_pos.fill(180.0);
        max_speed.fill(225.0);
        max_acc.fill(750.0);
    }
};

// The controller box itself.
struct ControllerReadings {
    double voltage = 24.125;     // volts
    double current = 1.875;      // amperes
    double temperature = 38.5;   // degrees Celsius
    int err_flag = 0;
};

// Cartesian limits of the arm: m/s, m/s^2, rad/s, rad/s^2.
struct CartesianLimits {
    double line_speed = 0.25;
    double line_acc = 1.6;
    double angular_speed = 0.6;
    double angular_acc = 4.0;
};

// Peripheral sections of the realtime report, in their wire integers.
struct ReportPeripherals {
    int lift_height = 420, lift_pos = 12500, lift_current = 310, lift_err_flag = 0, lift_en_flag = 1;
    int expand_pos = -7250, expand_current = 120, expand_err_flag = 0, expand_en_flag = 1, expand_joint_id = 8,
        expand_mode = 2;
    std::array<int, 6> hand_pos{{100, 200, 300, 400, 500, 600}};
    std::array<int, 6> hand_angle{{10, 20, 30, 40, 50, 60}};
    std::array<int, 6> hand_force{{1, 2, 3, 4, 5, 6}};
    std::array<int, 6> hand_state{{0, 1, 0, 1, 0, 1}};
    int hand_err = 0;
    int aloha_io1 = 1, aloha_io2 = 0;
    std::array<int, 6> force{{1500, -2500, 3000, 125, -250, 375}};       // 0.001 N, 0.001 Nm
    std::array<int, 6> zero_force{{100, 200, 300, 10, 20, 30}};
    // The zq_plus device: base data and state.
    std::string plus_manu = "SIMHAND", plus_hv = "1.0", plus_sv = "2.1", plus_bv = "3.2.1";
    int plus_type = 2, plus_id = 1, plus_dof = 6, plus_check = 0, plus_bee = 1, plus_touch_num = 5,
        plus_touch_sw = 1, plus_hand = 1;
    bool plus_force = true, plus_touch = true;
    int plus_sys_state = 3;
    std::array<int, 6> plus_pos{{11, 12, 13, 14, 15, 16}};
    std::array<unsigned, 12> plus_tsa{{4000000000u, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}};
    std::array<unsigned, 12> plus_tma{{7, 6, 5, 4, 3, 2, 1, 0, 9, 8, 7, 6}};
};

struct ArmState {
    JointReadings joints;
    ControllerReadings controller;
    CartesianLimits cartesian;
    DriveLimits drive;
    std::vector<int> err = {0};          // the arm's error list; never empty on the wire
    std::string arm_status = "idle";     // "arm_current_status" of the realtime report
    int collision_stage = 0;             // 0 to 8
    int teach_frame = 0;                 // frame of teaching moves: 0 base, 1 tool
    int auto_tool_points = 0;            // teach points recorded for an automatic tool frame, one bit each
    PerJoint<double> init_pose{};        // degrees
    ReportPeripherals peripherals;
    std::string tool_software_version = "1.2.5";
    std::string joint_software_version = "2.4.0";  // every joint's drive
};

}  // namespace zqsim
