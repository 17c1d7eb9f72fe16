// Operations on the small fixed records: zq_matrix_t (transforms, rotations,
// 3-vectors) and zq_matrix7_t (Jacobians and their block rotations).
#pragma once

#include "kinematics/kin_types.h"

namespace zq {

// Rows of A by columns of B; each product in float, each sum in double.
zq_matrix_t matrix_mul(const zq_matrix_t& A, const zq_matrix_t& B);
// matrix_mul with row 3 left zero when both are 4 by 4: rows 0 to 2 of a
// product depend on rows 0 to 2 of A only, so a chain of these gives the
// exact top rows, all that a pose reads.
zq_matrix_t matrix_mul_top(const zq_matrix_t& A, const zq_matrix_t& B);
// Product of two rigid 4 by 4 transforms (last rows 0, 0, 0, 1), in float.
zq_matrix_t rigid_mul(const zq_matrix_t& A, const zq_matrix_t& B);
// A 4 by 4 record that is the identity bit for bit (a -0 is not 0 here).
bool is_identity4(const zq_matrix_t& M);
zq_matrix_t matrix_transpose(const zq_matrix_t& A);
zq_matrix_t matrix_eye(int n);
zq_matrix_t matrix_rotation(const zq_matrix_t& T);     // 3 by 3 block
zq_matrix_t matrix_translation(const zq_matrix_t& T);  // column 3 as 3 by 1
zq_matrix_t matrix_cross(const zq_matrix_t& a, const zq_matrix_t& b);
// Product of two Jacobian-sized records. A null operand, a size outside 1 to 7
// or an inner mismatch gives an all-zero 0 by 0 record.
zq_matrix7_t matrix7_mul(const zq_matrix7_t* A, const zq_matrix7_t* B);
// diag(R, R) of the 3 by 3 block of R, as a 6 by 6 record.
zq_matrix7_t matrix7_block_rotation(const zq_matrix_t& R);

// Gauss-Jordan inverse with full pivoting (square, up to 4 by 4). A zero
// pivot yields infinities; there is no test for a singular matrix.
zq_matrix_t matrix_inverse(const zq_matrix_t& A);
// Closed-form 4 by 4 inverse: adjugate over determinant, no zero test.
zq_matrix_t matrix_inverse_cofactor(const zq_matrix_t& A);

}  // namespace zq
