// Helpers on bare row-major float arrays for the solvers' hot paths.
#pragma once

namespace zq {

void mul6_vec(const float M[36], const float v[6], float out[6]);  // out = M v
void transpose3(const float src[9], float dst[9]);   // src may equal dst
void transpose6(const float src[36], float dst[36]);  // src may equal dst
// General rows by cols transpose into dst (cols by rows). src may equal dst,
// also when the matrix is not square. Null pointers or non-positive sizes do
// nothing.
void transpose(const float* src, float* dst, int rows, int cols);
// out (n by m) = A (n by k) B (k by m); out must not alias A or B.
void mul(const float* A, const float* B, float* out, int n, int k, int m);
// Inverse of a rigid 4 by 4 transform: R^T and -R^T p.
void inverse_rigid4(const float T[16], float out[16]);
void cross3(const float a[3], const float b[3], float out[3]);
float sign(float x);

}  // namespace zq
