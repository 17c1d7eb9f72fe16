// The jogging helpers: target poses for tool moves and rotations.
#include <gtest/gtest.h>

#include <cmath>

#include "kinematics/rodrigues.h"
#include "kinematics_reference.h"
#include "zq_api.h"

using kinref::Mat4;

namespace {

Mat4 rotation_of(const zq_euler_t& e) { return kinref::pose(0, 0, 0, e.rx, e.ry, e.rz); }

// Rotation by `angle` about a unit axis, in double (axis-angle by quaternion).
Mat4 about_axis(const double axis[3], double angle) {
    const double s = std::sin(angle / 2);
    return kinref::from_quat(std::cos(angle / 2), s * axis[0], s * axis[1], s * axis[2]);
}

void expect_same_rotation(const Mat4& a, const Mat4& b, double tol) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) EXPECT_NEAR(a[i][j], b[i][j], tol) << i << "," << j;
}

void expect_quat_of_euler(const zq_pose_t& p) {
    expect_same_rotation(kinref::from_quat(p.quaternion.w, p.quaternion.x, p.quaternion.y, p.quaternion.z),
                         rotation_of(p.euler), 1e-5);
}

void load_with_frames() {
    zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
    zq_frame_t tool{}, work{};
    tool.pose.position = {0.0f, 0.02f, 0.1f};
    tool.pose.euler = {0.3f, 0.0f, 0.5f};
    work.pose.position = {0.2f, -0.1f, 0.0f};
    work.pose.euler = {0.0f, 0.2f, 0.8f};
    zq_algo_set_toolframe(&tool);
    zq_algo_set_workframe(&work);
}

const zq_pose_t kCurrent = {{0.3f, 0.1f, 0.4f}, {}, {2.8f, 0.4f, -1.1f}};

}  // namespace

TEST(KinematicsMotion, PoseMoveWithoutMotionKeepsThePose) {
    load_with_frames();
    const float still[6] = {0, 0, 0, 0, 0, 0};
    const zq_pose_t p = zq_algo_pose_move(nullptr, kCurrent, still, 0);
    EXPECT_EQ(p.position.x, kCurrent.position.x);
    EXPECT_EQ(p.euler.rz, kCurrent.euler.rz);
    expect_quat_of_euler(p);
    const float move[6] = {0.1f, 0.2f, 0.3f, 10, 20, 30};
    const zq_pose_t other = zq_algo_pose_move(nullptr, kCurrent, move, 2);
    EXPECT_EQ(other.position.x, 0.0f);
    EXPECT_EQ(other.position.z, 0.0f);
    EXPECT_EQ(other.euler.ry, kCurrent.euler.ry);
}

TEST(KinematicsMotion, PoseMoveInTheWorkFrame) {
    load_with_frames();
    const float move[6] = {0.01f, -0.02f, 0.03f, 10, -20, 30};
    const zq_pose_t p = zq_algo_pose_move(nullptr, kCurrent, move, 0);
    EXPECT_FLOAT_EQ(p.position.x, kCurrent.position.x + 0.01f);
    EXPECT_FLOAT_EQ(p.position.y, kCurrent.position.y - 0.02f);
    // Rotations about the work frame's x, then y, then z axes, each applied
    // on the base side of the orientation.
    const Mat4 work = kinref::pose(0, 0, 0, 0.0, 0.2, 0.8);
    Mat4 R = rotation_of(kCurrent.euler);
    for (int k = 0; k < 3; ++k) {
        const double axis[3] = {work[0][k], work[1][k], work[2][k]};
        R = kinref::mul(about_axis(axis, move[3 + k] * kinref::kDeg), R);
    }
    expect_same_rotation(rotation_of(p.euler), R, 2e-5);
    expect_quat_of_euler(p);
}

