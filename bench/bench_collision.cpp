// Whole-arm self-collision checks per model, and the segment distance alone.
// Configurations are drawn within each model's joint limits beforehand; the
// timed loops run the checks only. Where FCL is at hand, the capsule pairs
// of one free pose are also measured by FCL, and its distances compared.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

#ifdef ZQ_BENCH_FCL
#include <fcl/narrowphase/distance.h>
#endif

#include "collision/capsule_check.h"
#include "collision/primitives.h"
#include "collision/self_collision.h"
#include "kinematics/sys_data.h"
#include "zq_api.h"

namespace {

constexpr int kSamples = 256;

// Joints in degrees within the limits of the loaded arm, 7 per sample.
std::vector<float> samples_in_limits(unsigned seed) {
    float mx[8], mn[8];
    zq_algo_get_joint_max_limit(mx);
    zq_algo_get_joint_min_limit(mn);
    std::mt19937 rng(seed);
    std::vector<float> q(kSamples * 7, 0.0f);
    for (int s = 0; s < kSamples; ++s)
        for (int i = 0; i < zq::get_dof() && i < 7; ++i)
            q[s * 7 + i] = std::uniform_real_distribution<float>(mn[i], mx[i])(rng);
    return q;
}

const zq::capsule_family& family() { return *zq::capsule_family_of(zq::get_model_code()); }

void load(benchmark::State& state) {
    zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(state.range(0)), ZQ_MODEL_ZQ_B_E);
    const bool tool = state.range(1) != 0;
    zq_algo_set_tool_envelope(0, zq_tool_sphere_t{tool ? 0.03f : 0.0f, {0.0f, 0.0f, 0.08f}});
    zq_algo_set_tool_envelope(1, zq_tool_sphere_t{tool ? 0.025f : 0.0f, {0.0f, 0.0f, 0.16f}});
}

// The exported check: limits, chain, capsules and the pair walk.
void BM_SelfCollision(benchmark::State& state) {
    load(state);
    const std::vector<float> q = samples_in_limits(3);
    int hits = 0, n = 0;
    for (auto _ : state) {
        hits += zq_algo_safety_robot_self_collision_detection(const_cast<float*>(&q[(n % kSamples) * 7]));
        ++n;
    }
    state.counters["contact_share"] = double(hits) / n;
    benchmark::DoNotOptimize(hits);
}

// Every tested pair of a free arm: the clearance at the arm's most open pose
// of the samples, so that the walk does not stop early.
void BM_SelfCollisionFullWalk(benchmark::State& state) {
    load(state);
    const std::vector<float> q = samples_in_limits(5);
    float best[8] = {}, best_c = -1.0f;
    for (int s = 0; s < kSamples; ++s) {
        float r[8] = {};
        for (int i = 0; i < 7; ++i) r[i] = q[s * 7 + i] * 0.017453292f;
        const float c = zq::self_collision_clearance(r);
        if (c > best_c) {
            best_c = c;
            for (int i = 0; i < 8; ++i) best[i] = r[i];
        }
    }
    for (auto _ : state) benchmark::DoNotOptimize(zq::self_collision_clearance(best));
    state.counters["clearance_mm"] = best_c * 1000.0;
}

// The capsules of the most open pose of the samples.
zq::capsule_scene open_pose(benchmark::State& state) {
    load(state);
    const std::vector<float> q = samples_in_limits(5);
    float best[8] = {}, best_c = -1.0f;
    for (int s = 0; s < kSamples; ++s) {
        float r[8] = {};
        for (int i = 0; i < 7; ++i) r[i] = q[s * 7 + i] * 0.017453292f;
        const float c = zq::self_collision_clearance(r);
        if (c > best_c) {
            best_c = c;
            for (int i = 0; i < 8; ++i) best[i] = r[i];
        }
    }
    zq_tool_sphere_t spheres[5];
    int nt = 0;
    for (int i = 0; i < 5; ++i) {
        zq_algo_get_tool_envelope(i, &spheres[nt]);
        if (spheres[nt].radius > 0.0f) ++nt;
    }
    zq::capsule_scene scene;
    zq::build_capsules(family(), zq::loaded_chain(), best, spheres, nt, &scene);
    return scene;
}

// The pairs the walk of the most open pose tests.
std::vector<zq::capsule_pair> pairs_of_open_pose(benchmark::State& state) {
    const zq::capsule_scene scene = open_pose(state);
    std::vector<zq::capsule_pair> pairs(64);
    pairs.resize(zq::list_pairs(family(), scene, pairs.data(), 64));
    return pairs;
}

// The same pairs by the library's distances: the walk's work without the arm.
void BM_PairsOurs(benchmark::State& state) {
    const std::vector<zq::capsule_pair> pairs = pairs_of_open_pose(state);
    for (auto _ : state) {
        float m = 1.0f;
        for (const zq::capsule_pair& p : pairs) {
            const float d = zq::d_paralle(p.a0, p.a1, p.b0, p.b1) - p.ra - p.rb;
            if (d < m) m = d;
        }
        benchmark::DoNotOptimize(m);
    }
    state.counters["pairs"] = double(pairs.size());
}

#ifdef ZQ_BENCH_FCL
struct fcl_shape {
    std::shared_ptr<fcl::CollisionGeometryf> geometry;
    fcl::Transform3f pose;
};

