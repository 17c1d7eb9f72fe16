#include "self_contact.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "collision/capsule_check.h"

namespace zqsim {
namespace {

constexpr double kSampleDeg = 0.5;
constexpr int kMaxSamples = 4096;
constexpr double kDeg = 3.14159265358979323846 / 180.0;

// The capsule family that the product version names: the longest family name in the text;
// the VDA36 arms carry the capsules of the VDA41.
const zq::capsule_family* family_named(const std::string& product) {
    int count = 0;
    const zq::capsule_family* all = zq::capsule_families(&count);
    const zq::capsule_family* best = nullptr;
    for (int i = 0; i < count; ++i) {
        const std::string name = all[i].name;
        if (product.find(name) != std::string::npos && (!best || name.size() > std::strlen(best->name))) best = &all[i];
    }
    if (!best && product.find("VDA36") != std::string::npos) return family_named("VDA41");
    return best;
}

}  // namespace

void SelfContact::configure(const ArmConfig& arm) {
    family_ = family_named(arm.product_version);
    if (family_ && (family_->standard_dh || static_cast<int>(arm.dh.size()) < family_->frames)) family_ = nullptr;
    chain_ = zq::capsule_chain{};
    for (std::size_t i = 0; i < arm.dh.size() && i < 8; ++i) {
        chain_.d[i] = static_cast<float>(arm.dh[i].d);
        chain_.a[i] = static_cast<float>(arm.dh[i].a);
        chain_.alpha[i] = static_cast<float>(arm.dh[i].alpha * kDeg);
        chain_.offset[i] = static_cast<float>(arm.dh[i].offset * kDeg);
    }
    for (int r = 0; r < 3; ++r) chain_.install[r][r] = 1.0f;
    zq::finish_chain(&chain_);
}

zq::Lanes SelfContact::clearance4(const std::vector<double>* q[4]) const {
    zq::Lanes lanes[8] = {};
    for (int l = 0; l < 4; ++l)
        for (std::size_t i = 0; i < q[l]->size() && i < 8; ++i) lanes[i][l] = static_cast<float>((*q[l])[i] * kDeg);
    return zq::capsule_clearance4(*family_, chain_, lanes, nullptr, 0);
}

bool SelfContact::touches(const std::vector<double>& q_deg) const {
    if (!family_) return false;
    const std::vector<double>* q[4] = {&q_deg, &q_deg, &q_deg, &q_deg};
    return clearance4(q)[0] < zq::kContact;
}

std::vector<double> SelfContact::last_free(const std::vector<double>& from, const std::vector<double>& to,
                                           bool* hit) const {
    *hit = false;
    if (!family_ || from.size() != to.size() || touches(from)) return to;
    double widest = 0.0;
    for (std::size_t i = 0; i < from.size(); ++i) widest = std::max(widest, std::fabs(to[i] - from[i]));
    const int n = std::clamp(static_cast<int>(std::ceil(widest / kSampleDeg)), 1, kMaxSamples);
    auto sample = [&](int k) {
        std::vector<double> q(from.size());
        for (std::size_t i = 0; i < q.size(); ++i) q[i] = k == n ? to[i] : from[i] + (to[i] - from[i]) * k / n;
        return q;
    };
    std::vector<double> last = from;
    for (int k = 1; k <= n; k += 4) {
        std::vector<double> s[4];
        const std::vector<double>* q[4];
        for (int l = 0; l < 4; ++l) {
            s[l] = sample(std::min(k + l, n));
            q[l] = &s[l];
        }
        const zq::Lanes c = clearance4(q);
        for (int l = 0; l < 4 && k + l <= n; ++l) {
            if (c[l] < zq::kContact) {
                *hit = true;
                return last;
            }
            last = s[l];
        }
    }
    return to;
}

void file_arm_error(ArmConfig& arm, int code) {
    std::vector<int>& err = arm.state.err;
    err.erase(std::remove(err.begin(), err.end(), 0), err.end());
    if (std::find(err.begin(), err.end(), code) == err.end()) err.push_back(code);
}

}  // namespace zqsim
