#include "kinematics/arm_load.h"

#include <atomic>

#include "kinematics/model_match.h"
#include "platform/log.h"
#include "zq_algo.h"

namespace zq {
namespace {

std::atomic<ArmReader> g_reader{nullptr};

// The handle's limit arrays hold 7 joints; the setters read up to 8.
void widen(const float (&src)[7], float dst[8]) {
    for (int i = 0; i < 7; ++i) dst[i] = src[i];
    dst[7] = 0.0f;
}

}  // namespace

void set_arm_reader(ArmReader reader) { g_reader.store(reader, std::memory_order_release); }

bool read_arm(const zq_robot_handle* handle, ArmData* out) {
    const ArmReader reader = g_reader.load(std::memory_order_acquire);
    return reader && reader(handle, out);
}

int load_arm_data(const ArmData& h) {
    int model = h.arm_model;
    if (h.arm_model != ZQ_MODEL_UNIVERSAL_E) {
        zq_algo_init_sys_data(h.arm_model, h.force_type);
    } else {
        model = match_robot_dh(&h.dh_data, h.arm_dof);
        log_debug("auto_adapt_to_universal_robot:%d", model);
        zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(model), h.force_type);
        zq_algo_set_robot_dof(h.arm_dof);
    }
    float limits[8];
    zq_algo_set_angle(h.install_angle[0], h.install_angle[1], h.install_angle[2]);
    zq_algo_set_toolframe(&h.tool_frame);
    zq_algo_set_workframe(&h.work_frame);
    widen(h.joint_max_pos, limits);
    zq_algo_set_joint_max_limit(limits);
    widen(h.joint_min_pos, limits);
    zq_algo_set_joint_min_limit(limits);
    widen(h.joint_max_acc, limits);
    zq_algo_set_joint_max_acc(limits);
    widen(h.joint_max_speed, limits);
    zq_algo_set_joint_max_speed(limits);
    zq_algo_set_dh(h.dh_data);
    return model;
}

int arm_load(const zq_robot_handle* handle) {
    if (!handle) return -1;
    ArmData copy{};
    if (!read_arm(handle, &copy)) {
        log_warning("The robotic arm is not connected!");
        return -1;
    }
    load_arm_data(copy);
    return 0;
}

}  // namespace zq
