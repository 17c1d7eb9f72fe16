#include "collision/capsule_check.h"

#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

#include "collision/segment_lanes.h"
#include "kinematics/joint_trig.h"

namespace zq {
namespace {

using seg_detail::v3;

constexpr float kFlangeRadius = 0.03f;  // the flange as the first tool capsule sees it

// Where a scene keeps its points and radii: one flat list, so that a pair is
// four point numbers and two radius numbers.
enum : uint8_t { kJA = 0, kJB = 16, kLA = 32, kLB = 48, kPoints = kScenePoints };
enum : uint8_t { kRJ = 0, kRL = 16, kRadii = 32 };

static_assert(sizeof(v3<float>) == 3 * sizeof(float), "a scene's points are a list of x, y, z");

template <class T>
struct scene_t {
    v3<T> p[kPoints];
    float r[kRadii];
    int nt, nk;
};

template <class T>
T lift(float x);
template <>
float lift<float>(float x) {
    return x;
}
template <>
Lanes lift<Lanes>(float x) {
    return splat(x);
}

void sin_cos(Lanes x, Lanes* s, Lanes* c) {
    const Lanes limit = splat(trig_detail::kLimit);
    if (all_lanes(seg_detail::magnitude(x) < limit)) {
        trig_detail::reduced_sin_cos(x, s, c);
        return;
    }
    for (int i = 0; i < 4; ++i) {
        float si, ci;
        joint_sin_cos(x[i], &si, &ci);
        (*s)[i] = si;
        (*c)[i] = ci;
    }
}

template <class T>
struct frame_t {
    T m[3][4];
};

// T x (the link transform of theta, d, a, alpha), in the standard form
// Rz(theta) Tz(d) Tx(a) Rx(alpha) or the modified form Rx(alpha) Tx(a)
// Rz(theta) Tz(d), the twist's sine and cosine taken as they are.
template <class T>
[[gnu::always_inline]] inline frame_t<T> chain_link(const frame_t<T>& F, bool standard, T st, T ct, float d, float a,
                                                    float sa, float ca) {
    const T zero = lift<T>(0.0f);
    T L[3][4];
    if (standard) {
        const T l[3][4] = {{ct, -ca * st, sa * st, a * ct}, {st, ca * ct, -sa * ct, a * st},
                           {zero, lift<T>(sa), lift<T>(ca), lift<T>(d)}};
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 4; ++c) L[r][c] = l[r][c];
    } else {
        const T l[3][4] = {{ct, -st, zero, lift<T>(a)},
                           {st * ca, ct * ca, lift<T>(-sa), lift<T>(-sa * d)},
                           {st * sa, ct * sa, lift<T>(ca), lift<T>(ca * d)}};
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 4; ++c) L[r][c] = l[r][c];
    }
    frame_t<T> out;
    for (int r = 0; r < 3; ++r) {
        const T* t = F.m[r];
        for (int c = 0; c < 4; ++c) out.m[r][c] = t[0] * L[0][c] + t[1] * L[1][c] + t[2] * L[2][c];
        out.m[r][3] += t[3];
    }
    return out;
}

// The same on one configuration, a row of the product at a time: the lanes
// hold the four columns, and the fourth gains the translation (the others
// add a zero, which changes no value).
template <>
[[gnu::always_inline]] inline frame_t<float> chain_link(const frame_t<float>& F, bool standard, float st, float ct,
                                                        float d, float a, float sa, float ca) {
    Lanes L0, L1, L2;
    if (standard) {
        L0 = Lanes{ct, -ca * st, sa * st, a * ct};
        L1 = Lanes{st, ca * ct, -sa * ct, a * st};
        L2 = Lanes{0.0f, sa, ca, d};
    } else {
        L0 = Lanes{ct, -st, 0.0f, a};
        L1 = Lanes{st * ca, ct * ca, -sa, -sa * d};
        L2 = Lanes{st * sa, ct * sa, ca, ca * d};
    }
    frame_t<float> out;
    for (int r = 0; r < 3; ++r) {
        const float* t = F.m[r];
        const Lanes row = splat(t[0]) * L0 + splat(t[1]) * L1 + splat(t[2]) * L2 + Lanes{0.0f, 0.0f, 0.0f, t[3]};
        std::memcpy(out.m[r], &row, sizeof row);
    }
    return out;
}

