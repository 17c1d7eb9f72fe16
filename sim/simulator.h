// A simulated arm controller for tests, examples and work without an arm.
//
// The simulator listens on 127.0.0.1 and speaks the controller's side of the command
// protocol: each request is one JSON object on a line ended by CR LF; the controller answers
// with JSON lines that carry their reply key under "command". Commands are answered from a
// table (command_table.h) over the arm's state (arm_config.h); unknown commands, lines that
// are not JSON and objects without a "command" text get no answer.
//
// Tests script it while it runs: replace, delay or drop the reply to a command, install a
// custom handler, send raw bytes, split one message over several writes, push a message,
// close the connections, and read back every line that arrived, byte for byte.
//
// Connections are numbered 0, 1, 2, ... in the order they were accepted since start(); a
// `connection` argument of -1 means every connection open at the time of the call.
//
// All members are thread-safe. Handlers given to on_command() run on the simulator's network
// thread; they may call the scripting and state members but not start() or stop().
//
//   zqsim::Simulator sim(zqsim::ArmConfig::for_model("ZQ52-6F-1.0"));
//   int port = sim.start();            // ephemeral port on 127.0.0.1
//   sim.set_delay("get_arm_run_mode", 50);
//   ... connect to 127.0.0.1:port ...
//   sim.wait_for_lines(1, 1000);
//   auto lines = sim.received_lines();  // {"{\"command\":\"get_arm_run_mode\"}"}
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "arm_config.h"

namespace zqsim {

class MotionEngine;

class Simulator {
public:
    explicit Simulator(ArmConfig cfg = {});
    ~Simulator();  // stops
    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;

    // Listens on 127.0.0.1:port (0: an ephemeral port). Returns the bound port, or -1 when the
    // port cannot be bound or the simulator is already running. The arm's state and the script
    // carry over a stop() and start(); connection numbers begin at 0 again.
    int start(int port = 0);
    // Closes every connection and the listener and joins the network thread. Idempotent,
    // returns promptly.
    void stop();

    int port() const;              // the bound port, -1 when stopped
    int connection_count() const;  // connections open now
    int accepted_count() const;    // connections accepted since start()
    bool wait_for_connections(int n, int timeout_ms) const;  // until at least n are open

    // --- scripting ---------------------------------------------------------------------
    // Answers the next `times` requests of `command` (-1: all) with `reply_json` as it is,
    // CR LF added, instead of the table's answer; the arm's state is left alone. 0 removes.
    void set_reply(const std::string& command, const std::string& reply_json, int times = -1);
    // Delays whatever is answered to `command` by `ms` (0 removes the delay). Other requests
    // are served meanwhile, so a later request may be answered first.
    void set_delay(const std::string& command, int ms);
    // Answers nothing to the next `times` requests of `command` (-1: all; 0 removes).
    void drop_reply(const std::string& command, int times = -1);
    // Answers `command` with the lines `fn` returns (without CR LF) instead of the table's
    // answer. Drop and reply rules come first. An empty `fn` removes the handler.
    void on_command(const std::string& command,
                    std::function<std::vector<std::string>(const std::string& request_line)> fn);
    // Removes every reply, delay, drop and custom-handler rule; the motion commands go back to
    // the moving arm.
    void clear_script();

    // Writes `bytes` as they are.
    void send_raw(const std::string& bytes, int connection = -1);
    // Writes `bytes` in pieces cut at the given offsets (ascending, within the text), one
    // write per piece, `pause_ms` apart.
    void send_split(const std::string& bytes, std::vector<std::size_t> cut_points, int pause_ms,
                    int connection = -1);
    // Writes one pushed message: `json` and CR LF.
    void push(const std::string& json, int connection = -1);
    // When the last pushed message was written to the socket (steady clock, taken just before
    // the write); the clock's epoch if none.
    std::chrono::steady_clock::time_point last_push_written_at() const;
    // Closes connections (-1: all) after what was queued for them; the listener stays open.
    void close_connections(int connection = -1);

    // --- what arrived --------------------------------------------------------------------
    // Every request line of every connection, in arrival order, byte for byte without its
    // CR LF; lines that are not JSON included.
    std::vector<std::string> received_lines() const;
    // Every byte received, CR LF included, in arrival order.
    std::string received_bytes() const;
    // Waits until at least `n` lines have arrived; false on time-out.
    bool wait_for_lines(std::size_t n, int timeout_ms) const;
    void clear_received();
    // Recording is on by default; a long-running controller turns it off.
    void set_recording(bool on);

    // --- the arm's state -----------------------------------------------------------------
    ArmConfig config() const;
    // Changes the state under the simulator's lock; the vectors are brought in line with the
    // joint count afterwards (ArmConfig::normalise).
    void update(const std::function<void(ArmConfig&)>& fn);

    // The moving arm: moves, steps, jogs, stops and streamed set points run in real time, and
    // its fault switches (lost, late or misaddressed completion reports) live here
    // (motion_engine.h). A custom handler or scripted reply of a motion command overrides it.
    MotionEngine& motion();

    // --- realtime reports (realtime_report.h) ------------------------------------------
    // While running, the simulator sends its UDP state report every cycle of its realtime
    // settings. `hook` runs on the sending thread right after each report went out.
    void on_report_sent(std::function<void(std::chrono::steady_clock::time_point)> hook);
    // Sends the next report at once.
    void send_report_now();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zqsim
