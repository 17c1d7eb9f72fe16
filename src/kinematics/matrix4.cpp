#include "kinematics/matrix4.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>

namespace zq {
namespace {

int clamp4(int n) { return n < 0 ? 0 : (n > 4 ? 4 : n); }

// Rows 0 to n - 1 of the product of two 4 by 4 records: the sums of
// matrix_mul, each over k in the same order, with a row's four sums side by
// side so that they run as vectors.
void mul4_rows(const zq_matrix_t& A, const zq_matrix_t& B, int n, zq_matrix_t& r) {
    for (int i = 0; i < n; ++i) {
        double s[4] = {0.0, 0.0, 0.0, 0.0};
        for (int k = 0; k < 4; ++k)
            for (int j = 0; j < 4; ++j) s[j] += static_cast<double>(A.data[i][k] * B.data[k][j]);
        for (int j = 0; j < 4; ++j) r.data[i][j] = static_cast<float>(s[j]);
    }
}

bool both_4x4(const zq_matrix_t& A, const zq_matrix_t& B) {
    return A.rows == 4 && A.cols == 4 && B.rows == 4 && B.cols == 4;
}

}  // namespace

zq_matrix_t matrix_mul(const zq_matrix_t& A, const zq_matrix_t& B) {
    zq_matrix_t r{};
    if (both_4x4(A, B)) {
        r.rows = r.cols = 4;
        mul4_rows(A, B, 4, r);
        return r;
    }
    const int rows = clamp4(A.rows), cols = clamp4(B.cols);
    const int inner = clamp4(A.cols < B.rows ? A.cols : B.rows);
    r.rows = static_cast<int16_t>(rows);
    r.cols = static_cast<int16_t>(cols);
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < cols; ++j) {
            double s = 0.0;
            for (int k = 0; k < inner; ++k) s += static_cast<double>(A.data[i][k] * B.data[k][j]);
            r.data[i][j] = static_cast<float>(s);
        }
    }
    return r;
}

zq_matrix_t matrix_mul_top(const zq_matrix_t& A, const zq_matrix_t& B) {
    if (!both_4x4(A, B)) return matrix_mul(A, B);
    zq_matrix_t r{};
    r.rows = r.cols = 4;
    mul4_rows(A, B, 3, r);
    return r;
}

zq_matrix_t rigid_mul(const zq_matrix_t& A, const zq_matrix_t& B) {
    zq_matrix_t r{};
    r.rows = r.cols = 4;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 4; ++j)
            r.data[i][j] = A.data[i][0] * B.data[0][j] + A.data[i][1] * B.data[1][j] + A.data[i][2] * B.data[2][j];
        r.data[i][3] += A.data[i][3];
    }
    r.data[3][3] = 1.0f;
    return r;
}

bool is_identity4(const zq_matrix_t& M) {
    // Bit patterns, compared all at once; a -0 fails the test, which only
    // sends the record down the general path.
    static constexpr float kEye[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    uint32_t m[16], e[16];
    std::memcpy(m, M.data, sizeof m);
    std::memcpy(e, kEye, sizeof e);
    uint32_t diff = 0;
    for (int i = 0; i < 16; ++i) diff |= m[i] ^ e[i];
    return M.rows == 4 && M.cols == 4 && diff == 0;
}

zq_matrix_t matrix_transpose(const zq_matrix_t& A) {
    zq_matrix_t r{};
    r.rows = A.cols;
    r.cols = A.rows;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) r.data[i][j] = A.data[j][i];
    return r;
}

zq_matrix_t matrix_eye(int n) {
    zq_matrix_t r{};
    n = clamp4(n);
    r.rows = r.cols = static_cast<int16_t>(n);
    for (int i = 0; i < n; ++i) r.data[i][i] = 1.0f;
    return r;
}

zq_matrix_t matrix_rotation(const zq_matrix_t& T) {
    zq_matrix_t r{};
    r.rows = r.cols = 3;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) r.data[i][j] = T.data[i][j];
    return r;
}

zq_matrix_t matrix_translation(const zq_matrix_t& T) {
    zq_matrix_t r{};
    r.rows = 3;
    r.cols = 1;
    for (int i = 0; i < 3; ++i) r.data[i][0] = T.data[i][3];
    return r;
}

