// Joint, pose and velocity set points, passed straight through to the arm.
#include "session/catalogue.h"
#include "motion/move_family.h"
#include "motion/stream.h"
#include "platform/log.h"
#include "session/wire_input.h"

namespace zq::motion {

int send_unanswered(const char* fn, zq_robot_handle* handle, const zq_send_value_t* values, int count) {
    return zq_command_exchange(fn, handle, values, count, nullptr, nullptr, 0, 0);
}

StreamPose stream_pose(const zq_pose_t& pose) {
    const zq_quat_t& q = pose.quaternion;
    const float norm = q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z;
    const double n = norm;
    if (n > 0.99 && n < 1.1) {
        return StreamPose{"pose_quat",
                          {scale_single(pose.position.x, 1000000.0f), scale_single(pose.position.y, 1000000.0f),
                           scale_single(pose.position.z, 1000000.0f), scale_single(q.w, 1000000.0f),
                           scale_single(q.x, 1000000.0f), scale_single(q.y, 1000000.0f),
                           scale_single(q.z, 1000000.0f)},
                          7};
    }
    const WirePose p = wire_pose(pose);
    return StreamPose{"pose", {p.v[0], p.v[1], p.v[2], p.v[3], p.v[4], p.v[5], 0}, 6};
}

namespace {

// The smoothing bound of each trajectory mode; `radio` above it is warned about, and sent.
void check_radio(const char* fn, const char* warning, int trajectory_mode, int radio) {
    static const int kBound[3] = {0, 100, 1000};
    if (trajectory_mode >= 0 && trajectory_mode < 3 && radio > kBound[trajectory_mode]) {
        log_warning(warning, fn, radio);
    }
}

}  // namespace
}  // namespace zq::motion

using namespace zq;
using namespace zq::motion;

extern "C" {

int zq_movej_canfd(zq_robot_handle* handle, zq_movej_canfd_mode_t config) {
    const char* fn = "zq_movej_canfd";
    const int dof = cat::joint_count(fn, handle);
    if (dof < 0) return -1;
    if (!joints_ok(config.joint, dof) || !value_ok(config.expand, 1000.0)) return refuse_input(fn);
    check_radio(fn, "[%s] zq_movej_canfd_mode_t config warn, invaild radio: %d!\n", config.trajectory_mode,
                config.radio);
    int32_t q[10] = {0};
    for (int i = 0; i < dof; ++i) q[i] = scale_double(config.joint[i], 1000.0);
    const zq_send_value_t values[] = {send_str("command", "movej_canfd"), send_ints("joint", q, dof),
                                      send_bool("follow", config.follow),
                                      send_int("expand", scale_single(config.expand, 1000.0f)),
                                      send_int("trajectory_mode", config.trajectory_mode),
                                      send_int("radio", config.radio)};
    return send_unanswered(fn, handle, values, 6);
}

int zq_movep_canfd(zq_robot_handle* handle, zq_movep_canfd_mode_t config) {
    const char* fn = "zq_movep_canfd";
    if (!pose_ok(config.pose)) return refuse_input(fn);
    check_radio(fn, "[%s] zq_movep_canfd_mode_t config warn, invaild radio: %d!\n", config.trajectory_mode,
                config.radio);
    const StreamPose p = stream_pose(config.pose);
    const zq_send_value_t values[] = {send_str("command", "movep_canfd"), send_bool("follow", config.follow),
                                      send_ints(p.key, p.v, p.count),
                                      send_int("trajectory_mode", config.trajectory_mode),
                                      send_int("radio", config.radio)};
    return send_unanswered(fn, handle, values, 5);
}

int zq_movev_canfd(zq_robot_handle* handle, zq_movev_canfd_mode_t config) {
    const char* fn = "zq_movev_canfd";
    const float* vel = config.cartesian_velocity;
    if (!values_ok(vel, 3, 1e6) || !values_ok(vel ? vel + 3 : nullptr, 3, 1000.0)) return refuse_input(fn);
    check_radio(fn, "[%s] zq_movev_canfd_mode_t config warn, invaild radio: %d!\n", config.trajectory_mode,
                config.radio);
    int32_t v[6] = {0};
    for (int i = 0; i < 6; ++i)
        v[i] = scale_double(config.cartesian_velocity[i], i < 3 ? 1000000.0 : 1000.0);
    const zq_send_value_t values[] = {send_str("command", "movev_canfd"), send_ints("cartesian_velocity", v, 6),
                                      send_bool("follow", config.follow),
                                      send_int("trajectory_mode", config.trajectory_mode),
                                      send_int("radio", config.radio)};
    return send_unanswered(fn, handle, values, 5);
}

int zq_movej_follow(zq_robot_handle* handle, float* joint) {
    const char* fn = "zq_movej_follow";
    const int dof = cat::joint_count(fn, handle);
    if (dof < 0) return -1;
    if (!joints_ok(joint, dof)) return refuse_input(fn);
    int32_t q[10] = {0};
    for (int i = 0; i < dof; ++i) q[i] = scale_double(joint[i], 1000.0);
    const zq_send_value_t values[] = {send_str("command", "movej_follow"), send_ints("joint", q, dof)};
    return send_unanswered(fn, handle, values, 2);
}

int zq_movep_follow(zq_robot_handle* handle, zq_pose_t pose) {
    if (!pose_ok(pose)) return refuse_input("zq_movep_follow");
    const StreamPose p = stream_pose(pose);
    const zq_send_value_t values[] = {send_str("command", "movep_follow"), send_ints(p.key, p.v, p.count)};
    return send_unanswered("zq_movep_follow", handle, values, 2);
}

int zq_set_movev_canfd_init(zq_robot_handle* handle, int avoid_singularity_flag, int frame_type, int dt) {
    const zq_send_value_t values[] = {send_str("command", "set_movev_canfd_init"),
                                      send_int("avoid_singularity_flag", avoid_singularity_flag),
                                      send_int("frame_type", frame_type), send_int("dt", dt)};
    return cat::set("zq_set_movev_canfd_init", handle, values, 4, "set_movev_canfd_init", "movev_canfd_init_state",
                    query_timeout());
}

}  // extern "C"
