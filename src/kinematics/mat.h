// The general matrix records zq_Mat_t (float) and zq_Mat_d_t (double): value
// operations for the solvers. Sizes are clamped to the 18 by 18 capacity.
// Every double operation does what its float namesake does, entry for entry.
#pragma once

#include "kinematics/kin_types.h"

namespace zq {

zq_Mat_t mat_zeros(int rows, int cols);
zq_Mat_t mat_eye(int rows, int cols);
zq_Mat_t vec_zeros(int n);
zq_Mat_d_t mat_zeros_d(int rows, int cols);
zq_Mat_d_t mat_eye_d(int rows, int cols);
zq_Mat_d_t vec_zeros_d(int n);

// A.cols != B.rows gives a 0 by 0 result.
zq_Mat_t mat_mul(const zq_Mat_t& A, const zq_Mat_t& B);
zq_Mat_t mat_transpose(const zq_Mat_t& A);
// A size mismatch gives a 0 by 0 result.
zq_Mat_t mat_add(const zq_Mat_t& A, const zq_Mat_t& B);
zq_Mat_t mat_sub(const zq_Mat_t& A, const zq_Mat_t& B);
zq_Mat_t mat_scale(float k, const zq_Mat_t& A);
// Norm of the first column over max(rows, cols) entries.
float vec_norm(const zq_Mat_t& v);
zq_Mat_t vec_sub(const zq_Mat_t& a, const zq_Mat_t& b);
zq_Mat_t vec_scale(float k, const zq_Mat_t& v);
zq_Mat_t vec_add_scalar(const zq_Mat_t& v, float k);
int vec_is_zero(const zq_Mat_t& v);
// Vector: the square diagonal matrix; matrix: the column of its diagonal;
// empty or single entry: 0 by 0.
zq_Mat_t mat_diag(const zq_Mat_t& A);
float mat_trace(const zq_Mat_t& A);
zq_Mat_t mat_rotation(const zq_Mat_t& T);     // 3 by 3 block
zq_Mat_t mat_translation(const zq_Mat_t& T);  // column 3 of rows 0 to 2
zq_Mat_t mat_from_matrix(const zq_matrix_t& T);
zq_Mat_t mat_from_matrix7(const zq_matrix7_t& J);
// Gauss-Jordan with full pivoting into *out: 1 on success, 0 if A is not
// square, -1 as soon as a work entry is infinite or not a number.
int mat_inverse(const zq_Mat_t& A, zq_Mat_t* out);

zq_Mat_d_t mat_mul(const zq_Mat_d_t& A, const zq_Mat_d_t& B);
zq_Mat_d_t mat_transpose(const zq_Mat_d_t& A);
zq_Mat_d_t mat_add(const zq_Mat_d_t& A, const zq_Mat_d_t& B);
zq_Mat_d_t mat_sub(const zq_Mat_d_t& A, const zq_Mat_d_t& B);
zq_Mat_d_t mat_scale(double k, const zq_Mat_d_t& A);
double vec_norm(const zq_Mat_d_t& v);
zq_Mat_d_t vec_sub(const zq_Mat_d_t& a, const zq_Mat_d_t& b);
zq_Mat_d_t vec_scale(double k, const zq_Mat_d_t& v);
zq_Mat_d_t vec_add_scalar(const zq_Mat_d_t& v, double k);
int vec_is_zero(const zq_Mat_d_t& v);
zq_Mat_d_t mat_diag(const zq_Mat_d_t& A);
double mat_trace(const zq_Mat_d_t& A);
zq_Mat_d_t mat_rotation(const zq_Mat_d_t& T);
zq_Mat_d_t mat_translation(const zq_Mat_d_t& T);
int mat_inverse(const zq_Mat_d_t& A, zq_Mat_d_t* out);

}  // namespace zq
