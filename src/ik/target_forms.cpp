#include "ik/target_forms.h"

#include <cmath>

#include "kinematics/links.h"
#include "kinematics/matrix4.h"
#include "kinematics/rotation.h"
#include "kinematics/sys_data.h"

namespace zq {

zq_matrix_t rigid_inverse(const zq_matrix_t& T) {
    zq_matrix_t r{};
    r.rows = r.cols = 4;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) r.data[i][j] = T.data[j][i];
        r.data[i][3] =
            -(T.data[0][i] * T.data[0][3] + T.data[1][i] * T.data[1][3] + T.data[2][i] * T.data[2][3]);
    }
    r.data[3][3] = 1.0f;
    return r;
}

zq_matrix_t tool_pose_to_world(const zq_pose_t& pose, uint8_t flag) {
    zq_pose_t p = pose;
    if (flag == 1) p.quaternion = euler_to_quat(p.euler);
    const zq_matrix_t Twork_tool = pose_to_matrix_quat(p);
    const zq_matrix_t Tworld_work = rigid_inverse(get_work_matrix());
    return rigid_mul(Tworld_work, Twork_tool);
}

zq_matrix_t tool_pose_to_flange(const zq_matrix_t& Tworld_tool) {
    const zq_matrix_t Tbase_world = rigid_inverse(get_install_matrix());
    const zq_matrix_t Ttool_flange = rigid_inverse(get_tool_matrix());
    return rigid_mul(rigid_mul(Tbase_world, Tworld_tool), Ttool_flange);
}

zq_Mat_t remove_flange_link(const zq_Mat_t& target, const zq_dh_block_t& dh) {
    float sa, ca;
    twist_sin_cos(dh.alpha[7], &sa, &ca);
    const float ct = std::cos(dh.offset[7]), st = std::sin(dh.offset[7]), a = dh.a[7], d = dh.d[7];
    const float T78[4][4] = {
        {ct, -st, 0, a}, {st * ca, ct * ca, -sa, -d * sa}, {st * sa, ct * sa, ca, d * ca}, {0, 0, 0, 1}};
    float inv[4][4] = {{0}};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) inv[i][j] = T78[j][i];
        inv[i][3] = -(T78[0][i] * T78[0][3] + T78[1][i] * T78[1][3] + T78[2][i] * T78[2][3]);
    }
    inv[3][3] = 1;
    zq_Mat_t T07 = target;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            double v = 0;
            for (int k = 0; k < 4; ++k) v += static_cast<double>(target.data[i][k]) * inv[k][j];
            T07.data[i][j] = static_cast<float>(v);
        }
    return T07;
}

}  // namespace zq
