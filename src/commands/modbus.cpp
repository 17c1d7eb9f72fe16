// Modbus through the controller, in its three generations: peripheral
// commands by port (generation 3, bus time-out), Modbus RTU by device and
// type, and Modbus TCP by named master or by address and port (generation 4).
#include <cstring>

#include "commands/bounded_input.h"
#include "commands/paged_lists.h"
#include "session/catalogue.h"
#include "platform/log.h"
#include "zq_api.h"

namespace zq {
namespace {

constexpr int kReadMax = ZQ_KEY_VALUE_INTS;   // elements a reply table holds
constexpr int kWriteMax = ZQ_MODBUS_DATA_MAX;  // elements a write record holds

// How many data elements a command carries for `num` items.
enum class Elements : int32_t {
    One,        // a single integer
    Num,        // one per item
    Registers,  // two bytes per register
    CoilsDown,  // eight coils a byte, truncated
    CoilsUp,    // eight coils a byte, rounded up
};

long long element_count(Elements e, int num) {
    switch (e) {
        case Elements::One: return 1;
        case Elements::Num: return num;
        case Elements::Registers: return 2LL * num;
        case Elements::CoilsDown: return num / 8;
        case Elements::CoilsUp: return (static_cast<long long>(num) + 7) / 8;
    }
    return 0;
}

// After a read's exchange: "data" into `data`, else the "read_state" check
// (1 for a refusal, which carries no data).
int read_reply(const char* fn, const char* out, int elements, bool single, int* data) {
    zq_key_value_t table[] = {reply_entry(single ? ZQ_VALUE_INT : ZQ_VALUE_INT_ARRAY, "data", single ? 0 : elements)};
    if (zq_parse_reply(fn, out, table, 1) != 0) return zq_parse_state(fn, out, "read_state");
    if (single) {
        data[0] = table[0].value.i;
    } else {
        for (int i = 0; i < elements; ++i) data[i] = table[0].value.arr[i];
    }
    return 0;
}

// ---- first generation: peripheral commands by port -------------------------------------

enum class Peripheral : int32_t { Read, ReadWithoutNum, WriteOne, WriteArray };

struct PeripheralRow {
    const char* fn;
    const char* command;
    Peripheral form;
    Elements elements;
};

const PeripheralRow kReadCoils{"zq_read_coils", "read_coils", Peripheral::Read, Elements::One};
const PeripheralRow kReadInputStatus{"zq_read_input_status", "read_input_status", Peripheral::Read, Elements::One};
const PeripheralRow kReadHolding{"zq_read_holding_registers", "read_holding_registers", Peripheral::ReadWithoutNum,
                                 Elements::One};
const PeripheralRow kReadInputRegs{"zq_read_input_registers", "read_input_registers", Peripheral::ReadWithoutNum,
                                   Elements::One};
const PeripheralRow kWriteSingleCoil{"zq_write_single_coil", "write_single_coil", Peripheral::WriteOne, Elements::One};
const PeripheralRow kWriteSingleReg{"zq_write_single_register", "write_single_register", Peripheral::WriteOne,
                                    Elements::One};
const PeripheralRow kWriteRegs{"zq_write_registers", "write_registers", Peripheral::WriteArray, Elements::Registers};
const PeripheralRow kWriteCoils{"zq_write_coils", "write_coils", Peripheral::WriteArray, Elements::CoilsDown};
const PeripheralRow kReadMultiCoils{"zq_read_multiple_coils", "read_multiple_coils", Peripheral::Read,
                                    Elements::CoilsUp};
const PeripheralRow kReadMultiHolding{"zq_read_multiple_holding_registers", "read_multiple_holding_registers",
                                      Peripheral::Read, Elements::Registers};
const PeripheralRow kReadMultiInput{"zq_read_multiple_input_registers", "read_multiple_input_registers",
                                    Peripheral::Read, Elements::Registers};

// `data` is the caller's array (reads and array writes), `value` the single write's integer.
int peripheral(const PeripheralRow& row, zq_robot_handle* handle, const zq_peripheral_read_write_params_t& p,
               int* data, const int* wdata, int value) {
    int gate = generation_gate(handle, 3, -4);
    if (gate != 0) return gate;
    const bool write = row.form == Peripheral::WriteOne || row.form == Peripheral::WriteArray;
    const bool sends_num = row.form == Peripheral::Read || row.form == Peripheral::WriteArray;
    const long long elements = element_count(row.elements, p.num);
    if ((sends_num && p.num < 0) || elements > (write ? kWriteMax : kReadMax)) return -4;
    if (write ? (row.form == Peripheral::WriteArray && elements > 0 && !wdata) : !data) return -4;
    const int n = static_cast<int>(elements);
    zq_send_value_t values[6] = {send_str("command", row.command), send_int("port", p.port),
                                 send_int("address", p.address)};
    int count = 3;
    if (sends_num) values[count++] = send_int("num", p.num);
    if (row.form == Peripheral::WriteOne) values[count++] = send_int("data", value);
    if (row.form == Peripheral::WriteArray) values[count++] = send_ints("data", wdata, n);
    values[count++] = send_int("device", p.device);
    if (write) return cat::set(row.fn, handle, values, count, row.command, "write_state", bus_timeout());
    char out[cat::kReplyBuffer] = {0};
    int rc = zq_command_exchange(row.fn, handle, values, count, row.command, out, sizeof out, bus_timeout());
    if (rc < 1) return rc;
    return read_reply(row.fn, out, n, row.elements == Elements::One, data);
}

// ---- second generation: Modbus RTU by device and type ----------------------------------

struct RtuRow {
    const char* fn;
    const char* command;
};

const RtuRow kRtuCoils{"zq_read_modbus_rtu_coils", "read_modbus_rtu_coils"};
const RtuRow kRtuInputStatus{"zq_read_modbus_rtu_input_status", "read_modbus_rtu_input_status"};
const RtuRow kRtuHolding{"zq_read_modbus_rtu_holding_registers", "read_modbus_rtu_holding_registers"};
const RtuRow kRtuInputRegs{"zq_read_modbus_rtu_input_registers", "read_modbus_rtu_input_registers"};
const RtuRow kRtuWriteCoils{"zq_write_modbus_rtu_coils", "write_modbus_rtu_coils"};
const RtuRow kRtuWriteRegs{"zq_write_modbus_rtu_registers", "write_modbus_rtu_registers"};

int rtu_read(const RtuRow& row, zq_robot_handle* handle, const zq_modbus_rtu_read_params_t& p, int* data) {
    int gate = generation_gate(handle, 4, -4);
    if (gate != 0) return gate;
    if (!data || p.num < 0 || p.num > kReadMax) return -4;
    zq_send_value_t values[] = {send_str("command", row.command), send_int("address", p.address),
                                send_int("device", p.device), send_int("num", p.num), send_int("type", p.type)};
    char out[cat::kReplyBuffer] = {0};
    int rc = zq_command_exchange(row.fn, handle, values, 5, row.command, out, sizeof out, query_timeout());
    if (rc < 1) return rc;
    return read_reply(row.fn, out, p.num, false, data);
}

int rtu_write(const RtuRow& row, zq_robot_handle* handle, const zq_modbus_rtu_write_params_t& p) {
    int gate = generation_gate(handle, 4, -4);
    if (gate != 0) return gate;
    if (p.num < 0 || p.num > kWriteMax) return -4;
    zq_send_value_t values[] = {send_str("command", row.command), send_int("address", p.address),
                                send_int("device", p.device), send_int("type", p.type),
                                send_ints("data", p.data, p.num)};
    return cat::set(row.fn, handle, values, 5, row.command, "write_state", query_timeout());
}

// ---- third generation: Modbus TCP by master name or by address ------------------------

// The target of a Modbus TCP call, cut to the record's fields.
struct TcpTarget {
    char master_name[20] = {};
    char ip[16] = {};
    int port = 0;
    bool by_name = false;

