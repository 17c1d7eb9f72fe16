#include "motion_engine.h"

#include "sim_kinematics.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

#include <cjson/cJSON.h>

#include "motion_profile.h"
#include "self_contact.h"
#include "simulator.h"
#include "wire.h"

namespace zqsim {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double kLineSpeed = 0.25;     // m/s at v = 100
constexpr double kLineAcc = 1.6;        // m/s²
constexpr double kAngularSpeed = 0.6;   // rad/s at v = 100
constexpr double kAngularAcc = 4.0;     // rad/s²
constexpr int kTickMs = 2;              // clock period while the arm moves
constexpr double kMinMoveSeconds = 0.02;  // shortest planned trajectory
// Streamed set points are checked like the controller checks them: the step from the last
// set point may need neither more than the joint's speed limit nor more than its acceleration
// limit over the stream's period (a running mean of the arrival intervals). The acceleration
// is the second difference of the set points, so the host's timing jitter does not enter it;
// it gets twice the limit as room, the speed a tenth. A stream that pauses longer than
// kStreamGapMs starts again from rest, from where the arm stands.
constexpr double kStreamStartPeriod = 0.005;                      // s, the controller's cycle
constexpr double kStreamMinPeriod = 0.002, kStreamMaxPeriod = 0.05;  // s
constexpr int kStreamGapMs = 100;
constexpr double kStreamSpeedRoom = 1.1, kStreamAccRoom = 2.0;
constexpr int kStreamSpeedError = 0x6101;  // a set point beyond a joint's speed limit
constexpr int kStreamAccError = 0x6102;    // a set point beyond a joint's acceleration limit
constexpr int kUnreachableError = 0x6201;  // a Cartesian target outside the arm's reach
constexpr int kStopShownMs = 200;         // "stop" and "slow_stop" are reported this long, then "idle"

// One trajectory: where the joints go, what the trajectory query reports, how long it takes.
struct Segment {
    std::string type = "movej";  // "movej", "movel", "movec" or "moves" as the trajectory query names it
    std::string status = "move_J";
    std::vector<double> from, to;  // joints, degrees; `from` is filled when it starts
    Pose pose_to;                  // end pose of the pose types
    bool pose_type = false;
    double speed = 1.0;         // share of the limits, 0 to 1
    double cart_duration = 0.0; // seconds the Cartesian path needs (pose moves)
    double duration = 0.0;      // seconds, fixed when it starts
    // Smooth: the minimum-jerk profile, its duration from the limits. Linear: constant speed
    // (jogs). Brake: constant deceleration from the speed the arm had (slow stop). The last two
    // come with their duration.
    enum class Profile { Smooth, Linear, Brake } profile = Profile::Smooth;
    bool report = true;         // push "current_trajectory_state" at the end
    int connect = 0;            // trajectory_connect of the request
    bool self_contact = false;  // cut short before the arm would touch itself
    // An error code: the target cannot be reached, so the move ends where it starts, after the
    // shortest planned time, with this code in the arm's error list and a report that it failed.
    int fault = 0;
};

double clamp_speed(int v) { return std::clamp(v, 1, 100) / 100.0; }

int int_member(const cJSON* o, const char* key, int fallback = 0) {
    const cJSON* it = cJSON_GetObjectItemCaseSensitive(o, key);
    return cJSON_IsNumber(it) ? it->valueint : fallback;
}

std::vector<double> number_array(const cJSON* o, const char* key, double factor) {
    std::vector<double> out;
    const cJSON* arr = cJSON_GetObjectItemCaseSensitive(o, key);
    if (!cJSON_IsArray(arr)) return out;
    for (const cJSON* el = arr->child; el; el = el->next) out.push_back(cJSON_IsNumber(el) ? el->valuedouble / factor : 0.0);
    return out;
}

bool pose_member(const cJSON* o, const char* key, Pose* p) {
    std::vector<double> v = number_array(o, key, 1.0);
    if (v.size() != 6) return false;
    *p = Pose{v[0] / wire::kLength, v[1] / wire::kLength, v[2] / wire::kLength,
              v[3] / wire::kEuler,  v[4] / wire::kEuler,  v[5] / wire::kEuler};
    return true;
}

double distance(const Pose& a, const Pose& b) { return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z); }

std::string state_reply(const char* key, const char* state_key, bool ok) {
    cJSON* r = wire::reply(key);
    cJSON_AddBoolToObject(r, state_key, ok);
    return wire::print_and_delete(r);
}

}  // namespace

