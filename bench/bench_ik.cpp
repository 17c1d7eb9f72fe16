// Inverse kinematics of every public arm model, side by side with orocos
// KDL's ChainIkSolverPos_LMA on the same chains and the same poses: time per
// solve and success rate. A solve succeeds when its joints lie inside the
// limits and reproduce the target within 1e-4 m and 1e-3 rad, both checked
// with KDL's forward kinematics in double precision.
#include <kdl/chain.hpp>
#include <kdl/chainfksolverpos_recursive.hpp>
#include <kdl/chainiksolverpos_lma.hpp>
#include <kdl/chainjnttojacsolver.hpp>
#include <kdl/jacobian.hpp>
#include <kdl/frames.hpp>
#include <kdl/jntarray.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include "ik/ik_mode.h"
#include "ik/rescue.h"
#include "kinematics/sys_data.h"
#include "zq_algo.h"

namespace {

constexpr double kDeg = M_PI / 180.0;

struct Model {
    const char* name;
    zq_robot_arm_model_e model;
};

constexpr Model kModels[] = {
    {"ZQ41", ZQ_MODEL_ZQ41_E},       {"ZQL36", ZQ_MODEL_ZQL36_E},   {"ZQL36III", ZQ_MODEL_ZQL36III_E},
    {"VDA41", ZQ_MODEL_VDA41_E},     {"VDA26", ZQ_MODEL_VDA26_E},   {"VDA36", ZQ_MODEL_VDA36_E},
    {"ZQ52", ZQ_MODEL_ZQ52_E},       {"HTR27", ZQ_MODEL_HTR27_E},   {"KWBL37", ZQ_MODEL_KWBL37_E},
    {"KWBR37", ZQ_MODEL_KWBR37_E},   {"MQL52", ZQ_MODEL_MQL52_E},   {"MQR52", ZQ_MODEL_MQR52_E},
    {"KWBL47", ZQ_MODEL_KWBL47_E},   {"KWBR47", ZQ_MODEL_KWBR47_E}, {"MQL52II", ZQ_MODEL_MQL52II_E},
    {"MQR52II", ZQ_MODEL_MQR52II_E},
};

// The loaded arm's DH chain as a KDL chain, built as bench_kinematics builds it.
KDL::Chain kdl_chain_of_loaded_arm() {
    const zq::zq_dh_block_t& dh = zq::sys_data.dh;
    const int dof = zq::get_dof();
    const int code = zq::get_model_code();
    const bool standard = code == 1;
    const bool flange_link = code >= 12 && code != 18;
    KDL::Chain chain;
    if (standard) {
        for (int i = 0; i < dof; ++i)
            chain.addSegment(
                KDL::Segment(KDL::Joint(KDL::Joint::RotZ), KDL::Frame(KDL::Rotation::RotZ(dh.offset[i])) *
                                                               KDL::Frame(KDL::Vector(dh.a[i], 0, dh.d[i])) *
                                                               KDL::Frame(KDL::Rotation::RotX(dh.alpha[i]))));
        return chain;
    }
    auto fixed_part = [&](int i) {
        return KDL::Frame(KDL::Rotation::RotX(dh.alpha[i])) * KDL::Frame(KDL::Vector(dh.a[i], 0, 0));
    };
    chain.addSegment(KDL::Segment(KDL::Joint(KDL::Joint::None), fixed_part(0)));
    for (int i = 0; i < dof; ++i) {
        KDL::Frame tip =
            KDL::Frame(KDL::Rotation::RotZ(dh.offset[i])) * KDL::Frame(KDL::Vector(0, 0, dh.d[i]));
        if (i + 1 < dof) tip = tip * fixed_part(i + 1);
        if (i + 1 == dof && flange_link)
            tip = tip * fixed_part(7) * KDL::Frame(KDL::Rotation::RotZ(dh.offset[7])) *
                  KDL::Frame(KDL::Vector(0, 0, dh.d[7]));
        chain.addSegment(KDL::Segment(KDL::Joint(KDL::Joint::RotZ), tip));
    }
    return chain;
}

struct Arm {
    KDL::Chain chain;
    int dof;
    double lo[8], hi[8];  // degrees
};

Arm load(zq_robot_arm_model_e model) {
    zq_algo_init_sys_data(model, ZQ_MODEL_ZQ_B_E);
    Arm a;
    a.chain = kdl_chain_of_loaded_arm();
    a.dof = zq::get_dof();
    float lo[8], hi[8];
    zq_algo_get_joint_min_limit(lo);
    zq_algo_get_joint_max_limit(hi);
    for (int i = 0; i < 8; ++i) {
        a.lo[i] = lo[i];
        a.hi[i] = hi[i];
    }
    return a;
}

KDL::Frame fk(const Arm& a, const double* q_deg) {
    KDL::ChainFkSolverPos_recursive solver(a.chain);
    KDL::JntArray q(a.dof);
    for (int i = 0; i < a.dof; ++i) q(i) = q_deg[i] * kDeg;
    KDL::Frame f;
    solver.JntToCart(q, f);
    return f;
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

// Joints moved by whole turns into the limits where they fit; then the test.
bool good(const Arm& a, double* q_deg, const KDL::Frame& target) {
    for (int i = 0; i < a.dof; ++i) {
        if (!std::isfinite(q_deg[i])) return false;
        while (q_deg[i] > a.hi[i] + 1e-3 && q_deg[i] - 360 >= a.lo[i] - 1e-3) q_deg[i] -= 360;
        while (q_deg[i] < a.lo[i] - 1e-3 && q_deg[i] + 360 <= a.hi[i] + 1e-3) q_deg[i] += 360;
        if (q_deg[i] < a.lo[i] - 1e-3 || q_deg[i] > a.hi[i] + 1e-3) return false;
    }
    const KDL::Frame f = fk(a, q_deg);
    const KDL::Twist d = KDL::diff(f, target);
    return d.vel.Norm() < 1e-4 && d.rot.Norm() < 1e-3;
}

std::vector<double> random_joints(const Arm& a, std::mt19937& rng, double margin) {
    std::vector<double> q(8, 0.0);
    for (int i = 0; i < a.dof; ++i)
        q[i] = std::uniform_real_distribution<double>(a.lo[i] + margin, a.hi[i] - margin)(rng);
    return q;
}

std::vector<double> near(const Arm& a, const std::vector<double>& q, std::mt19937& rng) {
    std::vector<double> r = q;
    for (int i = 0; i < a.dof; ++i)
        r[i] =
            std::fmin(a.hi[i], std::fmax(a.lo[i], q[i] + std::uniform_real_distribution<double>(-2, 2)(rng)));
    return r;
}

using Clock = std::chrono::steady_clock;

struct Tally {
    int ok = 0, n = 0;
    double seconds = 0;
    void print(const char* what) const {
        std::printf("  %-38s %6d/%-6d %8.3f%%", what, ok, n, n ? 100.0 * ok / n : 0.0);
        if (seconds > 0) std::printf("  %9.2f us/solve", 1e6 * seconds / n);
        std::printf("\n");
    }
};

void ours(const Arm& a, const std::vector<double>& ref, const KDL::Frame& T, Tally* t) {
    zq_inverse_kinematics_params_t p{};
    for (int i = 0; i < a.dof; ++i) p.q_in[i] = static_cast<float>(ref[i]);
    p.q_pose = pose_of(T);
    float out[8] = {0};
    const auto t0 = Clock::now();
    const int res = zq_algo_inverse_kinematics(nullptr, &p, out);
    t->seconds += std::chrono::duration<double>(Clock::now() - t0).count();
    double q[8];
    for (int i = 0; i < 8; ++i) q[i] = out[i];
    t->ok += res == 0 && good(a, q, T);
    ++t->n;
}

void kdl(const Arm& a, KDL::ChainIkSolverPos_LMA& solver, const std::vector<double>& ref, const KDL::Frame& T,
         Tally* t, std::vector<double>* solution = nullptr) {
    KDL::JntArray init(a.dof), out(a.dof);
    for (int i = 0; i < a.dof; ++i) init(i) = ref[i] * kDeg;
    const auto t0 = Clock::now();
    const int res = solver.CartToJnt(init, T, out);
    t->seconds += std::chrono::duration<double>(Clock::now() - t0).count();
    double q[8] = {0};
    for (int i = 0; i < a.dof; ++i) q[i] = out(i) / kDeg;
    t->ok += res >= 0 && good(a, q, T);
    ++t->n;
    if (solution) solution->assign(q, q + 8);
}

// sqrt(det(J J^T)) of KDL's Jacobian: zero at a singular configuration.
double manipulability(const Arm& a, const std::vector<double>& q_deg) {
    KDL::ChainJntToJacSolver solver(a.chain);
    KDL::JntArray q(a.dof);
    for (int i = 0; i < a.dof; ++i) q(i) = q_deg[i] * kDeg;
    KDL::Jacobian J(a.dof);
    solver.JntToJac(q, J);
    double M[6][6] = {};
    for (int r = 0; r < 6; ++r)
        for (int c = 0; c < 6; ++c)
            for (int k = 0; k < a.dof; ++k) M[r][c] += J(r, k) * J(c, k);
    double det = 1.0;
    for (int c = 0; c < 6; ++c) {
        int p = c;
        for (int r = c + 1; r < 6; ++r)
            if (std::fabs(M[r][c]) > std::fabs(M[p][c])) p = r;
        if (M[p][c] == 0) return 0;
        if (p != c)
            for (int k = 0; k < 6; ++k) std::swap(M[p][k], M[c][k]);
        det *= M[c][c];
        for (int r = c + 1; r < 6; ++r) {
            const double f = M[r][c] / M[c][c];
            for (int k = c; k < 6; ++k) M[r][k] -= f * M[c][k];
        }
    }
    return std::sqrt(std::fabs(det));
}

struct Case {
    std::vector<double> q, ref_near, ref_far;
    KDL::Frame T;
    bool regular;  // away from singular zones
};

// The fastest of a few timed passes over all cases, per solve; the same
// number of passes for every solver, so that none gets more tries at a quiet
// moment of the machine.
constexpr int kPasses = 3;
template <typename F>
double best_pass(int passes, int n, F&& run) {
    double best = 1e30;
    for (int p = 0; p < passes; ++p) {
        const auto t0 = Clock::now();
        run();
        best = std::fmin(best, std::chrono::duration<double>(Clock::now() - t0).count());
    }
    return best / n;
}

// Random poses from joints inside the limits, solved from a near and a far
// reference. "Regular" leaves out configurations with sqrt(det(J J^T)) below
// a twentieth of its median, and six-joint wrists within 6 degrees of straight.
void random_poses(const Model& m, int samples) {
    const Arm a = load(m.model);
    KDL::ChainIkSolverPos_LMA lma(a.chain);
    std::mt19937 rng(1);
    std::vector<double> mm;
    for (int s = 0; s < 101; ++s) mm.push_back(manipulability(a, random_joints(a, rng, 0)));
    std::nth_element(mm.begin(), mm.begin() + 50, mm.end());
    const double floor = 0.05 * mm[50];
    const double off5 = zq::sys_data.dh.offset[4] / kDeg;
    std::vector<Case> cases;
    for (int s = 0; s < samples; ++s) {
        Case c;
        c.q = random_joints(a, rng, 0.5);
        c.T = fk(a, c.q.data());
        c.ref_near = near(a, c.q, rng);
        c.ref_far = random_joints(a, rng, 0.0);
        const double w = std::fmod(std::fabs(c.q[4] + off5), 360.0);
        const bool wrist = a.dof == 6 && (w < 6 || std::fabs(w - 180) < 6 || w > 354);
        c.regular = !wrist && manipulability(a, c.q) >= floor;
        cases.push_back(c);
    }
    Tally on, of, kn, kf, onr, knr, an, af;
    for (const Case& c : cases) {
        Tally o1, o2, k1, k2;
        // The solver alone first (no rescue stage, no check of its answer).
        zq::set_ik_rescue(false);
        ours(a, c.ref_near, c.T, &an);
        ours(a, c.ref_far, c.T, &af);
        zq::set_ik_rescue(true);
        ours(a, c.ref_near, c.T, &o1);
        ours(a, c.ref_far, c.T, &o2);
        kdl(a, lma, c.ref_near, c.T, &k1);
        kdl(a, lma, c.ref_far, c.T, &k2);
        on.ok += o1.ok, of.ok += o2.ok, kn.ok += k1.ok, kf.ok += k2.ok;
        ++on.n, ++of.n, ++kn.n, ++kf.n;
        if (c.regular) onr.ok += o1.ok, knr.ok += k1.ok, ++onr.n, ++knr.n;
    }
    // The timed passes run the solvers alone on inputs prepared beforehand.
    std::vector<zq_inverse_kinematics_params_t> pn, pf;
    std::vector<KDL::JntArray> kn_init, kf_init;
    for (const Case& c : cases) {
        zq_inverse_kinematics_params_t p{};
        p.q_pose = pose_of(c.T);
        KDL::JntArray jn(a.dof), jf(a.dof);
        for (int i = 0; i < a.dof; ++i) {
            p.q_in[i] = static_cast<float>(c.ref_near[i]);
            jn(i) = c.ref_near[i] * kDeg;
            jf(i) = c.ref_far[i] * kDeg;
        }
        pn.push_back(p);
        for (int i = 0; i < a.dof; ++i) p.q_in[i] = static_cast<float>(c.ref_far[i]);
        pf.push_back(p);
        kn_init.push_back(jn);
        kf_init.push_back(jf);
    }
    float out[8];
    KDL::JntArray kout(a.dof);
    on.seconds = best_pass(kPasses, 1, [&] {
        for (auto& p : pn) zq_algo_inverse_kinematics(nullptr, &p, out);
    });
    of.seconds = best_pass(kPasses, 1, [&] {
        for (auto& p : pf) zq_algo_inverse_kinematics(nullptr, &p, out);
    });
    kn.seconds = best_pass(kPasses, 1, [&] {
        for (size_t k = 0; k < cases.size(); ++k) lma.CartToJnt(kn_init[k], cases[k].T, kout);
    });
    kf.seconds = best_pass(kPasses, 1, [&] {
        for (size_t k = 0; k < cases.size(); ++k) lma.CartToJnt(kf_init[k], cases[k].T, kout);
    });
    an.print("solver alone, near reference");
    af.print("solver alone, far reference");
    on.print("ours, near reference");
    onr.print("ours, near reference, regular poses");
    of.print("ours, far reference");
    kn.print("KDL LMA, near reference");
    knr.print("KDL LMA, near reference, regular poses");
    kf.print("KDL LMA, far reference");
    std::printf("  speed-up over KDL, near reference: %.1f\n", kn.seconds / on.seconds);
}

// Smooth paths of targets 2 ms apart, each solve seeded with the last answer.
// The time is the fastest of a few passes over the recorded seeds and targets.
void tracking_paths(const Model& m, int paths) {
    const Arm a = load(m.model);
    KDL::ChainIkSolverPos_LMA lma(a.chain);
    zq_algo_set_redundant_parameter_traversal_mode(false);
    std::mt19937 rng(2);
    Tally ot, kt;
    std::vector<zq_inverse_kinematics_params_t> ours_in;
    std::vector<std::vector<double>> kdl_seed;
    std::vector<KDL::Frame> targets;
    for (int p = 0; p < paths; ++p) {
        const std::vector<double> q0 = random_joints(a, rng, 15), q1 = random_joints(a, rng, 15);
        std::vector<double> cur = q0, kcur = q0;
        for (int s = 1; s <= 500; ++s) {
            const double t = s / 500.0, b = 0.1 * (3 * t * t - 2 * t * t * t);
            std::vector<double> qs(8, 0.0);
            for (int i = 0; i < a.dof; ++i) qs[i] = q0[i] + b * (q1[i] - q0[i]);
            const KDL::Frame T = fk(a, qs.data());
            zq_inverse_kinematics_params_t prm{};
            for (int i = 0; i < a.dof; ++i) prm.q_in[i] = static_cast<float>(cur[i]);
            prm.q_pose = pose_of(T);
            ours_in.push_back(prm);
            kdl_seed.push_back(kcur);
            targets.push_back(T);
            float out[8] = {0};
            const int res = zq_algo_inverse_kinematics(nullptr, &prm, out);
            double qd[8];
            for (int i = 0; i < 8; ++i) qd[i] = out[i];
            ++ot.n;
            if (res == 0 && good(a, qd, T)) {
                ++ot.ok;
                cur.assign(qd, qd + 8);
            }
            std::vector<double> ks;
            Tally one;
            kdl(a, lma, kcur, T, &one, &ks);
            kt.ok += one.ok;
            ++kt.n;
            if (one.ok) kcur = ks;
        }
    }
    float out[8];
    ot.seconds = best_pass(kPasses, 1, [&] {
        for (zq_inverse_kinematics_params_t& prm : ours_in) zq_algo_inverse_kinematics(nullptr, &prm, out);
    });
    std::vector<KDL::JntArray> seeds;
    for (const std::vector<double>& sd : kdl_seed) {
        KDL::JntArray j(a.dof);
        for (int i = 0; i < a.dof; ++i) j(i) = sd[i] * kDeg;
        seeds.push_back(j);
    }
    KDL::JntArray kout(a.dof);
    kt.seconds = best_pass(kPasses, 1, [&] {
        for (size_t k = 0; k < targets.size(); ++k) lma.CartToJnt(seeds[k], targets[k], kout);
    });
    zq_algo_set_redundant_parameter_traversal_mode(true);
    ot.print("ours tracking, path of 2 ms steps");
    kt.print("KDL LMA, same path, seeded");
    std::printf("  speed-up over KDL, tracking: %.1f\n", kt.seconds / ot.seconds);
}

}  // namespace

int main(int argc, char** argv) {
    const int samples = argc > 1 ? std::atoi(argv[1]) : 2000;
    zq_algo_set_redundant_parameter_traversal_mode(true);
    for (const Model& m : kModels) {
        const Arm probe = load(m.model);
        std::printf("%s (%d joints)\n", m.name, probe.dof);
        zq_algo_set_redundant_parameter_traversal_mode(true);
        random_poses(m, probe.dof == 6 ? samples : samples / 4);
        if (probe.dof == 7) tracking_paths(m, 10);
    }
    return 0;
}
