// Windows implementation of the platform layer: Winsock 2.2, the performance
// counter, Sleep at a 1 ms timer period, and the ANSI code page.
#include "platform/platform.h"

#if defined(_WIN32)

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef PSAPI_VERSION
#define PSAPI_VERSION 2  // the memory counters from kernel32, no psapi.dll
#endif
// clang-format off
#include <winsock2.h>
#include <ws2tcpip.h>
#include <windows.h>
#include <mmsystem.h>
#include <psapi.h>
// clang-format on

#include <malloc.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <vector>

#ifndef SIO_UDP_CONNRESET
#define SIO_UDP_CONNRESET _WSAIOW(IOC_VENDOR, 12)
#endif

namespace zq::platform {

static_assert(sizeof(socket_t) == sizeof(SOCKET), "socket_t holds a SOCKET");
static_assert(kInvalidSocket == INVALID_SOCKET, "one invalid socket value");

namespace {

SOCKET sys(socket_t s) { return static_cast<SOCKET>(s); }

int clamp_len(size_t len) { return len > static_cast<size_t>(INT_MAX) ? INT_MAX : static_cast<int>(len); }

Mutex g_net_lock;
bool g_net_started = false;

}  // namespace

// ---- sockets ------------------------------------------------------------

// The library holds one reference on Winsock, from the first open or zq_init
// up to zq_destroy. Every further start is a no-op, and the cleanups that
// follow each UDP close keep the layer: Winsock counts its users, and an
// unbalanced cleanup would end the sockets of every session at once.
int net_startup() {
    std::lock_guard<Mutex> lock(g_net_lock);
    if (g_net_started) return 0;
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0) return -1;
    g_net_started = true;
    return 0;
}

void net_cleanup() {}

void net_shutdown() {
    std::lock_guard<Mutex> lock(g_net_lock);
    if (!g_net_started) return;
    WSACleanup();
    g_net_started = false;
}

NetUser::NetUser() {
    WSADATA data;
    ok_ = WSAStartup(MAKEWORD(2, 2), &data) == 0;
}

NetUser::~NetUser() {
    if (ok_) WSACleanup();
}

static socket_t make_socket(int type, int protocol) {
    SOCKET s = WSASocketW(AF_INET, type, protocol, nullptr, 0, WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
    if (s == INVALID_SOCKET && WSAGetLastError() == WSAEINVAL) {
        s = ::socket(AF_INET, type, protocol);  // systems without the inherit flag
    }
    return static_cast<socket_t>(s);
}

socket_t tcp_socket() { return make_socket(SOCK_STREAM, IPPROTO_TCP); }

socket_t udp_socket() {
    socket_t s = make_socket(SOCK_DGRAM, IPPROTO_UDP);
    if (socket_valid(s)) {
        // Otherwise a port-unreachable answer to an earlier send fails the
        // next receive with a connection reset.
        BOOL report = FALSE;
        DWORD returned = 0;
        WSAIoctl(sys(s), SIO_UDP_CONNRESET, &report, sizeof report, nullptr, 0, &returned, nullptr, nullptr);
    }
    return s;
}

bool parse_ipv4(const char* text, uint32_t* addr_be) {
    IN_ADDR a{};
    if (!text || inet_pton(AF_INET, text, &a) != 1) return false;
    *addr_be = a.s_addr;
    return true;
}

// Winsock reads these options as a number of milliseconds.
static int set_ms_option(socket_t s, int option, int ms) {
    DWORD value = ms > 0 ? static_cast<DWORD>(ms) : 0;
    return setsockopt(sys(s), SOL_SOCKET, option, reinterpret_cast<const char*>(&value), sizeof value) == 0 ? 0 : -1;
}
int set_send_timeout_ms(socket_t s, int ms) { return set_ms_option(s, SO_SNDTIMEO, ms); }
int set_recv_timeout_ms(socket_t s, int ms) { return set_ms_option(s, SO_RCVTIMEO, ms); }

int set_reuse_address(socket_t s) {
    BOOL one = TRUE;
    return setsockopt(sys(s), SOL_SOCKET, SO_REUSEADDR, reinterpret_cast<const char*>(&one), sizeof one) == 0 ? 0 : -1;
}

int set_exclusive_address(socket_t s) {
    BOOL one = TRUE;
    return setsockopt(sys(s), SOL_SOCKET, SO_EXCLUSIVEADDRUSE, reinterpret_cast<const char*>(&one), sizeof one) == 0
               ? 0
               : -1;
}

// Address reuse here would let a second listener take the port; a port whose
// old connections wait out their close can be bound again without it.
int set_listener_address(socket_t s) { return set_exclusive_address(s); }

int set_no_delay(socket_t s) {
    BOOL one = TRUE;
    return setsockopt(sys(s), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&one), sizeof one) == 0 ? 0 : -1;
}

