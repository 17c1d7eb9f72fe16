// Cost of the QP inverse kinematics per control period: one teleoperation
// step of a seven-joint arm following a moving target, and one solve of the
// joint-increment QP alone, median and p99 on one core, with the heap
// allocations of a warmed-up step and the iteration counts. The same QPs go
// through a small dense box-constrained active-set solver written here (Eigen)
// to show that the answers agree.
#include <Eigen/Dense>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <random>
#include <vector>

#include "ik/qp/qp.h"
#include "ik/qp/qp_storage.h"
#include "zq_api.h"

namespace {

std::atomic<long> g_allocations{0};

}  // namespace

void* operator new(std::size_t n) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(n ? n : 1)) return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }

namespace {

using Clock = std::chrono::steady_clock;

struct Figures {
    double median_us, p99_us;
};

Figures summarise(std::vector<double> t) {
    std::sort(t.begin(), t.end());
    return {t[t.size() / 2], t[static_cast<size_t>(t.size() * 0.99)]};
}

// Box QP min 1/2 x'Hx + f'x, -u <= x <= u, by primal-dual active sets.
Eigen::VectorXd dense_box_qp(const Eigen::MatrixXd& H, const Eigen::VectorXd& f, const Eigen::VectorXd& u) {
    const int n = static_cast<int>(f.size());
    Eigen::VectorXi state = Eigen::VectorXi::Zero(n);  // 0 free, 1 upper, -1 lower
    Eigen::VectorXd x = Eigen::VectorXd::Zero(n);
    for (int it = 0; it < 50; ++it) {
        std::vector<int> F;
        for (int i = 0; i < n; ++i) {
            if (state[i] == 0)
                F.push_back(i);
            else
                x[i] = state[i] * u[i];
        }
        if (!F.empty()) {
            Eigen::MatrixXd HF(F.size(), F.size());
            Eigen::VectorXd r(F.size());
            for (size_t a = 0; a < F.size(); ++a) {
                r[a] = -f[F[a]];
                for (int j = 0; j < n; ++j)
                    if (state[j] != 0) r[a] -= H(F[a], j) * x[j];
                for (size_t b = 0; b < F.size(); ++b) HF(a, b) = H(F[a], F[b]);
            }
            const Eigen::VectorXd xF = HF.ldlt().solve(r);
            for (size_t a = 0; a < F.size(); ++a) x[F[a]] = xF[a];
        }
        const Eigen::VectorXd g = H * x + f;  // multiplier of an active bound is -g (upper) or g (lower)
        bool changed = false;
        for (int i = 0; i < n; ++i) {
            int s = state[i];
            if (s == 0 && x[i] > u[i]) s = 1;
            else if (s == 0 && x[i] < -u[i]) s = -1;
            else if (s == 1 && g[i] > 0) s = 0;
            else if (s == -1 && g[i] < 0) s = 0;
            changed = changed || s != state[i];
            state[i] = s;
        }
        if (!changed) break;
    }
    return x;
}

}  // namespace

