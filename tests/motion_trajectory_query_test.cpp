// The current trajectory query: every type, its scaling, the joint-count correction and the
// replies it refuses.
#include "motion_env.h"

namespace {

using zqtest::MotionTest;

class MotionTrajectoryQuery : public MotionTest {
protected:
    // Answers the next query with `type` and `data` (a JSON array text), then asks.
    int ask(const std::string& type, const std::string& data) {
        sim_.set_reply("get_arm_current_trajectory",
                       "{\"command\":\"arm_current_trajectory\",\"type\":\"" + type + "\",\"data\":" + data + "}", 1);
        return zq_get_arm_current_trajectory(arm_, &type_, values_);
    }
    void fill(float v) {
        for (float& x : values_) x = v;
    }
    zq_arm_current_trajectory_e type_ = ZQ_TRAJECTORY_RE_TRAJECTORY;  // none of the refused replies
    float values_[7] = {0};
};

TEST_F(MotionTrajectoryQuery, MotionEveryTypeAndItsScaling) {
    struct Row {
        const char* wire;
        zq_arm_current_trajectory_e type;
        bool pose;
    };
    const Row rows[] = {{"movej", ZQ_TRAJECTORY_MOVEJ, false},       {"movel", ZQ_TRAJECTORY_MOVEL, true},
                        {"movec", ZQ_TRAJECTORY_MOVEC, true},        {"moves", ZQ_TRAJECTORY_MOVES, true},
                        {"re_trajectory", ZQ_TRAJECTORY_RE_TRAJECTORY, false}, {"blend", ZQ_TRAJECTORY_BLEND, false}};
    for (const Row& r : rows) {
        SCOPED_TRACE(r.wire);
        fill(-7.0f);
        ASSERT_EQ(ask(r.wire, "[123456,-2500,3,1500,-1,0,7]"), 0);
        EXPECT_EQ(type_, r.type);
        if (r.pose) {
            EXPECT_FLOAT_EQ(values_[0], 0.123456f);  // micrometres
            EXPECT_FLOAT_EQ(values_[1], -0.0025f);
            EXPECT_FLOAT_EQ(values_[2], 0.000003f);
            EXPECT_FLOAT_EQ(values_[3], 1.5f);       // 0.001 rad
            EXPECT_FLOAT_EQ(values_[4], -0.001f);
            EXPECT_FLOAT_EQ(values_[5], 0.0f);
            EXPECT_FLOAT_EQ(values_[6], -7.0f);      // a pose fills six
        } else {
            EXPECT_FLOAT_EQ(values_[0], 123.456f);   // 0.001 degree
            EXPECT_FLOAT_EQ(values_[1], -2.5f);
            EXPECT_FLOAT_EQ(values_[6], 0.007f);
        }
    }
    EXPECT_EQ(arm_->arm_dof, 6);  // only "none" sets the joint count
}

TEST_F(MotionTrajectoryQuery, MotionIdleArmSetsTheJointCount) {
    ASSERT_EQ(ask("none", "[1000,2000,3000,4000,5000,6000,7000]"), 0);
    EXPECT_EQ(type_, ZQ_TRAJECTORY_NONE);
    EXPECT_FLOAT_EQ(values_[6], 7.0f);
    EXPECT_EQ(arm_->arm_dof, 6);  // never raised past the arrays sized for the arm
    ASSERT_EQ(ask("none", "[0,0,0,0,0]"), 0);
    EXPECT_EQ(arm_->arm_dof, 5);
    ASSERT_EQ(ask("none", "[]"), 0);
    EXPECT_EQ(arm_->arm_dof, 5);  // 0 is out of range: the count stays
}

TEST_F(MotionTrajectoryQuery, MotionShortPoseKeepsTheCallersValues) {
    fill(9.0f);
    ASSERT_EQ(ask("movel", "[1000000,2000000]"), 0);
    EXPECT_FLOAT_EQ(values_[0], 1.0f);
    EXPECT_FLOAT_EQ(values_[1], 2.0f);
    EXPECT_FLOAT_EQ(values_[2], 9.0f);
    EXPECT_FLOAT_EQ(values_[5], 9.0f);
}

TEST_F(MotionTrajectoryQuery, MotionRefusedRepliesLeaveTheResultsAlone) {
    fill(4.0f);
    EXPECT_EQ(ask("movej", "[1,2,3,4,5,6,7,8]"), -3);  // eight values
    EXPECT_EQ(ask("sideways", "[1,2,3]"), -3);         // unknown type
    EXPECT_EQ(ask("movej", "12"), -3);                 // data is no array
    sim_.set_reply("get_arm_current_trajectory", "{\"command\":\"arm_current_trajectory\",\"data\":[1]}", 1);
    EXPECT_EQ(zq_get_arm_current_trajectory(arm_, &type_, values_), -3);  // no type
    EXPECT_EQ(type_, ZQ_TRAJECTORY_RE_TRAJECTORY);
    EXPECT_FLOAT_EQ(values_[0], 4.0f);
    EXPECT_EQ(request("get_arm_current_trajectory"), "{\"command\":\"get_arm_current_trajectory\"}");
}

}  // namespace
