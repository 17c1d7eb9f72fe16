// The common command path: build a request, send it, wait for its reply by
// key, parse the reply by table.
#include "session/exchange.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "session/caller_read.h"
#include "session/log.h"
#include "session/trajectory_save.h"
#include "session/wire_input.h"

namespace zq {
namespace {

namespace pf = platform;

// Waits are counted in 2 ms polls: timeout / 2 of them. The budget is kept,
// but a waiter wakes as soon as its message arrives.
int wait_budget_ms(int timeout_ms) { return timeout_ms / 2 > 0 ? (timeout_ms / 2) * 2 : 0; }

using Clock = std::chrono::steady_clock;

// Sleeps `ms`, or less when the session leaves the pool.
void sleep_on_session(zq_robot_session& s, int ms) {
    if (ms <= 0) return;
    ReplyFifo& fifo = *s.fifo_handle;
    const auto deadline = Clock::now() + std::chrono::milliseconds(ms);
    std::unique_lock<pf::Mutex> lock(fifo.lock);
    while (!s.deleted.load(std::memory_order_acquire)) {
        if (fifo.filed.wait_until(lock, deadline) == std::cv_status::timeout) return;
    }
}

const char* key_of_line(const cJSON* root) {
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(root, "command");
    if (!cJSON_IsString(item)) item = cJSON_GetObjectItemCaseSensitive(root, "state");
    return cJSON_IsString(item) ? item->valuestring : nullptr;
}

bool someone_waits_for(const zq_robot_session& s, const char* key) {
    for (const char* k : s.waiting_keys) {
        if (std::strcmp(k, key) == 0) return true;
    }
    return false;
}

constexpr int kReaderClosed = -3;
constexpr int kSmallRequest = 1024;  // a request printed without a heap allocation, CR LF included

// Single-thread mode, the reader's part: assembles lines from `bytes`. A line
// with `key` is copied to `out` and its length returned; the bytes after it
// are kept for the next reader. A line another waiter of this session waits
// for is filed in the FIFO; any other line is dropped. -1: no match yet.
int assemble_lines(zq_robot_session& s, const char* key, const char* bytes, int len, char* out, int capacity) {
    for (int i = 0; i < len; ++i) {
        char* line = s.line.data();
        line[s.line_len++] = bytes[i];
        if (s.line_len >= kLineBufferSize) {
            s.line_len = 0;
            continue;
        }
        const int n = s.line_len;
        if (!(n >= 6 && line[n - 1] == '\n' && line[n - 2] == '\r')) continue;
        s.line_len = 0;
        cJSON* root = cJSON_ParseWithLength(line, static_cast<size_t>(n));
        if (!root) continue;
        const char* k = key_of_line(root);
        if (!k && cJSON_GetObjectItemCaseSensitive(root, "point")) {
            trajectory_route_point_single(line, n, s.session_id);
            cJSON_Delete(root);
            continue;
        }
        const bool match = k && std::strcmp(k, key) == 0;
        if (!match && k) {
            ReplyFifo& fifo = *s.fifo_handle;
            bool filed = false;
            {
                std::lock_guard<pf::Mutex> lock(fifo.lock);
                filed = someone_waits_for(s, k);
                if (filed) fifo.file(k, line, n - 2);
            }
            if (filed) fifo.filed.notify_all();
        }
        cJSON_Delete(root);
        if (!match) continue;
        s.unread.assign(bytes + i + 1, bytes + len);
        int copied = n < capacity - 1 ? n : capacity - 1;
        if (copied < 0) copied = 0;
        std::memset(out, 0, static_cast<size_t>(capacity));
        std::memcpy(out, line, static_cast<size_t>(copied));
        log_debug("thread_socket_receive len %d robot_handle: %d message:%.*s\n", copied, s.session_id, copied, out);
        return copied;
    }
    return -1;
}

// Single-thread mode, the reader's part: reads the socket until a line with
// `key` comes (its length), the deadline passes (-1) or the stream ends
// (kReaderClosed).
int read_socket_for(zq_robot_session& s, const char* key, char* out, int capacity, Clock::time_point deadline) {
    if (!s.socket || !pf::socket_set(s.socket->fd)) return kReaderClosed;
    std::vector<char> chunk;
    chunk.swap(s.unread);
    int n = assemble_lines(s, key, chunk.data(), static_cast<int>(chunk.size()), out, capacity);
    if (n >= 0) return n;
    chunk.resize(static_cast<size_t>(capacity > 0 ? capacity : 1));
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0) return -1;
        const int remaining = left > 2147483647 ? 2147483647 : static_cast<int>(left);
        // While trajectory data flows, idle time is counted in 2 ms polls.
        const bool counting = trajectory_data_seen();
        int slice = counting && remaining > 2 ? 2 : remaining;
        int ready = pf::wait_readable_one(s.socket->fd, slice);
        int got = ready > 0 ? s.socket->zq_socket_recv(s.socket, chunk.data(), static_cast<int>(chunk.size())) : -2;
        if (got == -1) return kReaderClosed;
        if (got <= 0) {
            if (counting) trajectory_idle_poll();
            continue;
        }
        n = assemble_lines(s, key, chunk.data(), got, out, capacity);
        if (n >= 0) return n;
    }
}

