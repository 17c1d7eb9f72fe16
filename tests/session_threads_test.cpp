// Many application threads on five sessions at once.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "test_env.h"

namespace {

TEST(SessionThreads, FourThreadsOnEachOfFiveSessions) {
    zqtest::start_library();
    if (zqtest::mode() == ZQ_SINGLE_THREAD_MODE) GTEST_SKIP() << "one waiting thread at a time in this mode";
    constexpr int kArms = 5, kThreads = 4, kQueries = 40;
    std::vector<std::unique_ptr<zqsim::Simulator>> sims;
    std::vector<zq_robot_handle*> arms;
    for (int i = 0; i < kArms; ++i) {
        sims.push_back(std::make_unique<zqsim::Simulator>(zqsim::ArmConfig::for_model("ZQ41-B-1.0")));
        sims.back()->set_recording(false);
        const int port = sims.back()->start(0);
        ASSERT_GT(port, 0);
        arms.push_back(zq_create_robot_arm("127.0.0.1", port));
        ASSERT_NE(arms.back(), nullptr);
        ASSERT_GT(arms.back()->id, 0);
    }
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int a = 0; a < kArms; ++a) {
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&, a, t] {
                for (int q = 0; q < kQueries; ++q) {
                    int mode = -1;
                    // Two keys per session: replies are told apart by key only.
                    int rc = (t % 2) ? zq_get_arm_run_mode(arms[a], &mode)
                                     : zq_get_joint_max_pos(arms[a], std::vector<float>(10).data());
                    if (rc != 0) ++failures;
                }
            });
        }
    }
    // Robot information is read meanwhile from yet another thread.
    std::thread reader([&] {
        zq_robot_info_t info{};
        for (int i = 0; i < 200; ++i) {
            if (zq_get_robot_info(arms[i % kArms], &info) != 0) ++failures;
        }
    });
    for (auto& th : threads) th.join();
    reader.join();
    EXPECT_EQ(failures.load(), 0);
    // Deletes wait for commands in flight, and the slots come back.
    for (auto* h : arms) EXPECT_EQ(zq_delete_robot_arm(h), 0);
    for (auto& s : sims) s->stop();
}

TEST(SessionThreads, DeleteWhileAnotherThreadWaitsForAReply) {
    zqtest::start_library();
    zqsim::Simulator sim(zqsim::ArmConfig::for_model("ZQ41-B-1.0"));
    const int port = sim.start(0);
    zq_robot_handle* arm = zq_create_robot_arm("127.0.0.1", port);
    ASSERT_GT(arm->id, 0);
    sim.drop_reply("get_arm_run_mode");
    sim.clear_received();
    std::atomic<int> rc{1};
    std::thread waiter([&] {
        int mode;
        rc = zq_get_arm_run_mode(arm, &mode);
    });
    ASSERT_TRUE(sim.wait_for_lines(1, 1000));
    EXPECT_EQ(zq_delete_robot_arm(arm), 0);
    waiter.join();
    EXPECT_EQ(rc.load(), -1);  // the wait ends with its session
    sim.stop();
}

}  // namespace
