// Closed forms of the flange transform for the common arm families. Each
// holds its family's twist pattern as fixed (the stored alpha is not read),
// reads only the lengths that the family has, and adds the joint offsets.
#pragma once

#include "kinematics/kin_types.h"
#include "kinematics/sys_data.h"

namespace zq {

// Shape of a result: 0 the 4 by 4 transform, 1 its 3 by 3 rotation, 2 its
// translation as 3 by 1.
enum FlangeKind { kFlangeTransform = 0, kFlangeRotation = 1, kFlangeTranslation = 2 };

// ZQ41 shape, over a[2], d[0], d[3], d[5].
zq_matrix_t T_1N_zq41(const zq_dh_block_t& dh, const float q[8], int kind);
// ZQ52 shape, standard form, over d[0], d[2], d[4], d[6].
zq_matrix_t T_1N_zq52(const zq_dh_block_t& dh, const float q[8], int kind);
// ZQL36 shape, over a[1], a[2], a[3], d[0], d[3], d[5].
zq_matrix_t T_1N_zql36(const zq_dh_block_t& dh, const float q[8], int kind);
// ZQL36 shape with a shoulder offset, over a[1], a[2], a[3], d[0], d[1], d[3], d[5].
zq_matrix_t T_1N_zql36_offset(const zq_dh_block_t& dh, const float q[8], int kind);
// VDA shape, over a[1], a[2], a[3], d[0], d[3], d[4], d[5].
zq_matrix_t T_1N_vda(const zq_dh_block_t& dh, const float q[8], int kind);
// HTR27 shape, over a[3], a[4], a[6], d[0], d[2], d[4], d[6].
zq_matrix_t T_1N_htr27(const zq_dh_block_t& dh, const float q[8], int kind);

// A transform in the shape that `kind` selects.
zq_matrix_t shape_of(const zq_matrix_t& T, int kind);

}  // namespace zq
