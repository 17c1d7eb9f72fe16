#include "kinematics/jacobian.h"

#include "kinematics/chain.h"
#include "kinematics/frame_lanes.h"
#include "kinematics/joint_trig.h"
#include "kinematics/links.h"
#include "kinematics/matrix4.h"
#include "kinematics/model_table.h"
#include "kinematics/sys_data.h"

namespace zq {
namespace {

constexpr int kFlangeIndex = 7;

int joint_count() {
    const int n = sys_data.dof;
    return n < 0 ? 0 : (n > 7 ? 7 : n);
}

void joint_angles(const float q[8], const char* mode, int dof, float theta[8]) {
    const bool add_offset = !is_modeling(mode);
    for (int i = 0; i < 8; ++i) theta[i] = 0.0f;
    for (int i = 0; i < dof; ++i) theta[i] = q[i] + (add_offset ? sys_data.dh.offset[i] : 0.0f);
}

// L x U for a link L and a rigid U (last rows 0, 0, 0, 1), in float.
void premultiply(const zq_matrix_t& L, zq_matrix_t& U) {
    float r[3][4];
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 4; ++j)
            r[i][j] = L.data[i][0] * U.data[0][j] + L.data[i][1] * U.data[1][j] + L.data[i][2] * U.data[2][j];
        r[i][3] += L.data[i][3];
    }
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 4; ++j) U.data[i][j] = r[i][j];
}

// Backward along the chain, in the end frame.
zq_matrix7_t jacobian_backward(const float theta[8], int dof, int coord) {
    const zq_sys_data_t& s = sys_data;
    const bool standard = uses_standard_dh(s.model_code);
    zq_matrix_t U = coord == kJacTool ? s.Tflange_tool : matrix_eye(4);
    zq_matrix7_t J{};
    J.rows = 6;
    J.cols = static_cast<int16_t>(dof);
    for (int i = dof - 1; i >= 0; --i) {
        if (standard) premultiply(link_transform_standard(i, s.dh, theta), U);
        for (int j = 0; j < 3; ++j) {
            J.data[j][i] = -U.data[0][j] * U.data[1][3] + U.data[1][j] * U.data[0][3];
            J.data[3 + j][i] = U.data[2][j];
        }
        if (!standard) premultiply(link_transform_modified(i, s.dh, theta), U);
    }
    return J;
}

// diag(R, R) x J with the sums of matrix7_mul: the terms of the zero blocks
// are left out, which leaves every sum as it was (a sum that starts at +0
// and gains a zero stays what it was).
zq_matrix7_t rotate_blocks(const zq_matrix_t& R, const zq_matrix7_t& J) {
    zq_matrix7_t r{};
    r.rows = 6;
    r.cols = J.cols;
    for (int b = 0; b < 6; b += 3)
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < J.cols; ++j) {
                double s = 0.0;
                for (int t = 0; t < 3; ++t) s += static_cast<double>(R.data[i][t] * J.data[b + t][j]);
                r.data[b + i][j] = static_cast<float>(s);
            }
    return r;
}

// Forward in the base frame for arms that end in a fixed flange link.
zq_matrix7_t jacobian_forward(float theta[8], int dof, int coord) {
    using namespace lanes;
    const zq_sys_data_t& s = sys_data;
    theta[kFlangeIndex] = s.dh.offset[kFlangeIndex];
    float st[8], ct[8];
    joint_sin_cos8(theta, st, ct);
    // The chain after each link: its z axis and origin.
    Lanes z[8], o[8];
    Frame f = kIdentity;
    for (int i = 0; i <= kFlangeIndex; ++i) {
        float sa, ca;
        link_twist(s.dh.alpha[i], &sa, &ca);
        right_modified(f, st[i], ct[i], sa, ca, twist_of(sa, ca), s.dh.a[i], s.dh.d[i]);
        z[i] = f.c[2];
        o[i] = f.c[3];
    }
    zq_matrix7_t Jb{};
    Jb.rows = 6;
    Jb.cols = static_cast<int16_t>(dof);
    for (int i = 0; i < dof; ++i) {
        const Lanes P = o[kFlangeIndex] - o[i];
        const Lanes& Z = z[i];
        Jb.data[0][i] = Z[1] * P[2] - Z[2] * P[1];
        Jb.data[1][i] = Z[2] * P[0] - Z[0] * P[2];
        Jb.data[2][i] = Z[0] * P[1] - Z[1] * P[0];
        for (int j = 0; j < 3; ++j) Jb.data[3 + j][i] = Z[j];
    }
    const zq_matrix_t Tend = matrix_of(f);
    zq_matrix_t R;
    switch (coord) {
        case kJacFlange: R = matrix_transpose(matrix_rotation(Tend)); break;
        case kJacTool: R = matrix_transpose(matrix_rotation(matrix_mul(Tend, s.Tflange_tool))); break;
        case kJacWorld: R = matrix_rotation(s.Tworld_base); break;
        default: return Jb;
    }
    if (dof < 1) {
        const zq_matrix7_t B = matrix7_block_rotation(R);
        return matrix7_mul(&B, &Jb);
    }
    return rotate_blocks(R, Jb);
}

}  // namespace

zq_matrix7_t jacobian(const float q[8], const char* mode, int coord) {
    const int dof = joint_count();
    float theta[8];
    joint_angles(q, mode, dof, theta);
    if (has_flange_link(sys_data.model_code)) return jacobian_forward(theta, dof, coord);
    return jacobian_backward(theta, dof, coord);
}

zq_matrix7_t jacobian_flange(const float q[8], const char* mode) { return jacobian(q, mode, kJacFlange); }
zq_matrix7_t jacobian_tool(const float q[8], const char* mode) { return jacobian(q, mode, kJacTool); }

zq_matrix7_t jacobian_work_tool(const float q[8], const char* mode) {
    const zq_matrix_t Twt = chain_transform(q, mode, "Twt");
    const zq_matrix7_t Jn = jacobian_tool(q, mode);
    const zq_matrix7_t JT = matrix7_block_rotation(matrix_rotation(Twt));
    return matrix7_mul(&JT, &Jn);
}

}  // namespace zq