int set_non_blocking(socket_t s) {
    u_long on = 1;
    return ioctlsocket(sys(s), FIONBIO, &on) == 0 ? 0 : -1;
}

static sockaddr_in ipv4(uint32_t addr_be, int port) {
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = addr_be;
    sa.sin_port = htons(static_cast<u_short>(port));
    return sa;
}

int connect_ipv4(socket_t s, uint32_t addr_be, int port) {
    sockaddr_in sa = ipv4(addr_be, port);
    return ::connect(sys(s), reinterpret_cast<const sockaddr*>(&sa), sizeof sa) == 0 ? 0 : -1;
}

int bind_ipv4(socket_t s, uint32_t addr_be, int port) {
    if (port < 0 || port > 65535) {
        WSASetLastError(WSAEINVAL);
        return -1;
    }
    sockaddr_in sa = ipv4(addr_be, port);
    return ::bind(sys(s), reinterpret_cast<const sockaddr*>(&sa), sizeof sa) == 0 ? 0 : -1;
}

int bind_any(socket_t s, int port) { return bind_ipv4(s, htonl(INADDR_ANY), port); }

uint32_t loopback_address() { return htonl(INADDR_LOOPBACK); }

int listen_socket(socket_t s, int backlog) { return ::listen(sys(s), backlog) == 0 ? 0 : -1; }

socket_t accept_connection(socket_t listener) {
    SOCKET c = ::accept(sys(listener), nullptr, nullptr);
    if (c == INVALID_SOCKET) return kInvalidSocket;
    SetHandleInformation(reinterpret_cast<HANDLE>(c), HANDLE_FLAG_INHERIT, 0);
    if (set_non_blocking(c) != 0) {
        closesocket(c);
        WSASetLastError(WSAEWOULDBLOCK);
        return kInvalidSocket;
    }
    set_no_delay(c);
    return static_cast<socket_t>(c);
}

int local_port(socket_t s) {
    sockaddr_in sa{};
    int len = sizeof sa;
    if (::getsockname(sys(s), reinterpret_cast<sockaddr*>(&sa), &len) != 0) return -1;
    return ntohs(sa.sin_port);
}

// Winsock's send never raises a signal: a closed peer is an error result.
long send_bytes(socket_t s, const void* data, size_t len) {
    return ::send(sys(s), static_cast<const char*>(data), clamp_len(len), 0);
}

long recv_bytes(socket_t s, void* buf, size_t cap) {
    return ::recv(sys(s), static_cast<char*>(buf), clamp_len(cap), 0);
}

long send_datagram(socket_t s, uint32_t addr_be, int port, const void* data, size_t len) {
    sockaddr_in to = ipv4(addr_be, port);
    return ::sendto(sys(s), static_cast<const char*>(data), clamp_len(len), 0, reinterpret_cast<const sockaddr*>(&to),
                    sizeof to);
}

