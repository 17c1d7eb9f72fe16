// Exact request bytes of the move family: member order, scaling in double precision for
// joints and in single precision for poses, truncation toward zero, the formatted "movec".
#include "motion_env.h"

namespace {

using zqtest::MotionTest;

// 2.675f is 2.67499995...: times 1000 in double precision it truncates to 2674, in single
// precision the product rounds to 2675.0f first.
zq_pose_t sample_pose() {
    zq_pose_t p{};
    p.position = {0.1f, -0.2f, 0.3f};
    p.euler = {2.675f, -1.5f, 0.001f};
    p.quaternion = {1.0f, 0.0f, 0.0f, 0.0f};
    return p;
}
// x, y, z times 1000000 in single precision: 100000, -200000, 300000 (0.1f * 1e6f is exactly
// 100000.0f); rx 2675, ry -1500, rz 1.
const char* const kSamplePose = "[100000,-200000,300000,2675,-1500,1]";

TEST_F(MotionTest, MotionWireMovejScalesJointsInDoublePrecision) {
    const float q[6] = {2.675f, -2.675f, 0.0001f, 90.0f, -0.0009f, 178.0f};
    ASSERT_EQ(zq_movej(arm_, q, 20, 3, 0, 0), 0);
    EXPECT_EQ(request("movej"),
              "{\"command\":\"movej\",\"v\":20,\"joint\":[2674,-2674,0,90000,0,178000],\"trajectory_connect\":0,"
              "\"r\":3}");
}

TEST_F(MotionTest, MotionWirePoseMoves) {
    const zq_pose_t p = sample_pose();
    ASSERT_EQ(zq_movel(arm_, p, 30, 1, 1, 0), 0);
    ASSERT_EQ(zq_moves(arm_, p, 31, 2, 1, 0), 0);
    ASSERT_EQ(zq_movej_p(arm_, p, 32, 3, 1, 0), 0);
    ASSERT_EQ(zq_movel_offset(arm_, p, 33, 4, 1, 2, 0), 0);
    const std::string pose = kSamplePose;
    EXPECT_EQ(request("movel"),
              "{\"command\":\"movel\",\"v\":30,\"pose\":" + pose + ",\"trajectory_connect\":1,\"r\":1}");
    EXPECT_EQ(request("moves"),
              "{\"command\":\"moves\",\"v\":31,\"pose\":" + pose + ",\"trajectory_connect\":1,\"r\":2}");
    EXPECT_EQ(request("movej_p"),
              "{\"command\":\"movej_p\",\"v\":32,\"pose\":" + pose + ",\"trajectory_connect\":1,\"r\":3}");
    EXPECT_EQ(request("movel_offset"), "{\"command\":\"movel_offset\",\"v\":33,\"offset\":" + pose +
                                           ",\"trajectory_connect\":1,\"r\":4,\"frame_type\":2}");
    // Four non-blocking moves: four reports are pending.
    EXPECT_EQ(pending(), 4);
    EXPECT_EQ(zq_set_arm_delete_trajectory(arm_), 0);
    EXPECT_EQ(pending(), 0);
}

TEST_F(MotionTest, MotionWireMovecIsFormatted) {
    zq_pose_t via = sample_pose();
    zq_pose_t to{};
    to.position = {0.25f, 0.0f, -0.5f};
    to.euler = {0.0f, 3.0f, -3.0f};
    ASSERT_EQ(zq_movec(arm_, via, to, 40, 5, 2, 0, 0), 0);
    EXPECT_EQ(request("movec", 50).size(), 0u);  // formatted: it does not begin like the others
    const std::string expected =
        "{\n"
        "\t\"command\":\t\"movec\",\n"
        "\t\"pose\":\t{\n"
        "\t\t\"pose_via\":\t[100000, -200000, 300000, 2675, -1500, 1],\n"
        "\t\t\"pose_to\":\t[250000, 0, -500000, 0, 3000, -3000]\n"
        "\t},\n"
        "\t\"v\":\t40,\n"
        "\t\"r\":\t5,\n"
        "\t\"loop\":\t2,\n"
        "\t\"trajectory_connect\":\t0\n"
        "}\r\n";
    EXPECT_EQ(sim_.received_bytes(), expected);
}

TEST_F(MotionTest, MotionWireRefusalsSendNothing) {
    const zq_pose_t p = sample_pose();
    EXPECT_EQ(zq_movec(arm_, p, p, 10, 0, 0, 2, 1), -6);
    EXPECT_EQ(zq_movec(arm_, p, p, 10, 0, 0, -1, 1), -6);
    arm_->controller_version = 3;
    EXPECT_EQ(zq_movel_offset(arm_, p, 10, 0, 0, 0, 1), -7);
    EXPECT_EQ(zq_set_arm_emergency_stop(arm_, true), -4);
    arm_->controller_version = 4;
    EXPECT_TRUE(sim_.received_bytes().empty());
}

}  // namespace
