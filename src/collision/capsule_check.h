// The capsule check of one arm on a chain given in full: no process-wide
// state, so the library's own model and a simulated controller's arm use the
// same code. Capsules are placed in the world for a configuration, then the
// family's pairs are measured in the order of its walk; the walk ends at the
// first pair in contact, and the clearance is the smallest distance less the
// radii met so far, at most 1.0.
#pragma once

#include <cstdint>

#include "collision/capsule_models.h"
#include "collision/pair_lanes.h"
#include "collision/primitives.h"
#include "kinematics/lanes.h"
#include "zq_collision.h"

namespace zq {

constexpr int kJointPoints = kMaxJointCapsules + kMaxToolSpheres;
constexpr int kLinkSegments = kMaxLinkCapsules + kMaxToolSpheres;
// Readers of a clearance count a value below this as contact.
constexpr float kContact = 1e-5f;

// The chain the capsules hang from: DH rows (radians, metres) in the form of
// the family, and the installation transform (rotation and translation rows).
struct capsule_chain {
    float d[8], a[8], alpha[8], offset[8];
    float sin_alpha[8], cos_alpha[8];  // filled by finish_chain
    float install[3][4];
};
// Fills the sines and cosines of the twists; call after setting alpha.
void finish_chain(capsule_chain* chain);

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

// Places the capsules of family `f` for joints q (radians, float[8]) with
// `nt` tool spheres (at most five are used).
void build_capsules(const capsule_family& f, const capsule_chain& chain, const float q[8],
                    const zq_tool_sphere_t* spheres, int nt, capsule_scene* scene);
// The walk pair by pair on a built scene, with the scalar distances.
float walk_pairs(const capsule_family& f, const capsule_scene& scene);

// One pair of the walk: two capsules (a tool sphere as a segment of no length).
struct capsule_pair {
    point3 a0, a1;
    float ra;
    point3 b0, b1;
    float rb;
    bool strict;  // contact needs the radii to exceed the distance
};
// The pairs that walk_pairs tests for `scene`, in its order, without stopping
// at contact. Writes at most `capacity`; returns the count.
int list_pairs(const capsule_family& f, const capsule_scene& scene, capsule_pair* out, int capacity);

// The pairs of a walk as the check measures them: the pairs of two segments
// and those of a segment and a point (a tool sphere) apart, each kind in the
// order of the walk, its ends numbers in the list of the scene's points.
constexpr int kMaxPairs = 96;
constexpr int kPairSlots = kMaxPairs + kPairBlock;
constexpr int kScenePoints = 64;
struct scene_pairs {
    const float* xyz;  // the scene's points: x, y, z of each (one number to spare after the last)
    const pair_ends* segment;
    const pair_ends* point;
    int segments, points;
};
// The pairs of `scene` as capsule_clearance measures them, its points copied
// to xyz; r[slot] is the sum of the radii of the pair whose distance
// measure_pairs puts in d[slot].
void prepare_pairs(const capsule_family& f, const capsule_scene& scene, float xyz[3 * kScenePoints + 1],
                   scene_pairs* out, float r[2 * kPairSlots]);
// The distances of the pairs: segment pair i in d[i], point pair i in
// d[kPairSlots + i]. `width` as pair_distances takes it.
void measure_pairs(const scene_pairs& sp, float d[2 * kPairSlots], int width = 0);

// The clearance of joints q (radians, float[8]): the value of build_capsules
// and walk_pairs, bit for bit, with the pairs measured a lane group at a time.
float capsule_clearance(const capsule_family& f, const capsule_chain& chain, const float q[8],
                        const zq_tool_sphere_t* spheres, int nt);
// Four configurations at once, one per lane: q[k] holds joint k of each.
// Lane i of the result is capsule_clearance of configuration i, bit for bit.
Lanes capsule_clearance4(const capsule_family& f, const capsule_chain& chain, const Lanes q[8],
                         const zq_tool_sphere_t* spheres, int nt);

}  // namespace zq
