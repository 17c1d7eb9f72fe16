// The seven-joint solvers whose redundant parameter is joint 7 itself (the
// HTR27, KWB and MQ families): joint 7 is swept over its range (traversal)
// or predicted by a Jacobian step (tracking); at each value the remaining six
// joints follow in closed form from the planar elbow between the shoulder
// (joints 1 to 3 meet) and the origin of frame 6.
#include <cmath>

#include "ik/angles.h"
#include "kinematics/fast_atan2.h"
#include "ik/ik_mode.h"
#include "ik/pinv_step.h"
#include "ik/rescue.h"
#include "ik/solvers.h"
#include "ik/target_forms.h"
#include "kinematics/links.h"
#include "kinematics/sys_data.h"

namespace zq {
namespace {

constexpr float kWeight[7] = {2, 2, 2, 1, 1, 1, 1};
constexpr float kNoBest = 10000.0f;
constexpr float kSweepStep = 0.06f;
constexpr float kFineStep = 0.002f;  // the second sweep, after a failed one
constexpr float kReachBand = 0.001f;  // elbow argument beyond 1 taken as the stretched arm
constexpr float kSnapBand = 0.99999f;
constexpr float kWristBand = 1.001f;
constexpr float kElbowMatch = 2e-3f;  // m: the elbow found lies at the upper arm's length
constexpr float kAxisFloor = 1e-6f;
constexpr float kCentring = -0.2857143f;
constexpr double kCentringCap = 300.0 * 0.0174532925199433;  // x dt^2
constexpr float kNearMargin = 0.0001f;
constexpr int kMaxRows = 16;
constexpr float kBoundSlack = 1e-4f;
constexpr int kMaxValues = 3200;  // joint-7 values of a fine sweep over one turn

struct V3 {
    float x, y, z;
};
V3 operator+(V3 a, V3 b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
V3 operator-(V3 a, V3 b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
V3 operator*(float k, V3 a) {
    return {k * a.x, k * a.y, k * a.z};
}
float dot(V3 a, V3 b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
V3 cross(V3 a, V3 b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
float norm(V3 a) {
    return std::sqrt(dot(a, a));
}
V3 unit(V3 a) {
    const float n = norm(a);
    return n > 0 ? (1.0f / n) * a : a;
}

struct M3 {
    float m[3][3];
    V3 col(int j) const { return {m[0][j], m[1][j], m[2][j]}; }
    V3 operator*(V3 v) const {
        return {m[0][0] * v.x + m[0][1] * v.y + m[0][2] * v.z, m[1][0] * v.x + m[1][1] * v.y + m[1][2] * v.z,
                m[2][0] * v.x + m[2][1] * v.y + m[2][2] * v.z};
    }
    V3 tmul(V3 v) const {  // transpose times v
        return {m[0][0] * v.x + m[1][0] * v.y + m[2][0] * v.z, m[0][1] * v.x + m[1][1] * v.y + m[2][1] * v.z,
                m[0][2] * v.x + m[1][2] * v.y + m[2][2] * v.z};
    }
};

// R Rx(alpha) with the twist's snapped sine and cosine.
M3 times_rx(const M3& R, float sa, float ca) {
    M3 o;
    for (int i = 0; i < 3; ++i) {
        o.m[i][0] = R.m[i][0];
        o.m[i][1] = R.m[i][1] * ca + R.m[i][2] * sa;
        o.m[i][2] = -R.m[i][1] * sa + R.m[i][2] * ca;
    }
    return o;
}

M3 times_rz(const M3& R, float s, float c) {
    M3 o;
    for (int i = 0; i < 3; ++i) {
        o.m[i][0] = R.m[i][0] * c + R.m[i][1] * s;
        o.m[i][1] = -R.m[i][0] * s + R.m[i][1] * c;
        o.m[i][2] = R.m[i][2];
    }
    return o;
}

struct Sweep {
    const zq_dh_block_t* dh;
    float sa[8], ca[8];  // twist sines and cosines
    M3 R7;
    V3 p7e;  // origin of frame 7
    float q_max[8], q_min[8], dq_max[8], dt;
    float ref[7];  // offsets added, whole turns of joint 7 removed
    float L1, L2;  // shoulder to elbow, elbow to wrist
    float a4p, g;  // forearm offset along z5 x z4, and its angle to the forearm
};

// Joint angle that turns the axis of the next joint onto `want`; B is the frame
// before this joint's rotation, alpha_next the twist of the next joint.
// Its sine and cosine come from the same projection, without another call.
float joint_for_axis(const M3& B, V3 want, float sa_next, float* sn, float* cs) {
    const V3 w = B.tmul(want);
    const float y = sa_next * w.x, x = -sa_next * w.y, n = std::sqrt(x * x + y * y);
    *sn = n > 0 ? y / n : 0.0f;
    *cs = n > 0 ? x / n : 1.0f;
    return fast_atan2(y, x);
}

// The best row so far: the least cost, the first in sweep order on a tie, so
// that the values of joint 7 may be visited in any order. `at` is the place
// of its joint-7 value in the sweep. A row is dropped as soon as a joint
// leaves its limits or its partial cost can no longer beat the best: the cost
// only grows joint by joint, so this ranks exactly as a full pass over all
// rows would.
struct Best {
    float cost;
    int at;
    float row[7];
    // A row at place `pos` with (partial) cost c can still win.
    bool beaten_by(float c, int pos) const { return c < cost || (c == cost && pos < at); }
};

// Joint j of a row: a turn into the limits, then within half a turn of the
// reference; false once the row cannot win.
bool place_joint(const Sweep& s, int j, float* q, float* cost, const Best& best, int pos) {
    *q = toward(wrap_once(*q, s.q_min[j], s.q_max[j]), s.ref[j]);
    const float d = *q - s.ref[j];
    *cost += kWeight[j] * d * d;
    return best.beaten_by(*cost, pos) && inside(*q, s.q_min[j], s.q_max[j]);
}

// All branches at joint 7 = th7 (offset added). Returns the number of rows;
// -1 when the elbow cannot close (beyond the band) at this value. `exact`
// refuses the arguments just beyond 1 that the bands would take.
int rows_at(const Sweep& s, float th7, int pos, bool near, bool exact, Best* best) {
    const zq_dh_block_t& dh = *s.dh;
    const float c7 = std::cos(th7), s7 = std::sin(th7);
    const V3 x6 = s.R7 * V3{c7, -s7, 0};
    const V3 y6 = s.R7 * V3{s7 * s.ca[6], c7 * s.ca[6], -s.sa[6]};
    const V3 p6 = s.p7e - dh.a[6] * x6;
    const V3 p2{0, 0, dh.d[0]};
    const V3 p26 = p6 - p2;
    const float D = norm(p26);
    const float L1 = s.L1, L2 = s.L2;
    if (D <= 0) return -1;
    // Elbow: p26 . v = K for the forearm v = d5 z5 + a4' (z5 x z4).
    float ck = (D * D + L2 * L2 - L1 * L1) / (2 * D * L2);
    if (std::fabs(ck) > 1) {
        if ((std::fabs(ck) - 1 >= kReachBand && !near) || exact) return -1;
        ck = ck > 0 ? 1.0f : -1.0f;
    }
    const float beta = std::acos(ck);
    const float a4p = s.a4p, g = s.g;
    const float xs = dot(p26, x6), ys = dot(p26, y6);
    const float r = std::sqrt(xs * xs + ys * ys), phi = std::atan2(ys, xs);
    int n = 0;
    for (int k = 0; k < 2; ++k) {
        const float A = k == 0 ? g + beta : g - beta;
        float u = r > 0 ? D * std::cos(A) / (s.sa[5] * r) : 2.0f;
        if (std::fabs(u) >= kWristBand) continue;
        // A sweep has other values of joint 7 to try: it keeps exact rows only.
        if (exact && std::fabs(u) > 1) continue;
        if (std::fabs(u) >= kSnapBand) u = u > 0 ? 1.0f : -1.0f;
        const float as = std::asin(u);
        for (int b = 0; b < 2; ++b) {
            const float th6 = b == 0 ? static_cast<float>(kIkPi) - phi - as : as - phi;
            {
                // Joints 6 and 7 alone already bound the cost of every row of this
                // value from below (the slack covers the rounding of joint 6 when
                // it is solved again at the end of the row).
                float q6 = th6, q7 = th7, bound = 0;
                place_joint(s, 6, &q7, &bound, Best{kNoBest, -1, {}}, pos);
                place_joint(s, 5, &q6, &bound, Best{kNoBest, -1, {}}, pos);
                if (bound > best->cost + kBoundSlack) continue;
            }
            const V3 z5 = s.sa[5] * (std::sin(th6) * x6 + std::cos(th6) * y6);
            const V3 nrm = cross(p26, z5);
            if (norm(nrm) < kAxisFloor) continue;
            // With an offset at the wrist side only the elbow sign of sin A closes
            // the triangle; without one both signs are branches of their own.
            const bool both = std::fabs(a4p) < kAxisFloor || std::fabs(std::sin(A)) < kAxisFloor;
            for (int sg = 0; sg < 2; ++sg) {
                const float sigma = sg == 0 ? 1.0f : -1.0f;
                if (!both && sigma * std::sin(A) < 0) continue;
                const V3 z4 = sigma * unit(nrm);
                const V3 x4 = -s.sa[4] * cross(z5, z4);
                const V3 p4 = p6 - dh.d[4] * z5 - dh.a[4] * x4;
                const V3 w = p4 - p2;
                if (std::fabs(norm(w) - L1) > kElbowMatch) continue;
                const float c = dh.a[3] * s.sa[3], d = dh.d[2];
                const V3 z3 = unit((1.0f / (d * d + c * c)) * (d * w - c * cross(w, z4)));
                const V3 m = cross(V3{0, 0, 1}, z3);
                for (int t = 0; t < 2 && n < kMaxRows; ++t) {
                    float q[7], sn, cs;
                    float cost = 0;
                    q[6] = th7;
                    if (!place_joint(s, 6, &q[6], &cost, *best, pos)) continue;
                    M3 R{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
                    M3 B = times_rx(R, s.sa[0], s.ca[0]);
                    if (norm(m) < kAxisFloor) {
                        if (t == 1) continue;
                        q[0] = s.ref[0];  // shoulder straight up: joints 1 and 3 share the turn
                        sn = std::sin(q[0]);
                        cs = std::cos(q[0]);
                    } else {
                        q[0] = joint_for_axis(B, (t == 0 ? 1.0f : -1.0f) * unit(m), s.sa[1], &sn, &cs);
                    }
                    ++n;
                    if (!place_joint(s, 0, &q[0], &cost, *best, pos)) continue;
                    const V3 want[5] = {z3, z4, z5, cross(x6, y6), x6};
                    R = times_rz(B, sn, cs);
                    bool alive = true;
                    for (int j = 1; j < 5 && alive; ++j) {
                        B = times_rx(R, s.sa[j], s.ca[j]);
                        q[j] = joint_for_axis(B, want[j - 1], s.sa[j + 1], &sn, &cs);
                        R = times_rz(B, sn, cs);
                        alive = place_joint(s, j, &q[j], &cost, *best, pos);
                    }
                    if (!alive) continue;
                    B = times_rx(R, s.sa[5], s.ca[5]);
                    const V3 wx = B.tmul(x6);
                    q[5] = fast_atan2(wx.y, wx.x);
                    if (!place_joint(s, 5, &q[5], &cost, *best, pos)) continue;
                    best->cost = cost;
                    best->at = pos;
                    for (int j = 0; j < 7; ++j) best->row[j] = q[j];
                }
            }
        }
    }
    return n;
}

bool in_band(float v, float lo, float hi) {
    return v > lo && v < hi;
}

int sweep_solve(const zq_Mat_t& T07, const float q_ref[8], float q_out[8], float sweep_step) {
    const zq_dh_block_t& dh = sys_data.dh;
    Sweep s;
    s.dh = &dh;
    for (int i = 0; i < 8; ++i) twist_sin_cos(dh.alpha[i], &s.sa[i], &s.ca[i]);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) s.R7.m[i][j] = T07.data[i][j];
    const V3 pE{T07.data[0][3], T07.data[1][3], T07.data[2][3]};
    s.p7e = pE - dh.d[6] * s.R7.col(2);
    s.L1 = std::sqrt(dh.d[2] * dh.d[2] + dh.a[3] * dh.a[3]);
    s.L2 = std::sqrt(dh.d[4] * dh.d[4] + dh.a[4] * dh.a[4]);
    s.a4p = -s.sa[4] * dh.a[4];
    s.g = std::atan2(s.a4p, dh.d[4]);
    get_joint_max_with_offset(s.q_max);
    get_joint_min_with_offset(s.q_min);
    get_joint_vel(s.dq_max);
    s.dt = get_cycle();
    const int rev = whole_turns(q_ref[6]);
    for (int i = 0; i < 7; ++i) s.ref[i] = q_ref[i] + dh.offset[i];
    s.ref[6] = static_cast<float>(s.ref[6] - rev * kIkTwoPi);
    const bool tracking = redundancy_mode() == 1;

    float lower, upper, q_add_dq[7];
    bool near = false;
    PinvStep<float> step;
    float T[4][4];
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) T[i][j] = T07.data[i][j];
    if (tracking) {
        pinv_step<float>(kFkJoint7Sweep, dh, s.ref, T, &step);
        near = true;
        for (int i = 0; i < 7; ++i) {
            q_add_dq[i] = s.ref[i] + step.dq[i];
            near = near && std::fabs(step.dq[i]) < s.dq_max[i] * s.dt - kNearMargin;
        }
        lower = upper = s.ref[6] + step.dq[6];
    } else {
        lower = static_cast<float>(s.ref[6] - kIkPi);
        upper = static_cast<float>(s.ref[6] + kIkPi);
    }
    if (lower < s.q_min[6]) lower = s.q_min[6];
    if (upper > s.q_max[6]) upper = s.q_max[6];

    Best best;
    best.cost = kNoBest;
    best.at = -1;
    for (int i = 0; i < 7; ++i) best.row[i] = tracking ? q_add_dq[i] : s.ref[i];
    if (tracking) {
        // One value; a prediction clipped off the range of joint 7 gives none.
        const float th7 = lower + 0 * kSweepStep;
        if (!(th7 > upper)) {
            const int n = rows_at(s, th7, 0, near, false, &best);
            if (n < 0 || (n == 0 && !near)) return kIkNoSolution;
        }
    } else {
        // The values of joint 7: steps from the lower bound; the first step
        // beyond the reference becomes the reference, and the steps go on
        // from there.
        float th7s[kMaxValues];
        th7s[0] = lower;
        int n = 0, first = 0;
        bool inserted = false;
        float prev = lower;
        for (float th7 = lower; th7 <= upper && n < kMaxValues; th7 += sweep_step) {
            if (!inserted && prev < s.ref[6] && th7 > s.ref[6]) {
                th7 = s.ref[6];
                inserted = true;
            }
            prev = th7;
            if (std::fabs(th7 - s.ref[6]) < std::fabs(th7s[first] - s.ref[6])) first = n;
            th7s[n++] = th7;
        }
        // The value at the reference first, then outwards: a close row found
        // early rules out most values by the cost of joint 7 alone, which is
        // the first term of every row at that value.
        for (int j = 0; j < 2 * n; ++j) {
            const int k = first + ((j & 1) ? (j + 1) / 2 : -(j / 2));
            if (k < 0 || k >= n) continue;
            float q7 = th7s[k], cost7 = 0;
            if (!place_joint(s, 6, &q7, &cost7, best, k)) continue;
            rows_at(s, th7s[k], k, near, true, &best);
        }
    }
    if (!tracking && std::fabs(best.cost - kNoBest) < 0.1f) return kIkNoSolution;

    for (int i = 0; i < 7; ++i) q_out[i] = best.row[i];
    if (tracking) {
        const float e = 0.017453292f;
        const float a = std::fabs(s.ref[1]), b = std::fabs(s.ref[5]);
        const float t = static_cast<float>(kIkTwoPi);
        const bool zone = in_band(a, t, 6.31808530717959f) || a < 2 * e ||
                          in_band(a, 6.248285307179589f, t) ||
                          in_band(b, 7.81908530717959f, 7.8888853071795895f) ||
                          in_band(b, 1.5359f, 1.6057f) || in_band(b, 4.67748530717959f, 4.74728530717959f);
        bool fast = false;
        for (int i = 0; i < 7; ++i) fast = fast || std::fabs(q_out[i] - s.ref[i]) >= s.dq_max[i] * s.dt;
        if (near && (zone || fast))
            for (int i = 0; i < 7; ++i) q_out[i] = q_add_dq[i];
        // Null-space pull toward the middle of each joint range, capped.
        float dH[7], dqH[7], peak = 0;
        for (int i = 0; i < 7; ++i) {
            const float span = s.q_max[i] - s.q_min[i];
            dH[i] = kCentring * (s.ref[i] - (s.q_max[i] + s.q_min[i]) / 2) / (span * span);
        }
        null_space_part(step, dH, dqH);
        for (int i = 0; i < 7; ++i) peak = std::fmax(peak, std::fabs(dqH[i]));
        const float cap = static_cast<float>(kCentringCap * s.dt * s.dt);
        if (peak > cap)
            for (float& v : dqH) v *= cap / peak;
        bool ok = true;
        for (int i = 0; i < 7; ++i) ok = ok && std::fabs(q_out[i] + dqH[i] - s.ref[i]) / s.dt <= s.dq_max[i];
        if (ok)
            for (int i = 0; i < 7; ++i) q_out[i] += dqH[i];
    }
    q_out[6] = static_cast<float>(q_out[6] + rev * kIkTwoPi);
    for (int i = 0; i < 7; ++i) {
        if (q_out[i] < s.q_min[i] || q_out[i] > s.q_max[i]) return kIkOutsideLimits;
        q_out[i] -= dh.offset[i];
    }
    return kIkOk;
}

// The sweep; where a traversal finds no row, the legal values of joint 7 may
// form a window narrower than the step, so the rescue sweeps again with a
// step of 0.002 rad (some 3100 values over a turn, visited and pruned alike).
int sweep_with_rescue(const zq_Mat_t& T07, const float q_ref[8], float q_out[8]) {
    const int result = sweep_solve(T07, q_ref, q_out, kSweepStep);
    if (result != kIkNoSolution || redundancy_mode() == 1 || !ik_rescue_enabled()) return result;
    return sweep_solve(T07, q_ref, q_out, kFineStep);
}

}  // namespace

int joint7_sweep_offset_ik(const zq_Mat_t& target, float q_ref[8], float q_out[8]) {
    return sweep_with_rescue(target, q_ref, q_out);
}

// The arm ends in a fixed flange row: the sweep works on frame 7.
int joint7_sweep_ik(const zq_Mat_t& target, float q_ref[8], float q_out[8]) {
    const zq_Mat_t T07 = remove_flange_link(target, sys_data.dh);
    return sweep_with_rescue(T07, q_ref, q_out);
}

}  // namespace zq
