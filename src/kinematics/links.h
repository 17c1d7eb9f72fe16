// Link transforms of a DH chain in its two forms.
#pragma once

#include "kinematics/kin_types.h"
#include "kinematics/sys_data.h"

namespace zq {

// Sine and cosine of a link twist, snapped to exact values at 0, +-pi/2, +-pi.
void twist_sin_cos(float alpha, float* s, float* c);

// Standard form of joint i: Rz(theta) Tz(d) Tx(a) Rx(alpha).
zq_matrix_t link_transform_standard(int i, const zq_dh_block_t& dh, const float theta[8]);
// Modified form of joint i: Rx(alpha) Tx(a) Rz(theta) Tz(d).
zq_matrix_t link_transform_modified(int i, const zq_dh_block_t& dh, const float theta[8]);
// The form that the model of `code` uses.
zq_matrix_t link_transform(int code, int i, const zq_dh_block_t& dh, const float theta[8]);

// The same two matrices from four numbers, with no snapping of alpha.
zq_matrix_t T_STD(float theta, float d, float a, float alpha);
zq_matrix_t T_MDF(float theta, float d, float a, float alpha);

}  // namespace zq
