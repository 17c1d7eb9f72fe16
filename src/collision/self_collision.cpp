#include "collision/self_collision.h"

#include <algorithm>
#include <cmath>

#include "collision/tool_envelope.h"
#include "kinematics/joint_trig.h"
#include "kinematics/sys_data.h"
#include "kinematics/units.h"

namespace zq {
namespace {

constexpr int kMaxFrames = 8;
constexpr float kFlangeRadius = 0.03f;  // the flange as the first tool capsule sees it
constexpr float kContact = 1e-5f;

float coord(const dh_coord& c, const zq_dh_block_t& dh) {
    switch (c.src) {
    case dh_coord::d:
        return c.c + c.k * dh.d[c.idx & 7];
    case dh_coord::a:
        return c.c + c.k * dh.a[c.idx & 7];
    default:
        return c.c;
    }
}

// T x (the link transform of theta, d, a, alpha), in the standard form
// Rz(theta) Tz(d) Tx(a) Rx(alpha) or the modified form Rx(alpha) Tx(a)
// Rz(theta) Tz(d). Sines and cosines of both angles are taken as they are,
// with no snapping of the twist.
zq_matrix_t chain_link(const zq_matrix_t& T, bool standard, float theta, float d, float a, float alpha) {
    float st, ct, sa, ca;
    joint_sin_cos(theta, &st, &ct);
    joint_sin_cos(alpha, &sa, &ca);
    float L[3][4];
    if (standard) {
        const float l[3][4] = {{ct, -ca * st, sa * st, a * ct}, {st, ca * ct, -sa * ct, a * st}, {0.0f, sa, ca, d}};
        std::copy(&l[0][0], &l[0][0] + 12, &L[0][0]);
    } else {
        const float l[3][4] = {{ct, -st, 0.0f, a}, {st * ca, ct * ca, -sa, -sa * d}, {st * sa, ct * sa, ca, ca * d}};
        std::copy(&l[0][0], &l[0][0] + 12, &L[0][0]);
    }
    zq_matrix_t out = T;
    for (int r = 0; r < 3; ++r) {
        const float* t = T.data[r];
        for (int c = 0; c < 4; ++c) out.data[r][c] = t[0] * L[0][c] + t[1] * L[1][c] + t[2] * L[2][c];
        out.data[r][3] += t[3];
    }
    return out;
}

point3 apply(const zq_matrix_t& T, float x, float y, float z) {
    const auto& m = T.data;
    return {m[0][0] * x + m[0][1] * y + m[0][2] * z + m[0][3], m[1][0] * x + m[1][1] * y + m[1][2] * z + m[1][3],
            m[2][0] * x + m[2][1] * y + m[2][2] * z + m[2][3]};
}

point3 apply(const zq_matrix_t& T, const capsule_point& p, const zq_dh_block_t& dh) {
    return apply(T, coord(p.x, dh), coord(p.y, dh), coord(p.z, dh));
}


}  // namespace

void build_capsules(const capsule_family& f, const float q[8], const zq_tool_sphere_t* spheres, int nt,
                    capsule_scene* s) {
    const zq_dh_block_t& dh = sys_data.dh;
    zq_matrix_t T[kMaxFrames];
    const zq_matrix_t& install = sys_data.Tworld_base;
    zq_matrix_t chain = install;
    const int frames = f.frames < kMaxFrames ? f.frames : kMaxFrames;
    for (int k = 0; k < frames; ++k) {
        chain = chain_link(chain, f.standard_dh, q[k] + dh.offset[k], dh.d[k], dh.a[k], dh.alpha[k]);
        T[k] = chain;
    }
    auto frame = [&](int k) -> const zq_matrix_t& { return k == kBaseFrame ? install : T[k]; };

    for (int k = 0; k < f.nj; ++k) {
        const capsule_def& c = f.joint[k];
        s->joint_a[k] = apply(frame(c.frame), c.f, dh);
        s->joint_b[k] = apply(frame(c.frame), c.z, dh);
        s->rj[k] = f.rj[k];
    }
    for (int k = 0; k < f.nl; ++k) {
        const capsule_def& c = f.link[k];
        s->link_a[k] = apply(frame(c.frame), c.f, dh);
        s->link_b[k] = apply(frame(c.frame), c.z, dh);
        s->rl[k] = f.rl[k];
    }
    s->link_a[0] = {0.0f, 0.0f, 0.0f};  // the first link starts at the base origin

    // Tool spheres hang from the last chain transform.
    if (nt > kMaxToolSpheres) nt = kMaxToolSpheres;
    if (nt < 0) nt = 0;
    const zq_matrix_t& last = T[frames - 1];
    for (int i = 0; i < nt; ++i) {
        s->joint_a[f.nj + i] = apply(last, spheres[i].centre[0], spheres[i].centre[1], spheres[i].centre[2]);
        s->joint_b[f.nj + i] = s->joint_a[f.nj + i];
        s->rj[f.nj + i] = spheres[i].radius;
    }
    s->nt = nt;

    // Tool capsules: flange to sphere 0 where the sphere stands clear of the
    // flange, then between successive spheres that do not overlap.
    int nk = 0;
    auto add = [&](const point3& a, const point3& b, float r) {
        s->link_a[f.nl + nk] = a;
        s->link_b[f.nl + nk] = b;
        s->rl[f.nl + nk] = r;
        ++nk;
    };
    if (nt > 0) {
        const float* c0 = spheres[0].centre;
        const float reach = std::sqrt(c0[0] * c0[0] + c0[1] * c0[1] + c0[2] * c0[2]);
        if (reach > kFlangeRadius + spheres[0].radius)
            add(apply(last, 0.0f, 0.0f, 0.0f), s->joint_a[f.nj], 0.5f * (kFlangeRadius + spheres[0].radius));
    }
    for (int i = 1; i < nt; ++i) {
        const point3 a{spheres[i - 1].centre[0], spheres[i - 1].centre[1], spheres[i - 1].centre[2]};
        const point3 b{spheres[i].centre[0], spheres[i].centre[1], spheres[i].centre[2]};
        const float sum = spheres[i - 1].radius + spheres[i].radius;
        if (dap(a, b) > sum) add(s->joint_a[f.nj + i - 1], s->joint_a[f.nj + i], 0.5f * sum);
    }
    s->nk = nk;
}

namespace {

// The pairs of family f in the order of the walk. `test` measures one pair
// and answers true to end the walk there.
template <class Test>
void walk(const capsule_family& f, const capsule_scene& s, Test& c) {
    const walk_rules& R = f.rules;
    const int nj = f.nj, nl = f.nl;
    auto joint_joint = [&](int i, int j) {
        return c.segments(s.joint_a[i], s.joint_b[i], s.rj[i], s.joint_a[j], s.joint_b[j], s.rj[j], false);
    };
    auto link_joint = [&](int a, int b) {
        return c.segments(s.link_a[a], s.link_b[a], s.rl[a], s.joint_a[b], s.joint_b[b], s.rj[b], false);
    };
    auto link_link = [&](int a, int b) {
        return c.segments(s.link_a[a], s.link_b[a], s.rl[a], s.link_a[b], s.link_b[b], s.rl[b], true);
    };
    auto link_tool_cap = [&](int a, int k) {
        return c.segments(s.link_a[a], s.link_b[a], s.rl[a], s.link_a[k], s.link_b[k], s.rl[k], false);
    };
    auto point_joint = [&](int p, int i) {
        return c.point(s.joint_a[p], s.rj[p], s.joint_a[i], s.joint_b[i], s.rj[i]);
    };
    auto point_link = [&](int p, int a) {
        return c.point(s.joint_a[p], s.rj[p], s.link_a[a], s.link_b[a], s.rl[a]);
    };

    // Joint capsules two or more apart, and the tool spheres against the joints.
    for (int i = 0; i < nj; ++i) {
        for (int j = i + 2; j < nj; ++j)
            if (joint_joint(i, j)) return;
        if (i < R.sphere_rows)
            for (int t = 0; t < s.nt; ++t)
                if (point_joint(nj + t, i)) return;
    }
    // Links against the joints that do not carry them, further links, the tool.
    for (int a = 0; a < R.link_rows; ++a) {
        for (int b = 0; b < nj; ++b)
            if (b != a && b != a - 1 && link_joint(a, b)) return;
        for (int l = a + 2; l <= R.link_link_last; ++l)
            if (link_link(a, l)) return;
        if (a < R.link_sphere_rows)
            for (int t = 0; t < s.nt; ++t)
                if (point_link(R.tool_point_first + t, a)) return;
        if (a < R.tool_cap_rows)
            for (int k = 0; k < s.nk; ++k)
                if (link_tool_cap(a, nl + k)) return;
    }
    // The last link, where the rows above stop short of it.
    if (R.link_rows < nl) {
        const int a = nl - 1;
        for (int b = 0; b < nj; ++b)
            if ((R.last_joints >> b & 1) && link_joint(a, b)) return;
        if (R.last_tool_points)
            for (int t = 0; t < s.nt; ++t)
                if (point_link(R.tool_point_first + t, a)) return;
        if (R.last_tool_caps)
            for (int k = 0; k < s.nk; ++k)
                if (link_tool_cap(a, nl + k)) return;
        for (int l = 0; l < a; ++l)
            if ((R.last_links >> l & 1) && link_link(a, l)) return;
    }
}

// Measures each pair and keeps the smallest clearance; contact ends the walk.
struct clearance {
    float m = 1.0f;
    bool settle(float d, float r, bool strict) {
        if (d - r < m) m = d - r;
        return strict ? r > d : r >= d;
    }
    bool segments(const point3& a0, const point3& a1, float ra, const point3& b0, const point3& b1, float rb,
                  bool strict) {
        return settle(d_paralle(a0, a1, b0, b1), ra + rb, strict);
    }
    bool point(const point3& p, float rp, const point3& a0, const point3& a1, float ra) {
        return settle(p2l(p, a0, a1), ra + rp, false);
    }
};

// Lists every pair and measures none.
struct pair_list {
    capsule_pair* out;
    int cap;
    int n = 0;
    void add(const capsule_pair& p) {
        if (n < cap) out[n] = p;
        ++n;
    }
    bool segments(const point3& a0, const point3& a1, float ra, const point3& b0, const point3& b1, float rb, bool) {
        add({a0, a1, ra, b0, b1, rb});
        return false;
    }
    bool point(const point3& p, float rp, const point3& a0, const point3& a1, float ra) {
        add({a0, a1, ra, p, p, rp});
        return false;
    }
};

}  // namespace

float walk_pairs(const capsule_family& f, const capsule_scene& s) {
    clearance c;
    walk(f, s, c);
    return c.m;
}

int list_pairs(const capsule_family& f, const capsule_scene& s, capsule_pair* out, int capacity) {
    pair_list l{out, capacity < 0 ? 0 : capacity};
    walk(f, s, l);
    return l.n;
}

float self_collision_clearance(const float* q) {
    if (!q) return -1.0f;
    for (int i = 0; i < 8; ++i)
        if (!std::isfinite(q[i])) return -1.0f;
    zq_tool_sphere_t spheres[kEnvelopeSlots];
    const int nt = active_tool_spheres(spheres);
    const capsule_family* f = capsule_family_of(get_model_code());
    if (!f) return 1.0f;
    capsule_scene scene;
    build_capsules(*f, q, spheres, nt, &scene);
    return walk_pairs(*f, scene);
}

}  // namespace zq

extern "C" int zq_algo_safety_robot_self_collision_detection(float* q) {
    if (!q) return 1;
    int n = zq::get_dof();
    if (n < 0) n = 0;
    if (n > 8) n = 8;
    float r[8];
    zq::scale_joints(q, n, zq::kDegToRad, r);
    float max[8], min[8];
    zq::get_joint_max(max);
    zq::get_joint_min(min);
    for (int i = 0; i < n; ++i)
        if (!std::isfinite(r[i]) || r[i] < min[i] || r[i] > max[i]) return 1;
    return zq::self_collision_clearance(r) < zq::kContact ? 1 : 0;
}
