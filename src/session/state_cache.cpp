// The latest realtime report of each arm. The UDP receive thread files each
// report that parsed under the session that it belongs to; zq_get_realtime_arm_state
// copies it out with its age. One mutex guards the table: a store and a copy
// are a few hundred bytes each, far below the report period.
#include "session/state_cache.h"

#include <cstring>
#include <memory>
#include <mutex>
#include <shared_mutex>

#include "platform/platform.h"
#include "platform/log.h"
#include "session/session.h"
#include "zq_state_cache.h"

namespace zq {
namespace {

struct CachedReport {
    // The session the report belongs to. A weak reference keeps its control
    // block alive, so a later session can never pass for this one.
    std::weak_ptr<zq_robot_session> owner;
    zq_realtime_arm_joint_state_t report;
    uint64_t received_ms = 0;
};

std::mutex g_cache_lock;
CachedReport g_cache[kMaxSessions];

bool same_owner(const std::weak_ptr<zq_robot_session>& a, const SessionRef& b) {
    return !a.owner_before(b) && !b.owner_before(a);
}

// The entry of `session`, or a free one (empty or of a session that is gone).
// Caller holds g_cache_lock.
CachedReport* entry_for(const SessionRef& session, bool create) {
    CachedReport* free_entry = nullptr;
    for (CachedReport& e : g_cache) {
        if (same_owner(e.owner, session)) return &e;
        if (!free_entry && e.owner.expired()) free_entry = &e;
    }
    if (!create || !free_entry) return nullptr;
    free_entry->owner = session;
    return free_entry;
}

}  // namespace

void state_cache_store(const zq_realtime_arm_joint_state_t& report, const char* ip, int udp_port) {
    if (!ip || report.errCode != 0) return;
    SessionRef owners[kMaxSessions];
    int n = 0;
    {
        std::shared_lock<platform::RwLock> lock(pool_lock());
        SessionRef sessions[kMaxSessions];
        const int count = snapshot_sessions(sessions);
        for (int i = 0; i < count; ++i) {
            const zq_robot_session& s = *sessions[i];
            if (s.handle.udp_port == udp_port && std::strncmp(s.socket->ip, ip, sizeof s.socket->ip) == 0)
                owners[n++] = sessions[i];
        }
    }
    if (n == 0) return;
    const uint64_t now = platform::monotonic_ms();
    std::lock_guard<std::mutex> lock(g_cache_lock);
    for (int i = 0; i < n; ++i) {
        if (CachedReport* e = entry_for(owners[i], true)) {
            e->report = report;
            e->received_ms = now;
        }
    }
}

}  // namespace zq

using namespace zq;

int zq_get_realtime_arm_state(zq_robot_handle* handle, zq_realtime_arm_joint_state_t* state, int32_t* age_ms) {
    if (!state) {
        log_error("[%s] state is NULL!\n", "zq_get_realtime_arm_state");
        return -4;
    }
    SessionRef session = session_ref(handle);
    if (!session) {
        log_error("[%s] handle is NULL!\n", "zq_get_realtime_arm_state");
        return -1;
    }
    std::lock_guard<std::mutex> lock(g_cache_lock);
    const CachedReport* e = entry_for(session, false);
    if (!e) return -2;
    *state = e->report;
    if (age_ms) {
        const uint64_t age = platform::monotonic_ms() - e->received_ms;
        *age_ms = age > 2147483647u ? 2147483647 : static_cast<int32_t>(age);
    }
    return 0;
}
