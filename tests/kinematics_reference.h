// Reference data and a double-precision DH chain for the kinematics tests,
// written out independently of the library's own model table and chain.
#pragma once

#include <array>
#include <cmath>
#include <random>
#include <vector>

namespace kinref {

using Mat4 = std::array<std::array<double, 4>, 4>;

inline Mat4 identity() {
    Mat4 m{};
    for (int i = 0; i < 4; ++i) m[i][i] = 1.0;
    return m;
}

inline Mat4 mul(const Mat4& A, const Mat4& B) {
    Mat4 r{};
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            for (int k = 0; k < 4; ++k) r[i][j] += A[i][k] * B[k][j];
    return r;
}

inline Mat4 rot_x(double a) {
    Mat4 m = identity();
    m[1][1] = std::cos(a);
    m[1][2] = -std::sin(a);
    m[2][1] = std::sin(a);
    m[2][2] = std::cos(a);
    return m;
}
inline Mat4 rot_y(double a) {
    Mat4 m = identity();
    m[0][0] = std::cos(a);
    m[0][2] = std::sin(a);
    m[2][0] = -std::sin(a);
    m[2][2] = std::cos(a);
    return m;
}
inline Mat4 rot_z(double a) {
    Mat4 m = identity();
    m[0][0] = std::cos(a);
    m[0][1] = -std::sin(a);
    m[1][0] = std::sin(a);
    m[1][1] = std::cos(a);
    return m;
}
inline Mat4 trans(double x, double y, double z) {
    Mat4 m = identity();
    m[0][3] = x;
    m[1][3] = y;
    m[2][3] = z;
    return m;
}

// Rigid inverse.
inline Mat4 inverse(const Mat4& T) {
    Mat4 r = identity();
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) r[i][j] = T[j][i];
        r[i][3] = -(T[0][i] * T[0][3] + T[1][i] * T[1][3] + T[2][i] * T[2][3]);
    }
    return r;
}

// x, y, z, then fixed-axis rx, ry, rz: Trans Rz Ry Rx.
inline Mat4 pose(double x, double y, double z, double rx, double ry, double rz) {
    return mul(trans(x, y, z), mul(rot_z(rz), mul(rot_y(ry), rot_x(rx))));
}

constexpr double kDeg = M_PI / 180.0;

// One arm as its data sheet gives it: lengths in metres, twists and offsets
// in degrees, limits in degrees.
struct Arm {
    const char* name;
    int model;  // public model number
    int dof;
    bool standard;     // standard DH form (else modified)
    bool flange_link;  // fixed eighth link at index 7
    double d[8], a[8], alpha[8], offset[8];
    int length_index;       // -1: none
    double length[6];       // per force value; 0: that force does not load
    double max[7], min[7];
};