zq_matrix_t matrix_cross(const zq_matrix_t& a, const zq_matrix_t& b) {
    zq_matrix_t r{};
    r.rows = 3;
    r.cols = 1;
    r.data[0][0] = a.data[1][0] * b.data[2][0] - a.data[2][0] * b.data[1][0];
    r.data[1][0] = a.data[2][0] * b.data[0][0] - a.data[0][0] * b.data[2][0];
    r.data[2][0] = a.data[0][0] * b.data[1][0] - a.data[1][0] * b.data[0][0];
    return r;
}

zq_matrix7_t matrix7_mul(const zq_matrix7_t* A, const zq_matrix7_t* B) {
    zq_matrix7_t r{};
    if (!A || !B) return r;
    const int n = A->rows, k = A->cols, m = B->cols;
    if (n < 1 || n > 7 || k < 1 || k > 7 || m < 1 || m > 7 || B->rows != k) return r;
    r.rows = static_cast<int16_t>(n);
    r.cols = static_cast<int16_t>(m);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < m; ++j) {
            double s = 0.0;
            for (int t = 0; t < k; ++t) s += static_cast<double>(A->data[i][t] * B->data[t][j]);
            r.data[i][j] = static_cast<float>(s);
        }
    }
    return r;
}

zq_matrix7_t matrix7_block_rotation(const zq_matrix_t& R) {
    zq_matrix7_t r{};
    r.rows = r.cols = 6;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            r.data[i][j] = R.data[i][j];
            r.data[i + 3][j + 3] = R.data[i][j];
        }
    }
    return r;
}

zq_matrix_t matrix_inverse(const zq_matrix_t& A) {
    zq_matrix_t m = A;
    const int n = clamp4(A.rows);
    int kme[4] = {0, 0, 0, 0};  // pivot rows
    int kmf[4] = {0, 0, 0, 0};  // pivot columns
    double b_tmp[4], c_tmp[4];
    for (int k = 0; k < n; ++k) {
        int ip = k, jp = k;
        float big = std::fabs(m.data[k][k]);
        for (int i = k; i < n; ++i) {
            for (int j = k; j < n; ++j) {
                if (std::fabs(m.data[i][j]) > big) {
                    big = std::fabs(m.data[i][j]);
                    ip = i;
                    jp = j;
                }
            }
        }
        kme[k] = ip;
        kmf[k] = jp;
        if (ip != k)
            for (int j = 0; j < n; ++j) std::swap(m.data[k][j], m.data[ip][j]);
        if (jp != k)
            for (int i = 0; i < n; ++i) std::swap(m.data[i][k], m.data[i][jp]);
        const double pivot = m.data[k][k];
        for (int j = 0; j < n; ++j) {
            if (j == k) {
                b_tmp[j] = 1.0 / pivot;
                c_tmp[j] = 1.0;
            } else {
                b_tmp[j] = -static_cast<double>(m.data[k][j]) / pivot;
                c_tmp[j] = m.data[j][k];
            }
        }
        for (int j = 0; j < n; ++j) {
            m.data[k][j] = 0.0f;
            m.data[j][k] = 0.0f;
        }
        for (int r = 0; r < n; ++r)
            for (int c = 0; c < n; ++c)
                m.data[r][c] = static_cast<float>(m.data[r][c] + c_tmp[r] * b_tmp[c]);
    }
    for (int k = n - 1; k >= 0; --k) {
        if (kme[k] != k)
            for (int i = 0; i < n; ++i) std::swap(m.data[i][k], m.data[i][kme[k]]);
        if (kmf[k] != k)
            for (int j = 0; j < n; ++j) std::swap(m.data[k][j], m.data[kmf[k]][j]);
    }
    return m;
}