long recv_datagram(socket_t s, void* buf, size_t cap, char* ip_out, size_t ip_cap, int* port_out) {
    sockaddr_in from{};
    int len = sizeof from;
    long n = ::recvfrom(sys(s), static_cast<char*>(buf), clamp_len(cap), 0, reinterpret_cast<sockaddr*>(&from), &len);
    if (n < 0) {
        const int e = WSAGetLastError();
        if (e == WSAEMSGSIZE) {
            n = clamp_len(cap);  // the datagram cut to the buffer, as other systems deliver it
        } else {
            // A port-unreachable report (where it could not be switched off)
            // or a network reset: no datagram this time.
            if (e == WSAECONNRESET || e == WSAENETRESET) WSASetLastError(WSAEWOULDBLOCK);
            return -1;
        }
    }
    char text[INET_ADDRSTRLEN] = {0};
    inet_ntop(AF_INET, &from.sin_addr, text, sizeof text);
    if (ip_out && ip_cap) std::snprintf(ip_out, ip_cap, "%s", text);
    if (port_out) *port_out = ntohs(from.sin_port);
    return n;
}

void close_socket(socket_t s) {
    if (socket_valid(s)) closesocket(sys(s));
}

void shutdown_socket(socket_t s) {
    if (socket_valid(s)) ::shutdown(sys(s), SD_BOTH);
}

int last_error() { return WSAGetLastError(); }
bool is_would_block(int error) { return error == WSAEWOULDBLOCK; }
bool is_interrupted(int error) { return error == WSAEINTR; }

void print_system_error(const char* text) {
    const DWORD e = GetLastError();  // the same slot as WSAGetLastError
    char message[512] = {0};
    DWORD n = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, e, 0, message,
                             sizeof message, nullptr);
    while (n > 0 && (message[n - 1] == '\n' || message[n - 1] == '\r' || message[n - 1] == ' ')) message[--n] = '\0';
    if (n == 0) std::snprintf(message, sizeof message, "error %lu", static_cast<unsigned long>(e));
    std::fprintf(stderr, "%s: %s\n", text, message);
}

// ---- readiness ----------------------------------------------------------

// A pipe cannot be selected on: the waker is a connected pair of loopback
// sockets, and a wake-up is one byte on it. Making the pair needs the socket
// layer, which must not start while the loader runs static constructors: the
// pair is made on first use, and holds its own reference on the layer.
Waker::Waker() { fds_[0] = fds_[1] = kInvalidSocket; }

Waker::~Waker() {
    if (state_.load() != 1) return;
    close_socket(fds_[0]);
    close_socket(fds_[1]);
    fds_[0] = fds_[1] = kInvalidSocket;
    WSACleanup();
}

static Mutex g_waker_lock;

bool Waker::make() {
    int state = state_.load();
    if (state != 0) return state > 0;
    std::lock_guard<Mutex> lock(g_waker_lock);
    state = state_.load();
    if (state != 0) return state > 0;
    WSADATA data;
    bool ok = WSAStartup(MAKEWORD(2, 2), &data) == 0;
    const bool started = ok;
    socket_t listener = kInvalidSocket, writer = kInvalidSocket, reader = kInvalidSocket;
    if (ok) {
        listener = tcp_socket();
        writer = tcp_socket();
        ok = socket_valid(listener) && socket_valid(writer) && bind_ipv4(listener, loopback_address(), 0) == 0 &&
             listen_socket(listener, 1) == 0 && connect_ipv4(writer, loopback_address(), local_port(listener)) == 0;
    }
    if (ok) {
        // Only our own writer may become the other end.
        sockaddr_in mine{}, peer{};
        int mine_len = sizeof mine, peer_len = sizeof peer;
        reader = static_cast<socket_t>(::accept(sys(listener), reinterpret_cast<sockaddr*>(&peer), &peer_len));
        ok = socket_valid(reader) && getsockname(sys(writer), reinterpret_cast<sockaddr*>(&mine), &mine_len) == 0 &&
             mine.sin_port == peer.sin_port && mine.sin_addr.s_addr == peer.sin_addr.s_addr &&
             set_non_blocking(reader) == 0 && set_non_blocking(writer) == 0;
        if (ok) set_no_delay(writer);
    }
    close_socket(listener);
    if (!ok) {
        close_socket(reader);
        close_socket(writer);
        if (started) WSACleanup();
        state_.store(-1);
        return false;
    }
    fds_[0] = reader;
    fds_[1] = writer;
    state_.store(1);
    if (pending_.exchange(false)) wake();
    return true;
}

