#include "ik/homotopy.h"

#include <cmath>
#include <cstdint>
#include <utility>

#include "ik/angles.h"
#include "ik/general_chain.h"
#include "ik/rescue.h"
#include "kinematics/lanes.h"
#include "kinematics/sys_data.h"

namespace zq {
namespace {

constexpr float kPi = 3.14159265358979f;
constexpr float kTwoPi = 6.28318530717959f;
constexpr float kLambdaStep = 0.1f;
constexpr float kLambdaLast = 0.9f;
constexpr int kNewtonSteps = 3;
constexpr float kSolvedError = 5e-6f;
constexpr float kDistinct = 0.05f;  // rad, in at least one joint
constexpr float kFirstCost = 1000.0f;
constexpr int kBatch = 2;  // seeds run side by side in the one-seed form
constexpr int kRescueSteps = 6;  // Newton steps from each kept end

// Direction vectors of the Sobol sequence, bit by bit, as multiples of 1/256.
constexpr uint8_t kDirection[8][7] = {
    {128, 128, 128, 128, 128, 128, 128}, {64, 192, 64, 192, 64, 192, 64}, {32, 160, 224, 224, 160, 32, 96},
    {16, 240, 176, 80, 48, 16, 112},     {8, 136, 104, 56, 120, 72, 248}, {4, 204, 244, 172, 204, 236, 188},
    {2, 170, 134, 98, 250, 50, 218},     {1, 255, 79, 147, 141, 89, 173},
};

struct SeedTable {
    float s[kHomotopySeeds][7];
};

// Row i is the exclusive-or of the direction vectors of the set bits of i,
// rounded to six decimals.
constexpr SeedTable make_seeds() {
    SeedTable t{};
    for (int i = 0; i < kHomotopySeeds; ++i)
        for (int j = 0; j < 7; ++j) {
            unsigned v = 0;
            for (int b = 0; b < 8; ++b)
                if ((i >> b) & 1) v ^= kDirection[b][j];
            const long micro = static_cast<long>(v * 1e6 / 256.0 + 0.5);
            t.s[i][j] = static_cast<float>(static_cast<double>(micro) / 1e6);
        }
    return t;
}

constexpr SeedTable kSeeds = make_seeds();

float wrap(float q) {
    float r = fmod_two_pi(q + kPi);
    if (r < 0.0f) r += kTwoPi;
    return r - kPi;
}

struct Newton {
    GeneralChain chain;
    const zq_Mat_t& Hd;
    int n;
    HomotopyStep step;

    void error_at(const float q[8], float e[6], float Jn[6][7]) const {
        float theta[8] = {0, 0, 0, 0, 0, 0, 0, 0};
        for (int i = 0; i < n; ++i) theta[i] = q[i] + chain.offset[i];
        chain_error(chain, Hd, theta, e, Jn);
    }

