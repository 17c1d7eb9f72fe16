// Registration of each command family into the command table. A new family adds its
// function here and to the list in command_table.cpp.
#pragma once

#include "command_table.h"

namespace zqsim {

void register_state_commands(CommandTable& table);       // run mode, software information
void register_realtime_commands(CommandTable& table);    // realtime report settings
void register_frame_commands(CommandTable& table);       // tool and work frames, install pose, DH chain
void register_frame_store_commands(CommandTable& table); // stored frames, setting install pose and DH chain
void register_limit_commands(CommandTable& table);       // joint limits
void register_arm_state_commands(CommandTable& table);   // joint readings, state records, versions
void register_trajectory_commands(CommandTable& table);  // current trajectory
void register_system_commands(CommandTable& table);      // network, power, runtime counters
void register_io_commands(CommandTable& table);          // controller IO, serial and Modbus port modes
void register_modbus_commands(CommandTable& table);      // Modbus devices of the three command generations
void register_safety_commands(CommandTable& table);      // fences, virtual wall, envelopes, collision switches
void register_effector_commands(CommandTable& table);    // gripper, hand, lift, expansion axis, tool connector
void register_force_commands(CommandTable& table);       // force sensors, force-position control, drag teach
void register_program_commands(CommandTable& table);     // programs, waypoints, trajectory files, tool actions

}  // namespace zqsim
