#include "kinematics/chain.h"

#include <cstdint>
#include <cstring>

#include "kinematics/frame_lanes.h"
#include "kinematics/joint_trig.h"
#include "kinematics/links.h"
#include "kinematics/matrix4.h"
#include "kinematics/model_table.h"
#include "kinematics/sys_data.h"

namespace zq {
namespace {

using namespace lanes;

enum class Product { Twt, T0n, T06, T02, T05, T0t, Tbt, Tbn, Twn, Tww };

struct KeyName {
    const char* key;
    Product product;
};

const KeyName kKeys[] = {
    {"Twt", Product::Twt}, {"T0n", Product::T0n}, {"T06", Product::T06},
    {"T02", Product::T02}, {"T05", Product::T05}, {"T0t", Product::T0t},
    {"Tbt", Product::Tbt}, {"Tbn", Product::Tbn}, {"Twn", Product::Twn},
};

Product product_of(const char* key) {
    if (key)
        for (const auto& k : kKeys)
            if (std::strcmp(key, k.key) == 0) return k.product;
    return Product::Tww;
}

constexpr int kFlangeLink = 7;

// The chain after joints 2, 5 and 6 as the last evaluation that reached
// each joint left it; all zero before.
struct Cached {
    Frame f;
    bool set;
};
Cached T02{kIdentity, false}, T05{kIdentity, false}, T06{kIdentity, false};

}  // namespace

bool is_modeling(const char* mode) { return mode && std::strcmp(mode, kModeling) == 0; }

namespace {

// Eight floats of a DH row as two vectors.
struct Row8 {
    Lanes v[2];
};

inline Row8 row_of(const float x[8]) {
    Row8 r;
    std::memcpy(&r.v[0], x, sizeof r.v[0]);
    std::memcpy(&r.v[1], x + 4, sizeof r.v[1]);
    return r;
}

// Entry i of a row in every lane. Shuffled as integers, which x86 does
// without first copying the source.
template <int i>
[[gnu::always_inline]] inline Lanes spread(const Row8& r) {
    constexpr int k = i & 3;
    const LaneMask v = reinterpret_cast<LaneMask>(r.v[i >> 2]);
#if defined(__clang__)
    return reinterpret_cast<Lanes>(__builtin_shufflevector(v, v, k, k, k, k));
#else
    return reinterpret_cast<Lanes>(__builtin_shuffle(v, LaneMask{k, k, k, k}));
#endif
}

// a where m is set, else b.
inline Lanes select(LaneMask m, Lanes a, Lanes b) {
    return reinterpret_cast<Lanes>((m & reinterpret_cast<LaneMask>(a)) | (~m & reinterpret_cast<LaneMask>(b)));
}

// The twist kinds of the eight links, three bits each.
constexpr uint32_t kinds_of(const Twist (&t)[8]) {
    uint32_t k = 0;
    for (int i = 0; i < 8; ++i) k |= static_cast<uint32_t>(t[i]) << (3 * i);
    return k;
}

constexpr Twist Z = Twist::Zero, P = Twist::Plus, M = Twist::Minus;
// The KWB and MQ families, left and right (the flange link's twist differs).
constexpr uint32_t kLeftArm = kinds_of({Z, M, P, P, M, P, P, P});
constexpr uint32_t kRightArm = kinds_of({Z, M, P, P, M, P, P, M});
// The kinds are read from the twists at run time.
constexpr uint32_t kAnyKinds = UINT32_MAX;

// What link_twist and twist_of make of a row of twists, kept for the row it
// was found for (compared bit for bit): the row changes only when an arm is
// loaded, so the chain finds it ready.
struct Twists {
    int32_t alpha_bits[8];
    bool found;
    uint32_t kinds;
    Row8 sa, ca;
};
Twists twists{};

const Twists& twists_of(const float alpha[8]) {
    LaneMask now[2], seen[2];
    std::memcpy(now, alpha, sizeof now);
    std::memcpy(seen, twists.alpha_bits, sizeof seen);
    if (twists.found && all_lanes((now[0] == seen[0]) & (now[1] == seen[1]))) return twists;
    std::memcpy(twists.alpha_bits, alpha, sizeof twists.alpha_bits);
    twists.kinds = 0;
    for (int i = 0; i < 8; ++i) {
        float sa, ca;
        link_twist(alpha[i], &sa, &ca);
        twists.sa.v[i >> 2][i & 3] = sa;
        twists.ca.v[i >> 2][i & 3] = ca;
        twists.kinds |= static_cast<uint32_t>(twist_of(sa, ca)) << (3 * i);
    }
    twists.found = true;
    return twists;
}

// The angle of each link: q plus the offset (in the machine mode) for the
// first dof joints, 0 past them, and the flange link's own offset in lane 7
// when it follows the joints. q is read only up to dof.
inline Row8 link_angles(const float q[8], const zq_dh_block_t& dh, int dof, bool add_offset, bool flange_link) {
    auto at = [&](int i) { return i < dof ? q[i] : 0.0f; };
    Row8 v;
    if (dof >= 4)
        std::memcpy(&v.v[0], q, sizeof v.v[0]);
    else
        v.v[0] = Lanes{at(0), at(1), at(2), 0.0f};
    if (dof >= kMaxJoints)
        std::memcpy(&v.v[1], q + 4, sizeof v.v[1]);
    else
        v.v[1] = Lanes{at(4), at(5), at(6), 0.0f};
    const Row8 off = row_of(dh.offset);
    const LaneMask offset = splat_bits(add_offset ? -1 : 0);
    const LaneMask used[2] = {LaneMask{0, 1, 2, 3} < dof, LaneMask{4, 5, 6, 7} < dof};
    for (int h = 0; h < 2; ++h) {
        const Lanes sum = v.v[h] + reinterpret_cast<Lanes>(reinterpret_cast<LaneMask>(off.v[h]) & offset);
        v.v[h] = reinterpret_cast<Lanes>(reinterpret_cast<LaneMask>(sum) & used[h]);
    }
    // Set by a select rather than a lane write: a vector read of a vector
    // that a narrow write has just changed waits for both to reach the cache.
    const LaneMask flange = LaneMask{0, 0, 0, -1} & splat_bits(flange_link && dof <= kFlangeLink ? -1 : 0);
    v.v[1] = select(flange, splat(dh.offset[kFlangeLink]), v.v[1]);
    return v;
}

// Everything the links read, as rows of eight.
struct Links {
    Row8 st, ct, a, d;
    const Twists* tw;
};

template <bool Standard, uint32_t Kinds, int i>
[[gnu::always_inline]] inline void right_link(Frame& f, const Links& l) {
    const Lanes st = spread<i>(l.st), ct = spread<i>(l.ct), a = spread<i>(l.a), d = spread<i>(l.d);
    const Lanes sa = spread<i>(l.tw->sa), ca = spread<i>(l.tw->ca);
    if constexpr (Standard) {
        right_standard(f, st, ct, sa, ca, a, d);
    } else {
        const uint32_t kinds = Kinds == kAnyKinds ? l.tw->kinds : Kinds;
        right_modified(f, st, ct, sa, ca, static_cast<Twist>((kinds >> (3 * i)) & 7u), a, d);
    }
}

// Links i to dof - 1, refreshing the caches on the way.
template <bool Standard, uint32_t Kinds, int i = 0>
[[gnu::always_inline]] inline void right_links(Frame& f, const Links& l, int dof) {
    if constexpr (i < kMaxJoints) {
        if (i >= dof) return;
        right_link<Standard, Kinds, i>(f, l);
        if (i == 1) T02 = {f, true};
        if (i == 4) T05 = {f, true};
        if (i == 5) T06 = {f, true};
        right_links<Standard, Kinds, i + 1>(f, l, dof);
    }
}

// The joints, then the flange link where the arm has one. The flange link
// turns by its offset alone, which lane 7 holds unless an eighth joint
// takes that lane.
template <bool Standard, uint32_t Kinds>
[[gnu::always_inline]] inline Frame chain_of(const Links& l, int dof, bool flange_link) {
    Frame f = kIdentity;
    right_links<Standard, Kinds>(f, l, dof);
    if (flange_link) {
        if (dof <= kFlangeLink) {
            right_link<false, Kinds, kFlangeLink>(f, l);
        } else {
            Links flange = l;
            float fs, fc;
            joint_sin_cos(sys_data.dh.offset[kFlangeLink], &fs, &fc);
            const LaneMask last = {0, 0, 0, -1};
            flange.st.v[1] = select(last, splat(fs), l.st.v[1]);
            flange.ct.v[1] = select(last, splat(fc), l.ct.v[1]);
            right_link<false, Kinds, kFlangeLink>(f, flange);
        }
    }
    return f;
}

}  // namespace

void chain_base_flange_columns(const float q[8], bool add_offset, Lanes c[4]) {
    const zq_sys_data_t& s = sys_data;
    const zq_dh_block_t& dh = s.dh;
    const int dof = s.dof < 0 ? 0 : (s.dof > kMaxJoints ? kMaxJoints : s.dof);
    const bool standard = uses_standard_dh(s.model_code);
    const bool flange_link = has_flange_link(s.model_code);

    // The sines and cosines first: they do not depend on each other, while
    // the link products form one dependent chain.
    Links l;
    const Row8 theta = link_angles(q, dh, dof, add_offset, flange_link);
    joint_sin_cos8(theta.v, l.st.v, l.ct.v);
    l.a = row_of(dh.a);
    l.d = row_of(dh.d);
    l.tw = &twists_of(dh.alpha);

    // The twist patterns of the table's chains are compiled as they stand.
    const bool seven = !standard && flange_link && dof == 7;
    Frame f;
    if (seven && l.tw->kinds == kLeftArm)
        f = chain_of<false, kLeftArm>(l, 7, true);
    else if (seven && l.tw->kinds == kRightArm)
        f = chain_of<false, kRightArm>(l, 7, true);
    else if (standard)
        f = chain_of<true, kAnyKinds>(l, dof, flange_link);
    else
        f = chain_of<false, kAnyKinds>(l, dof, flange_link);
    for (int k = 0; k < 4; ++k) c[k] = f.c[k];
}

zq_matrix_t chain_base_flange(const float q[8], bool add_offset) {
    Frame f;
    chain_base_flange_columns(q, add_offset, f.c);
    return matrix_of(f);
}

zq_matrix_t chain_transform(const float q[8], const char* mode, const char* key) {
    const zq_sys_data_t& s = sys_data;
    const zq_matrix_t Tbase_flange = chain_base_flange(q, !is_modeling(mode));
    const zq_matrix_t& Twork_world = s.Twork_world;
    const zq_matrix_t& Tflange_tool = s.Tflange_tool;
    const zq_matrix_t& Tworld_base = s.Tworld_base;
    switch (product_of(key)) {
        case Product::Twt:
            return matrix_mul(matrix_mul(matrix_mul(Twork_world, Tworld_base), Tbase_flange), Tflange_tool);
        case Product::T0n: return Tbase_flange;
        case Product::T06: return cached_T06();
        case Product::T02: return cached_T02();
        case Product::T05: return cached_T05();
        case Product::T0t: return matrix_mul(Tbase_flange, Tflange_tool);
        case Product::Tbt: return matrix_mul(matrix_mul(Tworld_base, Tbase_flange), Tflange_tool);
        case Product::Tbn: return matrix_mul(Tworld_base, Tbase_flange);
        case Product::Twn: return matrix_mul(matrix_mul(Twork_world, Tworld_base), Tbase_flange);
        case Product::Tww: break;
    }
    return matrix_mul(Twork_world, Tworld_base);
}

zq_matrix_t cached_T02() { return T02.set ? matrix_of(T02.f) : zq_matrix_t{}; }
zq_matrix_t cached_T05() { return T05.set ? matrix_of(T05.f) : zq_matrix_t{}; }
zq_matrix_t cached_T06() { return T06.set ? matrix_of(T06.f) : zq_matrix_t{}; }

}  // namespace zq
