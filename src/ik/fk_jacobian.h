// Forward kinematics and the end-effector-frame geometric Jacobian in one
// backward pass over the links, per link layout of the seven- and six-joint
// families. Angles have the joint offsets added.
#pragma once

#include "kinematics/sys_data.h"

namespace zq {

// Which DH entries a family reads; the others count as zero.
struct FkLayout {
    bool standard;  // standard DH form, else modified
    int joints;
    unsigned d_used;  // bit i: d[i]
    unsigned a_used;  // bit i: a[i]
};

constexpr FkLayout kFkZq52{true, 7, 0x55u, 0x00u};          // d[0], d[2], d[4], d[6]
constexpr FkLayout kFkJoint7Sweep{false, 7, 0x55u, 0x58u};  // and a[3], a[4], a[6]
constexpr FkLayout kFkZq41{false, 6, 0x28u, 0x04u};         // d[3], d[5], a[2]
constexpr FkLayout kFkVda{false, 6, 0x38u, 0x0Eu};          // d[3], d[4], d[5], a[1..3]
constexpr FkLayout kFkZql36{false, 6, 0x28u, 0x0Eu};        // d[3], d[5], a[1..3]

// T (4 by 4, row-major) of the last link in the base, J (6 by joints) in the
// frame of the last link: linear rows, then angular rows.
template <typename F>
void fk_jacobian(const FkLayout& L, const zq_dh_block_t& dh, const F q[8], F J[6][7], F T[4][4]);

}  // namespace zq
