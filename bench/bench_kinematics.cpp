// Forward kinematics and flange Jacobian of the kinematic core, side by side
// with orocos KDL's recursive position solver and Jacobian solver on the
// same chains.
#include <benchmark/benchmark.h>

#include <kdl/chain.hpp>
#include <kdl/chainfksolverpos_recursive.hpp>
#include <kdl/chainjnttojacsolver.hpp>
#include <kdl/frames.hpp>
#include <kdl/jacobian.hpp>
#include <kdl/jntarray.hpp>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include "kinematics/chain.h"
#include "kinematics/forward.h"
#include "kinematics/jacobian.h"
#include "kinematics/sys_data.h"
#include "zq_api.h"

namespace {

constexpr int kSamples = 64;

// The loaded arm's DH chain as a KDL chain: each joint's offset and the
// fixed parts of the neighbouring links go into the segment tip frames.
KDL::Chain kdl_chain_of_loaded_arm() {
    const zq::zq_dh_block_t& dh = zq::sys_data.dh;
    const int dof = zq::get_dof();
    const int code = zq::get_model_code();
    const bool standard = code == 1;
    const bool flange_link = code >= 12 && code != 18;
    KDL::Chain chain;
    if (standard) {
        for (int i = 0; i < dof; ++i)
            chain.addSegment(KDL::Segment(KDL::Joint(KDL::Joint::RotZ),
                                          KDL::Frame(KDL::Rotation::RotZ(dh.offset[i])) *
                                              KDL::Frame(KDL::Vector(dh.a[i], 0, dh.d[i])) *
                                              KDL::Frame(KDL::Rotation::RotX(dh.alpha[i]))));
        return chain;
    }
    auto fixed_part = [&](int i) {  // Rx(alpha) Tx(a) of link i
        return KDL::Frame(KDL::Rotation::RotX(dh.alpha[i])) * KDL::Frame(KDL::Vector(dh.a[i], 0, 0));
    };
    chain.addSegment(KDL::Segment(KDL::Joint(KDL::Joint::None), fixed_part(0)));
    for (int i = 0; i < dof; ++i) {
        KDL::Frame tip = KDL::Frame(KDL::Rotation::RotZ(dh.offset[i])) * KDL::Frame(KDL::Vector(0, 0, dh.d[i]));
        if (i + 1 < dof) tip = tip * fixed_part(i + 1);
        if (i + 1 == dof && flange_link)
            tip = tip * fixed_part(7) * KDL::Frame(KDL::Rotation::RotZ(dh.offset[7])) *
                  KDL::Frame(KDL::Vector(0, 0, dh.d[7]));
        chain.addSegment(KDL::Segment(KDL::Joint(KDL::Joint::RotZ), tip));
    }
    return chain;
}

struct Fixture {
    KDL::Chain chain;
    std::vector<std::vector<float>> q;
    std::vector<KDL::JntArray> qk;
};

Fixture load(zq_robot_arm_model_e model) {
    zq_algo_init_sys_data(model, ZQ_MODEL_ZQ_B_E);
    Fixture f;
    f.chain = kdl_chain_of_loaded_arm();
    std::mt19937 rng(1);
    std::uniform_real_distribution<float> u(-2.5f, 2.5f);
    const int dof = zq::get_dof();
    for (int s = 0; s < kSamples; ++s) {
        std::vector<float> q(8, 0.0f);
        KDL::JntArray qk(dof);
        for (int i = 0; i < dof; ++i) qk(i) = q[i] = u(rng);
        f.q.push_back(q);
        f.qk.push_back(qk);
    }
    // The two must describe the same arm.
    KDL::ChainFkSolverPos_recursive fk(f.chain);
    double worst = 0.0;
    for (int s = 0; s < kSamples; ++s) {
        KDL::Frame out;
        fk.JntToCart(f.qk[s], out);
        const zq_matrix_t T = zq::get_Tbase_flange(f.q[s].data());
        for (int r = 0; r < 3; ++r) {
            worst = std::fmax(worst, std::fabs(T.data[r][3] - out.p(r)));
            for (int c = 0; c < 3; ++c) worst = std::fmax(worst, std::fabs(T.data[r][c] - out.M(r, c)));
        }
    }
    if (worst > 1e-5) {
        std::fprintf(stderr, "model %d: KDL chain differs by %g\n", int(model), worst);
        std::abort();
    }
    return f;
}

void BM_ForwardOurs(benchmark::State& state) {
    const Fixture f = load(static_cast<zq_robot_arm_model_e>(state.range(0)));
    int s = 0;
    for (auto _ : state) {
        zq_matrix_t T = zq::get_Tbase_flange(f.q[s].data());
        benchmark::DoNotOptimize(T);
        s = (s + 1) & (kSamples - 1);
    }
}

void BM_ForwardOursExported(benchmark::State& state) {
    const Fixture f = load(static_cast<zq_robot_arm_model_e>(state.range(0)));
    std::vector<std::vector<float>> deg = f.q;
    for (auto& q : deg)
        for (auto& v : q) v = float(v * 180.0 / M_PI);
    int s = 0;
    for (auto _ : state) {
        zq_pose_t p = zq_algo_forward_kinematics(nullptr, deg[s].data());
        benchmark::DoNotOptimize(p);
        s = (s + 1) & (kSamples - 1);
    }
}

void BM_ForwardKdl(benchmark::State& state) {
    const Fixture f = load(static_cast<zq_robot_arm_model_e>(state.range(0)));
    KDL::ChainFkSolverPos_recursive fk(f.chain);
    KDL::Frame out;
    int s = 0;
    for (auto _ : state) {
        fk.JntToCart(f.qk[s], out);
        benchmark::DoNotOptimize(out);
        s = (s + 1) & (kSamples - 1);
    }
}

void BM_JacobianOurs(benchmark::State& state) {
    const Fixture f = load(static_cast<zq_robot_arm_model_e>(state.range(0)));
    int s = 0;
    for (auto _ : state) {
        zq_matrix7_t J = zq::jacobian_flange(f.q[s].data(), zq::kMachine);
        benchmark::DoNotOptimize(J);
        s = (s + 1) & (kSamples - 1);
    }
}

void BM_JacobianKdl(benchmark::State& state) {
    const Fixture f = load(static_cast<zq_robot_arm_model_e>(state.range(0)));
    KDL::ChainJntToJacSolver solver(f.chain);
    KDL::Jacobian J(f.chain.getNrOfJoints());
    int s = 0;
    for (auto _ : state) {
        solver.JntToJac(f.qk[s], J);
        benchmark::DoNotOptimize(J.data.data());
        s = (s + 1) & (kSamples - 1);
    }
}

// ZQ41 (6 joints), HTR27 and ZQ52 (7 joints with closed forms), MQL52 (7
// joints and a flange link, general chain).
#define ARMS ->Arg(ZQ_MODEL_ZQ41_E)->Arg(ZQ_MODEL_HTR27_E)->Arg(ZQ_MODEL_ZQ52_E)->Arg(ZQ_MODEL_MQL52_E)
BENCHMARK(BM_ForwardOurs) ARMS;
BENCHMARK(BM_ForwardKdl) ARMS;
BENCHMARK(BM_ForwardOursExported) ARMS;
BENCHMARK(BM_JacobianOurs) ARMS;
BENCHMARK(BM_JacobianKdl) ARMS;

}  // namespace

BENCHMARK_MAIN();