struct MotionEngine::Impl {
    using Handler = std::vector<std::string> (Impl::*)(const cJSON* request, const std::string& command);
    struct Row {
        const char* literal;
        Handler handler;
    };
    static const std::vector<Row>& rows();

    explicit Impl(Simulator& s) : sim(s), clock([this] { run(); }) {}
    ~Impl() {
        {
            std::lock_guard<std::mutex> lock(mu);
            quit = true;
        }
        cv.notify_all();
        clock.join();
    }

    // ---- clock -------------------------------------------------------------------------
    struct Due {
        Clock::time_point at;
        std::string line;
    };

    void run() {
        std::unique_lock<std::mutex> lock(mu);
        while (!quit) {
            std::vector<double> joints;
            std::vector<std::string> now_out;
            step(Clock::now(), &joints, &now_out);
            if (stream_dirty && !running) {
                joints = current;
                stream_dirty = false;
            }
            // Applied under the engine's lock, so that no older position lands after a newer one.
            if (!joints.empty()) set_joints(joints);
            if (!now_out.empty()) last_push = Clock::now();  // stamped before it leaves
            lock.unlock();
            for (const std::string& line : now_out) sim.push(line);
            lock.lock();
            if (quit) break;
            if (running || !queue.empty() || !due.empty() || stream_dirty || stop_shown()) {
                cv.wait_for(lock, std::chrono::milliseconds(kTickMs));
            } else {
                cv.wait(lock);
            }
        }
    }

    // Advances the arm to `now` under `mu`: the joints to apply and the pushes to send.
    void step(Clock::time_point now, std::vector<double>* joints, std::vector<std::string>* out) {
        for (auto it = due.begin(); it != due.end();) {
            if (it->at <= now) {
                out->push_back(it->line);
                it = due.erase(it);
            } else {
                ++it;
            }
        }
        for (int guard = 0; guard < 64; ++guard) {
            if (!running) {
                if (!head_runnable()) break;
                start_head(now);
            }
            if (paused) {
                *joints = at(now);
                break;
            }
            if (elapsed(now) < cur.duration) {
                *joints = at(now);
                break;
            }
            // The trajectory has ended.
            *joints = cur.to;
            current = cur.to;
            if (cur.pose_type && !cur.self_contact) pose = cur.pose_to;
            running = false;
            if (cur.self_contact) {
                // The arm stops there: what was queued behind is dropped, the error filed.
                queue.clear();
                sim.update([](ArmConfig& arm) { file_arm_error(arm, kSelfContactError); });
            }
            if (cur.status == std::string("slow_stop")) stopped_at = now;
            if (cur.report) report(now, cur.connect, out, cur.fault == 0);
        }
        if (!running && !head_runnable() && arm_status != "idle") {
            if (!stop_shown() || now - stopped_at >= std::chrono::milliseconds(kStopShownMs)) {
                arm_status = "idle";
                if (joints->empty()) *joints = current;  // carries the status to the shared state
            }
        }
    }

    bool stop_shown() const { return arm_status == "stop" || arm_status == "slow_stop"; }

    // The head of the queue may start once the chain it belongs to is closed by a move with
    // "trajectory_connect" 0.
    bool head_runnable() const {
        return std::any_of(queue.begin(), queue.end(), [](const Segment& s) { return s.connect == 0; });
    }

    void start_head(Clock::time_point now) {
        cur = queue.front();
        queue.pop_front();
        cur.from = current;
        if (cur.to.size() != current.size()) cur.to.resize(current.size(), 0.0);
        // A move that would bring the arm into contact with itself ends where it is still free
        // (a faulted move stays where it is, below, and is not checked).
        if (cur.fault == 0) cur.to = contact.last_free(cur.from, cur.to, &cur.self_contact);
        double t = cur.cart_duration;
        if (cur.profile == Segment::Profile::Smooth) {
            for (std::size_t i = 0; i < current.size(); ++i) {
                const JointLimits& lim = i < limits.size() ? limits[i] : JointLimits{};
                t = std::max(t, smooth_duration(cur.to[i] - cur.from[i], lim.max_speed * cur.speed,
                                                lim.max_acc * cur.speed));
            }
        }
        // A planned trajectory takes a few controller cycles even when the arm is there already.
        if (cur.profile == Segment::Profile::Smooth) cur.duration = std::max(t, kMinMoveSeconds);
        if (cur.fault != 0) {
            const int fault = cur.fault;
            cur.to = cur.from;
            cur.pose_type = false;
            cur.duration = kMinMoveSeconds;  // the controller's planning cycles
            sim.update([fault](ArmConfig& a) { file_arm_error(a, fault); });
        }
        started = now;
        paused_for = Clock::duration::zero();
        running = true;
        arm_status = cur.status;
    }

