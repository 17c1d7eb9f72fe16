#include "kinematics/array_ops.h"

#include <utility>

namespace zq {
namespace {

void transpose_square_in_place(float* a, int n) {
    for (int i = 0; i < n; ++i)
        for (int j = i + 1; j < n; ++j) std::swap(a[i * n + j], a[j * n + i]);
}

// In-place transpose of a non-square matrix by following the permutation
// cycles: the entry at k (0 < k < N-1) moves to k * rows mod (N-1). Each cycle
// is moved once, from its smallest index.
void transpose_cycles_in_place(float* a, int rows, int cols) {
    const long long n1 = static_cast<long long>(rows) * cols - 1;
    for (long long start = 1; start < n1; ++start) {
        long long k = (start * rows) % n1;
        while (k > start) k = (k * rows) % n1;
        if (k < start) continue;  // the cycle was moved from a smaller index
        float carried = a[start];
        k = start;
        do {
            const long long next = (k * rows) % n1;
            std::swap(carried, a[next]);
            k = next;
        } while (k != start);
    }
}

}  // namespace

void mul6_vec(const float M[36], const float v[6], float out[6]) {
    float r[6];
    for (int i = 0; i < 6; ++i) {
        float s = 0.0f;
        for (int j = 0; j < 6; ++j) s += M[6 * i + j] * v[j];
        r[i] = s;
    }
    for (int i = 0; i < 6; ++i) out[i] = r[i];
}

void transpose3(const float src[9], float dst[9]) { transpose(src, dst, 3, 3); }
void transpose6(const float src[36], float dst[36]) { transpose(src, dst, 6, 6); }

void transpose(const float* src, float* dst, int rows, int cols) {
    if (!src || !dst || rows <= 0 || cols <= 0) return;
    if (src == dst) {
        if (rows == cols)
            transpose_square_in_place(dst, rows);
        else
            transpose_cycles_in_place(dst, rows, cols);
        return;
    }
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j) dst[j * rows + i] = src[i * cols + j];
}

void mul(const float* A, const float* B, float* out, int n, int k, int m) {
    if (!A || !B || !out) return;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < m; ++j) {
            float s = 0.0f;
            for (int t = 0; t < k; ++t) s += A[i * k + t] * B[t * m + j];
            out[i * m + j] = s;
        }
}

void inverse_rigid4(const float T[16], float out[16]) {
    float r[16];
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) r[4 * i + j] = T[4 * j + i];
        r[4 * i + 3] = -(T[i] * T[3] + T[4 + i] * T[7] + T[8 + i] * T[11]);
    }
    r[12] = r[13] = r[14] = 0.0f;
    r[15] = 1.0f;
    for (int i = 0; i < 16; ++i) out[i] = r[i];
}

void cross3(const float a[3], const float b[3], float out[3]) {
    const float r0 = a[1] * b[2] - a[2] * b[1];
    const float r1 = a[2] * b[0] - a[0] * b[2];
    const float r2 = a[0] * b[1] - a[1] * b[0];
    out[0] = r0;
    out[1] = r1;
    out[2] = r2;
}

float sign(float x) { return x > 0.0f ? 1.0f : (x < 0.0f ? -1.0f : 0.0f); }

}  // namespace zq
