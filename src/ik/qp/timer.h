// Timing of the solver's spans on the platform's high-resolution counter.
#pragma once

#include <cstdint>

#include "platform/platform.h"

namespace zq {

struct QpTimer {
    uint64_t frequency;
    uint64_t start;
};

inline void qp_timer_start(QpTimer* t) {
    t->frequency = platform::counter_frequency();
    t->start = platform::counter_ticks();
}

// Seconds since qp_timer_start.
inline double qp_timer_seconds(const QpTimer& t) {
    return static_cast<double>(platform::counter_ticks() - t.start) / static_cast<double>(t.frequency);
}

}  // namespace zq