// Sines and cosines of the joint angles q + offset of every frame.
void joint_angles(const float q[8], const capsule_chain& ch, float s[8], float c[8]) {
    float x[8];
    for (int k = 0; k < 8; ++k) x[k] = q[k] + ch.offset[k];
    joint_sin_cos8(x, s, c);
}
void joint_angles(const Lanes q[8], const capsule_chain& ch, Lanes s[8], Lanes c[8]) {
    for (int k = 0; k < 8; ++k) sin_cos(q[k] + ch.offset[k], &s[k], &c[k]);
}

template <class T>
[[gnu::always_inline]] inline v3<T> apply(const frame_t<T>& F, float x, float y, float z) {
    const auto& m = F.m;
    return {m[0][0] * x + m[0][1] * y + m[0][2] * z + m[0][3], m[1][0] * x + m[1][1] * y + m[1][2] * z + m[1][3],
            m[2][0] * x + m[2][1] * y + m[2][2] * z + m[2][3]};
}

float coord(const dh_coord& c, const capsule_chain& ch) {
    switch (c.src) {
    case dh_coord::d:
        return c.c + c.k * ch.d[c.idx & 7];
    case dh_coord::a:
        return c.c + c.k * ch.a[c.idx & 7];
    default:
        return c.c;
    }
}

template <class T>
v3<T> apply(const frame_t<T>& F, const capsule_point& p, const capsule_chain& ch) {
    return apply(F, coord(p.x, ch), coord(p.y, ch), coord(p.z, ch));
}

int clamp_spheres(int nt) { return nt < 0 ? 0 : nt > kMaxToolSpheres ? kMaxToolSpheres : nt; }

// Places the capsules of one configuration, or of four in the lanes.
template <class T>
void build(const capsule_family& f, const capsule_chain& ch, const T q[8], const zq_tool_sphere_t* spheres, int nt,
           scene_t<T>* s) {
    constexpr int kMaxFrames = 8;
    frame_t<T> install;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c) install.m[r][c] = lift<T>(ch.install[r][c]);
    frame_t<T> F[kMaxFrames];
    const int frames = f.frames < kMaxFrames ? f.frames : kMaxFrames;
    const frame_t<T>* prev = &install;
    T st[8], ct[8];
    joint_angles(q, ch, st, ct);
    for (int k = 0; k < frames; ++k) {
        F[k] = chain_link(*prev, f.standard_dh, st[k], ct[k], ch.d[k], ch.a[k], ch.sin_alpha[k], ch.cos_alpha[k]);
        prev = &F[k];
    }
    auto frame = [&](int k) -> const frame_t<T>& { return k == kBaseFrame ? install : F[k]; };

    for (int k = 0; k < f.nj; ++k) {
        const capsule_def& c = f.joint[k];
        s->p[kJA + k] = apply(frame(c.frame), c.f, ch);
        s->p[kJB + k] = apply(frame(c.frame), c.z, ch);
        s->r[kRJ + k] = f.rj[k];
    }
    for (int k = 0; k < f.nl; ++k) {
        const capsule_def& c = f.link[k];
        s->p[kLA + k] = k == 0 ? v3<T>{lift<T>(0.0f), lift<T>(0.0f), lift<T>(0.0f)}  // from the base origin
                               : apply(frame(c.frame), c.f, ch);
        s->p[kLB + k] = apply(frame(c.frame), c.z, ch);
        s->r[kRL + k] = f.rl[k];
    }

    // Tool spheres hang from the last chain transform.
    nt = clamp_spheres(nt);
    const frame_t<T>& last = F[frames - 1];
    for (int i = 0; i < nt; ++i) {
        s->p[kJA + f.nj + i] = apply(last, spheres[i].centre[0], spheres[i].centre[1], spheres[i].centre[2]);
        s->p[kJB + f.nj + i] = s->p[kJA + f.nj + i];
        s->r[kRJ + f.nj + i] = spheres[i].radius;
    }
    s->nt = nt;

    // Tool capsules: flange to sphere 0 where the sphere stands clear of the
    // flange, then between successive spheres that do not overlap.
    int nk = 0;
    auto add = [&](const v3<T>& a, const v3<T>& b, float r) {
        s->p[kLA + f.nl + nk] = a;
        s->p[kLB + f.nl + nk] = b;
        s->r[kRL + f.nl + nk] = r;
        ++nk;
    };
    if (nt > 0) {
        const float* c0 = spheres[0].centre;
        const float reach = std::sqrt(c0[0] * c0[0] + c0[1] * c0[1] + c0[2] * c0[2]);
        if (reach > kFlangeRadius + spheres[0].radius)
            add(apply(last, 0.0f, 0.0f, 0.0f), s->p[kJA + f.nj], 0.5f * (kFlangeRadius + spheres[0].radius));
    }
    for (int i = 1; i < nt; ++i) {
        const point3 a{spheres[i - 1].centre[0], spheres[i - 1].centre[1], spheres[i - 1].centre[2]};
        const point3 b{spheres[i].centre[0], spheres[i].centre[1], spheres[i].centre[2]};
        const float sum = spheres[i - 1].radius + spheres[i].radius;
        if (dap(a, b) > sum) add(s->p[kJA + f.nj + i - 1], s->p[kJA + f.nj + i], 0.5f * sum);
    }
    s->nk = nk;
}

