#include "ik/rescue.h"

#include <atomic>
#include <cmath>

#include "ik/general_chain.h"
#include "ik/homotopy.h"
#include "kinematics/forward.h"

namespace zq {
namespace {

std::atomic<bool> g_rescue{true};

constexpr float kReachMetres = 1e-4f;
constexpr float kReachRadians = 1e-3f;
constexpr float kFirstDamping = 1e-6f;
constexpr float kMaxDamping = 1e2f;

}  // namespace

bool ik_rescue_enabled() {
    return g_rescue.load(std::memory_order_relaxed);
}

void set_ik_rescue(bool on) {
    g_rescue.store(on, std::memory_order_relaxed);
}

bool flange_reaches(const zq_Mat_t& T, const float q[8]) {
    for (int i = 0; i < 8; ++i)
        if (!std::isfinite(q[i])) return false;
    const zq_matrix_t F = get_Tbase_flange(q);
    double dp = 0.0, trace = 0.0;
    for (int i = 0; i < 3; ++i) {
        const double d = static_cast<double>(F.data[i][3]) - T.data[i][3];
        dp += d * d;
        for (int k = 0; k < 3; ++k) trace += static_cast<double>(F.data[k][i]) * T.data[k][i];
    }
    const double c = (trace - 1.0) / 2.0;
    const double angle = std::acos(c > 1.0 ? 1.0 : (c < -1.0 ? -1.0 : c));
    return std::sqrt(dp) <= kReachMetres && angle <= kReachRadians;
}

bool newton_refine(const zq_Mat_t& T, int joints, float q[8], int max_steps, float tolerance) {
    if (!transform_finite(T)) return false;
    const GeneralChain chain = general_chain(joints);
    const int n = chain.joints;
    float theta[8] = {0, 0, 0, 0, 0, 0, 0, 0};
    for (int i = 0; i < n; ++i) theta[i] = q[i] + chain.offset[i];
    float e[6], Jn[6][7];
    chain_error(chain, T, theta, e, Jn);
    float err = norm6(e);
    float mu = kFirstDamping;
    for (int step = 0; step < max_steps && err > tolerance && mu < kMaxDamping; ++step) {
        // dq = Jn^T (Jn Jn^T + mu I)^-1 (-e)
        float A[6][6], b[6], w[6];
        for (int r = 0; r < 6; ++r) {
            for (int c = 0; c < 6; ++c) {
                float s = 0.0f;
                for (int k = 0; k < n; ++k) s += Jn[r][k] * Jn[c][k];
                A[r][c] = s;
            }
            A[r][r] += mu;
            b[r] = -e[r];
        }
        if (!solve6(A, b, w)) {
            mu *= 10.0f;
            continue;
        }
        float trial[8];
        for (int i = 0; i < 8; ++i) trial[i] = theta[i];
        for (int i = 0; i < n; ++i) {
            float s = 0.0f;
            for (int k = 0; k < 6; ++k) s += Jn[k][i] * w[k];
            trial[i] += s;
        }
        float e_trial[6], J_trial[6][7];
        chain_error(chain, T, trial, e_trial, J_trial);
        const float err_trial = norm6(e_trial);
        if (err_trial < err) {
            for (int i = 0; i < 8; ++i) theta[i] = trial[i];
            for (int k = 0; k < 6; ++k) e[k] = e_trial[k];
            for (int r = 0; r < 6; ++r)
                for (int c = 0; c < n; ++c) Jn[r][c] = J_trial[r][c];
            err = err_trial;
            mu = std::fmax(mu * 0.1f, kFirstDamping * 1e-3f);
        } else {
            mu *= 10.0f;
        }
    }
    for (int i = 0; i < n; ++i) q[i] = theta[i] - chain.offset[i];
    return err <= tolerance;
}

}  // namespace zq
