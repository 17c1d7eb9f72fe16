#include "sim_kinematics.h"

#include <algorithm>
#include <cmath>

namespace zqsim {
namespace {

constexpr double kDeg = 3.14159265358979323846 / 180.0;

Transform identity() {
    Transform t{};
    for (int i = 0; i < 4; ++i) t[i][i] = 1.0;
    return t;
}

Transform mul(const Transform& a, const Transform& b) {
    Transform c{};
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            for (int k = 0; k < 4; ++k) c[i][j] += a[i][k] * b[k][j];
    return c;
}

// Inverse of a rigid transform.
Transform invert(const Transform& t) {
    Transform r = identity();
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) r[i][j] = t[j][i];
    for (int i = 0; i < 3; ++i) r[i][3] = -(r[i][0] * t[0][3] + r[i][1] * t[1][3] + r[i][2] * t[2][3]);
    return r;
}

// Rx(alpha) Tx(a) Rz(theta) Tz(d), angles in radians.
Transform modified_link(double alpha, double a, double theta, double d) {
    const double ca = std::cos(alpha), sa = std::sin(alpha), ct = std::cos(theta), st = std::sin(theta);
    Transform t{};
    t[0] = {ct, -st, 0.0, a};
    t[1] = {st * ca, ct * ca, -sa, -sa * d};
    t[2] = {st * sa, ct * sa, ca, ca * d};
    t[3] = {0.0, 0.0, 0.0, 1.0};
    return t;
}

struct Quat {
    double w, x, y, z;
};

Quat to_quat(const Transform& t) {
    const double tr = t[0][0] + t[1][1] + t[2][2];
    Quat q;
    if (tr > 0) {
        const double s = 2.0 * std::sqrt(1.0 + tr);
        q = {s / 4, (t[2][1] - t[1][2]) / s, (t[0][2] - t[2][0]) / s, (t[1][0] - t[0][1]) / s};
    } else if (t[0][0] > t[1][1] && t[0][0] > t[2][2]) {
        const double s = 2.0 * std::sqrt(1.0 + t[0][0] - t[1][1] - t[2][2]);
        q = {(t[2][1] - t[1][2]) / s, s / 4, (t[0][1] + t[1][0]) / s, (t[0][2] + t[2][0]) / s};
    } else if (t[1][1] > t[2][2]) {
        const double s = 2.0 * std::sqrt(1.0 + t[1][1] - t[0][0] - t[2][2]);
        q = {(t[0][2] - t[2][0]) / s, (t[0][1] + t[1][0]) / s, s / 4, (t[1][2] + t[2][1]) / s};
    } else {
        const double s = 2.0 * std::sqrt(1.0 + t[2][2] - t[0][0] - t[1][1]);
        q = {(t[1][0] - t[0][1]) / s, (t[0][2] + t[2][0]) / s, (t[1][2] + t[2][1]) / s, s / 4};
    }
    return q;
}

void set_rotation(Transform& t, const Quat& q) {
    const double n = std::sqrt(q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z);
    const double w = q.w / n, x = q.x / n, y = q.y / n, z = q.z / n;
    t[0][0] = 1 - 2 * (y * y + z * z);
    t[0][1] = 2 * (x * y - w * z);
    t[0][2] = 2 * (x * z + w * y);
    t[1][0] = 2 * (x * y + w * z);
    t[1][1] = 1 - 2 * (x * x + z * z);
    t[1][2] = 2 * (y * z - w * x);
    t[2][0] = 2 * (x * z - w * y);
    t[2][1] = 2 * (y * z + w * x);
    t[2][2] = 1 - 2 * (x * x + y * y);
}

// Position and rotation difference that takes `from` to `to` (rotation as an
// axis-angle vector in the base frame).
std::array<double, 6> pose_difference(const Transform& from, const Transform& to) {
    std::array<double, 6> e{};
    for (int i = 0; i < 3; ++i) e[i] = to[i][3] - from[i][3];
    Transform r{};  // to x from^T
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            for (int k = 0; k < 3; ++k) r[i][j] += to[i][k] * from[j][k];
    r[3][3] = 1.0;
    Quat q = to_quat(r);
    if (q.w < 0) q = {-q.w, -q.x, -q.y, -q.z};
    const double s = std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z);
    const double angle = 2.0 * std::atan2(s, q.w);
    const double k = s > 1e-12 ? angle / s : 2.0;
    e[3] = q.x * k;
    e[4] = q.y * k;
    e[5] = q.z * k;
    return e;
}