    double elapsed(Clock::time_point now) const {
        const Clock::time_point until = paused ? paused_at : now;
        return std::chrono::duration<double>(until - started - paused_for).count();
    }

    // Joint angles of the running trajectory at `now`.
    std::vector<double> at(Clock::time_point now) const {
        if (!running) return current;
        const double tau = cur.duration <= 0.0 ? 1.0 : std::clamp(elapsed(now) / cur.duration, 0.0, 1.0);
        const double f = cur.profile == Segment::Profile::Linear  ? tau
                         : cur.profile == Segment::Profile::Brake ? tau * (2.0 - tau)
                                                                  : smooth_fraction(tau);
        std::vector<double> q(cur.from.size());
        for (std::size_t i = 0; i < q.size(); ++i) q[i] = cur.from[i] + (cur.to[i] - cur.from[i]) * f;
        return q;
    }

    void report(Clock::time_point now, int connect, std::vector<std::string>* out, bool succeeded) {
        if (lose != 0) {
            if (lose > 0) --lose;
            return;
        }
        cJSON* r = cJSON_CreateObject();
        cJSON_AddStringToObject(r, "state", "current_trajectory_state");
        cJSON_AddBoolToObject(r, "trajectory_state", succeeded);
        cJSON_AddNumberToObject(r, "device", device);
        cJSON_AddNumberToObject(r, "trajectory_connect", connect ? 1 : 0);
        std::string line = wire::print_and_delete(r);
        ++sent;
        idle_cv.notify_all();
        if (delay_ms > 0) {
            due.push_back(Due{now + std::chrono::milliseconds(delay_ms), std::move(line)});
        } else {
            out->push_back(std::move(line));
        }
    }

    // Ends every trajectory where the arm is now; the caller holds `mu`.
    std::vector<double> halt(const char* status) {
        current = at(Clock::now());
        running = false;
        paused = false;
        queue.clear();
        arm_status = status;
        stopped_at = Clock::now();
        return current;
    }

    // Joint speeds of the running trajectory at `now`, degrees per second.
    std::vector<double> speeds(Clock::time_point now) const {
        std::vector<double> v(current.size(), 0.0);
        if (!running || paused || cur.duration <= 0.0) return v;
        const double tau = std::clamp(elapsed(now) / cur.duration, 0.0, 1.0);
        // d(fraction)/dτ of the profile
        const double rate = cur.profile == Segment::Profile::Linear  ? 1.0
                            : cur.profile == Segment::Profile::Brake ? 2.0 * (1.0 - tau)
                                                                     : 30.0 * tau * tau * (1.0 - tau) * (1.0 - tau);
        for (std::size_t i = 0; i < v.size() && i < cur.to.size() && i < cur.from.size(); ++i)
            v[i] = (cur.to[i] - cur.from[i]) * rate / cur.duration;
        return v;
    }

    // Writes the joints, their speeds and the arm's status into the simulator's state; the
    // caller holds `mu`.
    void set_joints(const std::vector<double>& q) {
        const std::vector<double> v = speeds(Clock::now());
        const std::string status = arm_status;
        sim.update([&](ArmConfig& arm) {
            const std::size_t n = std::min(q.size(), arm.joint_angles.size());
            std::copy(q.begin(), q.begin() + static_cast<long>(n), arm.joint_angles.begin());
            for (std::size_t i = 0; i < v.size() && i < arm.state.joints.speed.size(); ++i)
                arm.state.joints.speed[i] = v[i];
            arm.state.arm_status = status;
        });
    }

    // Learns the arm's joint count, limits and joints before a command is served.
    void refresh_arm() {
        const ArmConfig cfg = sim.config();
        chain = cfg;
        limits = cfg.joints;
        dof = cfg.dof;
        generation = cfg.generation();
        contact.configure(cfg);
        if (!running && !stream_dirty) current = cfg.joint_angles;  // a streamed set point is newer
    }

    // ---- commands ----------------------------------------------------------------------
    std::vector<std::string> enqueue(Segment s, const std::string& command) {
        queue.push_back(std::move(s));
        cv.notify_all();
        return {state_reply(command.c_str(), "receive_state", true)};
    }

