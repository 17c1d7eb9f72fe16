// Inverse kinematics of universal arms (DH tables of no known model, five, six
// and seven joints), the solvers alone and with the library's rescue stages,
// beside orocos KDL's ChainIkSolverPos_LMA given random restarts
// until it succeeds or has spent the budget of our slowest percentile. A
// solve succeeds when its joints reproduce the target within 1e-4 m and
// 1e-3 rad, checked with KDL's forward kinematics in double precision. Times
// are processor time of this single-threaded program, so that a busy machine
// does not count against either side.
// Usage: bench_ik_universal [targets per arm, default 500]
#include <kdl/chain.hpp>
#include <kdl/chainfksolverpos_recursive.hpp>
#include <kdl/chainiksolverpos_lma.hpp>
#include <kdl/frames.hpp>
#include <kdl/jntarray.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <vector>

#include "ik/rescue.h"
#include "zq_algo.h"

namespace {

constexpr double kDeg = M_PI / 180.0;

struct ArmDh {
    const char* name;
    int dof;
    double d[7], a[7], alpha[7], offset[7];  // metres, degrees
};

constexpr ArmDh kArms[] = {
    {"universal, 6 joints",
     6,
     {0.32, 0.04, -0.03, 0.36, 0.02, 0.09},
     {0, 0.11, 0.42, 0.05, 0.03, 0.01},
     {0, -80, 7, 84, -95, 78},
     {0, -30, 20, 0, 15, 0}},
    {"universal, 7 joints",
     7,
     {0.3, 0.02, 0.33, -0.02, 0.3, 0.01, 0.08},
     {0, 0.03, 0.02, 0.05, -0.04, 0.02, 0.03},
     {0, -85, 80, 95, -82, 88, 93},
     {0, 10, 0, -20, 0, 30, 0}},
    {"universal, 5 joints",
     5,
     {0.3, 0.03, 0.02, 0.35, 0.1},
     {0, 0.1, 0.4, 0.03, 0.02},
     {0, -80, 7, 84, -95},
     {0, -30, 20, 0, 15}},
};

// Modified DH: Rx(alpha) Tx(a) Rz(theta + offset) Tz(d) per link.
KDL::Chain chain_of(const ArmDh& arm) {
    KDL::Chain chain;
    auto fixed = [&](int i) {
        return KDL::Frame(KDL::Rotation::RotX(arm.alpha[i] * kDeg)) * KDL::Frame(KDL::Vector(arm.a[i], 0, 0));
    };
    chain.addSegment(KDL::Segment(KDL::Joint(KDL::Joint::None), fixed(0)));
    for (int i = 0; i < arm.dof; ++i) {
        KDL::Frame tip =
            KDL::Frame(KDL::Rotation::RotZ(arm.offset[i] * kDeg)) * KDL::Frame(KDL::Vector(0, 0, arm.d[i]));
        if (i + 1 < arm.dof) tip = tip * fixed(i + 1);
        chain.addSegment(KDL::Segment(KDL::Joint(KDL::Joint::RotZ), tip));
    }
    return chain;
}

void load(const ArmDh& arm) {
    zq_dh_t dh{};
    for (int i = 0; i < arm.dof; ++i) {
        dh.d[i] = static_cast<float>(arm.d[i]);
        dh.a[i] = static_cast<float>(arm.a[i]);
        dh.alpha[i] = static_cast<float>(arm.alpha[i]);
        dh.offset[i] = static_cast<float>(arm.offset[i]);
    }
    zq_algo_init_sys_data_by_dh(ZQ_MODEL_ZQ_B_E, dh, arm.dof);
}

zq_pose_t pose_of(const KDL::Frame& f) {
    zq_pose_t p{};
    p.position.x = static_cast<float>(f.p.x());
    p.position.y = static_cast<float>(f.p.y());
    p.position.z = static_cast<float>(f.p.z());
    double x, y, z, w;
    f.M.GetQuaternion(x, y, z, w);
    p.quaternion =
        zq_quat_t{static_cast<float>(w), static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
    return p;
}

bool good(const KDL::Chain& chain, const double* q_rad, int dof, const KDL::Frame& target) {
    KDL::JntArray q(dof);
    for (int i = 0; i < dof; ++i) {
        if (!std::isfinite(q_rad[i])) return false;
        q(i) = q_rad[i];
    }
    KDL::ChainFkSolverPos_recursive fk(chain);
    KDL::Frame f;
    fk.JntToCart(q, f);
    const KDL::Twist d = KDL::diff(f, target);
    return d.vel.Norm() < 1e-4 && d.rot.Norm() < 1e-3;
}

struct Stats {
    int ok = 0;
    std::vector<double> us;
    double percentile(double p) {
        std::sort(us.begin(), us.end());
        return us.empty() ? 0 : us[std::min(us.size() - 1, static_cast<size_t>(p * us.size()))];
    }
    void print(const char* what) {
        const size_t n = us.size();
        double sum = 0;
        for (double u : us) sum += u;
        std::printf("  %-34s %4d/%-4zu %6.1f%%  median %8.1f us  p99 %8.1f us  mean %8.1f us\n", what, ok, n,
                    100.0 * ok / n, percentile(0.5), percentile(0.99), sum / n);
    }
};

using Tick = std::clock_t;
Tick now() {
    return std::clock();
}
double elapsed_us(Tick t0) {
    return static_cast<double>(std::clock() - t0) * 1e6 / CLOCKS_PER_SEC;
}

void run(const ArmDh& arm, int targets) {
    load(arm);
    const KDL::Chain chain = chain_of(arm);
    KDL::ChainFkSolverPos_recursive fk(chain);
    KDL::ChainIkSolverPos_LMA lma(chain);
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> joint(-180.0, 180.0);
    const int n = arm.dof;
    std::vector<KDL::Frame> T(targets);
    std::vector<std::vector<double>> ref(targets, std::vector<double>(n));
    for (int k = 0; k < targets; ++k) {
        KDL::JntArray q(n);
        for (int i = 0; i < n; ++i) q(i) = joint(rng) * kDeg;
        fk.JntToCart(q, T[k]);
        for (int i = 0; i < n; ++i) ref[k][i] = joint(rng);
    }
    // The solver alone, then with the rescue stages (the library's answer).
    Stats alone, ours;
    for (Stats* st : {&alone, &ours}) {
        zq::set_ik_rescue(st == &ours);
        for (int k = 0; k < targets; ++k) {
            zq_inverse_kinematics_params_t p{};
            for (int i = 0; i < n; ++i) p.q_in[i] = static_cast<float>(ref[k][i]);
            p.q_pose = pose_of(T[k]);
            float out[8] = {0};
            const auto t0 = now();
            const int res = zq_algo_inverse_kinematics(nullptr, &p, out);
            st->us.push_back(elapsed_us(t0));
            double q[8];
            for (int i = 0; i < n; ++i) q[i] = out[i] * kDeg;
            st->ok += res == 0 && good(chain, q, n, T[k]);
        }
    }
    zq::set_ik_rescue(true);
    const double budget = ours.percentile(0.99);
    Stats kdl, kdl_one;
    int restarts = 0;
    KDL::JntArray init(n), out(n);
    for (int k = 0; k < targets; ++k) {
        for (int i = 0; i < n; ++i) init(i) = ref[k][i] * kDeg;
        const auto t0 = now();
        bool solved = false;
        for (int attempt = 0; !solved; ++attempt) {
            if (attempt > 0) {
                if (elapsed_us(t0) >= budget) break;
                ++restarts;
                for (int i = 0; i < n; ++i) init(i) = joint(rng) * kDeg;
            }
            const auto t1 = now();
            const int res = lma.CartToJnt(init, T[k], out);
            if (attempt == 0) kdl_one.us.push_back(elapsed_us(t1));
            solved = res >= 0 && good(chain, out.data.data(), n, T[k]);
            if (attempt == 0) kdl_one.ok += solved;
        }
        kdl.us.push_back(elapsed_us(t0));
        kdl.ok += solved;
    }
    std::printf("%s, %d random reachable targets, random references\n", arm.name, targets);
    alone.print("solver alone (traversal)");
    ours.print("ours (with rescue, traversal)");
    kdl_one.print("KDL LMA, one start");
    kdl.print("KDL LMA, restarts within budget");
    std::printf("  KDL budget %.1f us (our p99), %d restarts in all; median ratio KDL/ours %.2f\n", budget,
                restarts, kdl.percentile(0.5) / ours.percentile(0.5));
}

}  // namespace

int main(int argc, char** argv) {
    const int targets = argc > 1 ? std::max(1, std::atoi(argv[1])) : 500;
    zq_algo_set_redundant_parameter_traversal_mode(true);
    for (const ArmDh& arm : kArms) run(arm, targets);
    return 0;
}
