// Universal arms of any joint count but six and seven: cycles of three staged
// NLopt runs from the reference (a truncated Newton method that sees a flat
// gradient, then L-BFGS, then a global run without bounds), and a final pair
// of runs once the cycles are spent. Each optimiser object lives for one run.
#include "ik/nlopt_ik.h"

#include <nlopt.h>

#include <cmath>

#include "ik/general_chain.h"
#include "ik/homotopy.h"
#include "ik/rescue.h"
#include "ik/solvers.h"
#include "kinematics/sys_data.h"
#include "kinematics/units.h"

namespace zq {
namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kTwoPi = 6.283185307179586;
constexpr double kStart = 100.0;
constexpr double kSolved = 1e-8;
constexpr int kCycles = 10;
constexpr double kXtolRel = 1e-10;
constexpr double kBoundMarginDeg = 0.5;

struct Objective {
    const zq_Mat_t& Hd;
    GeneralChain chain;
    unsigned n;
};

float squared_error(const Objective& o, const double* x, float Jn[6][7], float e[6]) {
    float q[8] = {0, 0, 0, 0, 0, 0, 0, 0};
    for (unsigned i = 0; i < o.n; ++i) q[i] = static_cast<float>(x[i]);
    chain_error(o.chain, o.Hd, q, e, Jn);
    float f = 0.0f;
    for (int k = 0; k < 6; ++k) f += e[k] * e[k];
    return f;
}

// The value alone; a gradient asked for is flat.
double value_only(unsigned n, const double* x, double* grad, void* data) {
    const Objective& o = *static_cast<const Objective*>(data);
    float e[6];
    const float f = squared_error(o, x, nullptr, e);
    if (grad)
        for (unsigned i = 0; i < n && i < 6; ++i) grad[i] = 0.0;
    return f;
}

// grad = 2 J^T e with J the base-frame Jacobian.
double value_and_gradient(unsigned n, const double* x, double* grad, void* data) {
    const Objective& o = *static_cast<const Objective*>(data);
    float e[6], Jn[6][7];
    const float f = squared_error(o, x, Jn, e);
    if (grad)
        for (unsigned j = 0; j < n && j < 7; ++j) {
            float g = 0.0f;
            for (int k = 0; k < 6; ++k) g += 2.0f * e[k] * Jn[k][j];
            grad[j] = g;
        }
    return f;
}

struct Run {
    nlopt_algorithm algorithm;
    nlopt_func objective;
    bool bounded;
    int max_evaluations;
    double stop_value = 0.0;  // 0: none
};

constexpr Run kCycle[] = {
    {NLOPT_LD_TNEWTON_PRECOND, value_only, true, 200},
    {NLOPT_LD_LBFGS, value_and_gradient, true, 100},
    {NLOPT_GN_MLSL_LDS, value_and_gradient, false, 50},  // refuses the unbounded domain
};
constexpr Run kFinal[] = {
    {NLOPT_LD_TNEWTON_PRECOND, value_only, true, 200},
    {NLOPT_GN_MLSL_LDS, value_and_gradient, false, 200},
};

// The rescue after the cycles: bounded L-BFGS from the reference, then from
// quasi-random starts within a half turn of it, until one reaches the
// objective. A
// run stops once the value is well below the goal: the objective is summed in
// single precision, so going on would only end in a round-off failure.
constexpr Run kRescue = {NLOPT_LD_LBFGS, value_and_gradient, true, 400, 1e-11};
constexpr int kRescueStarts = 40;

int run(const Run& r, Objective* o, const double* lo, const double* hi, double* x, double* minf) {
    nlopt_opt opt = nlopt_create(r.algorithm, o->n);
    if (!opt) return NLOPT_OUT_OF_MEMORY;
    nlopt_set_min_objective(opt, r.objective, o);
    if (r.bounded) {
        nlopt_set_lower_bounds(opt, lo);
        nlopt_set_upper_bounds(opt, hi);
    }
    nlopt_set_xtol_rel(opt, kXtolRel);
    nlopt_set_maxeval(opt, r.max_evaluations);
    if (r.stop_value > 0.0) nlopt_set_stopval(opt, r.stop_value);
    const nlopt_result result = nlopt_optimize(opt, x, minf);
    nlopt_destroy(opt);
    return result;
}

}  // namespace

