// UDP ports for the realtime report tests.
#pragma once

#include <array>

#include "loopback.h"

namespace zqtest {

// Two UDP ports, free when first asked for, that every realtime report test of the process
// shares: the library listens on at most five ports for the whole process.
inline int report_test_port(int which) {
    static const std::array<int, 2> ports = [] {
        looptest::UdpSocket first, second;  // both bound at once, so they differ
        return std::array<int, 2>{first.port(), second.port()};
    }();
    return ports[which == 0 ? 0 : 1];
}

}  // namespace zqtest
