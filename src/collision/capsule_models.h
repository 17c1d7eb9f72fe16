// Capsule models of the arm families: where each joint and link capsule hangs,
// its radius, and which pairs the walk tests. One data row per family.
#pragma once

#include <cstdint>

namespace zq {

// One coordinate of a capsule end point: c + k x d[idx] or c + k x a[idx] of
// the arm in use, or the constant c alone.
struct dh_coord {
    enum source : int8_t { none, d, a };
    float c;
    source src;
    int8_t idx;
    float k;
    constexpr dh_coord() : dh_coord(0.0f) {}
    constexpr dh_coord(float v) : c(v), src(none), idx(0), k(0.0f) {}  // NOLINT: a plain number reads as itself
    constexpr dh_coord(float v, source s, int i, float f) : c(v), src(s), idx(static_cast<int8_t>(i)), k(f) {}
};

// d[i] + c, a[i] + c, c - d[i], 2 a[i].
constexpr dh_coord d_plus(int i, float c = 0.0f) { return {c, dh_coord::d, i, 1.0f}; }
constexpr dh_coord a_plus(int i, float c = 0.0f) { return {c, dh_coord::a, i, 1.0f}; }
constexpr dh_coord c_minus_d(float c, int i) { return {c, dh_coord::d, i, -1.0f}; }
constexpr dh_coord two_a(int i) { return {0.0f, dh_coord::a, i, 2.0f}; }

struct capsule_point {
    dh_coord x, y, z;
};

constexpr int kBaseFrame = -1;  // the installation transform

// A segment between two points given in the frame of chain transform `frame`
// (the chain after joint frame + 1), or of the base.
struct capsule_def {
    int frame = 0;
    capsule_point f, z;
};

// Which pairs a family tests. Joint capsules are j, link capsules l, tool
// spheres the points after the joint capsules, tool capsules the segments
// after the link capsules.
struct walk_rules {
    int sphere_rows;       // joint capsules i < sphere_rows meet the tool spheres
    int link_rows;         // links a < link_rows meet joints b (b != a, a - 1)
    int link_sphere_rows;  // links a < this meet the tool points
    int tool_cap_rows;     // links a < this meet the tool capsules
    int link_link_last;    // link a meets links a + 2 to this one (-1: none)
    int tool_point_first;  // first entry of the joint points that the links meet as tool points
    // The last link, where link_rows stops short of it.
    uint8_t last_joints;  // bit mask of joint capsules
    uint8_t last_links;   // bit mask of link capsules
    bool last_tool_points;
    bool last_tool_caps;
};

constexpr int kMaxJointCapsules = 5;
constexpr int kMaxLinkCapsules = 6;
constexpr int kMaxToolSpheres = 5;

struct capsule_family {
    const char* name;
    int codes[3];  // internal model codes, -1 padded
    bool standard_dh;
    int frames;  // chain transforms the capsules need
    int nj, nl;
    float rj[kMaxJointCapsules];
    float rl[kMaxLinkCapsules];
    capsule_def joint[kMaxJointCapsules];
    capsule_def link[kMaxLinkCapsules];
    walk_rules rules;
};

// The family of internal model `code`, or null for an arm without a model.
const capsule_family* capsule_family_of(int code);
// Every family row, for tests and benchmarks.
const capsule_family* capsule_families(int* count);

}  // namespace zq