// One measured pair: the point numbers of its two segments, its radii, and
// whether contact needs the radii to exceed the distance.
struct plan_pair {
    uint8_t a0, a1, b0, b1, ra, rb;
    bool strict;
};

// The pairs of family f with nt tool spheres and nk tool capsules, in the
// order of the walk, handed to `add`.
template <class Add>
void walk(const capsule_family& f, int nt, int nk, Add&& add) {
    const walk_rules& R = f.rules;
    const int nj = f.nj, nl = f.nl;
    struct capsule {
        uint8_t p0, p1, r;
    };
    auto joint = [](int i) { return capsule{uint8_t(kJA + i), uint8_t(kJB + i), uint8_t(kRJ + i)}; };
    auto link = [](int i) { return capsule{uint8_t(kLA + i), uint8_t(kLB + i), uint8_t(kRL + i)}; };
    auto point = [](int i) { return capsule{uint8_t(kJA + i), uint8_t(kJA + i), uint8_t(kRJ + i)}; };
    auto pair = [&](capsule a, capsule b, bool strict) { add(plan_pair{a.p0, a.p1, b.p0, b.p1, a.r, b.r, strict}); };

    // Joint capsules two or more apart, and the tool spheres against the joints.
    for (int i = 0; i < nj; ++i) {
        for (int j = i + 2; j < nj; ++j) pair(joint(i), joint(j), false);
        if (i < R.sphere_rows)
            for (int t = 0; t < nt; ++t) pair(joint(i), point(nj + t), false);
    }
    // Links against the joints that do not carry them, further links, the tool.
    for (int a = 0; a < R.link_rows; ++a) {
        for (int b = 0; b < nj; ++b)
            if (b != a && b != a - 1) pair(link(a), joint(b), false);
        for (int l = a + 2; l <= R.link_link_last; ++l) pair(link(a), link(l), true);
        if (a < R.link_sphere_rows)
            for (int t = 0; t < nt; ++t) pair(link(a), point(R.tool_point_first + t), false);
        if (a < R.tool_cap_rows)
            for (int k = 0; k < nk; ++k) pair(link(a), link(nl + k), false);
    }
    // The last link, where the rows above stop short of it.
    if (R.link_rows < nl) {
        const int a = nl - 1;
        for (int b = 0; b < nj; ++b)
            if (R.last_joints >> b & 1) pair(link(a), joint(b), false);
        if (R.last_tool_points)
            for (int t = 0; t < nt; ++t) pair(link(a), point(R.tool_point_first + t), false);
        if (R.last_tool_caps)
            for (int k = 0; k < nk; ++k) pair(link(a), link(nl + k), false);
        for (int l = 0; l < a; ++l)
            if (R.last_links >> l & 1) pair(link(a), link(l), true);
    }
}

// The walks of every family for every count of tool spheres and capsules,
// made once on first use.
static_assert(kPairSlots % kPairBlock == 0, "pairs of a kind fill whole blocks");
struct plan {
    int n = 0;
    plan_pair pairs[kMaxPairs];
    // The pairs of two segments and those of a point (a tool sphere) and a
    // segment, by their places in the walk.
    int segments = 0, points = 0;
    uint8_t segment_at[kMaxPairs], point_at[kMaxPairs];
    // Where the distance of each pair of the walk is measured: its place
    // among the segment pairs, or kPairSlots plus its place among the points.
    uint8_t slot[kMaxPairs];
    // The ends of the pairs of each kind, the last repeated to a whole group.
    pair_ends segment_ends[kPairSlots], point_ends[kPairSlots];
    void add(const plan_pair& p) {
        if (n == kMaxPairs) return;
        pair_ends* ends;
        if (p.b0 == p.b1) {
            slot[n] = uint8_t(kPairSlots + points);
            ends = &point_ends[points];
            point_at[points++] = uint8_t(n);
        } else {
            slot[n] = uint8_t(segments);
            ends = &segment_ends[segments];
            segment_at[segments++] = uint8_t(n);
        }
        *ends = pair_ends{{p.a0, p.a1, p.b0, p.b1}};
        pairs[n++] = p;
    }
    void finish() {
        for (int i = segments; i % kPairBlock != 0; ++i) segment_ends[i] = segment_ends[segments - 1];
        for (int i = points; i % kPairBlock != 0; ++i) point_ends[i] = point_ends[points - 1];
    }
};
constexpr int kToolCounts = kMaxToolSpheres + 1;  // 0 to kMaxToolSpheres spheres, and capsules

