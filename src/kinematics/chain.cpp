#include "kinematics/chain.h"

#include <cstring>

#include "kinematics/links.h"
#include "kinematics/matrix4.h"
#include "kinematics/model_table.h"
#include "kinematics/sys_data.h"

namespace zq {
namespace {

zq_matrix_t T02{}, T05{}, T06{};

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

}  // namespace

bool is_modeling(const char* mode) { return mode && std::strcmp(mode, kModeling) == 0; }

zq_matrix_t chain_transform(const float q[8], const char* mode, const char* key) {
    const zq_sys_data_t& s = sys_data;
    const int code = s.model_code;
    const int dof = s.dof < 0 ? 0 : (s.dof > kMaxJoints ? kMaxJoints : s.dof);
    const bool add_offset = !is_modeling(mode);

    float theta[8] = {};
    for (int i = 0; i < dof; ++i) theta[i] = q[i] + (add_offset ? s.dh.offset[i] : 0.0f);
    zq_matrix_t Tbase_flange = matrix_eye(4);
    for (int i = 0; i < dof; ++i) {
        Tbase_flange = rigid_mul(Tbase_flange, link_transform(code, i, s.dh, theta));
        if (i == 1) T02 = Tbase_flange;
        if (i == 4) T05 = Tbase_flange;
        if (i == 5) T06 = Tbase_flange;
    }
    if (has_flange_link(code)) {
        float extend_joint[8] = {};
        extend_joint[7] = s.dh.offset[7];
        Tbase_flange = rigid_mul(Tbase_flange, link_transform_modified(7, s.dh, extend_joint));
    }

    const zq_matrix_t& Twork_world = s.Twork_world;
    const zq_matrix_t& Tflange_tool = s.Tflange_tool;
    const zq_matrix_t& Tworld_base = s.Tworld_base;
    switch (product_of(key)) {
        case Product::Twt:
            return matrix_mul(matrix_mul(matrix_mul(Twork_world, Tworld_base), Tbase_flange), Tflange_tool);
        case Product::T0n: return Tbase_flange;
        case Product::T06: return T06;
        case Product::T02: return T02;
        case Product::T05: return T05;
        case Product::T0t: return matrix_mul(Tbase_flange, Tflange_tool);
        case Product::Tbt: return matrix_mul(matrix_mul(Tworld_base, Tbase_flange), Tflange_tool);
        case Product::Tbn: return matrix_mul(Tworld_base, Tbase_flange);
        case Product::Twn: return matrix_mul(matrix_mul(Twork_world, Tworld_base), Tbase_flange);
        case Product::Tww: break;
    }
    return matrix_mul(Twork_world, Tworld_base);
}

zq_matrix_t cached_T02() { return T02; }
zq_matrix_t cached_T05() { return T05; }
zq_matrix_t cached_T06() { return T06; }

}  // namespace zq
