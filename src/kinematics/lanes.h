// Four floats in one vector register. Lane by lane the operations are the
// same float arithmetic as on scalars, so code written on lanes gives the
// numbers of its scalar form, only sooner. GCC and Clang (clang-cl on
// Windows) provide the vector extension used here.
#pragma once

#if !defined(__GNUC__) && !defined(__clang__)
#error "the kinematics use the GCC/Clang vector extension: build with GCC, Clang or clang-cl"
#endif

#include <cstdint>

namespace zq {

typedef float Lanes __attribute__((vector_size(16)));
typedef int32_t LaneMask __attribute__((vector_size(16)));

inline Lanes splat(float x) {
    return Lanes{x, x, x, x};
}

inline LaneMask splat_bits(int32_t x) {
    return LaneMask{x, x, x, x};
}

}  // namespace zq