// Solves the n by n system a x = b in place (Gaussian elimination with pivoting).
bool solve_linear(std::array<std::array<double, 6>, 6>& a, std::array<double, 6>& b) {
    for (int c = 0; c < 6; ++c) {
        int p = c;
        for (int r = c + 1; r < 6; ++r)
            if (std::fabs(a[r][c]) >
                std::fabs(a[p][c]))
                p = r;
        if (std::fabs(a[p][c]) < 1e-15) return false;
        std::swap(a[p], a[c]);
        std::swap(b[p], b[c]);
        for (int r = c + 1; r < 6; ++r) {
            const double f = a[r][c] / a[c][c];
            for (int k = c; k < 6; ++k) a[r][k] -= f * a[c][k];
            b[r] -= f * b[c];
        }
    }
    for (int c = 5; c >= 0; --c) {
        double s = b[c];
        for (int k = c + 1; k < 6; ++k) s -= a[c][k] * b[k];
        b[c] = s / a[c][c];
    }
    return true;
}

}  // namespace

Transform pose_to_transform(const Pose& p) {
    const double cx = std::cos(p.rx), sx = std::sin(p.rx), cy = std::cos(p.ry), sy = std::sin(p.ry);
    const double cz = std::cos(p.rz), sz = std::sin(p.rz);
    Transform t{};
    t[0] = {cz * cy, -sz * cx + cz * sy * sx, sz * sx + cz * sy * cx, p.x};
    t[1] = {sz * cy, cz * cx + sz * sy * sx, -cz * sx + sz * sy * cx, p.y};
    t[2] = {-sy, cy * sx, cy * cx, p.z};
    t[3] = {0.0, 0.0, 0.0, 1.0};
    return t;
}

Pose transform_to_pose(const Transform& t) {
    Pose p;
    p.x = t[0][3];
    p.y = t[1][3];
    p.z = t[2][3];
    p.ry = std::atan2(-t[2][0], std::sqrt(t[0][0] * t[0][0] + t[1][0] * t[1][0]));
    if (std::fabs(std::cos(p.ry)) < 1e-9) {  // gimbal lock: rz taken as 0
        p.rx = std::atan2(t[2][0] > 0 ? -t[0][1] : t[0][1], t[1][1]);
        p.rz = 0.0;
    } else {
        p.rx = std::atan2(t[2][1], t[2][2]);
        p.rz = std::atan2(t[1][0], t[0][0]);
    }
    return p;
}

Transform flange_transform(const ArmConfig& arm, const std::vector<double>& joints_deg) {
    Transform t = identity();
    for (size_t i = 0; i < arm.dh.size(); ++i) {
        const DhRow& r = arm.dh[i];
        const double q = i < joints_deg.size() && static_cast<int>(i) < arm.dof ? joints_deg[i] : 0.0;
        t = mul(t, modified_link(r.alpha * kDeg, r.a, (q + r.offset) * kDeg, r.d));
    }
    return t;
}

Pose tool_pose(const ArmConfig& arm, const std::vector<double>& joints_deg) {
    const Transform work = pose_to_transform(arm.work.pose);
    const Transform tool = pose_to_transform(arm.tool.pose);
    return transform_to_pose(mul(mul(invert(work), flange_transform(arm, joints_deg)), tool));
}

namespace {

// Damped least squares from one start; true with `q` at the goal.
bool descend(const ArmConfig& arm, const Transform& goal, int n, std::vector<double>& q) {
    constexpr double kStep = 1e-6;  // degrees, for the numeric Jacobian
    double best = 1e300;
    int stalled = 0;
    for (int iter = 0; iter < 200; ++iter) {
        const Transform now = flange_transform(arm, q);
        std::array<double, 6> e = pose_difference(now, goal);
        double pos = 0, rot = 0;
        for (int i = 0; i < 3; ++i) pos += e[i] * e[i];
        for (int i = 3; i < 6; ++i) rot += e[i] * e[i];
        if (std::sqrt(pos) < 1e-6 && std::sqrt(rot) < 1e-6) return true;
        // A start that stops getting closer leads nowhere: give it up early.
        const double err = pos + rot;
        if (err < best * 0.999) {
            best = err;
            stalled = 0;
        } else if (++stalled > 15) {
            return false;
        }
        std::vector<std::array<double, 6>> jac(n);
        for (int j = 0; j < n; ++j) {
            std::vector<double> qp = q;
            qp[j] += kStep;
            jac[j] = pose_difference(now, flange_transform(arm, qp));
            for (double& v : jac[j]) v /= kStep;
        }
        // dq = J^T (J J^T + lambda^2 I)^-1 e
        std::array<std::array<double, 6>, 6> a{};
        const double lambda2 = 1e-12;
        for (int r = 0; r < 6; ++r)
            for (int c = 0; c < 6; ++c) {
                double s = r == c ? lambda2 : 0.0;
                for (int j = 0; j < n; ++j)
                    s += jac[j][r] * jac[j][c];
                a[r][c] = s;
            }
        if (!solve_linear(a, e)) return false;
        double largest = 0;
        std::vector<double> dq(n);
        for (int j = 0; j < n; ++j) {
            double s = 0;
            for (int r = 0; r < 6; ++r) s += jac[j][r] * e[r];
            dq[j] = s;
            largest = std::max(largest, std::fabs(s));
        }
        const double scale = largest > 10.0 ? 10.0 / largest : 1.0;  // at most 10 degrees a step
        for (int j = 0; j < n; ++j) {
            double v = q[j] + dq[j] * scale;
            if (j < static_cast<int>(arm.joints.size()))
                v = std::clamp(v, arm.joints[j].min_pos, arm.joints[j].max_pos);
            q[j] = v;
        }
    }
    return false;
}

}  // namespace

