// The loaded arm's own DH chain for the iterative solvers: flange pose, its
// error against a target and the Jacobian in the base frame, in one backward
// pass over fixed arrays (no record copies, nothing allocated).
#pragma once

#include "kinematics/kin_types.h"

namespace zq {

struct GeneralChain {
    int joints;     // 1 to 7
    bool standard;  // standard DH form, else modified
    float d[7], a[7];
    float sa[7], ca[7];  // twists, snapped to exact values near multiples of 90 degrees
    float offset[8];
};

// A snapshot of the loaded arm with `joints` links (clamped to 1 to 7).
GeneralChain general_chain(int joints);

// The pose of the flange at q (offsets already added) against the target Hd:
// e = translation of the flange minus that of Hd, then the axis-angle of
// R Hd^T, so that de/dq is the base-frame Jacobian Jn. Jn may be null.
void chain_error(const GeneralChain& c, const zq_Mat_t& Hd, const float q[8], float e[6], float Jn[6][7]);

// The Euclidean norm of an error e, summed in order from 0.
float norm6(const float e[6]);

// Axis-angle of Re: the rotation vector, with the half-turn fallback on the
// diagonal of Re.
void rotation_vector(const float Re[3][3], float a[3]);

// True when the first 4 by 4 entries of T are all finite.
bool transform_finite(const zq_Mat_t& T);

}  // namespace zq
