// Four floats in one vector register. Lane by lane the operations are the
// same float arithmetic as on scalars, so code written on lanes gives the
// numbers of its scalar form, only sooner. GCC and Clang (clang-cl on
// Windows) provide the vector extension used here.
#pragma once

#if !defined(__GNUC__) && !defined(__clang__)
#error "the kinematics use the GCC/Clang vector extension: build with GCC, Clang or clang-cl"
#endif

#include <cstdint>

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace zq {

typedef float Lanes __attribute__((vector_size(16)));
typedef int32_t LaneMask __attribute__((vector_size(16)));

inline Lanes splat(float x) {
    return Lanes{x, x, x, x};
}

inline LaneMask splat_bits(int32_t x) {
    return LaneMask{x, x, x, x};
}

// Whether this processor runs the eight-lane code paths compiled for AVX2
// (asked once).
inline bool has_avx2_lanes() {
#if defined(__x86_64__) || defined(__i386__)
    static const bool avx2 = __builtin_cpu_supports("avx2");
    return avx2;
#else
    return false;
#endif
}

// Whether every lane of a comparison result is set.
inline bool all_lanes(LaneMask m) {
#if defined(__SSE__)
    return _mm_movemask_ps(reinterpret_cast<__m128>(m)) == 0xF;
#else
    return (m[0] & m[1] & m[2] & m[3]) != 0;
#endif
}

}  // namespace zq
