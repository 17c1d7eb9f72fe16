#include "kinematics/mat.h"

#include <cmath>
#include <type_traits>
#include <utility>

namespace zq {
namespace {

int clampn(int n) { return n < 0 ? 0 : (n > kMatCapacity ? kMatCapacity : n); }

template <class M>
M empty() {
    M r{};
    return r;
}

template <class M>
M zeros(int rows, int cols) {
    M r{};
    r.rows = clampn(rows);
    r.cols = clampn(cols);
    return r;
}

template <class M>
M eye(int rows, int cols) {
    M r = zeros<M>(rows, cols);
    const int n = r.rows < r.cols ? r.rows : r.cols;
    for (int i = 0; i < n; ++i) r.data[i][i] = 1;
    return r;
}

template <class M>
M mul(const M& A, const M& B) {
    if (A.cols != B.rows) return empty<M>();
    M r = zeros<M>(A.rows, B.cols);
    const int inner = clampn(A.cols);
    for (int i = 0; i < r.rows; ++i) {
        for (int j = 0; j < r.cols; ++j) {
            auto s = A.data[0][0] * 0;
            for (int k = 0; k < inner; ++k) s += A.data[i][k] * B.data[k][j];
            r.data[i][j] = s;
        }
    }
    return r;
}

template <class M>
M transpose(const M& A) {
    M r = zeros<M>(A.cols, A.rows);
    for (int i = 0; i < r.rows; ++i)
        for (int j = 0; j < r.cols; ++j) r.data[i][j] = A.data[j][i];
    return r;
}

template <class M, class Op>
M entrywise(const M& A, const M& B, Op op) {
    if (A.rows != B.rows || A.cols != B.cols) return empty<M>();
    M r = zeros<M>(A.rows, A.cols);
    for (int i = 0; i < r.rows; ++i)
        for (int j = 0; j < r.cols; ++j) r.data[i][j] = op(A.data[i][j], B.data[i][j]);
    return r;
}

template <class M, class T>
M scale_all(T k, const M& A) {
    M r = zeros<M>(A.rows, A.cols);
    for (int i = 0; i < r.rows; ++i)
        for (int j = 0; j < r.cols; ++j) r.data[i][j] = k * A.data[i][j];
    return r;
}

template <class M>
auto norm(const M& v) {
    const int n = clampn(v.rows > v.cols ? v.rows : v.cols);
    auto s = v.data[0][0] * 0;
    for (int i = 0; i < n; ++i) s += v.data[i][0] * v.data[i][0];
    return std::sqrt(s);
}

template <class M>
M column_sub(const M& a, const M& b) {
    M r = zeros<M>(a.rows, 1);
    for (int i = 0; i < r.rows; ++i) r.data[i][0] = a.data[i][0] - b.data[i][0];
    return r;
}

template <class M, class T>
M column_scale(T k, const M& v) {
    M r = zeros<M>(v.rows, 1);
    for (int i = 0; i < r.rows; ++i) r.data[i][0] = k * v.data[i][0];
    return r;
}

template <class M, class T>
M column_add(const M& v, T k) {
    M r = zeros<M>(v.rows, 1);
    for (int i = 0; i < r.rows; ++i) r.data[i][0] = v.data[i][0] + k;
    return r;
}

template <class M>
M diag(const M& A) {
    const int rows = clampn(A.rows), cols = clampn(A.cols);
    if (rows * cols <= 1) return empty<M>();
    if (rows == 1 || cols == 1) {
        const int n = rows == 1 ? cols : rows;
        M r = zeros<M>(n, n);
        for (int i = 0; i < n; ++i) r.data[i][i] = rows == 1 ? A.data[0][i] : A.data[i][0];
        return r;
    }
    const int n = rows < cols ? rows : cols;
    M r = zeros<M>(n, 1);
    for (int i = 0; i < n; ++i) r.data[i][0] = A.data[i][i];
    return r;
}

template <class M>
auto trace(const M& A) {
    const int n = clampn(A.rows < A.cols ? A.rows : A.cols);
    auto s = A.data[0][0] * 0;
    for (int i = 0; i < n; ++i) s += A.data[i][i];
    return s;
}

template <class M>
M block(const M& T, int rows, int cols, int col0) {
    M r = zeros<M>(rows, cols);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j) r.data[i][j] = T.data[i][col0 + j];
    return r;
}

// Gauss-Jordan exchange steps with full pivoting, work columns in the
// record's own precision.
template <class M>
int inverse(const M& A, M* out) {
    if (!out) return -1;
    if (A.rows != A.cols) return 0;
    using T = std::remove_reference_t<decltype(A.data[0][0])>;
    using V = std::remove_const_t<T>;
    M m = A;
    const int n = clampn(A.rows);
    int kme[kMatCapacity], kmf[kMatCapacity];
    V b_tmp[kMatCapacity], c_tmp[kMatCapacity];
    for (int k = 0; k < n; ++k) {
        int ip = k, jp = k;
        V big = std::fabs(m.data[k][k]);
        for (int i = k; i < n; ++i)
            for (int j = k; j < n; ++j)
                if (std::fabs(m.data[i][j]) > big) {
                    big = std::fabs(m.data[i][j]);
                    ip = i;
                    jp = j;
                }
        kme[k] = ip;
        kmf[k] = jp;
        if (ip != k)
            for (int j = 0; j < n; ++j) std::swap(m.data[k][j], m.data[ip][j]);
        if (jp != k)
            for (int i = 0; i < n; ++i) std::swap(m.data[i][k], m.data[i][jp]);
        const V pivot = m.data[k][k];
        for (int j = 0; j < n; ++j) {
            if (j == k) {
                b_tmp[j] = 1 / pivot;
                c_tmp[j] = 1;
            } else {
                b_tmp[j] = -m.data[k][j] / pivot;
                c_tmp[j] = m.data[j][k];
            }
            if (!std::isfinite(b_tmp[j]) || !std::isfinite(c_tmp[j])) return -1;
        }
        for (int j = 0; j < n; ++j) {
            m.data[k][j] = 0;
            m.data[j][k] = 0;
        }
        for (int r = 0; r < n; ++r)
            for (int c = 0; c < n; ++c) m.data[r][c] += c_tmp[r] * b_tmp[c];
    }
    for (int k = n - 1; k >= 0; --k) {
        if (kme[k] != k)
            for (int i = 0; i < n; ++i) std::swap(m.data[i][k], m.data[i][kme[k]]);
        if (kmf[k] != k)
            for (int j = 0; j < n; ++j) std::swap(m.data[k][j], m.data[kmf[k]][j]);
    }
    *out = m;
    return 1;
}

}  // namespace

