#include "arm_config.h"

#include <algorithm>
#include <cstddef>

#include "arm_models.h"

namespace zqsim {

ArmConfig::ArmConfig() : controller_version("4.0") {
    apply_factory_data(*this, "ZQ41-B-1.0");
}

ArmConfig ArmConfig::for_model(const std::string& product_version) {
    ArmConfig cfg;
    apply_factory_data(cfg, product_version);
    return cfg;
}

void ArmConfig::normalise() {
    dof = std::clamp(dof, 1, 10);
    fixed_links = std::clamp(fixed_links, 0, 1);
    const auto n = static_cast<std::size_t>(dof);
    const JointLimits last_limits = joints.empty() ? JointLimits{} : joints.back();
    joints.resize(n, last_limits);
    joint_angles.resize(n, 0.0);
    dh.resize(n + static_cast<std::size_t>(fixed_links), DhRow{});
}

}  // namespace zqsim
