#include "kinematics/rotation.h"

#include <cmath>

#include "kinematics/fast_atan2.h"

namespace zq {
namespace {

constexpr float kPoleLimit = 0.999999f;
constexpr float kWrapBelow = -3.13f;
constexpr double kFullTurn = 6.283185307179586;

float wrap(float a) { return a < kWrapBelow ? static_cast<float>(a + kFullTurn) : a; }

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

zq_euler_t euler_of_columns(const Lanes c[3]) {
    const float r00 = c[0][0], r10 = c[0][1], r20 = c[0][2];
    const float r01 = c[1][0], r11 = c[1][1], r21 = c[1][2], r22 = c[2][2];
    // ry, rx and rz side by side; at a pole rx comes from the first two rows
    // and rz is 0.
    const bool up = r20 > kPoleLimit, down = r20 < -kPoleLimit;
    const float len = std::sqrt(r00 * r00 + r10 * r10);
    const Lanes y = {-r20, up || down ? r01 : r21, r10, 0.0f};
    const Lanes x = {len, up || down ? r11 : r22, r00, 1.0f};
    const Lanes a = fast_atan2(y, x);
    zq_euler_t e;
    e.ry = wrap(a[0]);
    e.rx = wrap(up ? -a[1] : a[1]);
    e.rz = wrap(up || down ? 0.0f : a[2]);
    return e;
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

zq_quat_t quat_of_columns(const Lanes c[3]) {
    const float r00 = c[0][0], r10 = c[0][1], r20 = c[0][2];
    const float r01 = c[1][0], r11 = c[1][1], r21 = c[1][2];
    const float r02 = c[2][0], r12 = c[2][1], r22 = c[2][2];
    // The four parts as one quotient: the largest part is s / 4, the others
    // a sum or difference over s.
    const float t = r00 + r11 + r22;
    Lanes num, den;
    if (t > 1e-6f) {
        const float s = 2.0f * std::sqrt(1.0f + t);
        num = Lanes{s, r21 - r12, r02 - r20, r10 - r01};
        den = Lanes{4.0f, s, s, s};
    } else if (r00 > r11 && r00 > r22) {
        const float s = 2.0f * std::sqrt(1.0f + r00 - r11 - r22);
        num = Lanes{r21 - r12, s, r10 + r01, r02 + r20};
        den = Lanes{s, 4.0f, s, s};
    } else if (r11 > r22) {
        const float s = 2.0f * std::sqrt(1.0f + r11 - r00 - r22);
        num = Lanes{r02 - r20, r10 + r01, s, r21 + r12};
        den = Lanes{s, s, 4.0f, s};
    } else {
        const float s = 2.0f * std::sqrt(1.0f + r22 - r00 - r11);
        num = Lanes{r10 - r01, r02 + r20, r21 + r12, s};
        den = Lanes{s, s, s, 4.0f};
    }
    const Lanes v = num / den;
    zq_quat_t q;
    q.w = v[0];
    q.x = v[1];
    q.y = v[2];
    q.z = v[3];
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

zq_pose_t pose_of_columns(const Lanes c[4]) {
    zq_pose_t p;
    p.position.x = c[3][0];
    p.position.y = c[3][1];
    p.position.z = c[3][2];
    p.euler = euler_of_columns(c);
    p.quaternion = quat_of_columns(c);
    return p;
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