socket_t Waker::fd() { return make() ? fds_[0] : kInvalidSocket; }
bool Waker::ok() { return make(); }

void Waker::wake() {
    if (state_.load() != 1) {
        pending_.store(true);
        if (state_.load() != 1) return;  // the maker sends it
    }
    const char b = 1;
    ::send(sys(fds_[1]), &b, 1, 0);  // a full buffer already means "wake"
}

void Waker::drain() {
    if (state_.load() != 1) return;
    char buf[64];
    while (::recv(sys(fds_[0]), buf, sizeof buf, 0) > 0) {
    }
}

namespace {

// An fd_set of any size: Winsock reads the count and then that many sockets,
// so the array behind the header may be longer than FD_SETSIZE. Small sets,
// the library's own, live on the stack.
class SocketSet {
public:
    explicit SocketSet(size_t capacity) : words_(small_) {
        if (capacity + 1 > kSmall) {
            big_.resize(capacity + 1);
            words_ = big_.data();
        }
        words_[0] = 0;
    }
    SocketSet(const SocketSet&) = delete;
    SocketSet& operator=(const SocketSet&) = delete;
    fd_set* get() { return reinterpret_cast<fd_set*>(words_); }
    void add(SOCKET s) {
        words_[1 + count_++] = s;
        const u_int count = static_cast<u_int>(count_);
        std::memcpy(words_, &count, sizeof count);  // the header's count
    }
    bool empty() const { return count_ == 0; }
    bool has(SOCKET s) { return FD_ISSET(s, get()) != 0; }  // after select: among the ready ones

private:
    static constexpr size_t kSmall = 24;
    SOCKET small_[kSmall];
    std::vector<SOCKET> big_;
    SOCKET* words_;  // the first word holds the count
    size_t count_ = 0;
};
static_assert(offsetof(fd_set, fd_array) == sizeof(SOCKET), "fd_set is a count and an array of sockets");

// select with a time-out in milliseconds (negative: none). With no socket at
// all it sleeps, as select refuses empty sets here.
int select_ms(SocketSet& read, SocketSet* write, int timeout_ms) {
    if (read.empty() && (!write || write->empty())) {
        Sleep(timeout_ms < 0 ? INFINITE : static_cast<DWORD>(timeout_ms));
        return 0;
    }
    timeval tv{};
    tv.tv_sec = timeout_ms / 1000;
    tv.tv_usec = (timeout_ms % 1000) * 1000;
    int rc = ::select(0, read.get(), write ? write->get() : nullptr, nullptr, timeout_ms < 0 ? nullptr : &tv);
    if (rc == SOCKET_ERROR) return WSAGetLastError() == WSAEINTR ? 0 : -1;
    return rc;
}

}  // namespace

int wait_sockets(PollItem* items, int count, int timeout_ms, Waker* waker) {
    SocketSet read(static_cast<size_t>(count) + 1), write(static_cast<size_t>(count));
    bool any_write = false;
    for (int i = 0; i < count; ++i) {
        items[i].readable = items[i].writable = false;
        if (!socket_valid(items[i].s)) continue;
        read.add(sys(items[i].s));
        if (items[i].want_write) {
            write.add(sys(items[i].s));
            any_write = true;
        }
    }
    const bool with_waker = waker && waker->ok();
    if (with_waker) read.add(sys(waker->fd()));
    int rc = select_ms(read, any_write ? &write : nullptr, timeout_ms);
    if (rc <= 0) return rc;
    if (with_waker && read.has(sys(waker->fd()))) waker->drain();
    int ready = 0;
    for (int i = 0; i < count; ++i) {
        if (!socket_valid(items[i].s)) continue;
        items[i].readable = read.has(sys(items[i].s));
        items[i].writable = items[i].want_write && write.has(sys(items[i].s));
        if (items[i].readable || items[i].writable) ++ready;
    }
    return ready;
}