zq_Mat_t mat_zeros(int rows, int cols) { return zeros<zq_Mat_t>(rows, cols); }
zq_Mat_t mat_eye(int rows, int cols) { return eye<zq_Mat_t>(rows, cols); }
zq_Mat_t vec_zeros(int n) { return zeros<zq_Mat_t>(n, 1); }
zq_Mat_d_t mat_zeros_d(int rows, int cols) { return zeros<zq_Mat_d_t>(rows, cols); }
zq_Mat_d_t mat_eye_d(int rows, int cols) { return eye<zq_Mat_d_t>(rows, cols); }
zq_Mat_d_t vec_zeros_d(int n) { return zeros<zq_Mat_d_t>(n, 1); }

zq_Mat_t mat_mul(const zq_Mat_t& A, const zq_Mat_t& B) { return mul(A, B); }
zq_Mat_t mat_transpose(const zq_Mat_t& A) { return transpose(A); }
zq_Mat_t mat_add(const zq_Mat_t& A, const zq_Mat_t& B) {
    return entrywise(A, B, [](float x, float y) { return x + y; });
}
zq_Mat_t mat_sub(const zq_Mat_t& A, const zq_Mat_t& B) {
    return entrywise(A, B, [](float x, float y) { return x - y; });
}
zq_Mat_t mat_scale(float k, const zq_Mat_t& A) { return scale_all(k, A); }
float vec_norm(const zq_Mat_t& v) { return norm(v); }
zq_Mat_t vec_sub(const zq_Mat_t& a, const zq_Mat_t& b) { return column_sub(a, b); }
zq_Mat_t vec_scale(float k, const zq_Mat_t& v) { return column_scale(k, v); }
zq_Mat_t vec_add_scalar(const zq_Mat_t& v, float k) { return column_add(v, k); }
int vec_is_zero(const zq_Mat_t& v) { return vec_norm(v) < 1e-16f ? 1 : 0; }
zq_Mat_t mat_diag(const zq_Mat_t& A) { return diag(A); }
float mat_trace(const zq_Mat_t& A) { return trace(A); }
zq_Mat_t mat_rotation(const zq_Mat_t& T) { return block(T, 3, 3, 0); }
zq_Mat_t mat_translation(const zq_Mat_t& T) { return block(T, 3, 1, 3); }
int mat_inverse(const zq_Mat_t& A, zq_Mat_t* out) { return inverse(A, out); }

