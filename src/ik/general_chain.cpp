#include "ik/general_chain.h"

#include <cmath>

#include "kinematics/model_table.h"
#include "kinematics/sys_data.h"

namespace zq {
namespace {

constexpr float kPi = 3.14159265358979f;

// Axis-angle of Re: the rotation vector, with the half-turn fallback on the
// diagonal of Re.
void rotation_vector(const float Re[3][3], float a[3]) {
    const float l[3] = {Re[2][1] - Re[1][2], Re[0][2] - Re[2][0], Re[1][0] - Re[0][1]};
    const float t = Re[0][0] + Re[1][1] + Re[2][2];
    const float ln = std::sqrt(l[0] * l[0] + l[1] * l[1] + l[2] * l[2]);
    if (ln >= 1e-16f) {
        const float k = std::atan2(ln, t - 1.0f) / ln;
        for (int i = 0; i < 3; ++i) a[i] = l[i] * k;
    } else if (t > 0.0f) {
        a[0] = a[1] = a[2] = 0.0f;
    } else {
        for (int i = 0; i < 3; ++i) a[i] = kPi * std::sqrt(0.5f * (Re[i][i] + 1.0f));
    }
}

}  // namespace

GeneralChain general_chain(int joints) {
    GeneralChain c;
    c.layout = FkLayout{uses_standard_dh(get_model_code()), joints, 0xFFu, 0xFFu};
    get_dh_block(&c.dh);
    return c;
}

void chain_error(const GeneralChain& c, const zq_Mat_t& Hd, const float q[8], float e[6], float Jn[6][7]) {
    float T[4][4], J[6][7];
    fk_jacobian<float>(c.layout, c.dh, q, J, T);
    float Re[3][3];
    for (int i = 0; i < 3; ++i) {
        e[i] = T[i][3] - Hd.data[i][3];
        for (int j = 0; j < 3; ++j)
            Re[i][j] = T[i][0] * Hd.data[j][0] + T[i][1] * Hd.data[j][1] + T[i][2] * Hd.data[j][2];
    }
    rotation_vector(Re, e + 3);
    if (!Jn) return;
    // The flange-frame Jacobian turned into the base by the flange rotation.
    const int n = c.layout.joints;
    for (int b = 0; b < 6; b += 3)
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < n; ++j)
                Jn[b + i][j] = T[i][0] * J[b][j] + T[i][1] * J[b + 1][j] + T[i][2] * J[b + 2][j];
}

bool transform_finite(const zq_Mat_t& T) {
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            if (!std::isfinite(T.data[i][j])) return false;
    return true;
}

}  // namespace zq
