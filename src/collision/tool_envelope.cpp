#include "collision/tool_envelope.h"

#include <cmath>

namespace {

zq_tool_sphere_t tool_envelope[zq::kEnvelopeSlots];

bool in_range(int index) { return index >= 0 && index < zq::kEnvelopeSlots; }

}  // namespace

namespace zq {

int active_tool_spheres(zq_tool_sphere_t out[kEnvelopeSlots]) {
    int count = 0;
    for (const zq_tool_sphere_t& s : tool_envelope)
        if (std::fabs(s.radius) > 1e-6f) out[count++] = s;
    return count;
}

}  // namespace zq

extern "C" void zq_algo_set_tool_envelope(int index, zq_tool_sphere_t sphere) {
    if (!in_range(index)) return;
    if (!std::isfinite(sphere.radius) || sphere.radius < 0.0f) return;
    for (float c : sphere.centre)
        if (!std::isfinite(c)) return;
    tool_envelope[index] = sphere;
}

extern "C" void zq_algo_get_tool_envelope(int index, zq_tool_sphere_t* sphere) {
    if (!sphere || !in_range(index)) return;
    *sphere = tool_envelope[index];
}
