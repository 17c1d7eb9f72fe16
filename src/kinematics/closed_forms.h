// Closed forms of the flange transform for the common arm families. Each
// holds its family's twist pattern as fixed (the stored alpha is not read),
// reads only the lengths that the family has, and adds the joint offsets.
#pragma once

#include "kinematics/kin_types.h"
#include "kinematics/lanes.h"
#include "kinematics/sys_data.h"

namespace zq {

// Shape of a result: 0 the 4 by 4 transform, 1 its 3 by 3 rotation, 2 its
// translation as 3 by 1.
enum FlangeKind { kFlangeTransform = 0, kFlangeRotation = 1, kFlangeTranslation = 2 };

// The flange in the base by the closed form of internal model `code`, as
// columns: c[0] to c[2] the rotation columns, c[3] the translation, lane 3
// unused. False, with c untouched, for a model without a closed form.
bool closed_form_columns(int code, const zq_dh_block_t& dh, const float q[8], Lanes c[4]);

// The 4 by 4 transform of such columns.
zq_matrix_t matrix_of_columns(const Lanes c[4]);

// A transform in the shape that `kind` selects.
zq_matrix_t shape_of(const zq_matrix_t& T, int kind);

}  // namespace zq
