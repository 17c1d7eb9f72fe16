// Joint, linear, offset, spline and joint-to-pose moves: each fills its
// request and hands it, with its row, to the common send and wait.
#include "motion/move_family.h"

#include "session/catalogue.h"
#include "session/wire_input.h"

namespace zq::motion {

WirePose wire_pose(const zq_pose_t& pose) {
    return WirePose{{scale_single(pose.position.x, 1000000.0f), scale_single(pose.position.y, 1000000.0f),
                     scale_single(pose.position.z, 1000000.0f), scale_single(pose.euler.rx, 1000.0f),
                     scale_single(pose.euler.ry, 1000.0f), scale_single(pose.euler.rz, 1000.0f)}};
}

namespace {

int send_move(const MoveRow& row, zq_robot_handle* handle, const zq_send_value_t* values, int count, int block,
              int trajectory_connect) {
    char out[kMoveReply] = {0};
    const int n = zq_command_exchange(row.fn, handle, values, count, row.command, out, sizeof out, query_timeout());
    return finish_move(row.fn, handle, n, out, block, trajectory_connect, row.wait);
}

// "v", "pose", "trajectory_connect", "r": the members of the pose moves.
int pose_move(const MoveRow& row, zq_robot_handle* handle, const zq_pose_t& pose, int v, int r,
              int trajectory_connect, int block) {
    if (!pose_ok(pose)) return refuse_input(row.fn);
    const WirePose p = wire_pose(pose);
    const zq_send_value_t values[] = {send_str("command", row.command), send_int("v", v), send_ints("pose", p.v, 6),
                                      send_int("trajectory_connect", trajectory_connect), send_int("r", r)};
    return send_move(row, handle, values, 5, block, trajectory_connect);
}

}  // namespace
}  // namespace zq::motion

using namespace zq;
using namespace zq::motion;

extern "C" {

int zq_movej(zq_robot_handle* handle, const float* joint, int v, int r, int trajectory_connect, int block) {
    const int dof = cat::joint_count(kMoveJ.fn, handle);
    if (dof < 0) return -1;
    if (!joints_ok(joint, dof)) return refuse_input(kMoveJ.fn);
    int32_t q[10] = {0};
    for (int i = 0; i < dof; ++i) q[i] = scale_double(joint[i], 1000.0);
    const zq_send_value_t values[] = {send_str("command", kMoveJ.command), send_int("v", v), send_ints("joint", q, dof),
                                      send_int("trajectory_connect", trajectory_connect), send_int("r", r)};
    return send_move(kMoveJ, handle, values, 5, block, trajectory_connect);
}

int zq_movel(zq_robot_handle* handle, zq_pose_t pose, int v, int r, int trajectory_connect, int block) {
    return pose_move(kMoveL, handle, pose, v, r, trajectory_connect, block);
}

int zq_moves(zq_robot_handle* handle, zq_pose_t pose, int v, int r, int trajectory_connect, int block) {
    return pose_move(kMoveS, handle, pose, v, r, trajectory_connect, block);
}

int zq_movej_p(zq_robot_handle* handle, zq_pose_t pose, int v, int r, int trajectory_connect, int block) {
    return pose_move(kMoveJP, handle, pose, v, r, trajectory_connect, block);
}

int zq_movel_offset(zq_robot_handle* handle, zq_pose_t offset, int v, int r, int trajectory_connect, int frame_type,
                    int block) {
    int version = 0;
    if (read_handle(handle, [&](const zq_robot_handle& h) { version = h.controller_version; }) != 0) return -1;
    if (version == 3) return -7;
    if (!pose_ok(offset)) return refuse_input(kMoveLOffset.fn);
    const WirePose p = wire_pose(offset);
    const zq_send_value_t values[] = {send_str("command", kMoveLOffset.command), send_int("v", v),
                                      send_ints("offset", p.v, 6), send_int("trajectory_connect", trajectory_connect),
                                      send_int("r", r), send_int("frame_type", frame_type)};
    return send_move(kMoveLOffset, handle, values, 6, block, trajectory_connect);
}

}  // extern "C"
