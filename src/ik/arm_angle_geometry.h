// Geometry of the arm-angle parametrisation of the ZQ52 family (spherical
// shoulder and wrist, standard DH): the shoulder and wrist rotations as
// A sin(psi) + B cos(psi) + C for both elbow signs, the eight joint branches
// at one arm angle, and the arm angle of a configuration.
#pragma once

#include <cmath>

#include "kinematics/sys_data.h"

namespace zq {

template <typename F>
struct ArmAngleGeometry {
    F As[2][3][3], Bs[2][3][3], Cs[2][3][3];  // shoulder, per elbow set
    F Aw[2][3][3], Bw[2][3][3], Cw[2][3][3];  // wrist, per elbow set
    F theta4;                                 // elbow joint of set 0; set 1 has -theta4
    F theta1v, theta2v[2];                    // reference plane of each set
    F p26[3], p26_len, p26_unit[3];
    F d1, d3;
};

// GC: signs of joints 2, 4, 6. Both sets are built when `both` is set.
template <typename F>
void arm_angle_geometry(const zq_dh_block_t& dh, const F T[4][4], const F GC[3], bool both,
                        ArmAngleGeometry<F>* g);

// Rows of q_all at psi, offset-added angles: rows 0 to 3 from set 0, rows 4
// to 7 from set 1. `rows` is 1, 4 or 8.
template <typename F>
void arm_angle_rows(const ArmAngleGeometry<F>& g, const F GC[3], F psi, int rows, F q_all[8][7]);

// Arm angle of the configuration with joints 1 and 2 at q1, q2.
template <typename F>
F arm_angle_of(const ArmAngleGeometry<F>& g, F q1, F q2);

// The full sweep of the arm angle over both elbow sets: q_out gets the row of
// least cost sum (q - ref)^2 among the rows inside [lo, hi], the first in
// sweep order on a tie; false when no row is inside. psi_ref, the arm angle
// of the reference, only tells where to start.
bool arm_angle_sweep(const ArmAngleGeometry<float>& g, const float GC[3], const float ref[7],
                     const float lo[7], const float hi[7], float psi_ref, float q_out[7]);

}  // namespace zq
