// Singularity tests: a geometric one with named causes for six- and
// seven-joint arms, and a universal one on the smallest singular value.
#pragma once

namespace zq {

// Shoulder, elbow and wrist tests in that order, on q in radians as the arm
// counts them. Writes the wrist's distance from the shoulder plane to
// *distance (if set) before deciding. 0 none, -1 shoulder, -2 elbow, -3 wrist.
int singularity_check(const float q[8], const char* mode, float* distance);

// Smallest singular value of the flange Jacobian against `limit` (null: 0.01):
// 0 above, -1 at or below, -2 when the decomposition fails. q in radians.
int universal_singularity(const float q[8], const float* limit);

}  // namespace zq