plan plan_for(const capsule_family& f, int nt, int nk) {
    plan p;
    walk(f, nt, nk, [&](const plan_pair& pp) { p.add(pp); });
    p.finish();
    return p;
}

struct plans {
    std::vector<plan> all;
    int families = 0;
    plans() {
        const capsule_family* f = capsule_families(&families);
        all.resize(static_cast<size_t>(families) * kToolCounts * kToolCounts);
        for (int i = 0; i < families; ++i)
            for (int nt = 0; nt < kToolCounts; ++nt)
                for (int nk = 0; nk < kToolCounts; ++nk)
                    all[static_cast<size_t>((i * kToolCounts + nt) * kToolCounts + nk)] = plan_for(f[i], nt, nk);
    }
};

// The walk of a family of the table, made once; a family given by a copy
// has its walk made for the call.
const plan& plan_of(const capsule_family& f, int nt, int nk) {
    static const plans every;
    int count = 0;
    const capsule_family* first = capsule_families(&count);
    const std::less<const capsule_family*> before;
    if (!before(&f, first) && before(&f, first + count))
        return every.all[static_cast<size_t>(((&f - first) * kToolCounts + nt) * kToolCounts + nk)];
    thread_local plan own;
    own = plan_for(f, nt, nk);
    return own;
}

bool contact(float r, float d, bool strict) { return strict ? r > d : r >= d; }

bool any_lane(LaneMask m) {
#if defined(__SSE__)
    return _mm_movemask_ps(reinterpret_cast<__m128>(m)) != 0;
#else
    return (m[0] | m[1] | m[2] | m[3]) != 0;
#endif
}

// The scalar walk over a built scene: d_paralle pair by pair.
float walk_scene(const plan& P, const scene_t<float>& s) {
    float m = 1.0f;
    for (int k = 0; k < P.n; ++k) {
        const plan_pair& q = P.pairs[k];
        auto pt = [&](int i) { return point3{s.p[i].x, s.p[i].y, s.p[i].z}; };
        const float d = d_paralle(pt(q.a0), pt(q.a1), pt(q.b0), pt(q.b1));
        const float r = s.r[q.ra] + s.r[q.rb];
        if (d - r < m) m = d - r;
        if (contact(r, d, q.strict)) break;
    }
    return m;
}

// The pairs of the plan on the scene's points (its radii follow them, so
// the last point has a number after it).
scene_pairs pairs_on(const plan& P, const scene_t<float>& s) {
    return {reinterpret_cast<const float*>(s.p), P.segment_ends, P.point_ends, P.segments, P.points};
}

scene_t<float> to_scene(const capsule_scene& c) {
    scene_t<float> s{};
    for (int k = 0; k < kJointPoints; ++k) {
        s.p[kJA + k] = {c.joint_a[k].x, c.joint_a[k].y, c.joint_a[k].z};
        s.p[kJB + k] = {c.joint_b[k].x, c.joint_b[k].y, c.joint_b[k].z};
        s.r[kRJ + k] = c.rj[k];
    }
    for (int k = 0; k < kLinkSegments; ++k) {
        s.p[kLA + k] = {c.link_a[k].x, c.link_a[k].y, c.link_a[k].z};
        s.p[kLB + k] = {c.link_b[k].x, c.link_b[k].y, c.link_b[k].z};
        s.r[kRL + k] = c.rl[k];
    }
    s.nt = c.nt;
    s.nk = c.nk;
    return s;
}

}  // namespace

void finish_chain(capsule_chain* ch) {
    joint_sin_cos8(ch->alpha, ch->sin_alpha, ch->cos_alpha);
}

