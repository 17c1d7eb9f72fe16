// Entries of the routing table whose solvers the library does not hold yet:
// the QP solver and the iterative solvers of the universal arm. They answer
// "no solver" and leave the output at the reference.
#include "ik/solvers.h"

namespace zq {
namespace {

int no_solver(const float q_ref[8], float q_out[8]) {
    for (int i = 0; i < 8; ++i) q_out[i] = q_ref[i];
    return kIkNoSolver;
}

}  // namespace

int ik_qp(const zq_Mat_t&, float q_ref[8], float q_out[8]) {
    return no_solver(q_ref, q_out);
}

// The universal arm goes by the redundancy mode and the joint count to the
// QP solver or one of the iterative solvers; none of them is present.
int ik_universal(const zq_Mat_t&, float q_ref[8], float q_out[8]) {
    return no_solver(q_ref, q_out);
}

}  // namespace zq
