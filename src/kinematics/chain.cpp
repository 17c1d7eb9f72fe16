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

void chain_base_flange_columns(const float q[8], bool add_offset, Lanes c[4]) {
    const zq_sys_data_t& s = sys_data;
    const zq_dh_block_t& dh = s.dh;
    const int dof = s.dof < 0 ? 0 : (s.dof > kMaxJoints ? kMaxJoints : s.dof);
    const bool standard = uses_standard_dh(s.model_code);
    const bool flange_link = has_flange_link(s.model_code);

    // The sines and cosines first: they do not depend on each other, while
    // the link products form one dependent chain.
    // The angles are gathered in registers and written as two whole vectors,
    // which the vector reads of joint_sin_cos8 then find at once.
    auto angle = [&](int i) {
        if (i < dof) return q[i] + (add_offset ? dh.offset[i] : 0.0f);
        return i == kFlangeLink && flange_link ? dh.offset[kFlangeLink] : 0.0f;
    };
    const Lanes lo = {angle(0), angle(1), angle(2), angle(3)}, hi = {angle(4), angle(5), angle(6), angle(7)};
    float theta[8], st[8], ct[8];
    std::memcpy(theta, &lo, sizeof lo);
    std::memcpy(theta + 4, &hi, sizeof hi);
    joint_sin_cos8(theta, st, ct);
    float flange_st = st[kFlangeLink], flange_ct = ct[kFlangeLink];
    if (flange_link && dof > kFlangeLink) joint_sin_cos(dh.offset[kFlangeLink], &flange_st, &flange_ct);

    Frame f = kIdentity;
    for (int i = 0; i < dof; ++i) {
        float sa, ca;
        link_twist(dh.alpha[i], &sa, &ca);
        if (standard)
            right_standard(f, st[i], ct[i], sa, ca, dh.a[i], dh.d[i]);
        else
            right_modified(f, st[i], ct[i], sa, ca, twist_of(sa, ca), dh.a[i], dh.d[i]);
        if (i == 1) T02 = {f, true};
        if (i == 4) T05 = {f, true};
        if (i == 5) T06 = {f, true};
    }
    if (flange_link) {
        float sa, ca;
        link_twist(dh.alpha[kFlangeLink], &sa, &ca);
        right_modified(f, flange_st, flange_ct, sa, ca, twist_of(sa, ca), dh.a[kFlangeLink],
                       dh.d[kFlangeLink]);
    }
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
