// The simulated arm does not run into itself: a joint move toward a configuration in contact
// stops where the arm is still free, a streamed set point in contact is not taken, and both
// file 0x6103. The library's own check, on the same arm model, is the judge.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "motion_engine.h"
#include "sim_client.h"
#include "simulator.h"
#include "zq_api.h"

namespace {

constexpr int kSelfContact = 0x6103;

std::string joints_text(const std::vector<double>& q) {
    std::string s;
    for (double v : q) s += (s.empty() ? "" : ",") + std::to_string(std::lround(v * 1000.0));
    return s;
}

// The first configuration in contact on the straight line from `from` to `to`, as a share
// of the way, sampled every 0.05 degrees by the library's path call; 2 when none.
double first_contact(const std::vector<double>& from, const std::vector<double>& to) {
    double widest = 0.0;
    for (std::size_t i = 0; i < from.size(); ++i) widest = std::max(widest, std::fabs(to[i] - from[i]));
    const int n = static_cast<int>(widest / 0.05) + 1;
    std::vector<float> path;
    for (int k = 0; k <= n; ++k)
        for (std::size_t i = 0; i < from.size(); ++i) path.push_back(float(from[i] + (to[i] - from[i]) * k / n));
    int first = -2;
    EXPECT_EQ(zq_algo_self_collision_path(path.data(), n + 1, &first), 0);
    return first < 0 ? 2.0 : double(first) / n;
}

class SimSelfContact : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(client_.ok());
        zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
        for (int i = 0; i < 5; ++i) zq_algo_set_tool_envelope(i, zq_tool_sphere_t{});
    }
    // Reads until `text` arrives, for a second at most.
    bool arrives(const std::string& text) {
        std::string got;
        for (int n = 0; n < 100 && got.find(text) == std::string::npos; ++n) got += client_.read_some(10);
        return got.find(text) != std::string::npos;
    }
    std::vector<int> errors() const { return sim_.config().state.err; }
    std::vector<double> joints() const { return sim_.config().joint_angles; }
    // A configuration in contact within the limits, and the line to it from zero crossing into it.
    std::vector<double> contact_target() {
        std::mt19937 rng(17);
        float mx[8], mn[8];
        zq_algo_get_joint_max_limit(mx);
        zq_algo_get_joint_min_limit(mn);
        for (int n = 0; n < 100000; ++n) {
            float q[6];
            for (int i = 0; i < 6; ++i) q[i] = std::uniform_real_distribution<float>(mn[i], mx[i])(rng);
            float c = 1.0f;
            for (float& v : q) v = std::round(v * 1000.0f) / 1000.0f;  // as the wire carries it
            if (zq_algo_self_collision_clearance(q, &c) == 0 && c < -0.005f) return std::vector<double>(q, q + 6);
        }
        ADD_FAILURE() << "no configuration in contact";
        return std::vector<double>(6, 0.0);
    }

    zqsim::Simulator sim_{zqsim::ArmConfig::for_model("ZQ41-B-1.0")};
    int port_ = sim_.start(0);
    simtest::RawClient client_{port_};
};

TEST_F(SimSelfContact, AMoveIntoContactStopsAtTheLastFreeConfiguration) {
    const std::vector<double> zero(6, 0.0), target = contact_target();
    const double crossing = first_contact(zero, target);
    ASSERT_LT(crossing, 1.0);
    client_.send(R"({"command":"movej","joint":[)" + joints_text(target) + R"(],"v":100,"r":0,"trajectory_connect":0})" + "\r\n");
    ASSERT_TRUE(arrives("\"receive_state\":true"));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    ASSERT_TRUE(sim_.motion().wait_idle(20000));
    // Stopped on the line, free, and within a degree of the contact.
    const std::vector<double> q = joints();
    double share = 0.0, widest = 0.0;
    for (int i = 0; i < 6; ++i) {
        if (std::fabs(target[i]) > std::fabs(widest)) widest = target[i], share = q[i] / target[i];
    }
    for (int i = 0; i < 6; ++i) EXPECT_NEAR(q[i], target[i] * share, 1e-5) << i;
    float qf[6];
    for (int i = 0; i < 6; ++i) qf[i] = float(q[i]);
    EXPECT_EQ(zq_algo_safety_robot_self_collision_detection(qf), 0);
    EXPECT_LE(share, crossing);
    EXPECT_GT(share, crossing - 1.0 / std::fabs(widest));
    EXPECT_EQ(errors(), std::vector<int>{kSelfContact});

    // A move that stays free runs to its end and files nothing further.
    sim_.update([](zqsim::ArmConfig& a) { a.state.err = {0}; });
    client_.send(R"({"command":"movej","joint":[0,0,0,0,0,0],"v":100,"r":0,"trajectory_connect":0})" "\r\n");
    ASSERT_TRUE(arrives("\"receive_state\":true"));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    ASSERT_TRUE(sim_.motion().wait_idle(20000));
    for (double v : joints()) EXPECT_NEAR(v, 0.0, 1e-9);
    EXPECT_EQ(errors(), std::vector<int>{0});
}

TEST_F(SimSelfContact, AStreamedSetPointInContactIsNotTaken) {
    // Start a hundredth of a degree short of the contact on the line to a target in contact,
    // then stream steps of 0.02 degrees of the widest joint along it.
    const std::vector<double> zero(6, 0.0), target = contact_target();
    const double crossing = first_contact(zero, target);
    double widest = 0.0;
    for (double v : target) widest = std::max(widest, std::fabs(v));
    const double step = 0.02 / widest;
    double at = crossing - 10.0 * step;
    auto along = [&](double s) {
        std::vector<double> q(6);
        for (int i = 0; i < 6; ++i) q[i] = target[i] * s;
        return q;
    };
    sim_.update([&](zqsim::ArmConfig& a) { a.joint_angles = along(at); });
    bool refused = false;
    for (int n = 0; n < 40 && !refused; ++n) {
        at += step;
        client_.send(R"({"command":"movej_canfd","joint":[)" + joints_text(along(at)) + R"(],"follow":false})" "\r\n");
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        refused = errors() != std::vector<int>{0};
    }
    ASSERT_TRUE(refused);
    EXPECT_EQ(errors(), std::vector<int>{kSelfContact});
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    std::vector<double> q = joints();
    float qf[6];
    for (int i = 0; i < 6; ++i) qf[i] = float(q[i]);
    EXPECT_EQ(zq_algo_safety_robot_self_collision_detection(qf), 0);
}

}  // namespace
