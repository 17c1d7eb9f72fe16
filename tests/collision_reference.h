// Distances between segments in double precision, clamped closest points:
// the reference the self-collision tests measure the library against.
#pragma once

#include <algorithm>
#include <cmath>

namespace collref {

struct P3 {
    double x, y, z;
};
inline P3 operator-(P3 a, P3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline P3 operator+(P3 a, P3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline P3 operator*(double k, P3 a) { return {k * a.x, k * a.y, k * a.z}; }
inline double dot(P3 a, P3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline double norm(P3 a) { return std::sqrt(dot(a, a)); }

// Closest points of two segments, clamped (a point is a segment of no length).
inline double segment_distance(P3 p1, P3 q1, P3 p2, P3 q2) {
    const P3 d1 = q1 - p1, d2 = q2 - p2, r = p1 - p2;
    const double a = dot(d1, d1), e = dot(d2, d2), f = dot(d2, r), c = dot(d1, r), b = dot(d1, d2);
    auto clamp = [](double v) { return std::min(1.0, std::max(0.0, v)); };
    double s = 0.0, t = 0.0;
    if (a <= 1e-18 && e <= 1e-18) {
    } else if (a <= 1e-18) {
        t = clamp(f / e);
    } else if (e <= 1e-18) {
        s = clamp(-c / a);
    } else {
        const double den = a * e - b * b;
        s = den > 1e-14 * a * e ? clamp((b * f - c * e) / den) : 0.0;
        t = (b * s + f) / e;
        if (t < 0.0) t = 0.0, s = clamp(-c / a);
        else if (t > 1.0) t = 1.0, s = clamp((b - c) / a);
    }
    return norm((p1 + s * d1) - (p2 + t * d2));
}

}  // namespace collref
