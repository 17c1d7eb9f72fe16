// The homotopy Newton method of the six- and seven-joint universal arms:
// from each of 150 quasi-random starts, a continuation from the pose of a
// mirrored anchor to the target; up to eight distinct solutions, and the one
// nearest the reference. The two solvers differ only in their Newton step.
#pragma once

#include "ik/general_chain.h"
#include "kinematics/kin_types.h"

namespace zq {

constexpr int kHomotopySeeds = 150;
constexpr int kHomotopyMaxSolutions = 8;

// Entry `joint` (0 to 6) of seed row `row` (0 to 149): a Sobol point in [0, 1).
float homotopy_seed(int row, int joint);

// The Newton step: dq = -Jn^+ F for the base-frame Jacobian Jn (6 by joints).
using HomotopyStep = void (*)(const float Jn[6][7], const float F[6], float dq[7]);

// The steps of homotopy_ik6, dq = Jn^-1 (0 - F), and homotopy_ik7,
// dq = Jn^T (Jn Jn^T)^-1 (0 - F); a singular system gives no step.
void homotopy_inverse_step(const float Jn[6][7], const float F[6], float dq[7]);
void homotopy_pseudo_inverse_step(const float Jn[6][7], const float F[6], float dq[7]);

// x = A^-1 b by elimination with full pivoting. Returns false, with `x`
// untouched, as soon as a pivot or multiplier is not finite (a singular A).
bool solve6(const float A[6][6], const float b[6], float x[6]);

// Solutions of the seed loop: joints without the DH offset, in [-pi, pi).
struct HomotopySolutions {
    int count;
    float q[kHomotopyMaxSolutions][7];
};

// The seed ends that came closest to the target, closest first: where a
// rescue goes on from when no seed converged.
constexpr int kHomotopyKeptEnds = 8;
struct HomotopyEnds {
    int count;
    float error[kHomotopyKeptEnds];
    float q[kHomotopyKeptEnds][8];
};

// The seed loop alone; Hd is the target Tbase_flange. `ends` (may be null)
// receives the closest ends of the seeds that ran. With `lanes`, six- and
// seven-joint arms run several seeds at once, one per lane, with the Newton step
// of homotopy_ik6 or homotopy_ik7 (which `step` must then be): the same ends
// to the bit as the one-seed form, which runs `step` otherwise.
void homotopy_collect(const zq_Mat_t& Hd, int joints, HomotopyStep step, HomotopySolutions* out,
                      HomotopyEnds* ends = nullptr, bool lanes = false);

// The continuation of several seeds at once, one per lane
// (homotopy_lanes.cpp): the anchors theta_0 and starts q (joints without the
// DH offset) of each seed; q leaves as the ends of the last pass. n is 6
// (square inverse step) or 7 (right pseudo-inverse step); width is 4 or 8
// seeds, run in pieces of the widest lanes the processor has
// (homotopy_lane_width(): 4 or 8).
constexpr int kHomotopyMaxLanes = 8;
int homotopy_lane_width();
void homotopy_continuation_lanes(const GeneralChain& chain, const zq_Mat_t& Hd, int n, int width,
                                 const float theta_0[kHomotopyMaxLanes][8], float q[kHomotopyMaxLanes][8]);
// The error norm of each of `width` seed ends q (wrapped, without the DH
// offset), as the one-seed form measures it.
void homotopy_end_errors_lanes(const GeneralChain& chain, const zq_Mat_t& Hd, int n, int width,
                               const float q[kHomotopyMaxLanes][8], float error[kHomotopyMaxLanes]);

// Newton steps at the end of the continuation from each kept end, closest
// first, at most `steps` each; an end that converges is taken as a seed end
// is (error, distinctness, at most eight). Returns the solutions added.
int homotopy_rescue(const zq_Mat_t& Hd, int joints, HomotopyStep step, const HomotopyEnds& ends, int steps,
                    HomotopySolutions* out);

// Seed loop and choice: 0, -1 (no solution, or a target or reference that is
// not finite) or -2 (no solution inside the joint limits). When no seed
// converged, the rescue goes on from the closest ends before the choice
// (unless switched off).
int homotopy_solve(const zq_Mat_t& Hd, const float q_ref[8], float q_out[8], int joints, HomotopyStep step,
                   bool lanes = true);

}  // namespace zq
