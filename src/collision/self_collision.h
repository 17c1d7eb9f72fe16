// Self-collision of the arm and its tool: the capsules of a configuration
// and the walk over the pairs that its family tests.
#pragma once

#include "collision/capsule_models.h"
#include "collision/primitives.h"
#include "zq_collision.h"

namespace zq {

constexpr int kJointPoints = kMaxJointCapsules + kMaxToolSpheres;
constexpr int kLinkSegments = kMaxLinkCapsules + kMaxToolSpheres;

// The capsules of one configuration in the world: joint capsules followed by
// the tool spheres (their centres in joint_a), link capsules followed by the
// tool capsules, each list with its radii.
struct capsule_scene {
    point3 joint_a[kJointPoints];
    point3 joint_b[kJointPoints];
    float rj[kJointPoints];
    point3 link_a[kLinkSegments];
    point3 link_b[kLinkSegments];
    float rl[kLinkSegments];
    int nt;  // tool spheres
    int nk;  // tool capsules
};

// Places the capsules of family `f` for joints q (radians, float[8]) on the
// arm in the process-wide model, with `nt` tool spheres.
void build_capsules(const capsule_family& f, const float q[8], const zq_tool_sphere_t* spheres, int nt,
                    capsule_scene* scene);
// The smallest clearance (distance less the radii) over the family's pairs,
// at most 1.0; the walk stops at the first pair in contact.
float walk_pairs(const capsule_family& f, const capsule_scene& scene);

// One pair of the walk: two capsules (a tool sphere as a segment of no length).
struct capsule_pair {
    point3 a0, a1;
    float ra;
    point3 b0, b1;
    float rb;
};
// The pairs that walk_pairs tests for `scene`, in its order, without stopping
// at contact. Writes at most `capacity`; returns the count.
int list_pairs(const capsule_family& f, const capsule_scene& scene, capsule_pair* out, int capacity);

// Clearance of joints q (radians, float[8]) on the arm in the process-wide
// model with the current tool envelope: metres, negative in contact. 1.0 for
// an arm without a collision model; -1.0 for null or non-finite joints.
float self_collision_clearance(const float* q);

}  // namespace zq
