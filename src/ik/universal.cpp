// Universal arms of arbitrary DH: tracking goes to the QP solver; traversal to
// the homotopy solvers of six and seven joints or to the NLopt minimisation.
// The first solver chosen gives the answer.
#include "ik/ik_mode.h"
#include "ik/solvers.h"
#include "kinematics/sys_data.h"

namespace zq {

int ik_universal(const zq_Mat_t& target, float q_ref[8], float q_out[8]) {
    if (redundancy_mode() == 1) return ik_qp(target, q_ref, q_out);
    switch (get_dof()) {
        case 6:
            return homotopy_ik6(target, q_ref, q_out);
        case 7:
            return homotopy_ik7(target, q_ref, q_out);
        default:
            return nlopt_ik(target, q_ref, q_out);
    }
}

}  // namespace zq