zq_matrix_t matrix_inverse_cofactor(const zq_matrix_t& A) {
    const float* m = &A.data[0][0];
    float inv[16];
    inv[0] = m[5] * m[10] * m[15] - m[5] * m[11] * m[14] - m[9] * m[6] * m[15] + m[9] * m[7] * m[14] +
             m[13] * m[6] * m[11] - m[13] * m[7] * m[10];
    inv[4] = -m[4] * m[10] * m[15] + m[4] * m[11] * m[14] + m[8] * m[6] * m[15] - m[8] * m[7] * m[14] -
             m[12] * m[6] * m[11] + m[12] * m[7] * m[10];
    inv[8] = m[4] * m[9] * m[15] - m[4] * m[11] * m[13] - m[8] * m[5] * m[15] + m[8] * m[7] * m[13] +
             m[12] * m[5] * m[11] - m[12] * m[7] * m[9];
    inv[12] = -m[4] * m[9] * m[14] + m[4] * m[10] * m[13] + m[8] * m[5] * m[14] - m[8] * m[6] * m[13] -
              m[12] * m[5] * m[10] + m[12] * m[6] * m[9];
    inv[1] = -m[1] * m[10] * m[15] + m[1] * m[11] * m[14] + m[9] * m[2] * m[15] - m[9] * m[3] * m[14] -
             m[13] * m[2] * m[11] + m[13] * m[3] * m[10];
    inv[5] = m[0] * m[10] * m[15] - m[0] * m[11] * m[14] - m[8] * m[2] * m[15] + m[8] * m[3] * m[14] +
             m[12] * m[2] * m[11] - m[12] * m[3] * m[10];
    inv[9] = -m[0] * m[9] * m[15] + m[0] * m[11] * m[13] + m[8] * m[1] * m[15] - m[8] * m[3] * m[13] -
             m[12] * m[1] * m[11] + m[12] * m[3] * m[9];
    inv[13] = m[0] * m[9] * m[14] - m[0] * m[10] * m[13] - m[8] * m[1] * m[14] + m[8] * m[2] * m[13] +
              m[12] * m[1] * m[10] - m[12] * m[2] * m[9];
    inv[2] = m[1] * m[6] * m[15] - m[1] * m[7] * m[14] - m[5] * m[2] * m[15] + m[5] * m[3] * m[14] +
             m[13] * m[2] * m[7] - m[13] * m[3] * m[6];
    inv[6] = -m[0] * m[6] * m[15] + m[0] * m[7] * m[14] + m[4] * m[2] * m[15] - m[4] * m[3] * m[14] -
             m[12] * m[2] * m[7] + m[12] * m[3] * m[6];
    inv[10] = m[0] * m[5] * m[15] - m[0] * m[7] * m[13] - m[4] * m[1] * m[15] + m[4] * m[3] * m[13] +
              m[12] * m[1] * m[7] - m[12] * m[3] * m[5];
    inv[14] = -m[0] * m[5] * m[14] + m[0] * m[6] * m[13] + m[4] * m[1] * m[14] - m[4] * m[2] * m[13] -
              m[12] * m[1] * m[6] + m[12] * m[2] * m[5];
    inv[3] = -m[1] * m[6] * m[11] + m[1] * m[7] * m[10] + m[5] * m[2] * m[11] - m[5] * m[3] * m[10] -
             m[9] * m[2] * m[7] + m[9] * m[3] * m[6];
    inv[7] = m[0] * m[6] * m[11] - m[0] * m[7] * m[10] - m[4] * m[2] * m[11] + m[4] * m[3] * m[10] +
             m[8] * m[2] * m[7] - m[8] * m[3] * m[6];
    inv[11] = -m[0] * m[5] * m[11] + m[0] * m[7] * m[9] + m[4] * m[1] * m[11] - m[4] * m[3] * m[9] -
              m[8] * m[1] * m[7] + m[8] * m[3] * m[5];
    inv[15] = m[0] * m[5] * m[10] - m[0] * m[6] * m[9] - m[4] * m[1] * m[10] + m[4] * m[2] * m[9] +
              m[8] * m[1] * m[6] - m[8] * m[2] * m[5];
    const float det = m[0] * inv[0] + m[1] * inv[4] + m[2] * inv[8] + m[3] * inv[12];
    const float k = 1.0f / det;
    zq_matrix_t r{};
    r.rows = r.cols = 4;
    for (int i = 0; i < 16; ++i) (&r.data[0][0])[i] = inv[i] * k;
    return r;
}

}  // namespace zq
