// Checks at the boundary of the command families: texts that must fit their
// fields, dotted IPv4 addresses. Numbers are checked in session/wire_input.h.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

namespace zq {

// Copies at most `cap` - 1 characters of `src` and a terminator.
inline void copy_text(char* dst, std::size_t cap, const char* src) {
    if (!dst || cap == 0) return;
    const std::size_t len = src ? strnlen(src, cap - 1) : 0;
    if (len) std::memcpy(dst, src, len);
    dst[len] = '\0';
}

// Four decimal parts of 0 to 255 joined by dots, at most 15 characters.
inline bool dotted_ipv4(const char* text) {
    if (!text || strnlen(text, 16) > 15) return false;
    int parts = 0;
    const char* p = text;
    while (true) {
        int digits = 0, value = 0;
        while (*p >= '0' && *p <= '9') {
            value = value * 10 + (*p - '0');
            if (++digits > 3) return false;
            ++p;
        }
        if (digits == 0 || value > 255) return false;
        ++parts;
        if (*p == '\0') return parts == 4;
        if (*p != '.' || parts == 4) return false;
        ++p;
    }
}

}  // namespace zq
