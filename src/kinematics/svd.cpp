#include "kinematics/svd.h"

#include <cmath>

namespace zq {

float pythag(float a, float b) {
    const float aa = std::fabs(a), ab = std::fabs(b);
    if (aa > ab) {
        const float r = ab / aa;
        return aa * std::sqrt(1.0f + r * r);
    }
    if (ab == 0.0f) return 0.0f;
    const float r = aa / ab;
    return ab * std::sqrt(1.0f + r * r);
}

float sign_transfer(float a, float b) { return b > 0.0f ? std::fabs(a) : -std::fabs(a); }

int svd_decompose(const zq_Mat_t& A, zq_Mat_t* U, zq_Mat_t* W, zq_Mat_t* V) {
    const int m = A.rows, n = A.cols;
    if (m < n) return -3;
    if (m >= 19 || n < 1 || !U || !W || !V) return -1;
    float rv1[kMatCapacity] = {};
    *U = A;
    *W = zq_Mat_t{};
    W->rows = n;
    W->cols = 1;
    *V = zq_Mat_t{};
    V->rows = V->cols = n;
    auto& a = U->data;
    auto& v = V->data;
    float w[kMatCapacity] = {};

    // Householder reduction to bidiagonal form.
    float g = 0.0f, scale = 0.0f, anorm = 0.0f;
    int l = 0;
    for (int i = 0; i < n; ++i) {
        l = i + 1;
        rv1[i] = scale * g;
        g = scale = 0.0f;
        float s = 0.0f;
        for (int k = i; k < m; ++k) scale += std::fabs(a[k][i]);
        if (scale != 0.0f) {
            for (int k = i; k < m; ++k) {
                a[k][i] /= scale;
                s += a[k][i] * a[k][i];
            }
            const float f = a[i][i];
            g = -sign_transfer(std::sqrt(s), f);
            const float h = f * g - s;
            a[i][i] = f - g;
            for (int j = l; j < n; ++j) {
                float t = 0.0f;
                for (int k = i; k < m; ++k) t += a[k][i] * a[k][j];
                const float ff = t / h;
                for (int k = i; k < m; ++k) a[k][j] += ff * a[k][i];
            }
            for (int k = i; k < m; ++k) a[k][i] *= scale;
        }
        w[i] = scale * g;
        g = s = scale = 0.0f;
        if (i != n - 1) {
            for (int k = l; k < n; ++k) scale += std::fabs(a[i][k]);
            if (scale != 0.0f) {
                for (int k = l; k < n; ++k) {
                    a[i][k] /= scale;
                    s += a[i][k] * a[i][k];
                }
                const float f = a[i][l];
                g = -sign_transfer(std::sqrt(s), f);
                const float h = f * g - s;
                a[i][l] = f - g;
                for (int k = l; k < n; ++k) rv1[k] = a[i][k] / h;
                for (int j = l; j < m; ++j) {
                    float t = 0.0f;
                    for (int k = l; k < n; ++k) t += a[j][k] * a[i][k];
                    for (int k = l; k < n; ++k) a[j][k] += t * rv1[k];
                }
                for (int k = l; k < n; ++k) a[i][k] *= scale;
            }
        }
        const float e = std::fabs(w[i]) + std::fabs(rv1[i]);
        if (e > anorm) anorm = e;
    }

    // Right-hand transformations.
    for (int i = n - 1; i >= 0; --i) {
        if (i < n - 1) {
            if (g != 0.0f) {
                for (int j = l; j < n; ++j) v[j][i] = (a[i][j] / a[i][l]) / g;
                for (int j = l; j < n; ++j) {
                    float t = 0.0f;
                    for (int k = l; k < n; ++k) t += a[i][k] * v[k][j];
                    for (int k = l; k < n; ++k) v[k][j] += t * v[k][i];
                }
            }
            for (int j = l; j < n; ++j) v[i][j] = v[j][i] = 0.0f;
        }
        v[i][i] = 1.0f;
        g = rv1[i];
        l = i;
    }

    // Left-hand transformations.
    for (int i = n - 1; i >= 0; --i) {
        l = i + 1;
        g = w[i];
        for (int j = l; j < n; ++j) a[i][j] = 0.0f;
        if (g != 0.0f) {
            g = 1.0f / g;
            for (int j = l; j < n; ++j) {
                float t = 0.0f;
                for (int k = l; k < m; ++k) t += a[k][i] * a[k][j];
                const float f = (t / a[i][i]) * g;
                for (int k = i; k < m; ++k) a[k][j] += f * a[k][i];
            }
            for (int j = i; j < m; ++j) a[j][i] *= g;
        } else {
            for (int j = i; j < m; ++j) a[j][i] = 0.0f;
        }
        a[i][i] += 1.0f;
    }

    // Diagonalisation of the bidiagonal form by implicit-shift QR.
    for (int k = n - 1; k >= 0; --k) {
        for (int its = 1; its <= 30; ++its) {
            bool split_rv1 = true;
            int nm = 0;
            for (l = k; l >= 0; --l) {
                nm = l - 1;
                if (l == 0 || std::fabs(rv1[l]) + anorm == anorm) {
                    split_rv1 = false;
                    break;
                }
                if (std::fabs(w[nm]) + anorm == anorm) break;
            }
            if (split_rv1) {
                float c = 0.0f, s = 1.0f;
                for (int i = l; i <= k; ++i) {
                    const float f = s * rv1[i];
                    rv1[i] = c * rv1[i];
                    if (std::fabs(f) + anorm == anorm) break;
                    g = w[i];
                    float h = pythag(f, g);
                    w[i] = h;
                    h = 1.0f / h;
                    c = g * h;
                    s = -f * h;
                    for (int j = 0; j < m; ++j) {
                        const float y = a[j][nm], z = a[j][i];
                        a[j][nm] = y * c + z * s;
                        a[j][i] = z * c - y * s;
                    }
                }
            }
            float z = w[k];
            if (l == k) {
                if (z < 0.0f) {
                    w[k] = -z;
                    for (int j = 0; j < n; ++j) v[j][k] = -v[j][k];
                }
                break;
            }
            if (its == 30) return -1;
            float x = w[l];
            nm = k - 1;
            float y = w[nm];
            g = rv1[nm];
            float h = rv1[k];
            float f = ((y - z) * (y + z) + (g - h) * (g + h)) / (2.0f * h * y);
            g = pythag(f, 1.0f);
            f = ((x - z) * (x + z) + h * ((y / (f + sign_transfer(g, f))) - h)) / x;
            float c = 1.0f, s = 1.0f;
            for (int j = l; j <= nm; ++j) {
                const int i = j + 1;
                g = rv1[i];
                y = w[i];
                h = s * g;
                g = c * g;
                z = pythag(f, h);
                rv1[j] = z;
                c = f / z;
                s = h / z;
                f = x * c + g * s;
                g = g * c - x * s;
                h = y * s;
                y *= c;
                for (int jj = 0; jj < n; ++jj) {
                    x = v[jj][j];
                    z = v[jj][i];
                    v[jj][j] = x * c + z * s;
                    v[jj][i] = z * c - x * s;
                }
                z = pythag(f, h);
                w[j] = z;
                if (z != 0.0f) {
                    z = 1.0f / z;
                    c = f * z;
                    s = h * z;
                }
                f = c * g + s * y;
                x = c * y - s * g;
                for (int jj = 0; jj < m; ++jj) {
                    y = a[jj][j];
                    z = a[jj][i];
                    a[jj][j] = y * c + z * s;
                    a[jj][i] = z * c - y * s;
                }
            }
            rv1[l] = 0.0f;
            rv1[k] = f;
            w[k] = x;
        }
    }
    for (int i = 0; i < n; ++i) W->data[i][0] = w[i];
    return 1;
}

}  // namespace zq
