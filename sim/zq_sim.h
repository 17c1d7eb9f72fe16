/**
 * @file zq_sim.h
 * @brief A simulated arm controller to run inside your own tests and tools.
 *
 * The simulator listens on 127.0.0.1 and speaks the controller's side of the command
 * protocol, so `zq_create_robot_arm("127.0.0.1", sim.port())` connects to it like to an arm.
 * Its arm moves in real time: moves, steps, jogs, stops and streamed set points; streamed set
 * points beyond a joint's speed or acceleration limit are refused and reported in the arm's
 * error list. It sends UDP realtime reports once a client has configured where they go.
 *
 * @code
 *   #include <zq_sim.h>
 *   zqsim::SimulatedController sim("ZQ52-6F-1.0");
 *   int port = sim.start();          // an ephemeral port on 127.0.0.1
 *   zq_robot_handle* arm = zq_create_robot_arm("127.0.0.1", port);
 *   ...
 *   zq_delete_robot_arm(arm);
 *   sim.stop();
 * @endcode
 *
 * Link with the CMake target `api_cpp::zq_sim_core`. All members are thread-safe. This
 * header is C++17 and independent of the client library's headers.
 */
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace zqsim {

class Simulator;

/** One simulated controller with its arm. */
class SimulatedController {
public:
    /**
     * @param model      product version of the arm, e.g. "ZQ41-B-1.0" or "ZQ52-6F-1.0"; a
     *                   text that names no known family gets a generic six-joint arm (see
     *                   known_model()).
     * @param controller controller version: "4.0", or a 3.x text such as "3.5.2".
     * @param dof        joint count 1 to 10, or 0 for the model's own.
     */
    explicit SimulatedController(const std::string& model = "ZQ41-B-1.0",
                                 const std::string& controller = "4.0", int dof = 0);
    /** Stops the simulator. */
    ~SimulatedController();
    SimulatedController(const SimulatedController&) = delete;
    SimulatedController& operator=(const SimulatedController&) = delete;

    /** Listens on 127.0.0.1:port (0: an ephemeral port). @return the bound port, or -1. */
    int start(int port = 0);
    /** Closes every connection and the listener; idempotent. */
    void stop();
    /** @return the bound port, or -1 when stopped. */
    int port() const;

    /** @return the arm's joint angles, degrees. */
    std::vector<double> joints() const;
    /** Puts the arm at `degrees` at once (extra entries are ignored). */
    void set_joints(const std::vector<double>& degrees);
    /** @return the arm's error list ({0} when it has none). */
    std::vector<int> errors() const;
    /** Replaces the arm's error list. */
    void set_errors(const std::vector<int>& codes);

    /** Answers the next `times` requests of `command` (-1: all) with `reply_json`. */
    void set_reply(const std::string& command, const std::string& reply_json, int times = -1);
    /** Delays the answers to `command` by `ms` (0: no delay). */
    void set_delay(const std::string& command, int ms);
    /** Answers nothing to the next `times` requests of `command` (-1: all). */
    void drop_reply(const std::string& command, int times = -1);
    /** Sends one pushed message (`json` and CR LF) to every connection. */
    void push(const std::string& json);
    /** @return every request line received so far, without its CR LF. */
    std::vector<std::string> received_lines() const;
    /** Waits until at least `n` request lines have arrived. @return false on time-out. */
    bool wait_for_lines(std::size_t n, int timeout_ms) const;

    /** @return the family tags the simulator knows, e.g. "ZQ41", "ZQ52". */
    static std::vector<std::string> models();
    /** @return true when `model` names a known family. */
    static bool known_model(const std::string& model);
    /** @return a UDP port on 127.0.0.1 that nothing listens on at the moment (for the
     *  realtime reports of zq_set_realtime_push), or -1. */
    static int free_udp_port();

    /** The full simulator, for scripting beyond this header (simulator.h, not installed). */
    Simulator& simulator();

private:
    std::unique_ptr<Simulator> sim_;
};

}  // namespace zqsim