int nlopt_ik_report(const zq_Mat_t& Hd, float q_ref[8], float q_out[8], NloptReport* report) {
    const int dof = get_dof();
    if (report) *report = NloptReport{0.0, 0, 0.0, 0, 0};
    if (dof < 1 || dof > 7 || !transform_finite(Hd)) return kIkNoSolution;
    for (int i = 0; i < dof; ++i)
        if (!std::isfinite(q_ref[i])) return kIkNoSolution;
    const unsigned n = static_cast<unsigned>(dof);
    const GeneralChain chain = general_chain(dof);
    float lo_f[8], hi_f[8];
    get_joint_min_with_offset(lo_f);
    get_joint_max_with_offset(hi_f);
    // Bounds half a degree beyond the limits cut to whole degrees; offsets added.
    double lo[8], hi[8], ref[8], x[8];
    for (unsigned i = 0; i < n; ++i) {
        const float o = chain.offset[i];
        lo_f[i] -= o;
        hi_f[i] -= o;
        lo[i] = (std::trunc(lo_f[i] * kRadToDeg) - kBoundMarginDeg) * kDegToRad + o;
        hi[i] = (std::trunc(hi_f[i] * kRadToDeg) + kBoundMarginDeg) * kDegToRad + o;
        q_ref[i] += o;
        ref[i] = q_ref[i];
    }
    Objective objective{Hd, chain, n};
    double minf = kStart, staged_min = kStart;
    int result = 0, cycles = 0;
    auto stage = [&](const Run& r) {
        result = run(r, &objective, lo, hi, x, &minf);
        staged_min = std::fmin(staged_min, minf);
    };
    while ((minf > kSolved || result < 0) && cycles < kCycles) {
        for (unsigned i = 0; i < n; ++i) x[i] = ref[i];
        for (const Run& r : kCycle) stage(r);
        ++cycles;
    }
    if (cycles == kCycles) {
        for (unsigned i = 0; i < n; ++i) x[i] = ref[i];
        for (const Run& r : kFinal) stage(r);
    }
    int starts = 0;
    if (ik_rescue_enabled())
        for (; starts < kRescueStarts && (minf > kSolved || result < 1); ++starts) {
            // The reference, then within a half turn of it, inside the bounds.
            for (unsigned i = 0; i < n; ++i) {
                const double s = starts == 0 ? 0.0 : homotopy_seed(starts, static_cast<int>(i)) - 0.5;
                x[i] = std::fmin(hi[i], std::fmax(lo[i], ref[i] + s * kTwoPi));
            }
            stage(kRescue);
        }
    if (report) *report = NloptReport{minf, result, staged_min, cycles, starts};
    if (minf > kSolved || result < 1) return kIkNoSolution;
    for (unsigned i = 0; i < n; ++i) {
        double q = x[i] - kTwoPi * std::trunc(x[i] / kTwoPi) - chain.offset[i];
        if (q < lo_f[i])
            q += kTwoPi;
        else if (q > hi_f[i])
            q -= kTwoPi;
        if (q > kPi)
            q -= kTwoPi;
        else if (q < -kPi)
            q += kTwoPi;
        q_out[i] = static_cast<float>(q);
        if (q_out[i] < lo_f[i] || q_out[i] > hi_f[i]) return kIkOutsideLimits;
    }
    return kIkOk;
}

int nlopt_ik(const zq_Mat_t& Hd, float q_ref[8], float q_out[8]) {
    return nlopt_ik_report(Hd, q_ref, q_out, nullptr);
}

}  // namespace zq
