// Checks at the boundary of the command functions: numbers that cannot be
// put on the wire are refused before anything is sent.
#pragma once

#include <cmath>
#include <cstring>

namespace zq::check {

// True when `v` × `factor` is finite and fits a 32-bit wire integer.
inline bool wire_number(double v, double factor) {
    const double scaled = v * factor;
    return std::isfinite(scaled) && scaled > -2147483648.0 && scaled < 2147483648.0;
}

// Every one of `n` values fits the wire after scaling by `factor`.
inline bool wire_numbers(const float* v, int n, double factor) {
    for (int i = 0; i < n; ++i) {
        if (!wire_number(v[i], factor)) return false;
    }
    return true;
}

// A text of at most `n` characters, terminated, from a possibly unterminated field.
inline void copy_text(char* dst, const char* src, std::size_t n) {
    const std::size_t len = src ? strnlen(src, n) : 0;
    if (len) std::memcpy(dst, src, len);
    dst[len] = '\0';
}

}  // namespace zq::check