    bool within_limits(const std::vector<double>& q) const {
        if (static_cast<int>(q.size()) != dof) return false;
        for (std::size_t i = 0; i < q.size(); ++i) {
            if (i < limits.size() && (q[i] < limits[i].min_pos || q[i] > limits[i].max_pos)) return false;
        }
        return true;
    }

    // Where the joints are once every planned move has run.
    std::vector<double> planned_joints() const {
        if (!queue.empty()) return queue.back().to;
        return running ? cur.to : current;
    }

    // The tool pose (in the work frame) once every planned move has run.
    Pose planned_pose() const { return tool_pose(chain, planned_joints()); }

    Segment pose_segment(const Pose& from, const Pose& to, int v, const char* type, const char* status) {
        Segment s;
        s.type = type;
        s.status = status;
        s.pose_type = std::string(type) != "movej";
        s.pose_to = to;
        s.speed = clamp_speed(v);
        // The joints of the target; where the arm cannot reach it, the move fails.
        s.to = planned_joints();
        if (!solve_tool_pose(chain, to, s.to)) s.fault = kUnreachableError;
        s.cart_duration = std::max(smooth_duration(distance(from, to), kLineSpeed * s.speed, kLineAcc * s.speed),
                                   smooth_duration(rotation_angle(from, to), kAngularSpeed * s.speed, kAngularAcc * s.speed));
        return s;
    }

    std::vector<std::string> refuse(const std::string& command) {
        return {state_reply(command.c_str(), "receive_state", false)};
    }

    std::vector<std::string> movej(const cJSON* rq, const std::string& command) {
        Segment s;
        s.to = number_array(rq, "joint", wire::kAngle);
        s.speed = clamp_speed(int_member(rq, "v"));
        s.connect = int_member(rq, "trajectory_connect");
        if (!within_limits(s.to)) return refuse(command);
        return enqueue(std::move(s), command);
    }

    std::vector<std::string> pose_move(const cJSON* rq, const std::string& command) {
        Pose to;
        const char* key = command == "movel_offset" ? "offset" : "pose";
        const cJSON* pose_obj = cJSON_GetObjectItemCaseSensitive(rq, "pose");
        if (command == "movec") {
            if (!cJSON_IsObject(pose_obj) || !pose_member(pose_obj, "pose_to", &to)) return refuse(command);
        } else if (!pose_member(rq, key, &to)) {
            return refuse(command);
        }
        const Pose from = planned_pose();
        if (command == "movel_offset") {
            to = Pose{from.x + to.x, from.y + to.y, from.z + to.z, from.rx + to.rx, from.ry + to.ry, from.rz + to.rz};
        }
        static const struct {
            const char* command;
            const char* type;
            const char* status;
        } kKinds[] = {{"movel", "movel", "move_L"}, {"movel_offset", "movel", "move_L"}, {"moves", "moves", "move_S"},
                      {"movec", "movec", "move_C"}, {"movej_p", "movej", "move_J"}};
        for (const auto& k : kKinds) {
            if (command != k.command) continue;
            Segment s = pose_segment(from, to, int_member(rq, "v"), k.type, k.status);
            s.pose_to = to;
            s.connect = int_member(rq, "trajectory_connect");
            return enqueue(std::move(s), command);
        }
        return refuse(command);
    }

    std::vector<std::string> joint_step(const cJSON* rq, const std::string& command) {
        std::vector<double> js = number_array(rq, "joint_step", 1.0);
        if (js.size() != 2) return refuse(command);
        const int joint = static_cast<int>(js[0]);
        std::vector<double> to = running ? cur.to : current;
        if (!queue.empty()) to = queue.back().to;
        if (joint < 1 || joint > static_cast<int>(to.size())) return refuse(command);
        to[static_cast<std::size_t>(joint - 1)] += js[1] / wire::kAngle;
        if (!within_limits(to)) return refuse(command);
        Segment s;
        s.to = to;
        s.speed = clamp_speed(int_member(rq, "v"));
        return enqueue(std::move(s), command);
    }

    std::vector<std::string> cartesian_step(const cJSON* rq, const std::string& command) {
        static const char* const kAxes[] = {"x_step", "y_step", "z_step", "rx_step", "ry_step", "rz_step"};
        const std::string axis = wire::string_member(rq, "step_type");
        const double step = int_member(rq, "step");
        Pose from = planned_pose(), to = from;
        double* fields[] = {&to.x, &to.y, &to.z, &to.rx, &to.ry, &to.rz};
        const bool position = command == "set_pos_step";
        int found = -1;
        for (int i = position ? 0 : 3; i < (position ? 3 : 6); ++i)
            if (axis == kAxes[i]) found = i;
        if (found < 0) return refuse(command);
        *fields[found] += step / (position ? wire::kLength : wire::kEuler);
        Segment s = pose_segment(from, to, int_member(rq, "v"), "movel", "move_L");
        return enqueue(std::move(s), command);
    }

