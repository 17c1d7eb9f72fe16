// The moving arm of the simulated controller: joint, pose and circular moves, steps, jogs,
// stops and streamed set points, run in real time by a clock thread of its own.
//
// A move is acknowledged at once ("receive_state") and then runs: a joint move interpolates
// the joints with a smooth profile at the commanded share `v` (percent) of each joint's speed
// and acceleration limits; a pose move solves the arm's own kinematics for the joints of its
// target and takes its time from the Cartesian distance and the joints' limits, whichever is
// longer; a target the arm cannot reach ends the move at once where it starts, with 0x6201 in
// the arm's error list and "trajectory_state" false in its report. At its end the
// controller pushes {"state":"current_trajectory_state","trajectory_state":true,"device":0,
// "trajectory_connect":0|1}. Moves sent with "trajectory_connect" 1 wait for the move that
// closes the chain and then run back to back. The joint angles live in the simulator's
// ArmConfig, so every other answer sees the moving arm.
//
// Every Simulator owns one (Simulator::motion()). It attaches through the simulator's scripting
// members (on_command for each motion literal, push, update): scripted replies and drops of a
// motion command take precedence, a custom handler replaces it for its command, and
// clear_script() attaches it again.
//
//   zqsim::Simulator sim;
//   sim.motion().lose_reports(1);     // the next completion push goes missing
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace zqsim {

class Simulator;

class MotionEngine {
public:
    explicit MotionEngine(Simulator& sim);  // attaches and starts the clock
    ~MotionEngine();                        // detaches and stops the clock
    MotionEngine(const MotionEngine&) = delete;
    MotionEngine& operator=(const MotionEngine&) = delete;

    // (Re)installs the handlers of every motion command.
    void attach();
    // The command literals the engine answers.
    static std::vector<std::string> literals();

    // --- faults ------------------------------------------------------------------------
    // The next `n` completion pushes are not sent (n < 0: none is sent any more; 0: all again).
    void lose_reports(int n);
    // Completion pushes leave `ms` late (0: on time).
    void delay_reports(int ms);
    // Completion pushes name `device` instead of 0 (the arm).
    void report_device(int device);

    // --- what the arm does ---------------------------------------------------------------
    // True while a trajectory runs or waits to run (paused included).
    bool busy() const;
    // Waits until no trajectory runs; false on time-out.
    bool wait_idle(int timeout_ms) const;
    // Completion pushes sent so far.
    int reports_sent() const;
    // "idle", "move_J", "move_L", "move_C", "move_S", "pause", "stop", "slow_stop".
    std::string status() const;
    // When the last completion push was handed to the network (steady clock).
    std::chrono::steady_clock::time_point last_report_at() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zqsim
