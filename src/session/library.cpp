// The library frame: start and stop, the pool of five sessions, the handle
// records and the process-wide settings.
#include <atomic>
#include <cstring>
#include <mutex>
#include <system_error>

#include "session/connect.h"
#include "session/log.h"
#include "session/receive.h"
#include "session/session.h"
#include "session/udp_socket.h"
#include "zq_version.h"

namespace zq {
namespace {

namespace pf = platform;

std::atomic<int> g_mode{ZQ_RECV_UDP_THREAD_MODE};
std::atomic<bool> g_initialised{false};
std::atomic<bool> g_stop{false};
std::atomic<int> g_query_timeout{500};
std::atomic<int> g_config_timeout{1000};
std::atomic<int> g_bus_timeout{1000};
std::atomic<int> g_port_table[kMaxSessions];
std::atomic<zq_event_callback_t> g_event_callback{nullptr};
std::atomic<bool> g_hand_follow{false};

pf::RwLock g_pool_lock;
// The pool. Written under the exclusive pool_lock and, for the receive
// thread's snapshot, under g_slots_lock as well.
SessionRef g_slots[kMaxSessions];
pf::Mutex g_slots_lock;

// Threads started by zq_init, joined by zq_destroy.
pf::Mutex g_threads_lock;
pf::Thread g_recv_thread;
pf::Thread g_udp_thread;
// Lives as long as the process: threads may still wake it during exit.
pf::Waker& g_recv_waker = *new pf::Waker();

void stop_threads();

// A process that ends without zq_destroy still stops its receive threads
// before the state they read goes away.
struct ThreadsAtExit {
    ~ThreadsAtExit() {
        g_stop.store(true, std::memory_order_release);
        stop_threads();
    }
} g_threads_at_exit;

void set_slot(int i, SessionRef s) {
    std::lock_guard<pf::Mutex> lock(g_slots_lock);
    g_slots[i] = std::move(s);
}

int slot_of(const zq_robot_handle* handle) {
    if (!handle) return -1;
    for (int i = 0; i < kMaxSessions; ++i) {
        if (g_slots[i] && &g_slots[i]->handle == handle) return i;
    }
    return -1;
}

// Marks the socket of a session so that a send stuck on a full socket gives
// up; taken without pool_lock, since the sender holds it.
void abandon_sends(const zq_robot_handle* handle) {
    std::lock_guard<pf::Mutex> lock(g_slots_lock);
    for (auto& s : g_slots) {
        if (s && s->socket && (!handle || &s->handle == handle)) s->socket->abandoned.store(true);
    }
}

thread_local bool t_library_thread = false;

// Wakes the receive threads to see the stop flag, and joins them. A callback
// (on one of those threads) only wakes them: a library thread joining
// another could wait on a thread that waits on it. The application's
// destroy, or the exit handler, joins them. Whoever takes the threads out
// joins them outside the lock, so a second destroy never waits on the first.
void stop_threads() {
    g_recv_waker.wake();
    udp_listener_waker().wake();
    if (t_library_thread) return;
    pf::Thread recv, udp;
    {
        std::lock_guard<pf::Mutex> lock(g_threads_lock);
        recv = std::move(g_recv_thread);
        udp = std::move(g_udp_thread);
    }
    if (recv.joinable()) recv.join();
    if (udp.joinable()) udp.join();
}

// Takes every session out of the pool and wakes what waits on them.
void clear_pool() {
    SessionRef gone[kMaxSessions];
    {
        std::unique_lock<pf::RwLock> lock(g_pool_lock);
        for (int i = 0; i < kMaxSessions; ++i) {
            gone[i] = g_slots[i];
            set_slot(i, nullptr);
        }
    }
    for (auto& s : gone) {
        if (s) mark_deleted(*s);
    }
}

bool start_thread(pf::Thread& t, void (*body)(), const char* failure_line) {
    try {
        t = pf::Thread(body);
        return true;
    } catch (const std::system_error& e) {
        log_error(failure_line, e.code().value());
        return false;
    }
}

void receive_thread_body() {
    t_library_thread = true;
    socket_receive_loop(&g_recv_waker);
}
void udp_thread_body() {
    t_library_thread = true;
    udp_receive_loop();
}

}  // namespace

// ---- process-wide state ---------------------------------------------------

pf::RwLock& pool_lock() { return g_pool_lock; }
bool on_library_thread() { return t_library_thread; }
pf::Mutex& kinematics_state_lock() {
    static pf::Mutex lock;
    return lock;
}
int thread_mode() { return g_mode.load(std::memory_order_relaxed); }
bool stopping() { return g_stop.load(std::memory_order_acquire); }
int query_timeout() { return g_query_timeout.load(std::memory_order_relaxed); }
int config_timeout() { return g_config_timeout.load(std::memory_order_relaxed); }
int bus_timeout() { return g_bus_timeout.load(std::memory_order_relaxed); }
void set_bus_timeout(int ms) { g_bus_timeout.store(ms, std::memory_order_relaxed); }
int port_table(int slot) {
    return slot >= 0 && slot < kMaxSessions ? g_port_table[slot].load(std::memory_order_relaxed) : 0;
}
zq_event_callback_t event_callback() { return g_event_callback.load(std::memory_order_acquire); }
bool hand_follow_enabled() { return g_hand_follow.load(std::memory_order_acquire); }

zq_robot_session::~zq_robot_session() {
    socket_free(socket);
    delete fifo_handle;
}

zq_robot_session* find_session(const zq_robot_handle* handle) {
    int i = slot_of(handle);
    return i < 0 ? nullptr : g_slots[i].get();
}

SessionRef session_ref(const zq_robot_handle* handle) {
    std::shared_lock<pf::RwLock> lock(g_pool_lock);
    int i = slot_of(handle);
    return i < 0 ? nullptr : g_slots[i];
}

void mark_deleted(zq_robot_session& session) {
    session.deleted.store(true, std::memory_order_release);
    if (session.socket) {
        session.socket->abandoned.store(true);
        // A single-thread reader blocked on the socket wakes with end of stream.
        if (pf::socket_set(session.socket->fd)) pf::shutdown_socket(session.socket->fd);
    }
    if (session.fifo_handle) {
        std::lock_guard<pf::Mutex> lock(session.fifo_handle->lock);
        session.fifo_handle->filed.notify_all();
    }
}

int snapshot_sessions(SessionRef* out) {
    std::lock_guard<pf::Mutex> lock(g_slots_lock);
    int n = 0;
    for (auto& s : g_slots) {
        if (s && s->socket && s->fifo_handle) out[n++] = s;
    }
    return n;
}

void wake_receiver() { g_recv_waker.wake(); }

int read_joint_count(const zq_robot_handle* handle) {
    std::shared_lock<pf::RwLock> lock(g_pool_lock);
    if (!find_session(handle)) return -1;
    int dof = handle->arm_dof;
    if (dof < 1 || dof > 10) return -1;
    return dof < kMaxJoints ? dof : kMaxJoints;
}

int set_joint_count(zq_robot_handle* handle, int dof) {
    std::unique_lock<pf::RwLock> lock(g_pool_lock);
    if (!find_session(handle)) return -1;
    if (dof < 1 || dof > 10) return -2;
    if (dof > kMaxJoints) dof = kMaxJoints;
    const int known = handle->arm_dof;
    if (known >= 1 && known <= kMaxJoints && dof > known) dof = known;
    handle->arm_dof = dof;
    return 0;
}

zq_robot_handle* find_handle_by_address(const char* ip, int port) {
    if (!ip) return nullptr;
    std::shared_lock<pf::RwLock> lock(g_pool_lock);
    for (auto& s : g_slots) {
        if (s && s->socket && std::strncmp(s->socket->ip, ip, sizeof s->socket->ip) == 0 && s->socket->port == port)
            return &s->handle;
    }
    return nullptr;
}

int generation_gate(const zq_robot_handle* handle, int version, int refusal) {
    std::shared_lock<pf::RwLock> lock(g_pool_lock);
    if (!find_session(handle)) return -1;
    return handle->controller_version == version ? 0 : refusal;
}

bool atomic_take(int32_t& counter) {
    int32_t v = __atomic_load_n(&counter, __ATOMIC_ACQUIRE);
    while (v > 0) {
        if (__atomic_compare_exchange_n(&counter, &v, v - 1, false, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE)) return true;
    }
    return false;
}

}  // namespace zq

