#include "sim_kinematics.h"
#include "realtime_report.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include "platform/platform.h"
#include "wire.h"

namespace zqsim {
namespace {

bool section_on(const RealtimePush& p, const char* name) {
    for (const auto& s : p.sections) {
        if (s.first == name) return s.second;
    }
    return false;
}

template <class Array>
void add_ints(cJSON* obj, const char* name, const Array& values) {
    cJSON* arr = cJSON_AddArrayToObject(obj, name);
    for (auto v : values) cJSON_AddItemToArray(arr, cJSON_CreateNumber(static_cast<double>(v)));
}

// Per-joint readings in wire units, for the first `dof` joints.
std::vector<std::int64_t> per_joint(const PerJoint<double>& v, int dof, double factor) {
    std::vector<std::int64_t> out;
    for (int i = 0; i < dof; ++i) out.push_back(wire::scaled(v[i], factor));
    return out;
}
std::vector<std::int64_t> per_joint(const PerJoint<int>& v, int dof) {
    return std::vector<std::int64_t>(v.begin(), v.begin() + dof);
}

// Quaternion w, x, y, z of fixed-axis Euler angles, R = Rz Ry Rx.
std::array<double, 4> quaternion(const Pose& p) {
    const double cr = std::cos(p.rx / 2), sr = std::sin(p.rx / 2);
    const double cp = std::cos(p.ry / 2), sp = std::sin(p.ry / 2);
    const double cy = std::cos(p.rz / 2), sy = std::sin(p.rz / 2);
    return {{cr * cp * cy + sr * sp * sy, sr * cp * cy - cr * sp * sy, cr * sp * cy + sr * cp * sy,
             cr * cp * sy - sr * sp * cy}};
}

void add_plus(cJSON* r, const ReportPeripherals& p, bool base, bool state) {
    if (base) {
        cJSON* b = cJSON_AddObjectToObject(r, "zq_plus_base");
        cJSON_AddStringToObject(b, "manu", p.plus_manu.c_str());
        cJSON_AddNumberToObject(b, "type", p.plus_type);
        cJSON_AddStringToObject(b, "hv", p.plus_hv.c_str());
        cJSON_AddStringToObject(b, "sv", p.plus_sv.c_str());
        cJSON_AddStringToObject(b, "bv", p.plus_bv.c_str());
        cJSON_AddNumberToObject(b, "id", p.plus_id);
        cJSON_AddNumberToObject(b, "dof", p.plus_dof);
        cJSON_AddNumberToObject(b, "check", p.plus_check);
        cJSON_AddNumberToObject(b, "bee", p.plus_bee);
        cJSON_AddBoolToObject(b, "force", p.plus_force);
        cJSON_AddBoolToObject(b, "touch", p.plus_touch);
        cJSON_AddNumberToObject(b, "touch_num", p.plus_touch_num);
        cJSON_AddNumberToObject(b, "touch_sw", p.plus_touch_sw);
        cJSON_AddNumberToObject(b, "hand", p.plus_hand);
        for (const char* k : {"pos_up", "angle_up", "speed_up", "force_up"}) add_ints(b, k, std::array<int, 6>{{1000, 1000, 1000, 1000, 1000, 1000}});
        for (const char* k : {"pos_low", "angle_low", "speed_low", "force_low"}) add_ints(b, k, std::array<int, 6>{{0, 0, 0, 0, 0, 0}});
    }
    if (state) {
        cJSON* s = cJSON_AddObjectToObject(r, "zq_plus_state");
        cJSON_AddNumberToObject(s, "sys_state", p.plus_sys_state);
        for (const char* k : {"dof_state", "dof_err"}) add_ints(s, k, std::array<int, 6>{{0, 0, 0, 0, 0, 0}});
        for (const char* k : {"pos", "speed", "angle", "current", "force"}) add_ints(s, k, p.plus_pos);
        std::array<int, 18> touch{};
        for (int i = 0; i < 18; ++i) touch[i] = i + 1;
        for (const char* k : {"normal_force", "tangential_force", "tangential_force_dir", "touch_data"})
            add_ints(s, k, touch);
        add_ints(s, "tsa", p.plus_tsa);
        add_ints(s, "tma", p.plus_tma);
    }
}

}  // namespace

std::string build_realtime_report(const ArmConfig& arm) {
    const RealtimePush& push = arm.realtime;
    const ArmState& st = arm.state;
    const ReportPeripherals& per = st.peripherals;
    const int dof = arm.dof;
    cJSON* r = cJSON_CreateObject();

    cJSON* joints = cJSON_AddObjectToObject(r, "joint_status");
    wire::add_int_array(joints, "joint_current", per_joint(st.joints.current, dof, 1000.0));
    wire::add_int_array(joints, "joint_en_flag", per_joint(st.joints.enabled, dof));
    wire::add_int_array(joints, "joint_err_code", per_joint(st.joints.err_code, dof));
    PerJoint<double> angles{};
    for (int i = 0; i < dof && i < kMaxJoints; ++i) angles[i] = arm.joint_angles[static_cast<std::size_t>(i)];
    wire::add_int_array(joints, "joint_position", per_joint(angles, dof, wire::kAngle));
    wire::add_int_array(joints, "joint_temperature", per_joint(st.joints.temperature, dof, 1000.0));
    wire::add_int_array(joints, "joint_voltage", per_joint(st.joints.voltage, dof, 1000.0));
    if (section_on(push, "joint_speed")) wire::add_int_array(joints, "joint_speed", per_joint(st.joints.speed, dof, 100.0));

    if (push.force_coordinate >= 0) {
        const bool one_axis = arm.product_version.find("-ZF") != std::string::npos;
        cJSON* f = cJSON_AddObjectToObject(r, one_axis ? "one_force_sensor" : "six_force_sensor");
        add_ints(f, "force", per.force);
        add_ints(f, "zero_force", per.zero_force);
        cJSON_AddNumberToObject(f, "coordinate", push.force_coordinate);
    }

    const Pose p = tool_pose(arm, arm.joint_angles);  // the tool in the work frame
    cJSON* w = cJSON_AddObjectToObject(r, "waypoint");
    wire::add_int_array(w, "position", {wire::scaled(p.x, wire::kLength), wire::scaled(p.y, wire::kLength),
                                        wire::scaled(p.z, wire::kLength)});
    const auto q = quaternion(p);
    wire::add_int_array(w, "quat", {wire::scaled(q[0], wire::kLength), wire::scaled(q[1], wire::kLength),
                                    wire::scaled(q[2], wire::kLength), wire::scaled(q[3], wire::kLength)});
    wire::add_int_array(w, "euler", {wire::scaled(p.rx, wire::kEuler), wire::scaled(p.ry, wire::kEuler),
                                     wire::scaled(p.rz, wire::kEuler)});
    add_ints(r, "err", st.err.empty() ? std::vector<int>{0} : st.err);

    if (section_on(push, "arm_current_status")) cJSON_AddStringToObject(r, "arm_current_status", st.arm_status.c_str());
    if (section_on(push, "lift_state")) {
        cJSON* l = cJSON_AddObjectToObject(r, "lift_state");
        cJSON_AddNumberToObject(l, "height", per.lift_height);
        cJSON_AddNumberToObject(l, "pos", per.lift_pos);
        cJSON_AddNumberToObject(l, "current", per.lift_current);
        cJSON_AddNumberToObject(l, "err_flag", per.lift_err_flag);
        cJSON_AddNumberToObject(l, "en_flag", per.lift_en_flag);
    }
    if (section_on(push, "expand_state")) {
        cJSON* e = cJSON_AddObjectToObject(r, "expand_state");
        cJSON_AddNumberToObject(e, "pos", per.expand_pos);
        cJSON_AddNumberToObject(e, "current", per.expand_current);
        cJSON_AddNumberToObject(e, "err_flag", per.expand_err_flag);
        cJSON_AddNumberToObject(e, "en_flag", per.expand_en_flag);
        cJSON_AddNumberToObject(e, "joint_id", per.expand_joint_id);
        cJSON_AddNumberToObject(e, "mode", per.expand_mode);
    }
    if (section_on(push, "hand")) {
        cJSON* h = cJSON_AddObjectToObject(r, "hand");
        add_ints(h, "hand_pos", per.hand_pos);
        add_ints(h, "hand_angle", per.hand_angle);
        add_ints(h, "hand_force", per.hand_force);
        add_ints(h, "hand_state", per.hand_state);
        cJSON_AddNumberToObject(h, "hand_err", per.hand_err);
    }
    if (section_on(push, "aloha_state")) {
        cJSON* a = cJSON_AddObjectToObject(r, "aloha_state");
        cJSON_AddNumberToObject(a, "io1_state", per.aloha_io1);
        cJSON_AddNumberToObject(a, "io2_state", per.aloha_io2);
    }
    add_plus(r, per, section_on(push, "zq_plus_base"), section_on(push, "zq_plus_state"));
    return wire::print_and_delete(r);
}

RealtimeSender::~RealtimeSender() { stop(); }

void RealtimeSender::start(Source source) {
    stop();
    source_ = std::move(source);
    {
        std::lock_guard<std::mutex> lock(mu_);
        stop_ = false;
    }
    thread_ = std::thread([this] { run(); });
}

void RealtimeSender::stop() {
    {
        std::lock_guard<std::mutex> lock(mu_);
        stop_ = true;
    }
    cv_.notify_all();
    if (thread_.joinable()) thread_.join();
}

void RealtimeSender::set_sent_hook(SentHook hook) {
    std::lock_guard<std::mutex> lock(mu_);
    hook_ = std::move(hook);
}

void RealtimeSender::kick() {
    {
        std::lock_guard<std::mutex> lock(mu_);
        kick_ = true;
    }
    cv_.notify_all();
}

void RealtimeSender::run() {
    namespace pf = zq::platform;
    const pf::NetUser net;
    const pf::socket_t fd = net.ok() ? pf::udp_socket() : pf::kInvalidSocket;
    std::string report, ip;
    for (;;) {
        int port = 0, period_ms = 100;
        const bool on = pf::socket_valid(fd) && source_(report, ip, port, period_ms);
        if (on && ip.compare(0, 4, "127.") == 0 && port > 0 && port < 65536) {
            uint32_t to = 0;
            if (pf::parse_ipv4(ip.c_str(), &to)) {
                pf::send_datagram(fd, to, port, report.data(), report.size());
                SentHook hook;
                {
                    std::lock_guard<std::mutex> lock(mu_);
                    hook = hook_;
                }
                if (hook) hook(std::chrono::steady_clock::now());
            }
        }
        std::unique_lock<std::mutex> lock(mu_);
        cv_.wait_for(lock, std::chrono::milliseconds(period_ms), [this] { return stop_ || kick_; });
        kick_ = false;
        if (stop_) break;
    }
    pf::close_socket(fd);
}

}  // namespace zqsim