    TcpTarget(const char* name, const char* address, int p) : port(p) {
        copy_text(master_name, sizeof master_name, name);
        copy_text(ip, sizeof ip, address);
        const std::size_t len = std::strlen(ip);
        by_name = len < 7 || len > 15;
    }
    // Appends the target's keys to `values` at `*count`.
    void add_to(zq_send_value_t* values, int* count) const {
        if (by_name) {
            values[(*count)++] = send_str("master_name", master_name);
        } else {
            values[(*count)++] = send_str("ip", ip);
            values[(*count)++] = send_int("port", port);
        }
    }
    // Parses `first` (and its kind) with the echo keys; true when they match this target.
    int parse_echo(const char* fn, const char* out, zq_key_value_t* first, bool* match) const {
        zq_key_value_t table[3] = {*first};
        int count = 1;
        if (by_name) {
            table[count++] = reply_entry(ZQ_VALUE_STRING, "master_name");
        } else {
            table[count++] = reply_entry(ZQ_VALUE_STRING, "ip");
            table[count++] = reply_entry(ZQ_VALUE_INT, "port");
        }
        int rc = zq_parse_reply(fn, out, table, count);
        if (rc != 0) return rc;
        *first = table[0];
        *match = by_name ? std::strcmp(table[1].value.str, master_name) == 0
                         : std::strcmp(table[1].value.str, ip) == 0 && table[2].value.i == port;
        return 0;
    }
};

// Sends the request once, then waits a query time-out at a time for the
// answer that echoes this call's target; answers of other calls are dropped.
// `elements` > 0 and `data`: a read of that many elements.
int tcp_exchange(const char* fn, const char* command, zq_robot_handle* handle, const zq_send_value_t* values,
                 int count, const TcpTarget& target, const char* state_key, int elements, int* data) {
    int rc = zq_command_exchange(fn, handle, values, count, nullptr, nullptr, 0, 0);
    if (rc < 0) {
        log_error("%s: send command error", fn);
        return rc;
    }
    char out[cat::kReplyBuffer];
    while (true) {
        if (stopping()) return -1;
        out[0] = '\0';
        int n = zq_command_exchange(fn, handle, nullptr, 0, command, out, sizeof out, query_timeout());
        if (n == -1) return -1;  // the session is gone
        if (n < 1) continue;
        bool match = false;
        if (data) {
            zq_key_value_t first = reply_entry(ZQ_VALUE_INT_ARRAY, "data", elements);
            if (target.parse_echo(fn, out, &first, &match) == 0) {
                if (!match) continue;
                for (int i = 0; i < elements; ++i) data[i] = first.value.arr[i];
                return 0;
            }
        }
        zq_key_value_t state = reply_entry(ZQ_VALUE_BOOL, state_key);
        rc = target.parse_echo(fn, out, &state, &match);
        if (rc != 0) return rc;
        if (match) return state.value.b ? 0 : 1;
    }
}

int tcp_read(const RtuRow& row, zq_robot_handle* handle, const zq_modbus_tcp_read_params_t& p, int* data) {
    int gate = generation_gate(handle, 4, -4);
    if (gate != 0) return gate;
    if (!data || p.num < 0 || p.num > kReadMax) return -4;
    const TcpTarget target(p.master_name, p.ip, p.port);
    zq_send_value_t values[5] = {send_str("command", row.command), send_int("address", p.address),
                                 send_int("num", p.num)};
    int count = 3;
    target.add_to(values, &count);
    return tcp_exchange(row.fn, row.command, handle, values, count, target, "read_state", p.num, data);
}

int tcp_write(const RtuRow& row, zq_robot_handle* handle, const zq_modbus_tcp_write_params_t& p) {
    int gate = generation_gate(handle, 4, -4);
    if (gate != 0) return gate;
    if (p.num < 0 || p.num > kWriteMax) return -4;
    const TcpTarget target(p.master_name, p.ip, p.port);
    zq_send_value_t values[5] = {send_str("command", row.command), send_int("address", p.address),
                                 send_ints("data", p.data, p.num)};
    int count = 3;
    target.add_to(values, &count);
    return tcp_exchange(row.fn, row.command, handle, values, count, target, "write_state", 0, nullptr);
}

const RtuRow kTcpCoils{"zq_read_modbus_tcp_coils", "read_modbus_tcp_coils"};
const RtuRow kTcpInputStatus{"zq_read_modbus_tcp_input_status", "read_modbus_tcp_input_status"};
const RtuRow kTcpHolding{"zq_read_modbus_tcp_holding_registers", "read_modbus_tcp_holding_registers"};
const RtuRow kTcpInputRegs{"zq_read_modbus_tcp_input_registers", "read_modbus_tcp_input_registers"};
const RtuRow kTcpWriteCoils{"zq_write_modbus_tcp_coils", "write_modbus_tcp_coils"};
const RtuRow kTcpWriteRegs{"zq_write_modbus_tcp_registers", "write_modbus_tcp_registers"};

// ---- masters of the third generation --------------------------------------------------

const cJSON* member(const cJSON* obj, const char* key) { return cJSON_GetObjectItemCaseSensitive(obj, key); }

// An optional member of the right kind: true when absent or right, copying it.
bool optional_int(const cJSON* obj, const char* key, int* out) {
    const cJSON* item = member(obj, key);
    if (!item) return true;
    if (!cJSON_IsNumber(item)) return false;
    *out = item->valueint;
    return true;
}
bool optional_text(const cJSON* obj, const char* key, char* out, std::size_t cap) {
    const cJSON* item = member(obj, key);
    if (!item) return true;
    if (!cJSON_IsString(item)) return false;
    copy_text(out, cap, item->valuestring);
    return true;
}

// One page of masters: "get_state" false gives 1; "total_size" and "list" are
// required, each entry needs its "master_name".
int parse_master_page(const cJSON* root, zq_modbus_tcp_master_list_t* list) {
    const cJSON* state = member(root, "get_state");
    if (state && !cJSON_IsBool(state)) return -3;
    if (cJSON_IsFalse(state)) return 1;
    zq_modbus_tcp_master_list_t page = *list;
    if (!optional_int(root, "page_num", &page.page_num) || !optional_int(root, "page_size", &page.page_size) ||
        !optional_text(root, "vague_search", page.vague_search, sizeof page.vague_search))
        return -3;
    const cJSON* total = member(root, "total_size");
    const cJSON* entries = member(root, "list");
    if (!cJSON_IsNumber(total) || !cJSON_IsArray(entries)) return -3;
    page.total_size = total->valueint;
    const int kept = lists::entries_kept("zq_get_modbus_tcp_master_list", cJSON_GetArraySize(entries),
                                         ZQ_MODBUS_TCP_MASTER_LIST_MAX);
    int n = 0;
    for (const cJSON* el = entries->child; el && n < kept; el = el->next, ++n) {
        zq_modbus_tcp_master_info_t& m = page.list[n];
        std::memset(&m, 0, sizeof m);
        if (!cJSON_IsString(member(el, "master_name"))) return -3;
        if (!optional_text(el, "master_name", m.master_name, sizeof m.master_name) ||
            !optional_text(el, "ip", m.ip, sizeof m.ip) || !optional_int(el, "port", &m.port))
            return -3;
    }
    page.list_len = n;
    *list = page;
    return 0;
}

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" {

int zq_read_coils(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int* data) {
    return peripheral(kReadCoils, handle, params, data, nullptr, 0);
}
int zq_read_input_status(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int* data) {
    return peripheral(kReadInputStatus, handle, params, data, nullptr, 0);
}
int zq_read_holding_registers(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int* data) {
    return peripheral(kReadHolding, handle, params, data, nullptr, 0);
}
int zq_read_input_registers(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int* data) {
    return peripheral(kReadInputRegs, handle, params, data, nullptr, 0);
}
int zq_write_single_coil(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int data) {
    return peripheral(kWriteSingleCoil, handle, params, nullptr, nullptr, data);
}
int zq_write_single_register(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int data) {
    return peripheral(kWriteSingleReg, handle, params, nullptr, nullptr, data);
}
int zq_write_registers(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, const int* data) {
    return peripheral(kWriteRegs, handle, params, nullptr, data, 0);
}
int zq_write_coils(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, const int* data) {
    return peripheral(kWriteCoils, handle, params, nullptr, data, 0);
}
int zq_read_multiple_coils(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int* data) {
    return peripheral(kReadMultiCoils, handle, params, data, nullptr, 0);
}
int zq_read_multiple_holding_registers(zq_robot_handle* handle, zq_peripheral_read_write_params_t params,
                                       int* data) {
    return peripheral(kReadMultiHolding, handle, params, data, nullptr, 0);
}
int zq_read_multiple_input_registers(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int* data) {
    return peripheral(kReadMultiInput, handle, params, data, nullptr, 0);
}

int zq_read_modbus_rtu_coils(zq_robot_handle* handle, zq_modbus_rtu_read_params_t params, int* data) {
    return rtu_read(kRtuCoils, handle, params, data);
}
int zq_read_modbus_rtu_input_status(zq_robot_handle* handle, zq_modbus_rtu_read_params_t params, int* data) {
    return rtu_read(kRtuInputStatus, handle, params, data);
}
int zq_read_modbus_rtu_holding_registers(zq_robot_handle* handle, zq_modbus_rtu_read_params_t params, int* data) {
    return rtu_read(kRtuHolding, handle, params, data);
}
int zq_read_modbus_rtu_input_registers(zq_robot_handle* handle, zq_modbus_rtu_read_params_t params, int* data) {
    return rtu_read(kRtuInputRegs, handle, params, data);
}
int zq_write_modbus_rtu_coils(zq_robot_handle* handle, zq_modbus_rtu_write_params_t params) {
    return rtu_write(kRtuWriteCoils, handle, params);
}
int zq_write_modbus_rtu_registers(zq_robot_handle* handle, zq_modbus_rtu_write_params_t params) {
    return rtu_write(kRtuWriteRegs, handle, params);
}

int zq_read_modbus_tcp_coils(zq_robot_handle* handle, zq_modbus_tcp_read_params_t params, int* data) {
    return tcp_read(kTcpCoils, handle, params, data);
}
int zq_read_modbus_tcp_input_status(zq_robot_handle* handle, zq_modbus_tcp_read_params_t params, int* data) {
    return tcp_read(kTcpInputStatus, handle, params, data);
}
int zq_read_modbus_tcp_holding_registers(zq_robot_handle* handle, zq_modbus_tcp_read_params_t params, int* data) {
    return tcp_read(kTcpHolding, handle, params, data);
}
int zq_read_modbus_tcp_input_registers(zq_robot_handle* handle, zq_modbus_tcp_read_params_t params, int* data) {
    return tcp_read(kTcpInputRegs, handle, params, data);
}
int zq_write_modbus_tcp_coils(zq_robot_handle* handle, zq_modbus_tcp_write_params_t params) {
    return tcp_write(kTcpWriteCoils, handle, params);
}
int zq_write_modbus_tcp_registers(zq_robot_handle* handle, zq_modbus_tcp_write_params_t params) {
    return tcp_write(kTcpWriteRegs, handle, params);
}

int zq_add_modbus_tcp_master(zq_robot_handle* handle, zq_modbus_tcp_master_info_t master) {
    int gate = generation_gate(handle, 4, -4);
    if (gate != 0) return gate;
    char name[20], ip[16];
    copy_text(name, sizeof name, master.master_name);
    copy_text(ip, sizeof ip, master.ip);
    zq_send_value_t values[] = {send_str("command", "add_modbus_tcp_master"), send_str("master_name", name),
                                send_str("ip", ip), send_int("port", master.port)};
    return cat::set("zq_add_modbus_tcp_master", handle, values, 4, "add_modbus_tcp_master", "add_state",
                    query_timeout());
}

int zq_update_modbus_tcp_master(zq_robot_handle* handle, const char* old_name, zq_modbus_tcp_master_info_t master) {
    int gate = generation_gate(handle, 4, -4);
    if (gate != 0) return gate;
    if (!old_name) return -4;
    char name[20], new_name[20], ip[16];
    copy_text(name, sizeof name, old_name);
    copy_text(new_name, sizeof new_name, master.master_name);
    copy_text(ip, sizeof ip, master.ip);
    zq_send_value_t values[] = {send_str("command", "update_modbus_tcp_master"), send_str("master_name", name),
                                send_str("new_name", new_name), send_str("ip", ip), send_int("port", master.port)};
    return cat::set("zq_update_modbus_tcp_master", handle, values, 5, "update_modbus_tcp_master", "update_state",
                    query_timeout());
}

int zq_delete_modbus_tcp_master(zq_robot_handle* handle, const char* master_name) {
    int gate = generation_gate(handle, 4, -4);
    if (gate != 0) return gate;
    if (!master_name) return -4;
    char name[20];
    copy_text(name, sizeof name, master_name);
    zq_send_value_t values[] = {send_str("command", "delete_modbus_tcp_master"), send_str("master_name", name)};
    return cat::set("zq_delete_modbus_tcp_master", handle, values, 2, "delete_modbus_tcp_master", "delete_state",
                    query_timeout());
}

int zq_get_modbus_tcp_master(zq_robot_handle* handle, const char* master_name, zq_modbus_tcp_master_info_t* master) {
    const char* fn = "zq_get_modbus_tcp_master";
    int gate = generation_gate(handle, 4, -4);
    if (gate != 0) return gate;
    if (!master_name || !master) return -4;
    char name[20];
    copy_text(name, sizeof name, master_name);
    zq_send_value_t values[] = {send_str("command", "given_modbus_tcp_master"), send_str("master_name", name)};
    char out[cat::kReplyBuffer] = {0};
    int n = zq_command_exchange(fn, handle, values, 2, "given_modbus_tcp_master", out, sizeof out, query_timeout());
    if (n < 1) return n;
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_STRING, "master_name"), reply_entry(ZQ_VALUE_STRING, "ip"),
                              reply_entry(ZQ_VALUE_INT, "port")};
    int rc = zq_parse_reply(fn, out, table, 3);
    if (rc != 0) return zq_parse_state(fn, out, "given_state") == 1 ? 1 : rc;
    copy_text(master->master_name, sizeof master->master_name, table[0].value.str);
    copy_text(master->ip, sizeof master->ip, table[1].value.str);
    master->port = table[2].value.i;
    return 0;
}

int zq_get_modbus_tcp_master_list(zq_robot_handle* handle, int page_num, int page_size, const char* vague_search,
                                  zq_modbus_tcp_master_list_t* list) {
    const char* fn = "zq_get_modbus_tcp_master_list";
    int gate = generation_gate(handle, 4, -4);
    if (gate != 0) return gate;
    if (!list) return -4;
    char search[32];
    copy_text(search, sizeof search, vague_search);
    zq_send_value_t values[] = {send_str("command", "get_modbus_tcp_master_list"),
                                send_str(vague_search ? "vague_search" : nullptr, search),
                                send_int("page_num", page_num), send_int("page_size", page_size)};
    char out[10240] = {0};
    int n = zq_command_exchange(fn, handle, values, 4, "get_modbus_tcp_master_list", out, sizeof out,
                                config_timeout() + 1000);
    if (n < 1) return n;
    cJSON* root = cJSON_Parse(out);
    if (!root) return -3;
    int rc = parse_master_page(root, list);
    cJSON_Delete(root);
    return rc;
}

}  // extern "C"