    // Jogs run at constant speed until a stop; they push no report.
    std::vector<std::string> joint_teach(const cJSON* rq, const std::string& command) {
        const int joint = int_member(rq, "teach_joint");
        const bool positive = wire::string_member(rq, "direction") == "pos";
        if (running || !queue.empty() || joint < 1 || joint > dof) {
            return {state_reply(command.c_str(), "joint_teach", false)};
        }
        const std::size_t j = static_cast<std::size_t>(joint - 1);
        const JointLimits lim = j < limits.size() ? limits[j] : JointLimits{};
        Segment s;
        s.to = current;
        s.to[j] = positive ? lim.max_pos : lim.min_pos;
        s.profile = Segment::Profile::Linear;
        s.report = false;
        const double speed = lim.max_speed * clamp_speed(int_member(rq, "v"));
        s.duration = speed > 0.0 ? std::fabs(s.to[j] - current[j]) / speed : 0.0;
        queue.push_back(std::move(s));
        cv.notify_all();
        return {state_reply(command.c_str(), "joint_teach", true)};
    }

    std::vector<std::string> cartesian_teach(const cJSON* rq, const std::string& command) {
        const bool position = command == "set_pos_teach";
        const char* key = position ? "pos_teach" : "ort_teach";
        static const char* const kTypes[] = {"x", "y", "z", "rx", "ry", "rz"};
        const std::string type = wire::string_member(rq, "teach_type");
        bool known = false;
        for (int i = position ? 0 : 3; i < (position ? 3 : 6); ++i) known = known || type == kTypes[i];
        if (running || !queue.empty() || !known) return {state_reply(command.c_str(), key, false)};
        Segment s;  // a Cartesian jog keeps the joints; it lasts until a stop
        s.type = "movel";
        s.status = "move_L";
        s.pose_type = true;
        s.pose_to = pose;
        s.to = current;
        s.profile = Segment::Profile::Linear;
        s.report = false;
        s.duration = 3600.0;
        queue.push_back(std::move(s));
        cv.notify_all();
        return {state_reply(command.c_str(), key, true)};
    }

    std::vector<std::string> stop_teach(const cJSON*, const std::string& command) {
        if (running && !cur.report) {
            current = at(Clock::now());
            running = false;
            pending_joints = current;
        }
        return {state_reply(command.c_str(), "stop_teach", true)};
    }

    // ---- stops -------------------------------------------------------------------------
    std::vector<std::string> stop(const cJSON*, const std::string& command) {
        static const struct {
            const char* command;
            const char* key;
            const char* status;
        } kStops[] = {{"set_arm_stop", "arm_stop", "stop"}, {"set_arm_slow_stop", "arm_slow_stop", "slow_stop"},
                      {"set_arm_delete_trajectory", "arm_delete_trajectory", "idle"}};
        for (const auto& k : kStops) {
            if (command != k.command) continue;
            if (command == "set_arm_slow_stop" && running && !paused) {
                brake();
            } else {
                pending_joints = halt(k.status);
            }
            return {state_reply(k.command, k.key, true)};
        }
        return {};
    }

    // Slow stop: every queued trajectory goes, and the arm brakes from its present speed at the
    // joints' acceleration limits, reporting nothing.
    void brake() {
        const Clock::time_point now = Clock::now();
        const std::vector<double> v = speeds(now);
        Segment s;
        s.type = cur.type;
        s.status = "slow_stop";
        s.pose_type = cur.pose_type;
        s.pose_to = cur.pose_to;
        s.profile = Segment::Profile::Brake;
        s.report = false;
        for (std::size_t i = 0; i < v.size(); ++i) {
            const double acc = i < limits.size() ? limits[i].max_acc : JointLimits{}.max_acc;
            if (acc > 0.0) s.duration = std::max(s.duration, std::fabs(v[i]) / acc);
        }
        s.to = halt("slow_stop");
        for (std::size_t i = 0; i < v.size() && i < s.to.size(); ++i) s.to[i] += v[i] * s.duration / 2.0;
        queue.push_back(std::move(s));
        cv.notify_all();
    }