    // The continuations of `count` seeds side by side, step by step, so that
    // their independent work overlaps; each seed's numbers are those of its
    // own continuation. q enters as the starts and leaves as the ends of the
    // last pass.
    void continuation(const float theta_0[][8], float q[][8], int count) const {
        float e0[kBatch][6], e[kBatch][6], Jn[kBatch][6][7];
        for (int b = 0; b < count; ++b) error_at(theta_0[b], e0[b], nullptr);
        for (float lambda = 0.0f; lambda <= 1.0f; lambda += kLambdaStep) {
            if (lambda > kLambdaLast) lambda = 1.0f;
            float F0[kBatch][6];
            for (int b = 0; b < count; ++b)
                for (int k = 0; k < 6; ++k) F0[b][k] = (lambda - 1.0f) * e0[b][k];
            for (int s = 0; s < kNewtonSteps; ++s) {
                for (int b = 0; b < count; ++b) error_at(q[b], e[b], Jn[b]);
                for (int b = 0; b < count; ++b) {
                    float F[6];
                    for (int k = 0; k < 6; ++k) F[k] = e[b][k] + F0[b][k];
                    float dq[7] = {0, 0, 0, 0, 0, 0, 0};
                    step(Jn[b], F, dq);
                    for (int i = 0; i < n; ++i) q[b][i] += dq[i];
                }
            }
        }
    }
};

bool distinct(const HomotopySolutions& s, const float q[8], int n);

// A seed's end, wrapped into [-pi, pi), with its error, becomes a solution
// when it reproduces the target and differs from those found before.
void take_end(const float q[8], float error, int n, HomotopySolutions* out) {
    if (!(error <= kSolvedError) || !distinct(*out, q, n)) return;
    for (int i = 0; i < 7; ++i) out->q[out->count][i] = i < n ? q[i] : 0.0f;
    ++out->count;
}

// The same from an end not yet wrapped nor measured; returns its error.
float take_end(const Newton& newton, float q[8], HomotopySolutions* out) {
    for (int i = 0; i < newton.n; ++i) q[i] = wrap(q[i]);
    float e[6];
    newton.error_at(q, e, nullptr);
    const float error = norm6(e);
    take_end(q, error, newton.n, out);
    return error;
}

// Kept in order of error, closest first; an end that is not a number is not kept.
void keep_end(HomotopyEnds* ends, float error, const float q[8]) {
    if (!(error == error)) return;
    int at = ends->count < kHomotopyKeptEnds ? ends->count : kHomotopyKeptEnds;
    if (at == kHomotopyKeptEnds && !(error < ends->error[at - 1])) return;
    if (at == kHomotopyKeptEnds) --at;
    while (at > 0 && error < ends->error[at - 1]) {
        ends->error[at] = ends->error[at - 1];
        for (int i = 0; i < 8; ++i) ends->q[at][i] = ends->q[at - 1][i];
        --at;
    }
    ends->error[at] = error;
    for (int i = 0; i < 8; ++i) ends->q[at][i] = q[i];
    if (ends->count < kHomotopyKeptEnds) ++ends->count;
}

bool distinct(const HomotopySolutions& s, const float q[8], int n) {
    for (int k = 0; k < s.count; ++k) {
        bool differs = false;
        for (int i = 0; i < n && !differs; ++i) differs = std::fabs(q[i] - s.q[k][i]) >= kDistinct;
        if (!differs) return false;
    }
    return true;
}

// Limits as offset-free joints.
void limits(float lo[8], float hi[8]) {
    zq_dh_block_t dh;
    get_dh_block(&dh);
    get_joint_min_with_offset(lo);
    get_joint_max_with_offset(hi);
    for (int i = 0; i < 8; ++i) {
        lo[i] -= dh.offset[i];
        hi[i] -= dh.offset[i];
    }
}

bool outside(float q, float lo, float hi) {
    return q < lo || q > hi;
}

// The solution nearest the reference among those inside the limits, each
// joint taken by a turn toward the reference.
int choose(HomotopySolutions& s, const float q_ref[8], float q_out[8], int n) {
    if (s.count == 0) return -1;
    float lo[8], hi[8];
    limits(lo, hi);
    bool marked[kHomotopyMaxSolutions] = {};
    int inside = 0;
    for (int k = 0; k < s.count; ++k) {
        for (int i = 0; i < n; ++i) {
            float& q = s.q[k][i];
            if (outside(q, lo[i], hi[i])) {
                marked[k] = true;
                break;
            }
            const float d = q_ref[i] - q;
            if (d > kPi)
                q += kTwoPi;
            else if (d < -kPi)
                q -= kTwoPi;
        }
        inside += marked[k] ? 0 : 1;
    }
    if (inside == 0) return -2;
    int best = 0;
    float best_cost = kFirstCost;
    for (int k = 0; k < s.count; ++k) {
        if (marked[k]) continue;
        float cost = 0.0f;
        for (int i = 0; i < n; ++i) cost += (s.q[k][i] - q_ref[i]) * (s.q[k][i] - q_ref[i]);
        if (cost < best_cost) {
            best_cost = cost;
            best = k;
        }
    }
    for (int i = 0; i < n; ++i) {
        float q = s.q[best][i];
        if (q < lo[i])
            q += kTwoPi;
        else if (q > hi[i])
            q -= kTwoPi;
        const float d = q_ref[i] - q;
        if (d > kPi)
            q += kTwoPi;
        else if (d < -kPi)
            q -= kTwoPi;
        q_out[i] = q;
        if (outside(q, lo[i], hi[i])) return -2;
    }
    return 0;
}

// Elimination with full pivoting on the rows [A | b], each held as two vectors
// of four lanes: columns 0 to 3, then 4, 5, b and a spare lane.
using Vec4 = Lanes;
using Mask4 = LaneMask;

struct Elimination {
    Vec4 m[6][2];
    int unknown[6];  // the unknown of each column after the column swaps
    float inv_pivot[6];
};

inline float entry(const Vec4 (&row)[2], int j) {
    return row[j >> 2][j & 3];
}

inline Vec4 magnitude(Vec4 v) {
    return reinterpret_cast<Vec4>(reinterpret_cast<Mask4>(v) & 0x7fffffff);
}

// Step k: the pivot is the entry of greatest magnitude of the remaining block,
// the first in row-major order on a tie (a NaN entry never wins, and a NaN at
// (k, k) keeps its place); rows and columns are swapped to bring it to (k, k)
// and the rows below are reduced. Lanes left of k + 1 of those rows are not
// read again, so whole vectors are reduced. False as soon as the reciprocal
// of the pivot or a multiplier is not finite.
template <int k>
bool eliminate(Elimination& s) {
    const float at_k = s.m[k][k >> 2][k & 3];
    if (at_k != at_k) return false;
    constexpr Mask4 live0 = {k <= 0 ? -1 : 0, k <= 1 ? -1 : 0, k <= 2 ? -1 : 0, k <= 3 ? -1 : 0};
    constexpr Mask4 live1 = {k <= 4 ? -1 : 0, -1, 0, 0};
    const Vec4 none = {-1.0f, -1.0f, -1.0f, -1.0f};
    Vec4 big0 = none, big1 = none;
    for (int i = k; i < 6; ++i) {
        const Vec4 a0 = live0 ? magnitude(s.m[i][0]) : none;
        const Vec4 a1 = live1 ? magnitude(s.m[i][1]) : none;
        big0 = a0 > big0 ? a0 : big0;
        big1 = a1 > big1 ? a1 : big1;
    }
    const Vec4 both = big1 > big0 ? big1 : big0;
    float big = both[0];
    for (int l = 1; l < 4; ++l) big = both[l] > big ? both[l] : big;
    int ip = k, jp = k;
    for (int i = k; i < 6; ++i) {
        int j = k;
        while (j < 6 && std::fabs(entry(s.m[i], j)) != big) ++j;
        if (j < 6) {
            ip = i;
            jp = j;
            break;
        }
    }
    if (ip != k) {
        std::swap(s.m[k][0], s.m[ip][0]);
        std::swap(s.m[k][1], s.m[ip][1]);
    }
    if (jp != k) {
        for (int i = 0; i < 6; ++i) {
            const float t = s.m[i][k >> 2][k & 3];
            s.m[i][k >> 2][k & 3] = s.m[i][jp >> 2][jp & 3];
            s.m[i][jp >> 2][jp & 3] = t;
        }
        std::swap(s.unknown[k], s.unknown[jp]);
    }
    const float inv = 1.0f / s.m[k][k >> 2][k & 3];
    s.inv_pivot[k] = inv;
    if (!std::isfinite(inv)) return false;
    const Vec4 r0 = s.m[k][0], r1 = s.m[k][1];
    for (int i = k + 1; i < 6; ++i) {
        const float f = s.m[i][k >> 2][k & 3] * inv;
        if (!std::isfinite(f)) return false;
        if (k < 3) s.m[i][0] -= f * r0;
        s.m[i][1] -= f * r1;
    }
    return true;
}

}  // namespace

float homotopy_seed(int row, int joint) {
    if (row < 0 || row >= kHomotopySeeds || joint < 0 || joint >= 7) return 0.0f;
    return kSeeds.s[row][joint];
}

bool solve6(const float A[6][6], const float b[6], float x[6]) {
    Elimination s;
    for (int i = 0; i < 6; ++i) {
        s.m[i][0] = Vec4{A[i][0], A[i][1], A[i][2], A[i][3]};
        s.m[i][1] = Vec4{A[i][4], A[i][5], b[i], 0.0f};
        s.unknown[i] = i;
    }
    if (!eliminate<0>(s) || !eliminate<1>(s) || !eliminate<2>(s) || !eliminate<3>(s) || !eliminate<4>(s) ||
        !eliminate<5>(s))
        return false;
    float y[6];
    for (int k = 5; k >= 0; --k) {
        float t = s.m[k][1][2];
        for (int j = k + 1; j < 6; ++j) t -= entry(s.m[k], j) * y[j];
        y[k] = t * s.inv_pivot[k];
        if (!std::isfinite(y[k])) return false;
    }
    for (int k = 0; k < 6; ++k) x[s.unknown[k]] = y[k];
    return true;
}

void homotopy_collect(const zq_Mat_t& Hd, int joints, HomotopyStep step, HomotopySolutions* out,
                      HomotopyEnds* ends, bool lanes) {
    out->count = 0;
    if (ends) ends->count = 0;
    const int n = joints < 1 ? 1 : (joints > 7 ? 7 : joints);
    const Newton newton{general_chain(n), Hd, n, step};
    // The lanes know the two steps of homotopy_ik6 and homotopy_ik7 only.
    lanes = lanes && ((n == 6 && step == homotopy_inverse_step) || (n == 7 && step == homotopy_pseudo_inverse_step));
    const int batch = lanes ? homotopy_lane_width() : kBatch;
    for (int first = 0; first < kHomotopySeeds && out->count < kHomotopyMaxSolutions; first += batch) {
        const int count = kHomotopySeeds - first < batch ? kHomotopySeeds - first : batch;
        float theta_0[kHomotopyMaxLanes][8] = {}, q[kHomotopyMaxLanes][8] = {};
        for (int b = 0; b < count; ++b)
            for (int i = 0; i < n; ++i) {
                const float s = kSeeds.s[first + b][i];
                theta_0[b][i] = -kPi + kTwoPi * (1.0f - s);  // the anchor mirrors the start
                q[b][i] = -kPi + kTwoPi * s;
            }
        if (lanes)
            homotopy_continuation_lanes(newton.chain, Hd, n, batch, theta_0, q);
        else
            newton.continuation(theta_0, q, count);
        // Every end of the batch wrapped and measured (in lanes where the
        // seeds ran in lanes), then taken in seed order.
        float error[kHomotopyMaxLanes];
        for (int b = 0; b < count; ++b)
            for (int i = 0; i < n; ++i) q[b][i] = wrap(q[b][i]);
        if (lanes) {
            homotopy_end_errors_lanes(newton.chain, Hd, n, batch, q, error);
        } else {
            for (int b = 0; b < count; ++b) {
                float e[6];
                newton.error_at(q[b], e, nullptr);
                error[b] = norm6(e);
            }
        }
        // The loop ends at the eighth solution, so a seed after it in the same
        // batch does not count.
        for (int b = 0; b < count && out->count < kHomotopyMaxSolutions; ++b) {
            take_end(q[b], error[b], n, out);
            if (ends) keep_end(ends, error[b], q[b]);
        }
    }
}

int homotopy_rescue(const zq_Mat_t& Hd, int joints, HomotopyStep step, const HomotopyEnds& ends, int steps,
                    HomotopySolutions* out) {
    const int n = joints < 1 ? 1 : (joints > 7 ? 7 : joints);
    const Newton newton{general_chain(n), Hd, n, step};
    const int before = out->count;
    for (int k = 0; k < ends.count && out->count < kHomotopyMaxSolutions; ++k) {
        float q[8];
        for (int i = 0; i < 8; ++i) q[i] = ends.q[k][i];
        for (int s = 0; s < steps; ++s) {
            float e[6], Jn[6][7];
            newton.error_at(q, e, Jn);
            if (norm6(e) <= kSolvedError) break;
            float dq[7] = {0, 0, 0, 0, 0, 0, 0};
            step(Jn, e, dq);
            for (int i = 0; i < n; ++i) q[i] += dq[i];
        }
        take_end(newton, q, out);
    }
    return out->count - before;
}

int homotopy_solve(const zq_Mat_t& Hd, const float q_ref[8], float q_out[8], int joints, HomotopyStep step,
                   bool lanes) {
    if (!transform_finite(Hd)) return -1;
    for (int i = 0; i < joints; ++i)
        if (!std::isfinite(q_ref[i])) return -1;
    HomotopySolutions s;
    HomotopyEnds ends;
    const bool rescue = ik_rescue_enabled();
    homotopy_collect(Hd, joints, step, &s, rescue ? &ends : nullptr, lanes);
    if (s.count == 0 && rescue) homotopy_rescue(Hd, joints, step, ends, kRescueSteps, &s);
    return choose(s, q_ref, q_out, joints);
}

}  // namespace zq