using namespace zq;

extern "C" {

int zq_init(zq_thread_mode_e mode) {
    if (g_initialised.load()) return 0;
    std::lock_guard<pf::Mutex> threads(g_threads_lock);
    if (g_initialised.load()) return 0;
    pf::net_startup();  // each open checks it again, and reports a failure
    {
        std::unique_lock<pf::RwLock> lock(g_pool_lock);
        g_mode.store(mode);
        g_stop.store(false);
        for (int i = 0; i < kMaxSessions; ++i) set_slot(i, nullptr);
    }
    bool ok = true;
    switch (mode) {
        case ZQ_SINGLE_THREAD_MODE:
            break;
        case ZQ_RECV_THREAD_MODE:
            ok = start_thread(g_recv_thread, receive_thread_body, "Error creating socket thread: %d\n");
            break;
        case ZQ_RECV_UDP_THREAD_MODE:
            if (!udp_listener_make()) {
                log_error("UDP init failed\n");
                ok = false;
            } else if (!start_thread(g_recv_thread, receive_thread_body, "Error creating recv thread: %d\n")) {
                ok = false;
            } else if (!start_thread(g_udp_thread, udp_thread_body, "Error creating udp recv thread: %d\n")) {
                ok = false;
            }
            break;
        default:
            log_error("Invalid thread mode\n");
            ok = false;
            break;
    }
    if (!ok) {
        // A thread that did start is stopped again, so that a later zq_init
        // cannot leave two readers on one socket.
        g_stop.store(true);
        g_recv_waker.wake();
        udp_listener_waker().wake();
        if (g_recv_thread.joinable()) g_recv_thread.join();
        if (g_udp_thread.joinable()) g_udp_thread.join();
        g_stop.store(false);
        return -1;
    }
    g_initialised.store(true);
    return 0;
}

int zq_destroy(void) {
    g_stop.store(true, std::memory_order_release);
    abandon_sends(nullptr);
    stop_threads();
    clear_pool();
    pf::net_shutdown();
    return 0;
}

const char* zq_api_version(void) { return ZQ_VERSION_TEXT; }

void zq_set_timeout(int timeout_ms) {
    g_query_timeout.store(timeout_ms);
    g_config_timeout.store(timeout_ms);
}

void zq_get_arm_event_call_back(zq_event_callback_t callback) {
    if (callback) g_event_callback.store(callback, std::memory_order_release);
}

zq_robot_handle* zq_create_robot_arm(const char* ip, int port) {
    zq_robot_handle* handle = nullptr;
    {
        std::unique_lock<pf::RwLock> lock(g_pool_lock);
        int slot = -1;
        for (int i = 0; i < kMaxSessions && slot < 0; ++i) {
            if (!g_slots[i]) slot = i;
        }
        if (slot < 0) {
            log_error("[zq_create_robot_arm] robot num is max");
            return nullptr;
        }
        auto session = std::make_shared<zq_robot_session>();
        session->fifo_handle = new ReplyFifo();
        session->socket = socket_make(ip, port);
        if (session->socket) session->socket->zq_socket_open(session->socket);
        handle = &session->handle;
        set_slot(slot, session);
        if (!session->socket || !pf::socket_set(session->socket->fd)) {
            log_error("[zq_create_robot_arm] socket connect err!\n");
            atomic_set(handle->id, -1);
            return handle;
        }
        session->session_id = static_cast<uint8_t>(slot + 1);
        atomic_set(handle->id, slot + 1);
        std::memset(session->socket->ip, 0, sizeof session->socket->ip);
        std::memcpy(session->socket->ip, ip, strnlen(ip, 16));
        session->socket->port = port;
        g_port_table[slot].store(port);
    }
    wake_receiver();

    int rc = run_first_queries(handle);
    hand_over_to_kinematics(handle);

    std::unique_lock<pf::RwLock> lock(g_pool_lock);
    if (rc != 0 && find_session(handle)) {
        log_error("[zq_create_robot_arm] get robot info err!\n");
        atomic_set(handle->id, -1);
    }
    return handle;
}

int zq_delete_robot_arm(zq_robot_handle* handle) {
    abandon_sends(handle);
    SessionRef doomed;
    {
        std::unique_lock<pf::RwLock> lock(g_pool_lock);
        int i = slot_of(handle);
        if (i < 0) {
            log_error("not find handle\n");
            return -1;
        }
        doomed = g_slots[i];
        set_slot(i, nullptr);
    }
    mark_deleted(*doomed);
    // The receive thread may still hold the session for its current round;
    // the socket closes when the last holder lets go, so its descriptor is
    // never reused under the thread's feet.
    wake_receiver();
    return 0;
}

int zq_get_robot_info(zq_robot_handle* handle, zq_robot_info_t* info) {
    std::shared_lock<pf::RwLock> lock(g_pool_lock);
    if (!find_session(handle)) {
        log_error("[%s] handle is NULL!\n", "zq_get_robot_info");
        return -1;
    }
    if (info) {
        info->arm_dof = handle->arm_dof;
        info->arm_model = handle->arm_model;
        info->force_type = handle->force_type;
        info->controller_version = handle->controller_version;
    }
    return handle->arm_dof == 0 ? -2 : 0;
}

int zq_motion_count_op(zq_robot_handle* handle, int op) {
    if (op == 5 || op == 6) {
        g_hand_follow.store(op == 5, std::memory_order_release);
        return 0;
    }
    std::unique_lock<pf::RwLock> lock(g_pool_lock);
    if (!find_session(handle)) return -1;
    switch (op) {
        case 0:
            atomic_set(handle->pending_trajectory, 0);
            atomic_set(handle->pending_program, 0);
            return 0;
        case 1:
            __atomic_add_fetch(&handle->pending_trajectory, 1, __ATOMIC_ACQ_REL);
            return 0;
        case 2:
            if (!atomic_take(handle->pending_trajectory)) atomic_set(handle->pending_trajectory, 0);
            return 0;
        case 3:
            __atomic_add_fetch(&handle->pending_program, 1, __ATOMIC_ACQ_REL);
            return 0;
        case 4:
            if (!atomic_take(handle->pending_program)) atomic_set(handle->pending_program, 0);
            return 0;
        default:
            return -2;
    }
}

}  // extern "C"