fcl_shape fcl_capsule(const zq::point3& a, const zq::point3& b, float r) {
    const Eigen::Vector3f pa(a.x, a.y, a.z), pb(b.x, b.y, b.z);
    const Eigen::Vector3f axis = pb - pa;
    fcl_shape s;
    s.pose.setIdentity();
    s.pose.translation() = 0.5f * (pa + pb);
    if (axis.norm() > 0.0f) {
        s.geometry = std::make_shared<fcl::Capsulef>(r, axis.norm());
        s.pose.linear() = Eigen::Quaternionf::FromTwoVectors(Eigen::Vector3f::UnitZ(), axis).toRotationMatrix();
    } else {
        s.geometry = std::make_shared<fcl::Spheref>(r);
    }
    return s;
}

void BM_PairsFcl(benchmark::State& state) {
    const std::vector<zq::capsule_pair> pairs = pairs_of_open_pose(state);
    std::vector<std::pair<fcl_shape, fcl_shape>> shapes;
    for (const zq::capsule_pair& p : pairs) shapes.emplace_back(fcl_capsule(p.a0, p.a1, p.ra), fcl_capsule(p.b0, p.b1, p.rb));
    // Agreement with the library on every pair, outside the timed loop.
    double worst = 0.0;
    for (size_t i = 0; i < pairs.size(); ++i) {
        fcl::DistanceRequestf request;
        fcl::DistanceResultf result;
        const float d = fcl::distance(shapes[i].first.geometry.get(), shapes[i].first.pose, shapes[i].second.geometry.get(),
                                      shapes[i].second.pose, request, result);
        const zq::capsule_pair& p = pairs[i];
        worst = std::fmax(worst, std::fabs(d - (zq::d_paralle(p.a0, p.a1, p.b0, p.b1) - p.ra - p.rb)));
    }
    state.counters["max_diff_um"] = worst * 1e6;
    for (auto _ : state) {
        float m = 1.0f;
        for (const auto& s : shapes) {
            fcl::DistanceRequestf request;
            fcl::DistanceResultf result;
            const float d = fcl::distance(s.first.geometry.get(), s.first.pose, s.second.geometry.get(), s.second.pose,
                                          request, result);
            if (d < m) m = d;
        }
        benchmark::DoNotOptimize(m);
    }
    state.counters["pairs"] = double(pairs.size());
}
#endif

// The pairs as the check measures them: in the library's lane groups, the
// pairs of two segments and those of a tool sphere and a segment apart, each
// lane taking its ends from the scene's points, eight lanes at a time where
// the processor has AVX2, else four.
void BM_PairsOursLanes(benchmark::State& state) {
    const zq::capsule_scene scene = open_pose(state);
    zq::scene_pairs pairs;
    float xyz[3 * zq::kScenePoints + 1], r[2 * zq::kPairSlots] = {}, d[2 * zq::kPairSlots] = {};
    zq::prepare_pairs(family(), scene, xyz, &pairs, r);
    for (auto _ : state) {
        zq::measure_pairs(pairs, d);
        float m = 1.0f;
        for (int i = 0; i < pairs.segments; ++i)
            if (d[i] - r[i] < m) m = d[i] - r[i];
        for (int i = zq::kPairSlots; i < zq::kPairSlots + pairs.points; ++i)
            if (d[i] - r[i] < m) m = d[i] - r[i];
        benchmark::DoNotOptimize(m);
    }
    state.counters["pairs"] = double(pairs.segments + pairs.points);
    state.counters["lanes"] = zq::pair_lane_width();
}

// Whole paths of free configurations in one call: configurations per second.
void BM_SelfCollisionPath(benchmark::State& state) {
    load(state);
    const std::vector<float> q = samples_in_limits(11);
    const int dof = zq::get_dof();
    std::vector<float> path;
    for (int s = 0; s < kSamples; ++s)
        if (zq_algo_safety_robot_self_collision_detection(const_cast<float*>(&q[size_t(s) * 7])) == 0)
            path.insert(path.end(), &q[size_t(s) * 7], &q[size_t(s) * 7] + dof);
    const int count = int(path.size()) / dof;
    int first = 0;
    for (auto _ : state) {
        zq_algo_self_collision_path(path.data(), count, &first);
        benchmark::DoNotOptimize(first);
    }
    if (first != -1) state.SkipWithError("a sample of the free path is not free");
    state.SetItemsProcessed(int64_t(state.iterations()) * count);
    state.counters["configs"] = count;
}

void BM_SegmentDistance(benchmark::State& state) {
    std::mt19937 rng(9);
    std::uniform_real_distribution<float> u(-0.5f, 0.5f);
    std::vector<zq::point3> p(4 * kSamples);
    for (auto& v : p) v = {u(rng), u(rng), u(rng)};
    int n = 0;
    for (auto _ : state) {
        const zq::point3* s = &p[4 * (n++ % kSamples)];
        benchmark::DoNotOptimize(zq::d_paralle(s[0], s[1], s[2], s[3]));
    }
}

}  // namespace

#define ARMS                                                                                                     \
    ->ArgsProduct({{ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ52_E, ZQ_MODEL_ZQL36_E, ZQ_MODEL_VDA41_E, ZQ_MODEL_HTR27_E,      \
                    ZQ_MODEL_KWBL37_E, ZQ_MODEL_MQL52_E, ZQ_MODEL_MQL52II_E},                                    \
                   {0, 1}})                                                                                      \
        ->ArgNames({"model", "tool"})
BENCHMARK(BM_SelfCollision) ARMS;
BENCHMARK(BM_SelfCollisionFullWalk) ARMS;
BENCHMARK(BM_PairsOurs) ARMS;
BENCHMARK(BM_PairsOursLanes) ARMS;
BENCHMARK(BM_SelfCollisionPath) ARMS;
#ifdef ZQ_BENCH_FCL
BENCHMARK(BM_PairsFcl) ARMS;
#endif
BENCHMARK(BM_SegmentDistance);

BENCHMARK_MAIN();
