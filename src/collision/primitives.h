// Distances between points and segments in single precision: the building
// blocks of the capsule tests. Cases are told apart by feet of perpendiculars.
#pragma once

namespace zq {

struct point3 {
    float x, y, z;
};

// A foot of a perpendicular and the distance of the point from it.
struct pedal {
    float x, y, z;
    float dist;
};

// Distance between two points.
float dap(const point3& a, const point3& b);
// Foot of P on the line through A and B; A = B gives the foot A.
pedal p_pedal(const point3& P, const point3& A, const point3& B);
// Distance from P to the segment AB.
float p2l(const point3& P, const point3& A, const point3& B);
// Distance between the segments AB and CD. Parallel segments of one line
// give the nearest pair of end points, even where the segments overlap.
float d_paralle(const point3& A, const point3& B, const point3& C, const point3& D);

}  // namespace zq
