#include "kinematics/model_match.h"

#include <cmath>
#include <cstdint>

#include "kinematics/model_table.h"
#include "kinematics/units.h"

namespace zq {
namespace {

constexpr double h = 1.5708;
constexpr float kSignDeadBand = 0.0005f;
constexpr double kTwistTolerance = 0.001;

// Outcomes that are not a model code of their own.
constexpr int kSideTestKwb = -12;  // 12 or 13 by the flange twist, else 9
constexpr int kSideTestMq = -14;   // 14 or 15 by the flange twist, else 9

struct Candidate {
    int codes[7];  // terminated by -1
    int dof;
    int8_t d_sign[7];
    int8_t a_sign[7];
    double alpha[7];
    int outcome;
};

const Candidate kCandidates[] = {
    {{0, -1}, 6, {1, 0, 0, 1, 0, 1}, {0, 0, 1, 0, 0, 0}, {0, h, 0, h, -h, h}, 0},
    {{1, 19, 20, 23, 24, -1}, 7, {1, 0, 1, 0, 1, 0, 1}, {0, 0, 0, 0, 0, 0, 0},
     {0, -h, h, -h, h, -h, h}, 1},
    {{3, -1}, 6, {1, 0, 0, 1, 0, 1}, {0, -1, 1, 1, 0, 0}, {0, -h, 0, h, -h, -h}, 3},
    {{4, -1}, 6, {1, -1, 0, 1, 0, 1}, {0, -1, 1, 1, 0, 0}, {0, -h, 0, h, -h, -h}, 9},
    {{5, 6, 8, -1}, 6, {1, 0, 0, -1, 1, 1}, {0, -1, 1, 1, 0, 0}, {0, -h, 0, 0, h, -h}, 5},
    {{7, 11, 18, -1}, 7, {1, 0, 1, 0, 1, 0, 1}, {0, 0, 0, 1, -1, 0, 1}, {0, -h, h, h, -h, h, h}, 7},
    {{12, 13, 27, 28, -1}, 7, {1, 0, 1, 0, 1, 0, 0}, {0, 0, 0, 1, -1, 0, 1},
     {0, -h, h, h, -h, h, h}, kSideTestKwb},
    {{14, 15, 21, 22, 26, 30, 32}, 7, {1, 0, 1, 0, 1, 0, 0}, {0, 0, 0, 0, 0, 0, 1},
     {0, -h, h, h, -h, h, h}, kSideTestMq},
    {{16, -1}, 7, {-1, 0, -1, 0, -1, 0, -1}, {0, 0, 1, 0, 0, 0, 0}, {0, -h, h, -h, h, -h, -h}, 9},
    {{17, -1}, 7, {1, 0, 1, 0, 1, 0, 1}, {0, 0, 1, 0, 0, 0, 0}, {0, h, -h, h, -h, h, h}, 9},
    {{25, 29, 31, -1}, 7, {1, 0, 1, 0, 1, 0, 0}, {0, 0, 0, 0, 0, 0, -1},
     {0, -h, h, h, -h, h, h}, kSideTestMq},
};

const Candidate* candidate_of(int code) {
    for (const auto& c : kCandidates)
        for (int k = 0; k < 7 && c.codes[k] >= 0; ++k)
            if (c.codes[k] == code) return &c;
    return nullptr;
}

int sign_of(float v) { return v > kSignDeadBand ? 1 : (v < -kSignDeadBand ? -1 : 0); }

struct WorkingDh {
    float d[8], a[8], alpha[8], offset[8];
};

bool matches(const Candidate& c, const WorkingDh& w, int dof) {
    if (c.dof != dof) return false;
    for (int i = 0; i < dof; ++i) {
        if (c.d_sign[i] != sign_of(w.d[i])) return false;
        if (c.a_sign[i] != sign_of(w.a[i])) return false;
        if (!(std::fabs(c.alpha[i] - w.alpha[i]) < kTwistTolerance)) return false;
    }
    return true;
}

int side_of(const WorkingDh& w, int left, int right) {
    if (std::fabs(w.alpha[7] - h) < kTwistTolerance) return left;
    if (std::fabs(w.alpha[7] + h) < kTwistTolerance) return right;
    return kUniversalCode;
}

int match_internal(const zq_dh_t* dh, int dof) {
    // Entries 0 to 6 only: the flange entry 7 is not taken over, so the
    // two-arm families never pass their side test.
    WorkingDh w{};
    for (int i = 0; i < 7; ++i) {
        w.d[i] = dh->d[i];
        w.a[i] = dh->a[i];
        w.alpha[i] = scale(dh->alpha[i], kDegToRadShort);
        w.offset[i] = scale(dh->offset[i], kDegToRadShort);
    }
    if (dof < 6 || dof > 7) return kUniversalCode;
    for (int code = 0; code <= kMaxModelCode; ++code) {
        if (code == kUniversalCode) continue;
        const Candidate* c = candidate_of(code);
        if (!c || !matches(*c, w, dof)) continue;
        if (c->outcome == kSideTestKwb) return side_of(w, 12, 13);
        if (c->outcome == kSideTestMq) return side_of(w, 14, 15);
        return c->outcome;
    }
    return kUniversalCode;
}

}  // namespace

int match_robot_dh(const zq_dh_t* dh, int dof) {
    if (!dh) return kUniversalCode;
    return internal_to_public_model(match_internal(dh, dof));
}

}  // namespace zq
