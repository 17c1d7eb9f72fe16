// Exported access to the arm model data: loading a model, the DH numbers and
// the joint limits, converted between the public and the internal units.
#include "kinematics/model_match.h"
#include "kinematics/model_table.h"
#include "kinematics/sys_data.h"
#include "kinematics/units.h"
#include "platform/log.h"
#include "zq_algo.h"

namespace {

using namespace zq;

constexpr double kAccFactor = 6.0;

int joints_in_record() {
    const int n = sys_data.dof;
    return n < 0 ? 0 : (n > kMaxJoints ? kMaxJoints : n);
}

void load_public(int model, int force) {
    sys_data_reset(public_to_internal_model(model), public_force(force));
}

// Writes `value(i)` for the first dof joints and 0 for the rest.
template <class Field, class Value>
void set_limits(Field field, Value value) {
    const int n = joints_in_record();
    for (int i = 0; i < kMaxJoints; ++i) sys_data.joint[i].*field = i < n ? value(i) : 0.0f;
}

template <class Field, class Convert>
void get_limits(float* out, Field field, Convert convert) {
    if (!out) return;
    const int n = joints_in_record();
    for (int i = 0; i < n; ++i) out[i] = convert(sys_data.joint[i].*field);
}

}  // namespace

extern "C" {

void zq_algo_init_sys_data(zq_robot_arm_model_e model, zq_force_type_e force) {
    sys_data_reset(0, 0);
    load_public(model, force);
}

void zq_algo_init_sys_data_by_dh(zq_force_type_e force, zq_dh_t dh, int dof) {
    sys_data_reset(0, 0);
    const zq_dh_t given = dh;
    const int model = match_robot_dh(&given, dof);
    log_debug("auto_adapt_to_universal_robot:%d", model);
    load_public(model, force);
    zq_algo_set_robot_dof(dof);
    for (int i = 0; i < 8; ++i) {
        sys_data.dh.d[i] = given.d[i];
        sys_data.dh.a[i] = given.a[i];
        sys_data.dh.alpha[i] = scale(given.alpha[i], kDegToRadShort);
        sys_data.dh.offset[i] = scale(given.offset[i], kDegToRadShort);
    }
}

void zq_algo_set_robot_dof(int dof) { sys_data.dof = static_cast<int16_t>(dof); }

void zq_algo_set_dh(zq_dh_t dh) {
    for (int i = 0; i < 8; ++i) {
        sys_data.dh.d[i] = dh.d[i];
        sys_data.dh.a[i] = dh.a[i];
        sys_data.dh.alpha[i] = scale(dh.alpha[i], kDegToRadShort);
        sys_data.dh.offset[i] = scale(dh.offset[i], kDegToRadShort);
    }
}

zq_dh_t zq_algo_get_dh(void) {
    zq_dh_t dh;
    for (int i = 0; i < 8; ++i) {
        dh.d[i] = sys_data.dh.d[i];
        dh.a[i] = sys_data.dh.a[i];
        dh.alpha[i] = scale(sys_data.dh.alpha[i], kRadToDegShort);
        dh.offset[i] = scale(sys_data.dh.offset[i], kRadToDegShort);
    }
    return dh;
}

void zq_algo_set_joint_max_limit(const float* joint) {
    if (!joint) return;
    set_limits(&zq_joint_limit_t::pos_max_limit, [&](int i) { return scale(joint[i], kDegToRad); });
}

void zq_algo_get_joint_max_limit(float* joint) {
    get_limits(joint, &zq_joint_limit_t::pos_max_limit, [](float v) { return divide(v, kDegToRad); });
}

void zq_algo_set_joint_min_limit(const float* joint) {
    if (!joint) return;
    set_limits(&zq_joint_limit_t::pos_min_limit, [&](int i) { return scale(joint[i], kDegToRad); });
}

void zq_algo_get_joint_min_limit(float* joint) {
    get_limits(joint, &zq_joint_limit_t::pos_min_limit, [](float v) { return divide(v, kDegToRad); });
}

void zq_algo_set_joint_max_speed(const float* speed) {
    if (!speed) return;
    set_limits(&zq_joint_limit_t::vel_limit, [&](int i) { return scale(speed[i], kDegToRadShort); });
}

void zq_algo_get_joint_max_speed(float* speed) {
    get_limits(speed, &zq_joint_limit_t::vel_limit, [](float v) { return scale(v, kRadToDegShort); });
}

// The stored acceleration limit is six times the public value.
void zq_algo_set_joint_max_acc(const float* acc) {
    if (!acc) return;
    set_limits(&zq_joint_limit_t::acc_limit, [&](int i) {
        return static_cast<float>(static_cast<double>(acc[i]) * kAccFactor * kDegToRad);
    });
}

void zq_algo_get_joint_max_acc(float* acc) {
    get_limits(acc, &zq_joint_limit_t::acc_limit,
               [](float v) { return static_cast<float>(static_cast<double>(v) / kDegToRad / kAccFactor); });
}

}  // extern "C"
