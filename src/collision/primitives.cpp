#include "collision/primitives.h"

#include <cmath>

namespace zq {
namespace {

constexpr float kFar = 1000.0f;
constexpr float kParallel = 1e-7f;
constexpr float kCollinear = 1e-9f;
// Below this squared sine of the angle between two lines their common
// perpendicular is not computed: the end points already give the distance.
constexpr float kNearParallel = 1e-12f;

point3 sub(const point3& a, const point3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
float dot(const point3& a, const point3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
point3 cross(const point3& a, const point3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
point3 along(const point3& a, const point3& v, float k) { return {a.x + k * v.x, a.y + k * v.y, a.z + k * v.z}; }

// F lies between A and B: F - A and F - B point in opposite directions.
bool between(const point3& F, const point3& A, const point3& B) { return dot(sub(F, A), sub(F, B)) <= 0.0f; }

float min4(float a, float b, float c, float d) {
    float m = kFar;
    if (a < m) m = a;
    if (b < m) m = b;
    if (c < m) m = c;
    if (d < m) m = d;
    return m;
}

}  // namespace

float dap(const point3& a, const point3& b) { return std::sqrt(dot(sub(a, b), sub(a, b))); }

pedal p_pedal(const point3& P, const point3& A, const point3& B) {
    const point3 v = sub(B, A);
    const float vv = dot(v, v);
    // The plane through P normal to v meets the line at A + k v.
    const float e = -dot(v, P);
    const float k = vv > 0.0f ? -(dot(v, A) + e) / vv : 0.0f;
    const point3 F = along(A, v, k);
    return {F.x, F.y, F.z, dap(P, F)};
}

float p2l(const point3& P, const point3& A, const point3& B) {
    float result = kFar;
    const pedal f = p_pedal(P, A, B);
    if (between({f.x, f.y, f.z}, A, B)) {
        result = f.dist;
    } else {
        const float da = dap(P, A);
        const float db = dap(P, B);
        result = da < db ? da : db;
    }
    return result;
}

float d_paralle(const point3& A, const point3& B, const point3& C, const point3& D) {
    float result = kFar;
    const point3 v1 = sub(B, A);
    const point3 v2 = sub(D, C);
    const float l1 = std::sqrt(dot(v1, v1));
    const float l2 = std::sqrt(dot(v2, v2));
    // A segment of no length is its point.
    if (!(l1 > 0.0f) || !(l2 > 0.0f)) {
        if (!(l1 > 0.0f) && !(l2 > 0.0f)) return dap(A, C);
        return l1 > 0.0f ? p2l(C, A, B) : p2l(A, C, D);
    }
    const point3 u{v1.x / l1, v1.y / l1, v1.z / l1};
    const point3 w{v2.x / l2, v2.y / l2, v2.z / l2};
    const bool parallel =
        std::fabs(u.x - w.x) < kParallel && std::fabs(u.y - w.y) < kParallel && std::fabs(u.z - w.z) < kParallel;
    if (parallel) {
        float off = p_pedal(A, C, D).dist;
        if (std::fabs(off) < kCollinear) off = 0.0f;
        if (off == 0.0f) return min4(dap(A, C), dap(A, D), dap(B, C), dap(B, D));
        return min4(p2l(A, C, D), p2l(B, C, D), p2l(C, A, B), p2l(D, A, B));
    }
    result = min4(p2l(A, C, D), p2l(B, C, D), p2l(C, A, B), p2l(D, A, B));
    // Common perpendicular: pedal_l1 = A + s v1 on AB, pedal_l2 = C + t v2 on CD.
    const point3 n = cross(v1, v2);
    const float nn = dot(n, n);
    if (!(nn > kNearParallel * l1 * l1 * l2 * l2)) return result;
    const point3 ac = sub(C, A);
    const float s = dot(cross(ac, v2), n) / nn;
    const float t = dot(cross(ac, v1), n) / nn;
    const point3 pedal_l1 = along(A, v1, s);
    const point3 pedal_l2 = along(C, v2, t);
    if (between(pedal_l1, A, B) && between(pedal_l2, C, D)) {
        const float d = dap(pedal_l1, pedal_l2);
        if (d < result) result = d;
    }
    return result;
}

}  // namespace zq
