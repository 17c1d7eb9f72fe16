// Numbers a caller hands to a command are checked before anything is sent:
// each must be finite and, scaled for the wire, fit a 32-bit integer. An
// array must be there. A command refuses anything else with -4.
#pragma once

#include <cmath>
#include <cstdint>

#include "zq_api.h"

namespace zq {

// False for NaN as well, which compares false with everything.
inline bool wire_fits(double scaled) { return scaled > -2147483649.0 && scaled < 2147483648.0; }
inline bool value_ok(float v, double factor) { return wire_fits(static_cast<double>(v) * factor); }
inline bool values_ok(const float* v, int n, double factor) {
    if (!v) return false;
    for (int i = 0; i < n; ++i) {
        if (!value_ok(v[i], factor)) return false;
    }
    return true;
}
// Joint angles in degrees, sent in thousandths.
inline bool joints_ok(const float* joint, int dof) { return values_ok(joint, dof, 1000.0); }
// The position (micrometres on the wire) and Euler angles (milliradians) of a pose.
inline bool pose_ok(const zq_pose_t& p) {
    return value_ok(p.position.x, 1e6) && value_ok(p.position.y, 1e6) && value_ok(p.position.z, 1e6) &&
           value_ok(p.euler.rx, 1e3) && value_ok(p.euler.ry, 1e3) && value_ok(p.euler.rz, 1e3);
}

// Checks and scales in one step: `v` × `factor` in single precision, truncated toward zero, when finite and
// inside the 32-bit range of the wire; false otherwise.
inline bool wire_scaled(float v, float factor, int32_t* out) {
    const float s = v * factor;
    if (!std::isfinite(s) || s >= 2147483648.0f || s < -2147483648.0f) return false;
    *out = static_cast<int32_t>(s);
    return true;
}

// Logs the refusal of a command's input and returns -4.
int refuse_input(const char* fn);

}  // namespace zq