    std::vector<std::string> pause(const cJSON*, const std::string& command) {
        if (running && !paused) {
            paused = true;
            paused_at = Clock::now();
            arm_status = "pause";
            pending_joints = at(paused_at);  // where the arm holds
        }
        return {state_reply(command.c_str(), "arm_pause", true)};
    }

    std::vector<std::string> resume(const cJSON*, const std::string& command) {
        if (paused) {
            paused_for += Clock::now() - paused_at;
            paused = false;
            arm_status = cur.status;
            cv.notify_all();
        }
        return {state_reply(command.c_str(), "arm_continue", true)};
    }

    // Drops the running trajectory where the arm is; the queued ones go on.
    std::vector<std::string> delete_current(const cJSON*, const std::string& command) {
        if (running) {
            current = at(Clock::now());
            pending_joints = current;
            running = false;
            paused = false;
            cv.notify_all();
        }
        return {state_reply(command.c_str(), "delete_current_trajectory", true)};
    }

    std::vector<std::string> emergency_stop(const cJSON* rq, const std::string& command) {
        const cJSON* on = cJSON_GetObjectItemCaseSensitive(rq, "emergency_stop");
        if (cJSON_IsTrue(on) || (cJSON_IsNumber(on) && on->valueint != 0)) pending_joints = halt("stop");
        return {state_reply(command.c_str(), "set_state", true)};
    }

    // ---- teach frame -------------------------------------------------------------------
    std::vector<std::string> set_teach_frame(const cJSON* rq, const std::string& command) {
        const int frame = int_member(rq, "frame_type");
        sim.update([&](ArmConfig& arm) { arm.state.teach_frame = frame; });
        return {state_reply(command.c_str(), "set_state", true)};
    }
    std::vector<std::string> get_teach_frame(const cJSON*, const std::string& command) {
        cJSON* r = wire::reply(command.c_str());
        cJSON_AddNumberToObject(r, "frame_type", sim.config().state.teach_frame);
        return {wire::print_and_delete(r)};
    }

    // ---- streaming: set points take effect at once, unanswered --------------------------
    // The arm takes each set point at once; the shared state follows at most once a
    // millisecond, and the clock brings it up to date after the stream pauses.
    std::vector<std::string> stream_joints(const cJSON* rq, const std::string&) {
        std::vector<double> q = number_array(rq, "joint", wire::kAngle);
        const Clock::time_point now = Clock::now();
        if (running) return {};
        if (now - last_set_point > std::chrono::milliseconds(kStreamGapMs) || limits.empty()) {
            refresh_arm();  // a new stream: from rest, where the arm stands
            stream_period = kStreamStartPeriod;
            last_step.assign(static_cast<std::size_t>(dof), 0.0);
        } else {
            const double dt = std::chrono::duration<double>(now - last_set_point).count();
            stream_period = std::clamp(0.8 * stream_period + 0.2 * dt, kStreamMinPeriod, kStreamMaxPeriod);
        }
        last_set_point = now;
        if (static_cast<int>(q.size()) != dof || current.size() != q.size()) return {};
        const int fault = stream_fault(q);
        if (fault != 0) {
            last_step.assign(q.size(), 0.0);  // the arm holds where it is
            sim.update([fault](ArmConfig& a) { file_arm_error(a, fault); });
            return {};
        }
        // A set point that brings the arm into contact with itself is not taken: the arm holds
        // at the last free one.
        bool touch = false;
        contact.last_free(current, q, &touch);
        if (touch) {
            last_step.assign(q.size(), 0.0);
            sim.update([](ArmConfig& a) { file_arm_error(a, kSelfContactError); });
            return {};
        }
        for (std::size_t i = 0; i < q.size(); ++i) last_step[i] = q[i] - current[i];
        current = std::move(q);
        if (now - last_stream_apply >= std::chrono::milliseconds(1)) {
            pending_joints = current;
            last_stream_apply = now;
            stream_dirty = false;
        } else if (!stream_dirty) {
            stream_dirty = true;
            cv.notify_all();
        }
        return {};
    }
    // The error code that refuses set point `q`, or 0 when the joints can follow it.
    int stream_fault(const std::vector<double>& q) const {
        const double t = stream_period;
        for (std::size_t i = 0; i < q.size() && i < limits.size() && i < last_step.size(); ++i) {
            const double step = q[i] - current[i];
            if (std::fabs(step) > limits[i].max_speed * t * kStreamSpeedRoom) return kStreamSpeedError;
            if (std::fabs(step - last_step[i]) > limits[i].max_acc * t * t * kStreamAccRoom) return kStreamAccError;
        }
        return 0;
    }
    std::vector<std::string> stream_pose(const cJSON* rq, const std::string&) {
        std::vector<double> v = number_array(rq, "pose", 1.0);
        if (v.size() == 6) pose_member(rq, "pose", &pose);
        v = number_array(rq, "pose_quat", wire::kLength);
        if (v.size() == 7) {
            pose.x = v[0];
            pose.y = v[1];
            pose.z = v[2];
        }
        return {};
    }
    std::vector<std::string> unanswered(const cJSON*, const std::string&) { return {}; }
    std::vector<std::string> movev_init(const cJSON*, const std::string& command) {
        return {state_reply(command.c_str(), "movev_canfd_init_state", true)};
    }
    std::vector<std::string> set_current_enable(const cJSON* rq, const std::string& command) {
        current_stream = cJSON_IsTrue(cJSON_GetObjectItemCaseSensitive(rq, "enable"));
        return {state_reply(command.c_str(), "set_state", true)};
    }
    std::vector<std::string> get_current_enable(const cJSON*, const std::string& command) {
        return {state_reply(command.c_str(), generation == 3 ? "enable_state" : "set_state", current_stream)};
    }