bool solve_tool_pose(const ArmConfig& arm, const Pose& target, std::vector<double>& joints_deg) {
    const int n = std::min<int>(arm.dof, static_cast<int>(joints_deg.size()));
    if (n < 1) return false;
    const Transform goal = mul(mul(pose_to_transform(arm.work.pose), pose_to_transform(target)),
                               invert(pose_to_transform(arm.tool.pose)));
    // From the given joints first, then from a few fixed starts spread over
    // the joint ranges; the answer closest to the given joints wins.
    std::vector<double> best;
    double best_distance = 0;
    for (int attempt = 0; attempt < 5; ++attempt) {
        std::vector<double> q = joints_deg;
        if (attempt > 0) {
            for (int j = 0; j < n; ++j) {
                const JointLimits lim = j < static_cast<int>(arm.joints.size()) ? arm.joints[j] : JointLimits{};
                const double share = std::fmod(0.5 + 0.618034 * (attempt * (j + 1)), 1.0);  // spread, no randomness
                q[j] = lim.min_pos + (0.1 + 0.8 * share) * (lim.max_pos - lim.min_pos);
            }
        }
        if (!descend(arm, goal, n, q)) continue;
        double d = 0;
        for (int j = 0; j < n; ++j) d += std::fabs(q[j] - joints_deg[j]);
        if (best.empty() || d < best_distance) {
            best = q;
            best_distance = d;
        }
        if (attempt == 0) break;  // the nearest start already reaches it
    }
    if (best.empty()) return false;
    joints_deg = best;
    return true;
}

double rotation_angle(const Pose& from, const Pose& to) {
    const Transform a = pose_to_transform(from), b = pose_to_transform(to);
    double trace = 0;  // of a^T b
    for (int i = 0; i < 3; ++i)
        for (int k = 0; k < 3; ++k) trace += a[k][i] * b[k][i];
    return std::acos(std::clamp((trace - 1) / 2, -1.0, 1.0));
}

Pose interpolate_pose(const Pose& from, const Pose& to, double s) {
    Transform a = pose_to_transform(from), b = pose_to_transform(to);
    Quat qa = to_quat(a), qb = to_quat(b);
    double dot = qa.w * qb.w + qa.x * qb.x + qa.y * qb.y + qa.z * qb.z;
    if (dot < 0) {
        qb = {-qb.w, -qb.x, -qb.y, -qb.z};
        dot = -dot;
    }
    Quat q;
    if (dot > 0.9995) {
        q = {qa.w + s * (qb.w - qa.w), qa.x + s * (qb.x - qa.x), qa.y + s * (qb.y - qa.y), qa.z + s * (qb.z - qa.z)};
    } else {
        const double th = std::acos(dot), k0 = std::sin((1 - s) * th) / std::sin(th), k1 = std::sin(s * th) / std::sin(th);
        q = {k0 * qa.w + k1 * qb.w, k0 * qa.x + k1 * qb.x, k0 * qa.y + k1 * qb.y, k0 * qa.z + k1 * qb.z};
    }
    Transform t = identity();
    set_rotation(t, q);
    t[0][3] = from.x + s * (to.x - from.x);
    t[1][3] = from.y + s * (to.y - from.y);
    t[2][3] = from.z + s * (to.z - from.z);
    return transform_to_pose(t);
}

}  // namespace zqsim