inline const std::vector<Arm>& arms() {
    static const std::vector<Arm> list = {
        {"ZQ41", 0, 6, false, false, {0.2405, 0, 0, 0.21, 0, 0}, {0, 0, 0.256}, {0, 90, 0, 90, -90, 90},
         {0, 90, 90}, 5, {0.144, 0.152, 0.1725, 0.1612, 0.144, 0.1612},
         {178, 130, 135, 178, 128, 360}, {-178, -130, -135, -178, -128, -360}},
        {"ZQ52", 1, 7, true, false, {0.2405, 0, 0.256, 0, 0.21, 0, 0}, {0}, {-90, 90, -90, 90, -90, 90, 0}, {0},
         6, {0.144, 0.152, 0.1725, 0.1612, 0.144, 0.1612},
         {178, 130, 178, 135, 178, 128, 360}, {-178, -130, -178, -135, -178, -128, -360}},
        {"ZQL36", 3, 6, false, false, {0.172, 0, 0, 0.405, 0, 0}, {0, -0.086, 0.38, 0.069},
         {0, -90, 0, 90, -90, -90}, {0, -90, 90, 0, 180, 180}, 5, {0.115, 0.123, 0.1435, 0.1322, 0.115, 0.1322},
         {178, 178, 145, 178, 178, 360}, {-178, -178, -178, -178, -178, -360}},
        {"ZQL36III", 4, 6, false, false, {0.1625, 0, 0, 0.405, 0, 0}, {0, -0.086, 0.38, 0.069},
         {0, -90, 0, 90, -90, -90}, {0, -90, 90, 0, 180, 180}, 5,
         {0.1151, 0.1231, 0.1436, 0.1323, 0.1151, 0.1323},
         {178, 178, 145, 178, 178, 360}, {-178, -178, -178, -178, -178, -360}},
        {"VDA41", 5, 6, false, false, {0.1625, 0, 0, -0.05888, 0.11, 0}, {0, -0.086, 0.26, 0.24},
         {0, -90, 0, 0, 90, -90}, {0, -90, 0, 90}, 5, {0.0795, 0.0875, 0.108, 0.0967, 0.0795, 0.0967},
         {180, 180, 145, 140, 180, 180}, {-180, -180, -160, -140, -180, -180}},
        {"VDA26", 6, 6, false, false, {0.136, 0, 0, -0.0585, 0.071, 0.0707}, {0, -0.07, 0.148, 0.136},
         {0, -90, 0, 0, 90, -90}, {0, -90, 0, 90}, -1, {1, 0, 0, 0, 1, 0},
         {178, 110, 155, 178, 178, 360}, {-178, -170, -155, -178, -178, -360}},
        {"HTR27", 7, 7, false, false, {0.218, 0, 0.28, 0, 0.2525, 0, 0.0905}, {0, 0, 0, 0.04, -0.019, 0, 0.067},
         {0, -90, 90, 90, -90, 90, 90}, {0, 0, 0, 0, 0, 90}, -1, {1, 0, 0, 0, 1, 0},
         {172, 105, 172, 55, 172, 120, 172}, {-172, -105, -172, -170, -172, -90, -172}},
        {"VDA36", 8, 6, false, false, {0.1625, 0, 0, -0.0589, 0.11, 0}, {0, -0.086, 0.41, 0.38},
         {0, -90, 0, 0, 90, -90}, {0, -90, 0, 90}, 5, {0.0795, 0.0875, 0.108, 0.0967, 0.0795, 0.0967},
         {178, 135, 158, 178, 178, 360}, {-178, -178, -168, -178, -178, -360}},
        {"KWBL37", 10, 7, false, true, {0.1785, 0, 0.29, 0, 0.3088, 0, 0, 0.11462}, {0, 0, 0, 0.01, -0.01, 0, 0.01},
         {0, -90, 90, 90, -90, 90, 90, 90}, {0, -90, 90, 0, 0, 90, 90}, -1, {1, 1, 1, 1, 1, 1},
         {178, 178, 178, 7, 178, 70, 28}, {-178, -25, -178, -130, -178, -70, -120}},
        {"KWBR37", 11, 7, false, true, {0.1785, 0, 0.29, 0, 0.3088, 0, 0, 0.11462}, {0, 0, 0, 0.01, -0.01, 0, 0.01},
         {0, -90, 90, 90, -90, 90, 90, -90}, {0, -90, -90, 0, 0, 90, -90}, -1, {1, 1, 1, 1, 1, 1},
         {178, 25, 178, 7, 178, 70, 120}, {-178, -178, -178, -130, -178, -70, -28}},
        {"MQL52", 12, 7, false, true, {0.2405, 0, 0.322, 0, 0.273, 0, 0, 0}, {0, 0, 0, 0, 0, 0, 0.01},
         {0, -90, 90, 90, -90, 90, 90, 90}, {0, -90, 90, 0, 0, 90, 90}, 7,
         {0.0968, 0.114, 0.114, 0.114, 0.0968, 0.114},
         {172, 178, 172, 15, 172, 55, 23}, {-172, -35, -172, -130, -172, -55, -109}},
        {"MQR52", 13, 7, false, true, {0.2405, 0, 0.322, 0, 0.273, 0, 0, 0}, {0, 0, 0, 0, 0, 0, 0.01},
         {0, -90, 90, 90, -90, 90, 90, -90}, {0, -90, -90, 0, 0, 90, -90}, 7,
         {0.0968, 0.114, 0.114, 0.114, 0.0968, 0.114},
         {172, 178, 172, 15, 172, 55, 109}, {-172, -35, -172, -130, -172, -55, -23}},
        {"KWBL47", 14, 7, false, true, {0.1785, 0, 0.29, 0, 0.2855, 0, 0, 0.119}, {0, 0, 0, 0.01, -0.01, 0, 0.0155},
         {0, -90, 90, 90, -90, 90, 90, 90}, {0, -90, 90, 0, 0, 90, 90}, -1, {1, 1, 1, 1, 1, 1},
         {175, 175, 175, 97, 175, 67, 37}, {-175, -19, -175, -127, -175, -67, -117}},
        {"KWBR47", 15, 7, false, true, {0.1785, 0, 0.29, 0, 0.2855, 0, 0, 0.119}, {0, 0, 0, 0.01, -0.01, 0, 0.0155},
         {0, -90, 90, 90, -90, 90, 90, -90}, {0, -90, -90, 0, 0, 90, -90}, -1, {1, 1, 1, 1, 1, 1},
         {175, 175, 175, 97, 175, 67, 117}, {-175, -19, -175, -127, -175, -67, -37}},
        {"MQL52II", 16, 7, false, true, {0.1915, 0, 0.322, 0, 0.2755, 0, 0, 0}, {0, 0, 0, 0, 0, 0, 0.0155},
         {0, -90, 90, 90, -90, 90, 90, 90}, {0, -90, 90, 0, 0, 90, 90}, 7,
         {0.1018, 0.0962, 0.0962, 0.0962, 0.1018, 0.119},
         {173, 178, 173, 15, 173, 55, 35}, {-173, -35, -173, -130, -173, -55, -109}},
        {"MQR52II", 17, 7, false, true, {0.1915, 0, 0.322, 0, 0.2755, 0, 0, 0}, {0, 0, 0, 0, 0, 0, 0.0155},
         {0, -90, 90, 90, -90, 90, 90, -90}, {0, -90, -90, 0, 0, 90, -90}, 7,
         {0.1018, 0.0962, 0.0962, 0.0962, 0.1018, 0.119},
         {173, 178, 173, 15, 173, 55, 109}, {-173, -35, -173, -130, -173, -55, -35}},
    };
    return list;
}

