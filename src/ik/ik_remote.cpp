// Set-up and settings of the teleoperation QP service.
#include "ik/ik_remote.h"

#include <cmath>

#include "kinematics/sys_data.h"
#include "kinematics/units.h"
#include "platform/log.h"

namespace zq {
namespace {

zq_ik_remote_t record{};

constexpr float kSpeedMargin = 0.0087f;  // rad/s below the arm's limit
constexpr float kMinErrorWeight = 0.001f;
constexpr float kZeroDqWeight = 1e-6f;
constexpr float kTrackerGain = 0.1f;

// Stores a limit of joint idx (2 or 3) after the checks against the model's.
int store_joint_limit(int dof, int idx, int limit, float rad) {
    if (record.dof != dof) return -1;
    float model_max[8], model_min[8];
    get_joint_max(model_max);
    get_joint_min(model_min);
    if (limit == ZQ_LIMIT_MAX_E) {
        if (rad > model_max[idx]) return -2;
        record.q_max[idx] = rad;
    } else {
        if (rad < model_min[idx]) return -2;
        record.q_min[idx] = rad;
    }
    return 0;
}

}  // namespace

zq_ik_remote_t& ik_remote() { return record; }

}  // namespace zq

using zq::record;

extern "C" {

void zq_algo_ik_remote_init(float dT, int mode) {
    zq::get_joint_max(record.q_max);
    zq::get_joint_min(record.q_min);
    zq::get_joint_vel(record.dq_max);
    record.dof = zq::get_dof();
    record.mode = mode;
    record.model = zq::get_model_code();
    record.limit_holdon = 0;
    for (float& w : record.error_weight) w = 1.0f;
    for (int i = 0; i < record.dof && i < zq::kMaxJoints; ++i) {
        if (i < 7) record.dq_weight[i] = 1.0f;
        record.dq_max[i] -= zq::kSpeedMargin;
    }
    record.dT = dT;
    record.q3_tracker_enabled = 0;
    record.q3_velocity = 0.0f;
    for (float& v : record.qcdot) v = 0.0f;
    // A period that is not a positive number leaves the service unset.
    if (!(std::isfinite(dT) && dT > 0.0f)) record.dof = 0;
}

void zq_algo_set_error_weight(float* weight) {
    if (!weight) {
        zq::log_error("[zq_algo_set_error_weight] weight 是NULL指针！");
        return;
    }
    for (int i = 0; i < 6; ++i) {
        if (!std::isfinite(weight[i])) continue;  // a weight that is not a number changes nothing
        if (weight[i] > 1.0f) weight[i] = 1.0f;
        if (weight[i] < zq::kMinErrorWeight) weight[i] = zq::kMinErrorWeight;
        record.error_weight[i] = weight[i];
    }
}

void zq_algo_set_dq_weight(float* weight) {
    if (!weight) return;
    for (int i = 0; i < record.dof && i < zq::kMaxJoints; ++i) {
        float w = weight[i];
        if (!std::isfinite(w)) continue;
        if (w > 1.0f) w = 1.0f;
        if (w < zq::kZeroDqWeight) w = 0.0f;
        record.dq_max[i] *= w;  // cumulative: only a new set-up restores the limits
    }
}

void zq_algo_enable_q3_tracker(int enable) {
    record.q3_tracker_enabled = ((enable == 0 || enable == 1) && record.dof == 7) ? enable : 0;
}

int zq_algo_set_7dof_q3_track_angle(float angle) {
    record.q3_track_angle = zq::scale(angle, zq::kDegToRadShort);
    const float a = record.q3_track_angle;
    return (a > record.q_max[2] || a < record.q_min[2] || !std::isfinite(a)) ? -2 : 0;
}

void zq_algo_set_q3_tracker_velocity_level(float level) {
    if (!(level >= 0.0f)) level = 0.0f;  // also a level that is not a number
    if (level > 1.0f) level = 1.0f;
    record.q3_velocity = level * zq::kTrackerGain;
}

void zq_algo_set_enable_limit_holdon(int enable) { record.limit_holdon = (enable == 0 || enable == 1) ? enable : 0; }

int zq_algo_set_joint_limit_angle(zq_dofType_e dof, zq_jointType_e joint, zq_limitType_e limit, float angle) {
    const int d = static_cast<int>(dof), j = static_cast<int>(joint), l = static_cast<int>(limit);
    if ((d != 6 && d != 7) || (j != 0 && j != 1) || (l != 0 && l != 1)) return -1;
    const int idx = j == 0 ? 2 : 3;
    if (idx >= zq::get_dof()) return -1;
    float max_deg[8], min_deg[8];
    zq_algo_get_joint_max_limit(max_deg);
    zq_algo_get_joint_min_limit(min_deg);
    if (!std::isfinite(angle) || angle > max_deg[idx] || angle < min_deg[idx]) return -3;
    const float rad = zq::scale(angle, zq::kDegToRad);
    if (d == 6 && j != 0) return -1;
    return zq::store_joint_limit(d, idx, l, rad);
}

}  // extern "C"