    // ---- the trajectory query ----------------------------------------------------------
    std::vector<std::string> current_trajectory(const cJSON*, const std::string&) {
        cJSON* r = wire::reply("arm_current_trajectory");
        std::vector<std::int64_t> data;
        if (running) {
            cJSON_AddStringToObject(r, "type", cur.type.c_str());
            if (cur.pose_type) {
                const Pose& p = cur.pose_to;
                data = {wire::scaled(p.x, wire::kLength), wire::scaled(p.y, wire::kLength),
                        wire::scaled(p.z, wire::kLength), wire::scaled(p.rx, wire::kEuler),
                        wire::scaled(p.ry, wire::kEuler), wire::scaled(p.rz, wire::kEuler)};
            } else {
                for (double q : cur.to) data.push_back(wire::scaled(q, wire::kAngle));
            }
        } else {
            cJSON_AddStringToObject(r, "type", "none");
            for (double q : current) data.push_back(wire::scaled(q, wire::kAngle));
        }
        wire::add_int_array(r, "data", data);
        return {wire::print_and_delete(r)};
    }

    // Set points come at a high rate: they skip the refresh of the arm's data.
    static bool streamed(Handler h) {
        return h == &Impl::stream_joints || h == &Impl::stream_pose || h == &Impl::unanswered;
    }

    // One request of a motion literal, on the simulator's network thread.
    std::vector<std::string> serve(Handler h, const std::string& line) {
        cJSON* rq = cJSON_ParseWithLength(line.data(), line.size());
        if (!cJSON_IsObject(rq)) {
            cJSON_Delete(rq);
            return {};
        }
        const std::string command = wire::string_member(rq, "command");
        std::vector<std::string> out;
        std::vector<double> joints;
        {
            std::lock_guard<std::mutex> lock(mu);
            if (!streamed(h)) {
                refresh_arm();
                // Bring the running trajectory up to now before answering.
                std::vector<std::string> pushes;
                step(Clock::now(), &joints, &pushes);
                for (std::string& p : pushes) due.push_back(Due{Clock::now(), std::move(p)});
            }
            out = (this->*h)(rq, command);
            if (!pending_joints.empty()) joints = std::move(pending_joints);
            pending_joints.clear();
            if (!joints.empty()) set_joints(joints);
        }
        cJSON_Delete(rq);
        return out;
    }

    Simulator& sim;
    ArmConfig chain;  // the arm's chain, limits and frames, as of the last command
    mutable std::mutex mu;
    std::condition_variable cv;
    mutable std::condition_variable idle_cv;
    bool quit = false;

    // The arm as the engine sees it.
    int dof = 6;
    int generation = 4;
    std::vector<JointLimits> limits;
    SelfContact contact;          // the arm's capsules, for moves that would touch
    std::vector<double> current;  // joints, degrees, when no trajectory runs
    Pose pose{0.3, 0.0, 0.4, 3.141, 0.0, 0.0};
    std::vector<double> pending_joints;  // to apply after a command
    std::string arm_status = "idle";
    bool current_stream = false;

    std::deque<Segment> queue;
    Segment cur;
    bool running = false;
    bool paused = false;
    Clock::time_point started, paused_at;
    Clock::duration paused_for{};