// The arm's chain with the force variant's length filled in.
inline Arm with_force(Arm arm, int force) {
    if (arm.length_index >= 0) arm.d[arm.length_index] = arm.length[force];
    return arm;
}

inline bool force_loads(const Arm& arm, int force) { return arm.length[force] != 0.0; }

// Flange in the base for q in degrees as the arm counts them.
inline Mat4 flange(const Arm& arm, const double* q_deg) {
    Mat4 T = identity();
    for (int i = 0; i < arm.dof; ++i) {
        const double th = (q_deg[i] + arm.offset[i]) * kDeg, al = arm.alpha[i] * kDeg;
        if (arm.standard)
            T = mul(T, mul(rot_z(th), mul(trans(0, 0, arm.d[i]), mul(trans(arm.a[i], 0, 0), rot_x(al)))));
        else
            T = mul(T, mul(rot_x(al), mul(trans(arm.a[i], 0, 0), mul(rot_z(th), trans(0, 0, arm.d[i])))));
    }
    if (arm.flange_link)
        T = mul(T, mul(rot_x(arm.alpha[7] * kDeg), mul(trans(arm.a[7], 0, 0), trans(0, 0, arm.d[7]))));
    return T;
}

// Uniform joints inside the limits, degrees.
inline std::vector<double> random_joints(const Arm& arm, std::mt19937& rng) {
    std::vector<double> q(8, 0.0);
    for (int i = 0; i < arm.dof; ++i) q[i] = std::uniform_real_distribution<double>(arm.min[i], arm.max[i])(rng);
    return q;
}

// Rotation of a quaternion w, x, y, z (normalised here).
inline Mat4 from_quat(double w, double x, double y, double z) {
    const double n = std::sqrt(w * w + x * x + y * y + z * z);
    w /= n, x /= n, y /= n, z /= n;
    Mat4 m = identity();
    m[0][0] = 1 - 2 * (y * y + z * z);
    m[0][1] = 2 * (x * y - w * z);
    m[0][2] = 2 * (x * z + w * y);
    m[1][0] = 2 * (x * y + w * z);
    m[1][1] = 1 - 2 * (x * x + z * z);
    m[1][2] = 2 * (y * z - w * x);
    m[2][0] = 2 * (x * z - w * y);
    m[2][1] = 2 * (y * z + w * x);
    m[2][2] = 1 - 2 * (x * x + y * y);
    return m;
}

}  // namespace kinref