void build_capsules(const capsule_family& f, const capsule_chain& chain, const float q[8],
                    const zq_tool_sphere_t* spheres, int nt, capsule_scene* out) {
    scene_t<float> s{};
    build(f, chain, q, spheres, nt, &s);
    auto pt = [&](int i) { return point3{s.p[i].x, s.p[i].y, s.p[i].z}; };
    *out = capsule_scene{};
    for (int k = 0; k < kJointPoints; ++k) {
        out->joint_a[k] = pt(kJA + k);
        out->joint_b[k] = pt(kJB + k);
        out->rj[k] = s.r[kRJ + k];
    }
    for (int k = 0; k < kLinkSegments; ++k) {
        out->link_a[k] = pt(kLA + k);
        out->link_b[k] = pt(kLB + k);
        out->rl[k] = s.r[kRL + k];
    }
    out->nt = s.nt;
    out->nk = s.nk;
}

float walk_pairs(const capsule_family& f, const capsule_scene& scene) {
    return walk_scene(plan_of(f, clamp_spheres(scene.nt), clamp_spheres(scene.nk)), to_scene(scene));
}

void prepare_pairs(const capsule_family& f, const capsule_scene& scene, float xyz[3 * kScenePoints + 1],
                   scene_pairs* out, float r[2 * kPairSlots]) {
    const scene_t<float> s = to_scene(scene);
    const plan& P = plan_of(f, clamp_spheres(scene.nt), clamp_spheres(scene.nk));
    std::memcpy(xyz, s.p, sizeof s.p);
    xyz[3 * kScenePoints] = 0.0f;
    *out = pairs_on(P, s);
    out->xyz = xyz;
    for (int k = 0; k < P.n; ++k) r[P.slot[k]] = s.r[P.pairs[k].ra] + s.r[P.pairs[k].rb];
}

void measure_pairs(const scene_pairs& sp, float d[2 * kPairSlots], int width) {
    pair_distances(sp.xyz, sp.segment, sp.segments, false, d, width);
    pair_distances(sp.xyz, sp.point, sp.points, true, d + kPairSlots, width);
}

int list_pairs(const capsule_family& f, const capsule_scene& scene, capsule_pair* out, int capacity) {
    const scene_t<float> s = to_scene(scene);
    const plan& P = plan_of(f, clamp_spheres(scene.nt), clamp_spheres(scene.nk));
    auto pt = [&](int i) { return point3{s.p[i].x, s.p[i].y, s.p[i].z}; };
    for (int k = 0; k < P.n && k < capacity; ++k) {
        const plan_pair& q = P.pairs[k];
        out[k] = {pt(q.a0), pt(q.a1), s.r[q.ra], pt(q.b0), pt(q.b1), s.r[q.rb], q.strict};
    }
    return P.n;
}

float capsule_clearance(const capsule_family& f, const capsule_chain& chain, const float q[8],
                        const zq_tool_sphere_t* spheres, int nt) {
    scene_t<float> s;
    build(f, chain, q, spheres, nt, &s);
    const plan& P = plan_of(f, s.nt, s.nk);
    // Every distance, a lane group of pairs of a kind at a time; then the walk over them.
    float d[2 * kPairSlots];
    measure_pairs(pairs_on(P, s), d);
    float m = 1.0f;
    for (int k = 0; k < P.n; ++k) {
        const plan_pair& q = P.pairs[k];
        const float r = s.r[q.ra] + s.r[q.rb];
        const float dk = d[P.slot[k]];
        if (dk - r < m) m = dk - r;
        if (contact(r, dk, q.strict)) break;
    }
    return m;
}

Lanes capsule_clearance4(const capsule_family& f, const capsule_chain& chain, const Lanes q[8],
                         const zq_tool_sphere_t* spheres, int nt) {
    scene_t<Lanes> s;
    build(f, chain, q, spheres, nt, &s);
    const plan& P = plan_of(f, s.nt, s.nk);
    Lanes m = splat(1.0f);
    LaneMask open = splat_bits(-1);
    for (int k = 0; k < P.n; ++k) {
        const plan_pair& p = P.pairs[k];
        const Lanes d = p.b0 == p.b1 ? point_distance(s.p[p.b0], s.p[p.a0], s.p[p.a1])
                                     : segment_distance(s.p[p.a0], s.p[p.a1], s.p[p.b0], s.p[p.b1]);
        const Lanes r = splat(s.r[p.ra] + s.r[p.rb]);
        const Lanes v = d - r;
        m = (open & (v < m)) ? v : m;
        open &= p.strict ? ~(r > d) : ~(r >= d);
        if (!any_lane(open)) break;
    }
    return m;
}

}  // namespace zq