int wait_readable(const socket_t* fds, int count, bool* ready, int timeout_ms, Waker* waker) {
    PollItem small[16];
    std::vector<PollItem> big;
    PollItem* items = small;
    if (count > 16) {
        big.resize(static_cast<size_t>(count));
        items = big.data();
    }
    for (int i = 0; i < count; ++i) items[i] = PollItem{fds[i], false, false, false};
    int rc = wait_sockets(items, count, timeout_ms, waker);
    for (int i = 0; i < count; ++i) ready[i] = rc > 0 && items[i].readable;
    return rc;
}

int wait_readable_one(socket_t s, int timeout_ms) {
    SocketSet read(1);
    read.add(sys(s));
    int rc = select_ms(read, nullptr, timeout_ms);
    if (rc < 0) return -1;
    return rc > 0 ? 1 : 0;
}

// ---- time ---------------------------------------------------------------

uint64_t counter_frequency() {
    static const uint64_t frequency = [] {
        LARGE_INTEGER f;
        QueryPerformanceFrequency(&f);
        return static_cast<uint64_t>(f.QuadPart);
    }();
    return frequency;
}

uint64_t counter_ticks() {
    LARGE_INTEGER t;
    QueryPerformanceCounter(&t);
    return static_cast<uint64_t>(t.QuadPart);
}

uint64_t monotonic_us() {
    const uint64_t ticks = counter_ticks(), f = counter_frequency();
    return ticks / f * 1000000u + ticks % f * 1000000u / f;
}

// The tick count moves in steps of the timer period (often 15.6 ms), too
// coarse for the 3 ms and 10 ms budgets of the waits: milliseconds come from
// the performance counter as well, so that both clocks agree.
uint64_t monotonic_ms() { return monotonic_us() / 1000; }

void sleep_ms(int ms) {
    if (ms <= 0) return;
    timeBeginPeriod(1);
    Sleep(static_cast<DWORD>(ms));
    timeEndPeriod(1);
}

LocalTime local_time() {
    SYSTEMTIME t;
    GetLocalTime(&t);
    return LocalTime{t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute, t.wSecond};
}

// ---- process ------------------------------------------------------------

long process_id() { return static_cast<long>(GetCurrentProcessId()); }

std::string executable_dir() {
    char path[MAX_PATH];
    const DWORD n = GetModuleFileNameA(nullptr, path, MAX_PATH);
    if (n == 0 || n >= MAX_PATH) return {};
    const std::string file(path, n);
    const size_t slash = file.find_last_of("\\/");
    return slash == std::string::npos ? std::string() : file.substr(0, slash);
}

uint64_t peak_memory_bytes() {
    PROCESS_MEMORY_COUNTERS counters{};
    counters.cb = sizeof counters;
    if (!GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters)) return 0;
    return static_cast<uint64_t>(counters.PeakWorkingSetSize);
}

// Walks the C runtime's heap: slow, for measurements only.
uint64_t heap_in_use_bytes() {
    _HEAPINFO info{};
    uint64_t used = 0;
    int rc;
    while ((rc = _heapwalk(&info)) == _HEAPOK) {
        if (info._useflag == _USEDENTRY) used += info._size;
    }
    return rc == _HEAPEND ? used : 0;
}

double process_cpu_seconds() {
    FILETIME created, ended, kernel, user;
    if (!GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user)) return 0.0;
    auto seconds = [](const FILETIME& t) {  // 100 ns units
        return static_cast<double>((static_cast<uint64_t>(t.dwHighDateTime) << 32) | t.dwLowDateTime) / 1e7;
    };
    return seconds(kernel) + seconds(user);
}

// Sockets are handles among threads, events and the rest here.
int open_descriptor_count() { return -1; }

namespace {

HANDLE g_stop_event = nullptr;
volatile LONG g_stop_signal = 0;

BOOL WINAPI on_console_event(DWORD type) {
    LONG sig = type == CTRL_C_EVENT ? SIGINT : SIGTERM;
    InterlockedCompareExchange(&g_stop_signal, sig, 0);
    if (g_stop_event) SetEvent(g_stop_event);
    return TRUE;
}

}  // namespace

