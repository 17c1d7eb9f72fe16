#include "ik/dispatch.h"

#include <cmath>

#include "ik/ik_mode.h"
#include "ik/rescue.h"
#include "ik/solvers.h"
#include "ik/target_forms.h"
#include "kinematics/mat.h"
#include "kinematics/model_table.h"
#include "kinematics/sys_data.h"

namespace zq {
namespace {

enum TargetForm { kWorldTool, kBaseFlange };

struct Route {
    int code;  // system model code
    TargetForm form;
    IkSolver solver;
};

// One row per system model code; a code not listed has no solver.
constexpr Route kRoutes[] = {
    {0, kWorldTool, ik_zq41},
    {3, kWorldTool, ik_zql36},
    {10, kWorldTool, ik_zql36},
    {4, kWorldTool, ik_shoulder_offset},
    {5, kWorldTool, ik_vda},
    {6, kWorldTool, ik_vda},
    {8, kWorldTool, ik_vda},
    {1, kBaseFlange, arm_angle_ik},
    {19, kBaseFlange, arm_angle_ik},
    {20, kBaseFlange, arm_angle_ik},
    {23, kBaseFlange, arm_angle_ik},
    {24, kBaseFlange, arm_angle_ik},
    {7, kBaseFlange, joint7_sweep_offset_ik},
    {11, kBaseFlange, joint7_sweep_offset_ik},
    {18, kBaseFlange, joint7_sweep_offset_ik},
    {12, kBaseFlange, joint7_sweep_ik},
    {13, kBaseFlange, joint7_sweep_ik},
    {14, kBaseFlange, joint7_sweep_ik},
    {15, kBaseFlange, joint7_sweep_ik},
    {21, kBaseFlange, joint7_sweep_ik},
    {22, kBaseFlange, joint7_sweep_ik},
    {25, kBaseFlange, joint7_sweep_ik},
    {26, kBaseFlange, joint7_sweep_ik},
    {27, kBaseFlange, joint7_sweep_ik},
    {28, kBaseFlange, joint7_sweep_ik},
    {29, kBaseFlange, joint7_sweep_ik},
    {30, kBaseFlange, joint7_sweep_ik},
    {31, kBaseFlange, joint7_sweep_ik},
    {32, kBaseFlange, joint7_sweep_ik},
    {9, kBaseFlange, ik_universal},
    {16, kBaseFlange, ik_universal},
    {17, kBaseFlange, ik_universal},
};

const Route* find_route(int code) {
    for (const Route& r : kRoutes)
        if (r.code == code) return &r;
    return nullptr;
}

constexpr float kTurn = 6.283185f;
constexpr float kTurnPlus = 6.318092f;  // a full turn and 2 degrees

zq_Mat_t target_of(TargetForm form, const zq_pose_t& pose, uint8_t flag) {
    const zq_matrix_t Tworld_tool = tool_pose_to_world(pose, flag);
    return mat_from_matrix(form == kWorldTool ? Tworld_tool : tool_pose_to_flange(Tworld_tool));
}

constexpr int kRefineSteps = 20;
constexpr float kRefineTolerance = 2e-6f;

// 0 when q reaches the target Tbase_flange, after damped Newton steps from q
// where it does not; -1 when those do not reach it either, -2 when they leave
// a joint outside its limits. The steps work on the moving joints' chain: an
// arm that ends in a fixed flange row aims its last joint's frame at the
// target without that row.
int verified(const zq_Mat_t& Tbase_flange, bool flange_row, int dof, float q[8]) {
    if (flange_reaches(Tbase_flange, q)) return kIkOk;
    const zq_Mat_t aim = flange_row ? remove_flange_link(Tbase_flange, sys_data.dh) : Tbase_flange;
    if (!newton_refine(aim, dof, q, kRefineSteps, kRefineTolerance) || !flange_reaches(Tbase_flange, q))
        return kIkNoSolution;
    return position_limit_check(q) == 0 ? kIkOk : kIkOutsideLimits;
}

// A solver that finds rows only outside the limits may have carried a joint
// a turn past its limit toward a far reference. Solved again from the
// reference taken into a half turn of zero, each joint is then moved by whole
// turns toward the reference as far as its limits allow. True, with q
// replaced, when that answer reaches the target inside the limits.
bool resolved_inside(const Route& r, const zq_Mat_t& target, const zq_Mat_t& Tbase_flange, bool flange_row,
                     const float ref[8], int dof, float q[8]) {
    float near_zero[8], p[8] = {0, 0, 0, 0, 0, 0, 0, 0};
    for (int i = 0; i < 8; ++i)
        near_zero[i] = i < dof ? ref[i] - kTurn * std::floor((ref[i] + kTurn / 2) / kTurn) : ref[i];
    if (r.solver(target, near_zero, p) != kIkOk || verified(Tbase_flange, flange_row, dof, p) != kIkOk) return false;
    float lo[8], hi[8];
    get_joint_min(lo);
    get_joint_max(hi);
    for (int i = 0; i < dof && i < kMaxJoints; ++i) {
        while (p[i] - ref[i] > kTurn / 2 && p[i] - kTurn >= lo[i]) p[i] -= kTurn;
        while (ref[i] - p[i] > kTurn / 2 && p[i] + kTurn <= hi[i]) p[i] += kTurn;
        if (!(lo[i] <= p[i] && p[i] <= hi[i])) return false;
    }
    if (!flange_reaches(Tbase_flange, p)) return false;
    for (int i = 0; i < dof && i < kMaxJoints; ++i) q[i] = p[i];
    return true;
}

}  // namespace

int ik_dispatch(const float* q_ref, const zq_pose_t& pose, float* q_out, uint8_t flag) {
    const int dof = get_dof();
    float ref[8] = {0, 0, 0, 0, 0, 0, 0, 0};
    for (int i = 0; i < dof && i < kMaxJoints; ++i) ref[i] = q_ref[i];
    // A reference just past a whole turn on the last joint is pulled back to the turn.
    if (dof == 6 || dof == 7) {
        float& last = ref[dof - 1];
        if (last > kTurn && last < kTurnPlus) last = kTurn;
        if (last > -kTurnPlus && last < -kTurn) last = -kTurn;
    }
    float out[8] = {0, 0, 0, 0, 0, 0, 0, 0};
    int result = kIkNoSolver;
    const int code = get_model_code();
    if (sys_data.ik_mode_selector == 1 && code != kUniversalCode) {
        result = ik_qp(target_of(kBaseFlange, pose, flag), ref, out);
    } else if (const Route* r = code <= kMaxModelCode ? find_route(code) : nullptr) {
        float ref_in[8];
        for (int i = 0; i < 8; ++i) ref_in[i] = ref[i];  // the solver may change its copy
        const zq_Mat_t target = target_of(r->form, pose, flag);
        result = r->solver(target, ref, out);
        // A whole pose answered (closed forms always, the others in traversal)
        // must reach its target: an answer that does not is corrected from
        // where it stands, or withdrawn. Rows found only outside the limits
        // get a second solve.
        if (ik_rescue_enabled() && (r->form == kWorldTool || redundancy_mode() != 1)) {
            const zq_Mat_t Tbf = r->form == kBaseFlange ? target : target_of(kBaseFlange, pose, flag);
            const bool flange_row = r->solver == joint7_sweep_ik;
            if (result == kIkOk) result = verified(Tbf, flange_row, dof, out);
            if (result == kIkOutsideLimits && resolved_inside(*r, target, Tbf, flange_row, ref_in, dof, out))
                result = kIkOk;
        }
    }
    for (int i = 0; i < dof && i < kMaxJoints; ++i) q_out[i] = out[i];
    return result;
}

}  // namespace zq