// Single-thread mode: the waiting callers of a session take turns at
// reading its socket. The reader files what the others wait for, so every
// caller keeps its own budget and gets its own reply.
int wait_on_socket(zq_robot_session& s, const char* key, char* out, int capacity, int budget_ms) {
    ReplyFifo& fifo = *s.fifo_handle;
    const auto deadline = Clock::now() + std::chrono::milliseconds(budget_ms);
    std::unique_lock<pf::Mutex> lock(fifo.lock);
    s.waiting_keys.push_back(key);
    bool closed = false;
    int result = -1;
    for (;;) {
        int n = fifo.take(key, out, capacity);
        if (n >= 0) {
            result = n;
            break;
        }
        if (s.deleted.load(std::memory_order_acquire) || Clock::now() >= deadline) break;
        if (!closed && !s.reader_active) {
            s.reader_active = true;
            lock.unlock();
            n = read_socket_for(s, key, out, capacity, deadline);
            lock.lock();
            s.reader_active = false;
            fifo.filed.notify_all();  // another waiter may read now
            if (n >= 0) {
                result = n;
                break;
            }
            closed = n == kReaderClosed;
            continue;
        }
        // The peer closed: nothing more can come in this budget.
        fifo.filed.wait_until(lock, deadline);
    }
    for (auto it = s.waiting_keys.begin(); it != s.waiting_keys.end(); ++it) {
        if (*it == key) {
            s.waiting_keys.erase(it);
            break;
        }
    }
    return result;
}

const cJSON* reply_scope(const cJSON* root, bool* wrapped) {
    const cJSON* scope = cJSON_GetObjectItemCaseSensitive(root, "arm_state");
    if (!scope) scope = cJSON_GetObjectItemCaseSensitive(root, "all_state");
    *wrapped = scope != nullptr;
    return scope ? scope : root;
}

}  // namespace
int refuse_input(const char* fn) {
    log_error("[%s] input refused: a missing array, or a number that is not finite or out of range\n", fn);
    return -4;
}

}  // namespace zq

using namespace zq;