TEST(KinematicsMotion, PoseMoveInTheToolFrame) {
    load_with_frames();
    const float move[6] = {0.01f, -0.02f, 0.03f, 10, -20, 30};
    const zq_pose_t p = zq_algo_pose_move(nullptr, kCurrent, move, 1);
    // The translation runs along the unrotated current axes.
    const Mat4 T = kinref::pose(kCurrent.position.x, kCurrent.position.y, kCurrent.position.z, kCurrent.euler.rx,
                                kCurrent.euler.ry, kCurrent.euler.rz);
    for (int i = 0; i < 3; ++i) {
        const double ref = T[i][3] + T[i][0] * 0.01 - T[i][1] * 0.02 + T[i][2] * 0.03;
        EXPECT_NEAR((&p.position.x)[i], ref, 1e-6);
    }
    // Rotations about the end's own x, y, z in turn.
    Mat4 R = rotation_of(kCurrent.euler);
    R = kinref::mul(R, kinref::rot_x(10 * kinref::kDeg));
    R = kinref::mul(R, kinref::rot_y(-20 * kinref::kDeg));
    R = kinref::mul(R, kinref::rot_z(30 * kinref::kDeg));
    expect_same_rotation(rotation_of(p.euler), R, 2e-5);
}

TEST(KinematicsMotion, CartesianToolMovesAlongTheTool) {
    load_with_frames();
    const float q[6] = {10, -20, 40, 15, 60, -30};
    const zq_pose_t fk = zq_algo_forward_kinematics(nullptr, q);
    const zq_pose_t same = zq_algo_cartesian_tool(nullptr, q, 0, 0, 0);
    EXPECT_NEAR(same.position.x, fk.position.x, 1e-6);
    EXPECT_NEAR(same.position.z, fk.position.z, 1e-6);
    expect_same_rotation(rotation_of(same.euler), rotation_of(fk.euler), 1e-5);
    const zq_pose_t moved = zq_algo_cartesian_tool(nullptr, q, 0.05f, -0.01f, 0.02f);
    const Mat4 T = kinref::pose(fk.position.x, fk.position.y, fk.position.z, fk.euler.rx, fk.euler.ry, fk.euler.rz);
    for (int i = 0; i < 3; ++i) {
        const double ref = T[i][3] + T[i][0] * 0.05 - T[i][1] * 0.01 + T[i][2] * 0.02;
        EXPECT_NEAR((&moved.position.x)[i], ref, 2e-6);
    }
}

TEST(KinematicsMotion, RotateMoveTurnsAboutAFrameAxisAndKeepsThePosition) {
    load_with_frames();
    const float q[6] = {10, -20, 40, 15, 60, -30};
    const zq_pose_t fk = zq_algo_forward_kinematics(nullptr, q);
    const zq_pose_t frame = {{0.2f, -0.1f, 0.0f}, {}, {0.0f, 0.2f, 0.8f}};
    const zq_pose_t p = zq_algo_rotate_move(nullptr, q, 3, 25.0f, frame);
    EXPECT_EQ(p.position.x, fk.position.x);
    EXPECT_EQ(p.position.y, fk.position.y);
    const Mat4 F = kinref::pose(0, 0, 0, 0.0, 0.2, 0.8);
    const double axis[3] = {F[0][2], F[1][2], F[2][2]};
    expect_same_rotation(rotation_of(p.euler), kinref::mul(about_axis(axis, 25 * kinref::kDeg), rotation_of(fk.euler)),
                         2e-5);
    expect_quat_of_euler(p);
    // A full turn comes back to the same orientation.
    const zq_pose_t full = zq_algo_rotate_move(nullptr, q, 1, 360.0f, frame);
    expect_same_rotation(rotation_of(full.euler), rotation_of(fk.euler), 2e-5);
}

TEST(KinematicsMotion, RodriguesSelectsTheLastMarkedAxis) {
    const zq_euler_t e = {0.3f, -0.2f, 1.0f};
    const zq_pose_t frame = {{0, 0, 0}, {}, {0.5f, 0.1f, -0.4f}};
    const int both[3] = {1, 0, -1};  // z wins, the sign plays no part
    const int z_only[3] = {0, 0, 1};
    const zq_euler_t a = zq::rotate_about_frame_axis(e, both, 0.3f, frame);
    const zq_euler_t b = zq::rotate_about_frame_axis(e, z_only, 0.3f, frame);
    EXPECT_FLOAT_EQ(a.rx, b.rx);
    EXPECT_FLOAT_EQ(a.rz, b.rz);
    const zq_euler_t own = zq::rotate_about_own_axis(e, z_only, 0.3f, frame);
    expect_same_rotation(rotation_of(own), kinref::mul(rotation_of(e), kinref::rot_z(0.3)), 2e-6);
}
