// Arbitrary bytes as a realtime report datagram.
#include <cstdarg>
#include <cstddef>
#include <cstdint>

#include "session/realtime.h"
#include "zq_api.h"

namespace {

void quiet(const char*, va_list) {}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool once = [] {
        zq_set_log_call_back(quiet, 4);
        return true;
    }();
    (void)once;
    if (size > 2048) size = 2048;  // what the receive call cuts a datagram to
    zq_realtime_arm_joint_state_t report;
    zq::parse_realtime_report(reinterpret_cast<const char*>(data), static_cast<int>(size), &report);
    return 0;
}