zq_Mat_t mat_from_matrix(const zq_matrix_t& T) {
    zq_Mat_t r = mat_zeros(T.rows > 4 ? 4 : T.rows, T.cols > 4 ? 4 : T.cols);
    for (int i = 0; i < r.rows; ++i)
        for (int j = 0; j < r.cols; ++j) r.data[i][j] = T.data[i][j];
    return r;
}

zq_Mat_t mat_from_matrix7(const zq_matrix7_t& J) {
    zq_Mat_t r = mat_zeros(J.rows > 7 ? 7 : J.rows, J.cols > 7 ? 7 : J.cols);
    for (int i = 0; i < r.rows; ++i)
        for (int j = 0; j < r.cols; ++j) r.data[i][j] = J.data[i][j];
    return r;
}

zq_Mat_d_t mat_mul(const zq_Mat_d_t& A, const zq_Mat_d_t& B) { return mul(A, B); }
zq_Mat_d_t mat_transpose(const zq_Mat_d_t& A) { return transpose(A); }
zq_Mat_d_t mat_add(const zq_Mat_d_t& A, const zq_Mat_d_t& B) {
    return entrywise(A, B, [](double x, double y) { return x + y; });
}
zq_Mat_d_t mat_sub(const zq_Mat_d_t& A, const zq_Mat_d_t& B) {
    return entrywise(A, B, [](double x, double y) { return x - y; });
}
zq_Mat_d_t mat_scale(double k, const zq_Mat_d_t& A) { return scale_all(k, A); }
double vec_norm(const zq_Mat_d_t& v) { return norm(v); }
zq_Mat_d_t vec_sub(const zq_Mat_d_t& a, const zq_Mat_d_t& b) { return column_sub(a, b); }
zq_Mat_d_t vec_scale(double k, const zq_Mat_d_t& v) { return column_scale(k, v); }
zq_Mat_d_t vec_add_scalar(const zq_Mat_d_t& v, double k) { return column_add(v, k); }
int vec_is_zero(const zq_Mat_d_t& v) { return vec_norm(v) < 1e-16 ? 1 : 0; }
zq_Mat_d_t mat_diag(const zq_Mat_d_t& A) { return diag(A); }
double mat_trace(const zq_Mat_d_t& A) { return trace(A); }
zq_Mat_d_t mat_rotation(const zq_Mat_d_t& T) { return block(T, 3, 3, 0); }
zq_Mat_d_t mat_translation(const zq_Mat_d_t& T) { return block(T, 3, 1, 3); }
int mat_inverse(const zq_Mat_d_t& A, zq_Mat_d_t* out) { return inverse(A, out); }

}  // namespace zq
