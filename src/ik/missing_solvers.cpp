// The entry of the routing table whose solver the library does not hold yet:
// the QP solver. It answers "no solver" and leaves the output at the reference.
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

}  // namespace zq
