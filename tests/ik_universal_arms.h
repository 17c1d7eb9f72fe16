// Universal arms of the iterative solver tests: modified-DH chains with
// twists and offsets of no known model, loaded by their DH table; and the
// fixture of the tests that solve in traversal mode.
#pragma once

#include <gtest/gtest.h>

#include "ik/ik_mode.h"
#include "ik/rescue.h"
#include "ik_test_util.h"
#include "kinematics/mat.h"

namespace iktest {

inline const Arm kArm6 = {"odd6",
                          9,
                          6,
                          false,
                          false,
                          {0.32, 0.04, -0.03, 0.36, 0.02, 0.09},
                          {0, 0.11, 0.42, 0.05, 0.03, 0.01},
                          {0, -80, 7, 84, -95, 78},
                          {0, -30, 20, 0, 15, 0},
                          -1,
                          {1, 0, 0, 0, 0, 0},
                          {360, 360, 360, 360, 360, 360},
                          {-360, -360, -360, -360, -360, -360}};
inline const Arm kArm7 = {"odd7",
                          9,
                          7,
                          false,
                          false,
                          {0.3, 0.02, 0.33, -0.02, 0.3, 0.01, 0.08},
                          {0, 0.03, 0.02, 0.05, -0.04, 0.02, 0.03},
                          {0, -85, 80, 95, -82, 88, 93},
                          {0, 10, 0, -20, 0, 30, 0},
                          -1,
                          {1, 0, 0, 0, 0, 0},
                          {360, 360, 360, 360, 360, 360, 360},
                          {-360, -360, -360, -360, -360, -360, -360}};
inline const Arm kArm5 = {"odd5",
                          9,
                          5,
                          false,
                          false,
                          {0.3, 0.03, 0.02, 0.35, 0.1},
                          {0, 0.1, 0.4, 0.03, 0.02},
                          {0, -80, 7, 84, -95},
                          {0, -30, 20, 0, 15},
                          -1,
                          {1, 0, 0, 0, 0, 0},
                          {360, 360, 360, 360, 360},
                          {-360, -360, -360, -360, -360}};

inline void load_universal(const Arm& a) {
    zq_dh_t dh{};
    for (int i = 0; i < a.dof; ++i) {
        dh.d[i] = static_cast<float>(a.d[i]);
        dh.a[i] = static_cast<float>(a.a[i]);
        dh.alpha[i] = static_cast<float>(a.alpha[i]);
        dh.offset[i] = static_cast<float>(a.offset[i]);
    }
    zq_algo_init_sys_data_by_dh(ZQ_MODEL_ZQ_B_E, dh, a.dof);
}

inline zq_Mat_t target_of(const kinref::Mat4& T) {
    zq_Mat_t m = zq::mat_zeros(4, 4);
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) m.data[i][j] = static_cast<float>(T[i][j]);
    return m;
}

// Traversal mode for each test (without touching the pristine flag); the
// tracking step and the rescue stages are restored after it.
class TraversalTest : public ::testing::Test {
  protected:
    void SetUp() override {
        saved_step_ = zq::redundancy_step();
        zq::set_redundancy_mode(0);
    }
    void TearDown() override {
        zq::set_redundancy_step(saved_step_);
        zq::set_ik_rescue(true);
    }

  private:
    float saved_step_ = zq::kTrackingStep;
};

}  // namespace iktest
