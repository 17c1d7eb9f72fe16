// What the page draws of one arm: the model as the library loaded it, and for
// each joint configuration the chain's frames, the capsules of the
// self-collision check with their clearances, and the flange pose, as JSON.
#pragma once

#include <string>

#include "zq_api.h"
#include "zq_realtime.h"

namespace zqview {

// The drawing state of one realtime report (or one polled state).
struct Sample {
    float q_deg[7] = {0};
    int dof = 0;
    int status = -1;  // arm_current_status, -1 when unknown
    int err_len = 0;
    int err[24] = {0};
    bool realtime = false;  // from a realtime report (else from a state query)
};

class Scene {
public:
    // Loads the arm of `handle` into the library's kinematic model. Every
    // computation below runs on that model, from one thread at a time.
    explicit Scene(zq_robot_handle* handle);

    // The arm's description: name, joint count, DH chain, limits and the
    // capsule family (or null where the family has none).
    const std::string& model_json() const { return model_json_; }
    // One frame for the page.
    std::string frame_json(const Sample& s, long long seq);

    // The clearance of the whole arm (metres, negative in contact) and of each
    // capsule, as the last frame_json computed them.
    float clearance() const { return clearance_; }
    int capsule_count() const { return capsules_; }
    bool in_contact(int capsule) const;

private:
    int dof_ = 0;
    int code_ = -1;
    std::string model_json_;
    float clearance_ = 1.0f;
    int capsules_ = 0;
    float capsule_clear_[32] = {0};
};

// The name of arm_current_status, or "unknown".
const char* status_name(int status);

}  // namespace zqview
