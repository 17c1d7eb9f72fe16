// Self-contact of the simulated arm: the client library's capsule check run on the arm's own
// chain. A move that would bring the arm into contact with itself stops at the last free
// configuration on its way, and a streamed set point in contact is not taken; either files
// kSelfContactError into the arm's error list (motion_engine.cpp).
#pragma once

#include <vector>

#include "arm_config.h"
#include "collision/capsule_check.h"

namespace zqsim {

constexpr int kSelfContactError = 0x6103;  // beside 0x6101 (speed) and 0x6102 (acceleration)

class SelfContact {
public:
    // Takes the capsule family that the product version names and the arm's chain. Families
    // whose capsules hang from a chain in the standard DH form (the chain here is modified)
    // and unknown products are not modelled: every configuration is free.
    void configure(const ArmConfig& arm);
    bool modelled() const { return family_ != nullptr; }

    // True when the joints (degrees) bring the arm into contact with itself.
    bool touches(const std::vector<double>& q_deg) const;

    // The straight joint path from `from` to `to`, sampled at least every half degree of the
    // joint that moves most: the last sample before the first one in contact (*hit true), or
    // `to` when the path stays free (*hit false). A path that starts in contact is not
    // checked, so that the arm can leave it.
    std::vector<double> last_free(const std::vector<double>& from, const std::vector<double>& to, bool* hit) const;

private:
    const zq::capsule_family* family_ = nullptr;
    zq::capsule_chain chain_{};
    // Clearances of up to four configurations (degrees), one per lane.
    zq::Lanes clearance4(const std::vector<double>* q[4]) const;
};

// Files `code` into the arm's error list (once; the list's 0 placeholder goes).
void file_arm_error(ArmConfig& arm, int code);

}  // namespace zqsim