// Interrupt, break, close and shutdown of the console all ask to stop.
void block_stop_signals() {
    if (!g_stop_event) g_stop_event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(on_console_event, TRUE);
}

int wait_stop_signal() {
    if (!g_stop_event) block_stop_signals();
    if (g_stop_event) {
        WaitForSingleObject(g_stop_event, INFINITE);
    } else {
        while (g_stop_signal == 0) Sleep(100);
    }
    return static_cast<int>(g_stop_signal);
}

// ---- code pages ---------------------------------------------------------

const char* narrow_code_page_name() {
    static char name[16];
    std::snprintf(name, sizeof name, "CP%u", GetACP());
    return name;
}

// Characters the ANSI code page cannot hold fail the conversion, as on other
// systems, rather than turning into question marks. A UTF-8 code page never
// needs the default character, and refuses to be asked about it.
static BOOL* default_used_flag(BOOL* flag) { return GetACP() == CP_UTF8 ? nullptr : flag; }

char* utf8_to_narrow(const char* text, ConvertStage* stage, int* error) {
    *error = 0;
    if (!text) {
        *stage = ConvertStage::kInputNull;
        return nullptr;
    }
    int wide_len = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text, -1, nullptr, 0);
    if (wide_len <= 0) {
        *error = static_cast<int>(GetLastError());
        *stage = ConvertStage::kToWideLength;
        return nullptr;
    }
    wchar_t* wide = static_cast<wchar_t*>(LocalAlloc(LPTR, static_cast<SIZE_T>(wide_len) * sizeof(wchar_t)));
    if (!wide) {
        *stage = ConvertStage::kWideAlloc;
        return nullptr;
    }
    if (MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text, -1, wide, wide_len) <= 0) {
        *error = static_cast<int>(GetLastError());
        LocalFree(wide);
        *stage = ConvertStage::kToWide;
        return nullptr;
    }
    BOOL used_default = FALSE;
    int out_len = WideCharToMultiByte(CP_ACP, 0, wide, -1, nullptr, 0, nullptr, default_used_flag(&used_default));
    if (out_len <= 0 || used_default) {
        *error = out_len <= 0 ? static_cast<int>(GetLastError()) : ERROR_NO_UNICODE_TRANSLATION;
        LocalFree(wide);
        *stage = out_len <= 0 ? ConvertStage::kFromWideLength : ConvertStage::kFromWide;
        return nullptr;
    }
    char* out = static_cast<char*>(LocalAlloc(LPTR, static_cast<SIZE_T>(out_len)));
    if (!out) {
        LocalFree(wide);
        *stage = ConvertStage::kNarrowAlloc;
        return nullptr;
    }
    if (WideCharToMultiByte(CP_ACP, 0, wide, -1, out, out_len, nullptr, nullptr) <= 0) {
        *error = static_cast<int>(GetLastError());
        LocalFree(out);
        LocalFree(wide);
        *stage = ConvertStage::kFromWide;
        return nullptr;
    }
    LocalFree(wide);
    *stage = ConvertStage::kOk;
    return out;
}

char* narrow_to_utf8(const char* text) {
    if (!text || !*text) return nullptr;
    int wide_len = MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, text, -1, nullptr, 0);
    if (wide_len <= 0) return nullptr;
    wchar_t* wide = static_cast<wchar_t*>(LocalAlloc(LPTR, static_cast<SIZE_T>(wide_len) * sizeof(wchar_t)));
    if (!wide) return nullptr;
    char* out = nullptr;
    if (MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, text, -1, wide, wide_len) > 0) {
        int out_len = WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
        if (out_len > 0) out = static_cast<char*>(LocalAlloc(LPTR, static_cast<SIZE_T>(out_len)));
        if (out && WideCharToMultiByte(CP_UTF8, 0, wide, -1, out, out_len, nullptr, nullptr) <= 0) {
            LocalFree(out);
            out = nullptr;
        }
    }
    LocalFree(wide);
    return out;
}

void free_text(char* text) {
    if (text) LocalFree(text);
}

}  // namespace zq::platform

#endif  // _WIN32
