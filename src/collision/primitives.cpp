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
float dist2(const point3& a, const point3& b) { return dot(sub(a, b), sub(a, b)); }

// F lies between A and B: F - A and F - B point in opposite directions.
bool between(const point3& F, const point3& A, const point3& B) { return dot(sub(F, A), sub(F, B)) <= 0.0f; }

// A segment with its direction v = B - A and 1 / (v . v), 0 for no length.
struct segment {
    const point3& A;
    const point3& B;
    point3 v;
    float inv_vv;
    segment(const point3& a, const point3& b) : A(a), B(b), v(sub(b, a)) {
        const float vv = dot(v, v);
        inv_vv = vv > 0.0f ? 1.0f / vv : 0.0f;
    }
    // Foot of P on the line: A + k v with k = -(v . (A - P)) / (v . v).
    point3 foot(const point3& P) const { return along(A, v, -dot(v, sub(A, P)) * inv_vv); }
    // Squared distance of P: to the foot where it lies between A and B, else
    // to the nearer end.
    float squared_from(const point3& P) const {
        const point3 F = foot(P);
        if (between(F, A, B)) return dist2(P, F);
        const float da = dist2(P, A);
        const float db = dist2(P, B);
        return da < db ? da : db;
    }
};

// Square roots are monotonic: the smallest of several distances is the root
// of the smallest square.
float min4(float a, float b, float c, float d) {
    float m = kFar * kFar;
    if (a < m) m = a;
    if (b < m) m = b;
    if (c < m) m = c;
    if (d < m) m = d;
    return m;
}

}  // namespace

float dap(const point3& a, const point3& b) { return std::sqrt(dist2(a, b)); }

pedal p_pedal(const point3& P, const point3& A, const point3& B) {
    const point3 F = segment(A, B).foot(P);
    return {F.x, F.y, F.z, dap(P, F)};
}

float p2l(const point3& P, const point3& A, const point3& B) { return std::sqrt(segment(A, B).squared_from(P)); }

float d_paralle(const point3& A, const point3& B, const point3& C, const point3& D) {
    const segment ab(A, B), cd(C, D);
    // A segment of no length is its point.
    if (ab.inv_vv == 0.0f || cd.inv_vv == 0.0f) {
        if (ab.inv_vv == 0.0f && cd.inv_vv == 0.0f) return dap(A, C);
        return ab.inv_vv == 0.0f ? std::sqrt(cd.squared_from(A)) : std::sqrt(ab.squared_from(C));
    }
    // Direction cosines, compared with their sign: anti-parallel segments take
    // the general path.
    const float i1 = std::sqrt(ab.inv_vv), i2 = std::sqrt(cd.inv_vv);
    const bool parallel = std::fabs(ab.v.x * i1 - cd.v.x * i2) < kParallel &&
                          std::fabs(ab.v.y * i1 - cd.v.y * i2) < kParallel &&
                          std::fabs(ab.v.z * i1 - cd.v.z * i2) < kParallel;
    if (parallel) {
        float off = dap(A, cd.foot(A));
        if (std::fabs(off) < kCollinear) off = 0.0f;
        if (off == 0.0f) return std::sqrt(min4(dist2(A, C), dist2(A, D), dist2(B, C), dist2(B, D)));
    }
    float m2 = min4(cd.squared_from(A), cd.squared_from(B), ab.squared_from(C), ab.squared_from(D));
    if (parallel) return std::sqrt(m2);
    // Common perpendicular: pedal_l1 = A + s v1 on AB, pedal_l2 = C + t v2 on CD.
    const point3 n = cross(ab.v, cd.v);
    const float nn = dot(n, n);
    if (!(nn * ab.inv_vv * cd.inv_vv > kNearParallel)) return std::sqrt(m2);
    const point3 ac = sub(C, A);
    const float inn = 1.0f / nn;
    const point3 pedal_l1 = along(A, ab.v, dot(cross(ac, cd.v), n) * inn);
    const point3 pedal_l2 = along(C, cd.v, dot(cross(ac, ab.v), n) * inn);
    if (between(pedal_l1, A, B) && between(pedal_l2, C, D)) {
        const float d2 = dist2(pedal_l1, pedal_l2);
        if (d2 < m2) m2 = d2;
    }
    return std::sqrt(m2);
}

}  // namespace zq