    // Faults and counts.
    int lose = 0;
    int delay_ms = 0;
    int device = 0;
    int sent = 0;
    std::vector<Due> due;
    Clock::time_point last_push{};
    Clock::time_point last_stream_apply{};
    Clock::time_point last_set_point{};  // of the stream, accepted or not
    double stream_period = kStreamStartPeriod;  // seconds
    std::vector<double> last_step;  // degrees, of the last accepted set point
    Clock::time_point stopped_at{};
    bool stream_dirty = false;  // streamed joints not yet in the shared state

    std::thread clock;  // last: runs on the members above
};

const std::vector<MotionEngine::Impl::Row>& MotionEngine::Impl::rows() {
    static const std::vector<Row> kRows = {
        {"movej", &Impl::movej},
        {"movel", &Impl::pose_move},
        {"movel_offset", &Impl::pose_move},
        {"moves", &Impl::pose_move},
        {"movec", &Impl::pose_move},
        {"movej_p", &Impl::pose_move},
        {"set_joint_step", &Impl::joint_step},
        {"set_pos_step", &Impl::cartesian_step},
        {"set_ort_step", &Impl::cartesian_step},
        {"set_joint_teach", &Impl::joint_teach},
        {"set_pos_teach", &Impl::cartesian_teach},
        {"set_ort_teach", &Impl::cartesian_teach},
        {"set_stop_teach", &Impl::stop_teach},
        {"set_teach_frame", &Impl::set_teach_frame},
        {"get_teach_frame", &Impl::get_teach_frame},
        {"set_arm_stop", &Impl::stop},
        {"set_arm_slow_stop", &Impl::stop},
        {"set_arm_delete_trajectory", &Impl::stop},
        {"set_arm_pause", &Impl::pause},
        {"set_arm_continue", &Impl::resume},
        {"set_delete_current_trajectory", &Impl::delete_current},
        {"set_arm_emergency_stop", &Impl::emergency_stop},
        {"movej_canfd", &Impl::stream_joints},
        {"movej_follow", &Impl::stream_joints},
        {"movep_canfd", &Impl::stream_pose},
        {"movep_follow", &Impl::stream_pose},
        {"movev_canfd", &Impl::unanswered},
        {"current_canfd", &Impl::unanswered},
        {"set_movev_canfd_init", &Impl::movev_init},
        {"set_current_canfd_enable", &Impl::set_current_enable},
        {"get_current_canfd_enable", &Impl::get_current_enable},
        {"get_arm_current_trajectory", &Impl::current_trajectory},
    };
    return kRows;
}

MotionEngine::MotionEngine(Simulator& sim) : impl_(new Impl(sim)) {
    {
        std::lock_guard<std::mutex> lock(impl_->mu);
        impl_->refresh_arm();
    }
    attach();
}

MotionEngine::~MotionEngine() {
    for (const Impl::Row& row : Impl::rows()) impl_->sim.on_command(row.literal, nullptr);
}

void MotionEngine::attach() {
    Impl* impl = impl_.get();
    for (const Impl::Row& row : Impl::rows()) {
        Impl::Handler h = row.handler;
        impl->sim.on_command(row.literal, [impl, h](const std::string& line) { return impl->serve(h, line); });
    }
}

std::vector<std::string> MotionEngine::literals() {
    std::vector<std::string> out;
    for (const Impl::Row& row : Impl::rows()) out.push_back(row.literal);
    return out;
}

void MotionEngine::lose_reports(int n) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->lose = n;
}
void MotionEngine::delay_reports(int ms) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->delay_ms = std::max(ms, 0);
}
void MotionEngine::report_device(int device) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->device = device;
}
bool MotionEngine::busy() const {
    std::lock_guard<std::mutex> lock(impl_->mu);
    return impl_->running || !impl_->queue.empty();
}
bool MotionEngine::wait_idle(int timeout_ms) const {
    const auto until = Clock::now() + std::chrono::milliseconds(std::max(timeout_ms, 0));
    while (busy()) {
        if (Clock::now() >= until) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
int MotionEngine::reports_sent() const {
    std::lock_guard<std::mutex> lock(impl_->mu);
    return impl_->sent;
}
Clock::time_point MotionEngine::last_report_at() const {
    std::lock_guard<std::mutex> lock(impl_->mu);
    return impl_->last_push;
}
std::string MotionEngine::status() const {
    std::lock_guard<std::mutex> lock(impl_->mu);
    return impl_->arm_status;
}

}  // namespace zqsim
