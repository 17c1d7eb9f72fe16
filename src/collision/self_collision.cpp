#include "collision/self_collision.h"

#include <cmath>
#include <cstring>

#include "collision/tool_envelope.h"
#include "kinematics/sys_data.h"
#include "kinematics/units.h"

namespace zq {

capsule_chain loaded_chain() {
    capsule_chain c;
    const zq_dh_block_t& dh = sys_data.dh;
    std::memcpy(c.d, dh.d, sizeof c.d);
    std::memcpy(c.a, dh.a, sizeof c.a);
    std::memcpy(c.alpha, dh.alpha, sizeof c.alpha);
    std::memcpy(c.offset, dh.offset, sizeof c.offset);
    const zq_matrix_t& install = sys_data.Tworld_base;
    for (int r = 0; r < 3; ++r)
        for (int k = 0; k < 4; ++k) c.install[r][k] = install.data[r][k];
    finish_chain(&c);
    return c;
}

float self_collision_clearance(const float* q) {
    if (!q) return -1.0f;
    for (int i = 0; i < 8; ++i)
        if (!std::isfinite(q[i])) return -1.0f;
    const capsule_family* f = capsule_family_of(get_model_code());
    if (!f) return 1.0f;
    zq_tool_sphere_t spheres[kEnvelopeSlots];
    const int nt = active_tool_spheres(spheres);
    const capsule_chain chain = loaded_chain();
    return capsule_clearance(*f, chain, q, spheres, nt);
}

}  // namespace zq

namespace {

// The loaded arm's joint count (0 to 8) and position limits, radians.
struct arm_limits {
    int dof;
    float max[8], min[8];
    arm_limits() {
        dof = zq::get_dof();
        if (dof < 0) dof = 0;
        if (dof > 8) dof = 8;
        zq::get_joint_max(max);
        zq::get_joint_min(min);
    }
    // Degrees to radians (float[8], zero past dof); false outside the limits.
    bool to_radians(const float* q_deg, float r[8]) const {
        zq::scale_joints(q_deg, dof, zq::kDegToRad, r);
        for (int i = 0; i < dof; ++i)
            if (!(r[i] >= min[i] && r[i] <= max[i])) return false;
        return true;
    }
};

bool finite(const float* q, long n) {
    for (long i = 0; i < n; ++i)
        if (!std::isfinite(q[i])) return false;
    return true;
}

}  // namespace

extern "C" int zq_algo_safety_robot_self_collision_detection(float* q) {
    if (!q) return 1;
    const arm_limits lim;
    float r[8];
    if (!finite(q, lim.dof) || !lim.to_radians(q, r)) return 1;
    return zq::self_collision_clearance(r) < zq::kContact ? 1 : 0;
}

extern "C" int zq_algo_self_collision_clearance(const float* q_deg, float* clearance) {
    if (!q_deg || !clearance) return -4;
    const arm_limits lim;
    if (!finite(q_deg, lim.dof)) return -4;
    float r[8];
    if (!lim.to_radians(q_deg, r)) return 1;
    *clearance = zq::self_collision_clearance(r);
    return 0;
}

extern "C" int zq_algo_self_collision_path(const float* q_deg, int count, int* first) {
    if (!first || count < 0 || (count > 0 && !q_deg)) return -4;
    const arm_limits lim;
    const int n = lim.dof;
    if (!finite(q_deg, static_cast<long>(count) * n)) return -4;
    *first = -1;
    const zq::capsule_family* f = zq::capsule_family_of(zq::get_model_code());
    zq_tool_sphere_t spheres[zq::kEnvelopeSlots];
    const int nt = zq::active_tool_spheres(spheres);
    const zq::capsule_chain chain = zq::loaded_chain();
    // Four configurations a round, one per lane; a configuration outside the
    // limits is answered without geometry, its lane filled with another one.
    for (int base = 0; base < count; base += 4) {
        zq::Lanes q[8];
        bool outside[4] = {};
        int fill = -1;
        float r[4][8];
        for (int l = 0; l < 4; ++l) {
            const int c = base + l < count ? base + l : count - 1;
            outside[l] = !lim.to_radians(q_deg + static_cast<long>(c) * n, r[l]);
            if (!outside[l] && fill < 0) fill = l;
        }
        if (fill < 0) {
            *first = base;
            return 0;
        }
        for (int k = 0; k < 8; ++k)
            for (int l = 0; l < 4; ++l) q[k][l] = r[outside[l] ? fill : l][k];
        const zq::Lanes c = f ? zq::capsule_clearance4(*f, chain, q, spheres, nt) : zq::splat(1.0f);
        for (int l = 0; l < 4 && base + l < count; ++l) {
            if (outside[l] || c[l] < zq::kContact) {
                *first = base + l;
                return 0;
            }
        }
    }
    return 0;
}
