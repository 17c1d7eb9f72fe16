#include "kinematics/rotation.h"

#include <cmath>

#include "kinematics/pose_lanes.h"

namespace zq {
namespace {

// Rz(rz) Ry(ry) Rx(rx) into the top-left block of m.
void fill_rotation(zq_matrix_t& m, float rx, float ry, float rz) {
    const float sx = std::sin(rx), cx = std::cos(rx);
    const float sy = std::sin(ry), cy = std::cos(ry);
    const float sz = std::sin(rz), cz = std::cos(rz);
    m.data[0][0] = cz * cy;
    m.data[0][1] = -sz * cx + cz * sy * sx;
    m.data[0][2] = sz * sx + cz * sy * cx;
    m.data[1][0] = sz * cy;
    m.data[1][1] = cz * cx + sz * sy * sx;
    m.data[1][2] = -cz * sx + sz * sy * cx;
    m.data[2][0] = -sy;
    m.data[2][1] = cy * sx;
    m.data[2][2] = cy * cx;
}

// Columns 0 to n - 1 of rows 0 to 2, lane 3 zero.
void columns_of(const zq_matrix_t& T, Lanes c[], int n) {
    for (int k = 0; k < n; ++k) c[k] = Lanes{T.data[0][k], T.data[1][k], T.data[2][k], 0.0f};
}

zq_matrix_t transform_of(const zq_matrix_t& R, float x, float y, float z) {
    zq_matrix_t m = R;
    m.rows = m.cols = 4;
    m.data[0][3] = x;
    m.data[1][3] = y;
    m.data[2][3] = z;
    m.data[3][0] = m.data[3][1] = m.data[3][2] = 0.0f;
    m.data[3][3] = 1.0f;
    return m;
}

}  // namespace

zq_matrix_t euler_to_rotation(const zq_euler_t& e) {
    zq_matrix_t m{};
    m.rows = m.cols = 3;
    fill_rotation(m, e.rx, e.ry, e.rz);
    return m;
}

zq_euler_t rotation_to_euler(const zq_matrix_t& R) {
    Lanes c[3];
    columns_of(R, c, 3);
    return euler_of_columns(c);
}

zq_quat_t euler_to_quat(const zq_euler_t& e) {
    const float s1 = std::sin(e.rx / 2), c1 = std::cos(e.rx / 2);
    const float s2 = std::sin(e.ry / 2), c2 = std::cos(e.ry / 2);
    const float s3 = std::sin(e.rz / 2), c3 = std::cos(e.rz / 2);
    zq_quat_t q;
    q.w = c1 * c2 * c3 + s1 * s2 * s3;
    q.x = s1 * c2 * c3 - c1 * s2 * s3;
    q.y = c1 * s2 * c3 + s1 * c2 * s3;
    q.z = c1 * c2 * s3 - s1 * s2 * c3;
    return q;
}

zq_quat_t rotation_to_quat(const zq_matrix_t& R) {
    Lanes c[3];
    columns_of(R, c, 3);
    return quat_of_columns(c);
}

zq_matrix_t quat_to_rotation(const zq_quat_t& q) {
    const float n = q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z;
    const float k = n > 1e-6f ? 2.0f / n : 0.0f;
    const float xs = q.x * k, ys = q.y * k, zs = q.z * k;
    const float wx = q.w * xs, wy = q.w * ys, wz = q.w * zs;
    const float xx = q.x * xs, xy = q.x * ys, xz = q.x * zs;
    const float yy = q.y * ys, yz = q.y * zs, zz = q.z * zs;
    zq_matrix_t m{};
    m.rows = m.cols = 3;
    m.data[0][0] = 1 - (yy + zz);
    m.data[0][1] = xy - wz;
    m.data[0][2] = xz + wy;
    m.data[1][0] = xy + wz;
    m.data[1][1] = 1 - (xx + zz);
    m.data[1][2] = yz - wx;
    m.data[2][0] = xz - wy;
    m.data[2][1] = yz + wx;
    m.data[2][2] = 1 - (xx + yy);
    return m;
}

zq_euler_t quat_to_euler(const zq_quat_t& q) { return rotation_to_euler(quat_to_rotation(q)); }

zq_matrix_t pose_to_matrix_euler(const zq_pose_t& p) {
    return transform_of(euler_to_rotation(p.euler), p.position.x, p.position.y, p.position.z);
}

zq_matrix_t pose_to_matrix_quat(const zq_pose_t& p) {
    return transform_of(quat_to_rotation(p.quaternion), p.position.x, p.position.y, p.position.z);
}

zq_pose_t matrix_to_pose(const zq_matrix_t& T) {
    Lanes c[4];
    columns_of(T, c, 4);
    return pose_of_columns(c);
}

zq_matrix_t pose6_to_matrix(const float pose[6]) {
    zq_matrix_t m{};
    fill_rotation(m, pose[3], pose[4], pose[5]);
    return transform_of(m, pose[0], pose[1], pose[2]);
}

zq_matrix_t pose6_to_matrix_inverse(const float pose[6]) {
    zq_matrix_t r{};
    fill_rotation(r, pose[3], pose[4], pose[5]);
    zq_matrix_t m{};
    m.rows = m.cols = 4;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) m.data[i][j] = r.data[j][i];
        m.data[i][3] = -(r.data[0][i] * pose[0] + r.data[1][i] * pose[1] + r.data[2][i] * pose[2]);
    }
    m.data[3][3] = 1.0f;
    return m;
}

}  // namespace zq