extern "C" {

int zq_send_request(const char* function_name, zq_robot_session* session, const zq_send_value_t* values, int count) {
    (void)function_name;
    if (!values || count == 0) {
        log_error("Send command: Invalid input");
        return -1;
    }
    cJSON* root = cJSON_CreateObject();
    for (int i = 0; i < count; ++i) {
        const zq_send_value_t& v = values[i];
        if (!v.key) continue;
        switch (v.type) {
            case ZQ_VALUE_STRING:
                if (v.value.str) cJSON_AddStringToObject(root, v.key, v.value.str);
                break;
            case ZQ_VALUE_INT:
                cJSON_AddNumberToObject(root, v.key, static_cast<double>(v.value.i));
                break;
            case ZQ_VALUE_INT_ARRAY: {
                cJSON* arr = cJSON_CreateArray();
                for (int k = 0; k < v.count && v.value.arr; ++k)
                    cJSON_AddItemToArray(arr, cJSON_CreateNumber(static_cast<double>(v.value.arr[k])));
                cJSON_AddItemToObject(root, v.key, arr);
                break;
            }
            case ZQ_VALUE_BOOL:
                cJSON_AddBoolToObject(root, v.key, v.value.i != 0);
                break;
            case ZQ_VALUE_JSON:
                if (v.value.json) cJSON_AddItemToObject(root, v.key, v.value.json);
                break;
        }
    }
    // A request that fits is printed into a buffer on the stack, CR LF
    // after it; a larger one goes through the heap. Same bytes either way.
    char small[kSmallRequest];
    char* text = nullptr;
    char* line = nullptr;
    size_t len = 0;
    if (cJSON_PrintPreallocated(root, small, kSmallRequest - 2, 0)) {
        len = std::strlen(small);
        line = small;
    } else {
        text = cJSON_PrintUnformatted(root);
    }
    cJSON_Delete(root);
    if (!line) {
        if (!text) {
            log_error("Failed to print JSON");
            return -1;
        }
        len = std::strlen(text);
        line = static_cast<char*>(std::malloc(len + 3));
        if (!line) {
            cJSON_free(text);
            log_error("Failed to allocate memory");
            return -1;
        }
        std::memcpy(line, text, len);
    }
    line[len] = '\r';
    line[len + 1] = '\n';
    line[len + 2] = '\0';
    int rc = session->socket ? session->socket->zq_socket_send_retry(session->socket, line, static_cast<int>(len + 2))
                             : -2;
    if (rc == 0) {
        log_debug("handle: %d send is: %.*s \n", session->session_id, static_cast<int>(len), line);
    } else {
        log_error("send is: %.*s send err: %d\n", static_cast<int>(len), line, rc);
    }
    if (line != small) {
        std::free(line);
        cJSON_free(text);
    }
    return rc;
}

int zq_wait_reply(const char* function_name, zq_robot_session* session, const char* reply_key, char* out,
                  int capacity, int timeout_ms) {
    (void)function_name;
    const int budget = wait_budget_ms(timeout_ms);
    if (budget == 0 || !reply_key) return -1;
    if (thread_mode() == ZQ_SINGLE_THREAD_MODE) return wait_on_socket(*session, reply_key, out, capacity, budget);
    return wait_reading_stream(*session, reply_key, out, capacity, budget);
}

int zq_command_exchange(const char* function_name, zq_robot_handle* handle, const zq_send_value_t* values,
                        int count, const char* reply_key, char* out, int capacity, int timeout_ms) {
    // The session is held by reference, not under the pool lock, so that a
    // delete or a store into a handle never waits for a command's wait.
    SessionRef session = session_ref(handle);
    if (!session) {
        // The request takes over its JSON entries: without a request they are freed here.
        for (int i = 0; values && i < count; ++i) {
            if (values[i].type == ZQ_VALUE_JSON) cJSON_Delete(values[i].value.json);
        }
        return -1;
    }
    const char* command = values && values[0].type == ZQ_VALUE_STRING && values[0].value.str ? values[0].value.str : "";
    if (values && zq_send_request(function_name, session.get(), values, count) != 0) {
        log_error("[%s] %s send error\n", function_name, command);
        return -1;
    }
    if (!reply_key) {
        sleep_on_session(*session, timeout_ms);
        return 0;
    }
    int n = zq_wait_reply(function_name, session.get(), reply_key, out, capacity, timeout_ms);
    if (n > 0) return n;
    if (session->deleted.load(std::memory_order_acquire)) return -1;
    if (values) {
        log_error("[%s] %s revice error\n", function_name, command);
    } else if (std::strcmp(reply_key, "point") == 0) {
        log_debug("[%s] %s save_trajectory complete\n", function_name, reply_key);
    }
    return -2;
}

int zq_parse_reply(const char* function_name, const char* text, zq_key_value_t* table, int count) {
    cJSON* root = text ? cJSON_Parse(text) : nullptr;
    if (!root) {
        log_error("Error parsing JSON:%s\n", text ? text : "");
        return -3;
    }
    bool wrapped = false;
    const cJSON* scope = reply_scope(root, &wrapped);
    int rc = 0;
    for (int i = 0; i < count && rc == 0; ++i) {
        zq_key_value_t& e = table[i];
        if (!e.key) continue;
        const cJSON* item = cJSON_GetObjectItemCaseSensitive(scope, e.key);
        if (!item) {
            log_error("[%s] %s parsing error\n", function_name, e.key);
            rc = -3;
            break;
        }
        switch (e.type) {
            case ZQ_VALUE_STRING:
                if (!cJSON_IsString(item)) {
                    log_error("[%s] %s is not a string\n", function_name, e.key);
                    rc = -3;
                    break;
                }
                std::memset(e.value.str, 0, sizeof e.value.str);
                std::strncpy(e.value.str, item->valuestring, sizeof e.value.str - 1);
                log_debug("[%s] %s parse result: %s\n", function_name, e.key, e.value.str);
                break;
            case ZQ_VALUE_INT:
                e.value.i = item->valueint;
                log_debug("[%s] %s parse result: %d\n", function_name, e.key, e.value.i);
                break;
            case ZQ_VALUE_INT_ARRAY: {
                if (!cJSON_IsArray(item)) {
                    log_error("[%s] %s is not an array\n", function_name, e.key);
                    rc = -3;
                    break;
                }
                const int size = cJSON_GetArraySize(item);
                // Inside a wrapped state reply a count of 0 takes the array's own
                // length, which has to be at least 1.
                if (wrapped && e.count == 0) e.count = size >= 1 ? size : -1;
                if (size != e.count || size > ZQ_KEY_VALUE_INTS) {
                    log_error("[%s] Array size mismatch for key %s\n", function_name, e.key);
                    rc = -3;
                    break;
                }
                log_debug("[%s] %s parse result:\n", function_name, e.key);
                int k = 0;
                for (const cJSON* el = item->child; el && k < size; el = el->next, ++k) {
                    e.value.arr[k] = cJSON_IsNumber(el) ? el->valueint : -1;
                    log_debug(" %d\n", e.value.arr[k]);
                }
                break;
            }
            case ZQ_VALUE_BOOL:
                if (cJSON_IsTrue(item)) {
                    e.value.b = 1;
                } else if (cJSON_IsFalse(item)) {
                    e.value.b = 0;
                }
                log_debug("[%s] %s parse result: %d\n", function_name, e.key, e.value.b);
                break;
            case ZQ_VALUE_JSON:
                e.value.json = cJSON_Duplicate(item, 1);
                break;
            default:
                log_error("[%s] Unsupported JSON value type for key %s\n", function_name, e.key);
                rc = -3;
                break;
        }
    }
    cJSON_Delete(root);
    return rc;
}

int zq_parse_state(const char* function_name, const char* text, const char* key) {
    cJSON* root = text ? cJSON_Parse(text) : nullptr;
    if (!root) {
        if (!text || std::strcmp(text, "given_state") != 0) log_error("[%s] %s parse err\n", function_name, key);
        return -3;
    }
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(root, key);
    int rc;
    if (cJSON_IsTrue(item)) {
        log_debug("[%s] %s: true\n", function_name, key);
        rc = 0;
    } else if (cJSON_IsFalse(item)) {
        log_error("[%s] %s: false\n", function_name, key);
        rc = 1;
    } else {
        if (std::strcmp(key, "given_state") != 0) log_error("[%s] %s command parse err\n", function_name, key);
        rc = -3;
    }
    cJSON_Delete(root);
    return rc;
}

int zq_get_data_common(zq_robot_handle* handle, int* value, const char* command, const char* key) {
    zq_send_value_t values[] = {send_str("command", command)};
    char out[1024] = {0};
    int n = zq_command_exchange("zq_get_data_common", handle, values, 1, command, out, sizeof out, query_timeout());
    if (n < 1) return n;
    zq_key_value_t reply[] = {reply_entry(ZQ_VALUE_INT, key)};
    int rc = zq_parse_reply("zq_get_data_common", out, reply, 1);
    if (rc == 0 && value) *value = reply[0].value.i;
    return rc;
}

int zq_set_common(zq_robot_handle* handle, int value, const char* command, const char* key) {
    zq_send_value_t values[] = {send_str("command", command), send_int(key, value)};
    char out[1024] = {0};
    int n = zq_command_exchange(command, handle, values, 2, command, out, sizeof out, config_timeout());
    if (n < 1) return n;
    return zq_parse_state(command, out, "set_state");
}

char* utf8_to_gbk(const char* text) {
    pf::ConvertStage stage;
    int error = 0;
    char* out = pf::utf8_to_narrow(text, &stage, &error);
    switch (stage) {
        case pf::ConvertStage::kOk:
            break;
        case pf::ConvertStage::kInputNull:
            log_error("[utf8_to_gbk] Input string is NULL\n");
            break;
        case pf::ConvertStage::kToWideLength:
            log_error("[utf8_to_gbk] MultiByteToWideChar get len failed, err=%d\n", error);
            break;
        case pf::ConvertStage::kWideAlloc:
            log_error("[utf8_to_gbk] LocalAlloc unicode buf failed\n");
            break;
        case pf::ConvertStage::kToWide:
            log_error("[utf8_to_gbk] MultiByteToWideChar convert failed, err=%d\n", error);
            break;
        case pf::ConvertStage::kFromWideLength:
            log_error("[utf8_to_gbk] WideCharToMultiByte get len failed, err=%d\n", error);
            break;
        case pf::ConvertStage::kNarrowAlloc:
            log_error("[utf8_to_gbk] LocalAlloc gbk buf failed\n");
            break;
        case pf::ConvertStage::kFromWide:
            log_error("[utf8_to_gbk] WideCharToMultiByte convert failed, err=%d\n", error);
            break;
    }
    return out;
}

char* gbk_to_utf8(const char* text) { return pf::narrow_to_utf8(text); }

}  // extern "C"
