// The arm as the simulated controller knows it: identity, kinematic chain, limits,
// frames, realtime report settings and the joint state. The controller keeps all of
// this in SI units here (metres, degrees, radians as noted) and converts to the integer
// wire units only when it answers.
#pragma once

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "arm_state.h"
#include "system_io_state.h"
#include "device_state.h"

namespace zqsim {

// One row of the kinematic chain, modified DH form as the controller reports it.
struct DhRow {
    double d = 0.0;       // metres
    double a = 0.0;       // metres
    double alpha = 0.0;   // degrees
    double offset = 0.0;  // degrees
};

// Limits of one joint.
struct JointLimits {
    double min_pos = -178.0;   // degrees
    double max_pos = 178.0;    // degrees
    double max_speed = 180.0;  // degrees per second
    double max_acc = 600.0;    // degrees per second squared
};

// A pose: position in metres, fixed-axis Euler angles in radians.
struct Pose {
    double x = 0.0, y = 0.0, z = 0.0;
    double rx = 0.0, ry = 0.0, rz = 0.0;
};

// The current tool frame: its pose on the flange and the load it carries.
struct ToolFrame {
    std::string name = "Flange";
    Pose pose;
    double payload = 0.0;                          // kilograms
    double com_x = 0.0, com_y = 0.0, com_z = 0.0;  // centre of mass of the load, metres
};

// The current work frame.
struct WorkFrame {
    std::string name = "Base";
    Pose pose;
};

// Where and how the controller sends its UDP state reports.
struct RealtimePush {
    int cycle = 5;                  // report period, controller units
    bool enable = true;
    int port = 8089;
    // Reports go out only once a client has said where they go (set_realtime_push), so that
    // simulators running side by side do not send to the default port nobody asked for.
    bool configured = false;
    std::string ip = "127.0.0.1";  // loopback only
    int force_coordinate = -1;      // frame of the force values; below 0: not reported (no sensor)
    // Sections of the report, in the order the controller lists them.
    std::vector<std::pair<std::string, bool>> sections = {
        {"joint_speed", true},   {"lift_state", false}, {"expand_state", false},  {"arm_current_status", true},
        {"aloha_state", false},  {"hand", false},       {"zq_plus_base", false},  {"zq_plus_state", false},
    };
};

// Version texts of the controller's software modules.
struct SoftwareModules {
    std::string build_time = "2024-05-20 09:30:00";  // 19 characters, as the controller stamps them
    std::string algorithm_version = "1.4.3";
    std::string ctrl_version = "1.6.2";
    std::string ctrl_commit = "3f9c2ab";       // empty: the key is left out
    std::string dynamic_model_version = "1.0";
    std::string plan_version = "1.6.2";
    std::string plan_commit = "81d04e7";       // empty: the key is left out
    std::string communication_version = "1.2.0";
    std::string program_version = "1.3.1";
};

// Everything the simulated controller holds about its arm. A default-constructed value is a
// six-joint "ZQ41-B-1.0" arm on a generation 4 controller.
struct ArmConfig {
    std::string product_version;     // e.g. "ZQ41-B-1.0" or "ZQ52-6F-1.0"
    std::string controller_version;  // "4.0", or a 3.x text such as "3.5.2"; empty: not reported
    int dof = 6;                     // joints, 1 to 10
    int fixed_links = 0;             // further fixed links behind the last joint (one on the two-arm families)
    std::vector<DhRow> dh;           // dof + fixed_links rows
    std::vector<JointLimits> joints; // dof entries
    std::array<int, 3> install_pose{{0, 0, 0}};  // mounting angles x, y, z, whole degrees
    ToolFrame tool;
    WorkFrame work;
    RealtimePush realtime;
    int run_mode = 1;                // the controller comes up in run mode 1
    std::vector<double> joint_angles;  // current joint angles, degrees, dof entries
    SoftwareModules software;
    // Every stored tool and work frame; `tool` and `work` are copies of the current ones, and a
    // current frame missing here is added when a frame command first looks at the list.
    std::vector<ToolFrame> tool_frames;
    std::vector<WorkFrame> work_frames;
    ArmState state;  // readings, errors, Cartesian limits and report sections (arm_state.h)
    SystemIoState system_io;  // network, IO, serial ports, Modbus devices, safety zones (system_io_state.h)
    DeviceState devices;  // peripherals, force control and the stores (device_state.h)

    ArmConfig();

    // Plausible defaults for the model family that `product_version` names: chain, limits,
    // joint count and the force sensor that its suffix implies. An unknown family gets a
    // generic six-joint arm.
    static ArmConfig for_model(const std::string& product_version);

    // Brings the vectors in line with `dof` (clamped to 1..10): new joints copy the limits of
    // the last known joint and start at 0 degrees, surplus ones are removed; the chain gets
    // dof + fixed_links rows.
    void normalise();

    // Generation of the controller: 4 for "4.0", 3 for anything else.
    int generation() const { return controller_version == "4.0" ? 4 : 3; }
};

}  // namespace zqsim