int main() {
    // One teleoperation step of a seven-joint arm on a moving target.
    zq_algo_init_sys_data(ZQ_MODEL_ZQ52_E, ZQ_MODEL_ZQ_B_E);
    zq_algo_ik_remote_init(0.002f, 1);
    float q[8] = {10, 20, 30, 40, 50, 60, 70, 0};
    const zq_pose_t p0 = zq_algo_forward_kinematics(nullptr, q);
    zq_matrix_t M = zq_algo_pos2matrix(p0);
    zq_Mat_t target{};
    target.rows = target.cols = 4;
    const int steps = 10000;
    std::vector<double> t_step;
    long alloc_before = 0, failures = 0;
    for (int k = 0; k < steps; ++k) {
        const double a = 2.0 * 0.002 * k;
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j) target.data[i][j] = M.data[i][j];
        target.data[0][3] += static_cast<float>(0.05 * (std::cos(a) - 1.0));
        target.data[1][3] += static_cast<float>(0.05 * std::sin(a));
        float cur[8], out[8];
        for (int i = 0; i < 7; ++i) cur[i] = q[i];
        if (k == 100) alloc_before = g_allocations.load();
        const auto t0 = Clock::now();
        const int r = zq_algo_ik_remote(target, cur, out);
        const auto t1 = Clock::now();
        if (r != 0 && ++failures == 1) std::printf("first failure at step %d: %d\n", k, r);
        for (int i = 0; i < 7; ++i) q[i] = out[i];
        if (k >= 100) t_step.push_back(std::chrono::duration<double, std::micro>(t1 - t0).count());
    }
    const long alloc_step = g_allocations.load() - alloc_before;
    const Figures fs = summarise(t_step);
    std::printf("zq_algo_ik_remote, 7 joints, moving target: median %.2f us, p99 %.2f us, %d steps, %ld failed,"
                " heap allocations after warm-up: %ld\n",
                fs.median_us, fs.p99_us, steps - 100, failures, alloc_step);

    // The increment QP alone: 7 variables, 14 box rows, P = 2 J'WJ + 0.001 I.
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> U(-1.0, 1.0);
    zq::QpStorage storage;
    storage.reserve(7, 28, 0);
    std::vector<double> t_qp, t_dense;
    std::vector<long> iterations;
    double worst = 0.0, worst_cost = -1e300;
    long reference_failed = 0;
    long qp_alloc = 0, not_optimal = 0;
    const int problems = 5000;
    for (int k = 0; k < problems; ++k) {
        Eigen::Matrix<double, 6, 7> J;
        for (int i = 0; i < 6; ++i)
            for (int j = 0; j < 7; ++j) J(i, j) = U(rng) * (i < 3 ? 0.5 : 1.0);
        const Eigen::Matrix<double, 6, 1> w = (Eigen::Matrix<double, 6, 1>() << 100, 100, 100, 1, 1, 1).finished();
        Eigen::Matrix<double, 6, 1> dX;
        for (int i = 0; i < 6; ++i) dX[i] = U(rng) * 0.01;
        Eigen::MatrixXd H = 2.0 * J.transpose() * w.asDiagonal() * J + 0.001 * Eigen::MatrixXd::Identity(7, 7);
        Eigen::VectorXd f = -2.0 * J.transpose() * w.asDiagonal() * dX;
        Eigen::VectorXd u = Eigen::VectorXd::Constant(7, 3.14 * 0.002);
        double Hr[49], G[98] = {0}, h[14];
        for (int i = 0; i < 7; ++i) {
            for (int j = 0; j < 7; ++j) Hr[i * 7 + j] = H(i, j);
            G[i * 7 + i] = 1.0;
            G[(7 + i) * 7 + i] = -1.0;
            h[i] = h[7 + i] = u[i];
        }
        const long a0 = g_allocations.load();
        const auto t0 = Clock::now();
        zq::QP* qp = zq::qp_setup_dense(7, 14, 0, Hr, nullptr, G, f.data(), h, nullptr, nullptr, zq::kQpRowMajor,
                                        &storage);
        const int64_t code = zq::qp_solve(qp);
        const auto t1 = Clock::now();
        if (k >= 100) qp_alloc += g_allocations.load() - a0;
        if (code != 0) ++not_optimal;
        iterations.push_back(static_cast<long>(qp->stats->iterations));
        const auto t2 = Clock::now();
        const Eigen::VectorXd xd = dense_box_qp(H, f, u);
        const auto t3 = Clock::now();
        Eigen::VectorXd xs(7);
        for (int i = 0; i < 7; ++i) xs[i] = qp->x[i];
        const double fs_ = 0.5 * xs.dot(H * xs) + f.dot(xs), fd_ = 0.5 * xd.dot(H * xd) + f.dot(xd);
        if (xd.cwiseAbs().maxCoeff() <= u[0] * (1 + 1e-9)) {  // the reference answer is feasible
            worst = std::max(worst, (xd - xs).cwiseAbs().maxCoeff());
            worst_cost = std::max(worst_cost, fs_ - fd_);
        } else {
            ++reference_failed;
        }
        zq::qp_cleanup_dense(qp);
        if (k >= 100) {
            t_qp.push_back(std::chrono::duration<double, std::micro>(t1 - t0).count());
            t_dense.push_back(std::chrono::duration<double, std::micro>(t3 - t2).count());
        }
    }
    std::sort(iterations.begin(), iterations.end());
    const Figures fq = summarise(t_qp), fd = summarise(t_dense);
    std::printf("QP alone (7 x 14, setup + solve): median %.2f us, p99 %.2f us, iterations median %ld max %ld,"
                " %ld not optimal, heap allocations after warm-up: %ld\n",
                fq.median_us, fq.p99_us, iterations[iterations.size() / 2], iterations.back(), not_optimal,
                qp_alloc);
    std::printf("dense active-set reference (Eigen): median %.2f us, p99 %.2f us; largest difference of x: %.3g, of the cost"
                " (QP minus reference): %.3g; reference without a feasible answer: %ld\n",
                fd.median_us, fd.p99_us, worst, worst_cost, reference_failed);
    return 0;
}
