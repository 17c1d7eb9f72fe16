// Internal matrix records of the kinematic core. All are plain values with a
// fixed capacity, passed and returned by value; nothing here allocates.
#pragma once

#include <cstdint>

#include "zq_api.h"

// Jacobians (6 by dof) and the block rotations that act on them.
struct zq_matrix7_t {
    int16_t rows;
    int16_t cols;
    float data[7][7];
};

// zq_Mat_t, the general matrix of the solvers (18 is the hard capacity), is
// public: see zq_ik_remote.h.

// The double-precision twin of zq_Mat_t.
struct zq_Mat_d_t {
    int32_t rows;
    int32_t cols;
    double data[18][18];
};

namespace zq {

constexpr int kMatCapacity = 18;

}  // namespace zq
