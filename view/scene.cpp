#include "scene.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "collision/capsule_check.h"
#include "collision/capsule_models.h"
#include "collision/self_collision.h"
#include "collision/tool_envelope.h"
#include "kinematics/arm_load.h"
#include "kinematics/chain.h"
#include "kinematics/links.h"
#include "kinematics/matrix4.h"
#include "kinematics/model_table.h"
#include "kinematics/sys_data.h"
#include "kinematics/units.h"
#include "session/realtime.h"
#include "zq_collision.h"

namespace zqview {
namespace {

using zq::kContact;  // the check's own threshold: closer is contact

void append(std::string& out, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
void append(std::string& out, const char* fmt, ...) {
    char buf[256];
    va_list ap;
    va_start(ap, fmt);
    const int n = std::vsnprintf(buf, sizeof buf, fmt, ap);
    va_end(ap);
    if (n > 0) out.append(buf, static_cast<size_t>(n) < sizeof buf ? static_cast<size_t>(n) : sizeof buf - 1);
}

void append_floats(std::string& out, const float* v, int n) {
    out += '[';
    for (int i = 0; i < n; ++i) append(out, i ? ",%.6g" : "%.6g", std::isfinite(v[i]) ? v[i] : 0.0f);
    out += ']';
}

void append_matrix(std::string& out, const zq_matrix_t& m) {
    append_floats(out, &m.data[0][0], 16);
}

bool same(const zq::point3& a, const zq::point3& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

float pair_distance(const zq::capsule_pair& p) {
    const bool a_point = same(p.a0, p.a1), b_point = same(p.b0, p.b1);
    if (a_point && b_point) return zq::dap(p.a0, p.b0);
    if (a_point) return zq::p2l(p.a0, p.b0, p.b1);
    if (b_point) return zq::p2l(p.b0, p.a0, p.a1);
    return zq::d_paralle(p.a0, p.a1, p.b0, p.b1);
}

}  // namespace

const char* status_name(int status) {
    const char* name = zq::arm_status_name(status);
    return name ? name : "unknown";
}

Scene::Scene(zq_robot_handle* handle) {
    zq::arm_load(handle);
    dof_ = zq::get_dof();
    if (dof_ < 0) dof_ = 0;
    if (dof_ > 7) dof_ = 7;
    code_ = zq::get_model_code();
    zq::zq_dh_block_t dh;
    zq::get_dh_block(&dh);
    float max[8], min[8];
    zq::get_joint_max(max);
    zq::get_joint_min(min);
    for (int i = 0; i < 8; ++i) {
        max[i] = static_cast<float>(max[i] * zq::kRadToDeg);
        min[i] = static_cast<float>(min[i] * zq::kRadToDeg);
    }
    const zq::capsule_family* f = zq::capsule_family_of(code_);
    std::string& j = model_json_;
    append(j, "{\"model\":%d,\"code\":%d,\"family\":\"%s\",\"dof\":%d,\"standard_dh\":%s,", handle ? handle->arm_model : -1,
           code_, f ? f->name : "", dof_, zq::uses_standard_dh(code_) ? "true" : "false");
    j += "\"dh\":{\"d\":";
    append_floats(j, dh.d, dof_);
    j += ",\"a\":";
    append_floats(j, dh.a, dof_);
    j += ",\"alpha\":";
    append_floats(j, dh.alpha, dof_);
    j += ",\"offset\":";
    append_floats(j, dh.offset, dof_);
    j += "},\"joint_min\":";
    append_floats(j, min, dof_);
    j += ",\"joint_max\":";
    append_floats(j, max, dof_);
    j += ",\"install\":";
    append_matrix(j, zq::get_install_matrix());
    j += ",\"tool\":";
    append_matrix(j, zq::get_tool_matrix());
    if (f) {
        append(j, ",\"capsules\":{\"joints\":%d,\"links\":%d}}", f->nj, f->nl);
    } else {
        j += ",\"capsules\":null}";
    }
}

bool Scene::in_contact(int capsule) const {
    return capsule >= 0 && capsule < capsules_ && capsule_clear_[capsule] < kContact;
}

std::string Scene::frame_json(const Sample& s, long long seq) {
    float q[8] = {0};  // radians, as the arm counts them
    const int n = s.dof < dof_ ? s.dof : dof_;
    zq::scale_joints(s.q_deg, n, zq::kDegToRad, q);

    // The chain: the installation transform, then one frame per joint.
    zq::zq_dh_block_t dh;
    zq::get_dh_block(&dh);
    float theta[8];
    for (int i = 0; i < 8; ++i) theta[i] = q[i] + dh.offset[i];
    zq_matrix_t T = zq::get_install_matrix();
    std::string out;
    out.reserve(4096);
    append(out, "{\"seq\":%lld,\"source\":\"%s\",\"status\":%d,\"status_name\":\"%s\",\"err\":[", seq,
           s.realtime ? "realtime" : "query", s.status, status_name(s.status));
    const int ne = s.err_len < 0 ? 0 : (s.err_len > 24 ? 24 : s.err_len);
    for (int i = 0; i < ne; ++i) append(out, i ? ",%d" : "%d", s.err[i]);
    out += "],\"q\":";
    append_floats(out, s.q_deg, n);
    out += ",\"frames\":[";
    append_matrix(out, T);
    for (int i = 0; i < dof_; ++i) {
        T = zq::matrix_mul(T, zq::link_transform(code_, i, dh, theta));
        out += ',';
        append_matrix(out, T);
    }
    // The flange in the base frame, as forward kinematics gives it.
    const zq_matrix_t flange = zq::chain_base_flange(q, true);
    const zq_pose_t pose = zq_algo_matrix2pos(flange);
    append(out, "],\"flange\":{\"x\":%.6f,\"y\":%.6f,\"z\":%.6f,\"rx\":%.6f,\"ry\":%.6f,\"rz\":%.6f}",
           pose.position.x, pose.position.y, pose.position.z, pose.euler.rx, pose.euler.ry, pose.euler.rz);
    out += ",\"tool\":";
    append_matrix(out, zq::matrix_mul(zq::matrix_mul(zq::get_install_matrix(), flange), zq::get_tool_matrix()));

    // The capsules of the self-collision check, each with its own clearance:
    // the smallest over the pairs of the check that it takes part in.
    capsules_ = 0;
    clearance_ = 1.0f;
    zq_tool_sphere_t spheres[zq::kEnvelopeSlots];
    const int nt = zq::active_tool_spheres(spheres);
    const zq::capsule_family* f = zq::capsule_family_of(code_);
    out += ",\"capsules\":";
    if (!f) {
        out += "null,\"spheres\":[],\"clearance\":1}";
        return out;
    }
    zq::capsule_scene sc;
    zq::build_capsules(*f, zq::loaded_chain(), q, spheres, nt, &sc);
    clearance_ = zq::self_collision_clearance(q);

    // Capsule ids: joint capsules, link capsules, tool capsules, tool spheres.
    const int nj = f->nj, nl = f->nl + sc.nk;
    const int total = nj + nl + sc.nt;
    capsules_ = total < 32 ? total : 32;
    for (int i = 0; i < capsules_; ++i) capsule_clear_[i] = 1.0f;
    auto id_of = [&](const zq::point3& a, const zq::point3& b) {
        if (same(a, b)) {
            for (int t = 0; t < sc.nt; ++t)
                if (same(a, sc.joint_a[nj + t])) return nj + nl + t;
            return -1;
        }
        for (int i = 0; i < nj; ++i)
            if (same(a, sc.joint_a[i]) && same(b, sc.joint_b[i])) return i;
        for (int i = 0; i < nl; ++i)
            if (same(a, sc.link_a[i]) && same(b, sc.link_b[i])) return nj + i;
        return -1;
    };
    zq::capsule_pair pairs[256];
    const int np = zq::list_pairs(*f, sc, pairs, 256);
    for (int k = 0; k < np; ++k) {
        const zq::capsule_pair& p = pairs[k];
        const float c = pair_distance(p) - (p.ra + p.rb);
        for (int id : {id_of(p.a0, p.a1), id_of(p.b0, p.b1)})
            if (id >= 0 && id < capsules_ && c < capsule_clear_[id]) capsule_clear_[id] = c;
    }
    out += '[';
    auto capsule = [&](int id, const zq::point3& a, const zq::point3& b, float r, const char* kind) {
        append(out, "%s{\"kind\":\"%s\",\"a\":[%.5f,%.5f,%.5f],\"b\":[%.5f,%.5f,%.5f],\"r\":%.5f,\"clear\":%.5f}",
               id ? "," : "", kind, a.x, a.y, a.z, b.x, b.y, b.z, r, id < capsules_ ? capsule_clear_[id] : 1.0f);
    };
    for (int i = 0; i < nj; ++i) capsule(i, sc.joint_a[i], sc.joint_b[i], sc.rj[i], "joint");
    for (int i = 0; i < nl; ++i)
        capsule(nj + i, sc.link_a[i], sc.link_b[i], sc.rl[i], i < f->nl ? "link" : "tool");
    for (int t = 0; t < sc.nt; ++t)
        capsule(nj + nl + t, sc.joint_a[nj + t], sc.joint_a[nj + t], sc.rj[nj + t], "sphere");
    append(out, "],\"clearance\":%.5f,\"contact\":%s}", clearance_, clearance_ < kContact ? "true" : "false");
    return out;
}

}  // namespace zqview
