// Controller IO, and the serial and Modbus modes of its ports.
#include <climits>
#include <cstring>

#include "commands/bounded_input.h"
#include "commands/int_rows.h"
#include "platform/log.h"
#include "zq_api.h"

namespace zq {
namespace {

using cat::IntGetRow;
using cat::IntSetRow;
constexpr int kQuery = cat::kQueryBudget;

// ---- rows ----------------------------------------------------------------------------

const IntSetRow kDoState{"zq_set_DO_state", "set_DO_state", {"IO_Num", "state"}, "set_DO_state", "set_state"};
const IntGetRow kVoltage{"zq_get_voltage", "get_voltage", "voltage_state", {"voltage_type"}};

const IntSetRow kCloseModbus{"zq_close_modbus_mode", "close_modbus_mode", {"port"}, "close_modbus_mode",
                             "set_state", kQuery, 3};
const IntSetRow kCloseModbusTcp{"zq_close_modbustcp_mode", "close_modbustcp_mode", {}, "close_modbustcp_mode",
                                "set_state", kQuery, 3};
const IntSetRow kControllerRs485{"zq_set_controller_rs485_mode", "set_controller_rs485_mode", {"mode", "baudrate"},
                                 "set_controller_rs485_mode", "set_state", kQuery, 4};
const IntSetRow kToolRs485{"zq_set_tool_rs485_mode", "set_tool_rs485_mode", {"mode", "baudrate"},
                           "set_tool_rs485_mode", "set_state", kQuery, 4};
const IntGetRow kControllerRs485Get{"zq_get_controller_rs485_mode_v4", "get_controller_rs485_mode",
                                    "get_controller_rs485_mode", {"controller_rs485_mode", "baudrate"}, 4};
const IntGetRow kToolRs485Get{"zq_get_tool_rs485_mode_v4", "get_tool_rs485_mode", "get_tool_rs485_mode",
                              {"tool_rs485_mode", "baudrate"}, 4};

// The four digital inputs or outputs.
int four_states(const char* fn, zq_robot_handle* handle, const char* command, const char* reply_key,
                const char* key, int* out) {
    if (!out) return -4;
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_INT_ARRAY, key, 4)};
    int rc = cat::get(fn, handle, command, reply_key, table, 1, query_timeout());
    if (rc != 0) return rc;
    for (int i = 0; i < 4; ++i) out[i] = table[0].value.arr[i];
    return 0;
}

bool io_number_valid(int io_num) { return io_num >= 0 && io_num <= 4; }

// A non-negative integer member, or false.
bool non_negative(const cJSON* obj, const char* key, int* out) {
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(obj, key);
    if (!cJSON_IsNumber(item) || item->valueint < 0) return false;
    *out = item->valueint;
    return true;
}

// The generation 3 RS485 queries: a missing third key means the port is not
// in Modbus RTU mode, which is no failure.
int rs485_mode_v3(const char* fn, zq_robot_handle* handle, const char* command, const char* mode_key, int* mode,
                  int* baudrate, int* modbus_timeout) {
    int gate = generation_gate(handle, 3, -4);
    if (gate != 0) return gate;
    if (!mode || !baudrate || !modbus_timeout) return -4;
    char out[cat::kReplyBuffer] = {0};
    cJSON* root = nullptr;
    int rc = cat::get_tree(fn, handle, command, command, query_timeout(), &root, out, sizeof out);
    if (rc != 0) return rc;
    if (!root) {
        log_error("Error parsing JSON\n");
        return -3;
    }
    const char* keys[3] = {mode_key, "baudrate", "modbus_timeout"};
    int values[3] = {0, 0, 0};
    for (int i = 0; i < 3; ++i) {
        const cJSON* item = cJSON_GetObjectItemCaseSensitive(root, keys[i]);
        if (!item && i == 2) {
            log_warning("it is not in Modbus-RTU mode, and the modbus_timeout field does not exist.\n");
            break;
        }
        if (!item) {
            log_error("%s parsing error\n", keys[i]);
            cJSON_Delete(root);
            return -3;
        }
        values[i] = item->valueint;
    }
    cJSON_Delete(root);
    *mode = values[0];
    *baudrate = values[1];
    *modbus_timeout = values[2];
    return 0;
}

// The process-wide bus time-out of the peripheral commands: `timeout` × `unit_ms`
// plus the query time-out. False when that does not fit an integer.
bool store_bus_timeout(int timeout, int unit_ms) {
    const long long ms = static_cast<long long>(timeout) * unit_ms + query_timeout();
    if (ms > INT_MAX) return false;
    set_bus_timeout(static_cast<int>(ms));
    return true;
}

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" {

int zq_set_IO_mode(zq_robot_handle* handle, int io_num, const zq_io_config_t* config_ptr) {
    if (!config_ptr) return -4;
    const zq_io_config_t config = *config_ptr;
    if (!io_number_valid(io_num) || config.io_mode < 0 || config.io_mode > 14) {
        log_error("input param error...");
        return 1;
    }
    zq_send_value_t values[4] = {send_str("command", "set_IO_mode"), send_int("IO_Num", io_num),
                                 send_int("IO_mode", config.io_mode)};
    int count = 3;
    if (config.io_mode == 14) {
        // The request takes the object over once it is sent; a vanished
        // handle would leave it with us.
        if (read_handle(handle, [](const zq_robot_handle&) {}) != 0) return -1;
        cJSON* speed = cJSON_CreateObject();
        cJSON_AddNumberToObject(speed, "speed", config.io_speed);
        cJSON_AddNumberToObject(speed, "mode", config.io_speed_mode);
        values[count++] = send_json("realtime_speed", speed);
    }
    return cat::set("zq_set_IO_mode", handle, values, count, "set_IO_mode", "set_state", query_timeout());
}

int zq_set_DO_state(zq_robot_handle* handle, int io_num, int state) {
    const int args[] = {io_num, state};
    return cat::set_ints(kDoState, handle, args);
}

int zq_get_IO_state(zq_robot_handle* handle, int io_num, zq_io_get_t* io) {
    const char* fn = "zq_get_IO_state";
    if (!io_number_valid(io_num)) {
        log_error("input param error...");
        return 1;
    }
    if (!io) return -4;
    zq_send_value_t values[] = {send_str("command", "get_IO_state"), send_int("IO_Num", io_num)};
    char out[cat::kReplyBuffer] = {0};
    int n = zq_command_exchange(fn, handle, values, 2, "IO_state", out, sizeof out, query_timeout());
    if (n < 1) return n;
    cJSON* root = cJSON_Parse(out);
    zq_io_get_t got = *io;
    bool ok = root && non_negative(root, "IO_state", &got.io_state) && non_negative(root, "IO_Mode", &got.io_mode);
    if (ok && got.io_mode < 14) {
        got.io_speed = -1;
        got.io_speed_mode = -1;
    } else if (ok && got.io_mode == 14) {
        const cJSON* speed = cJSON_GetObjectItemCaseSensitive(root, "realtime_speed");
        ok = cJSON_IsObject(speed) && non_negative(speed, "speed", &got.io_speed) &&
             non_negative(speed, "mode", &got.io_speed_mode);
    }
    cJSON_Delete(root);
    if (!ok) return -3;
    *io = got;
    return 0;
}

int zq_get_IO_input(zq_robot_handle* handle, int* input) {
    return four_states("zq_get_IO_input", handle, "get_IO_input", "IO_input_state", "DI", input);
}
int zq_get_IO_output(zq_robot_handle* handle, int* output) {
    return four_states("zq_get_IO_output", handle, "get_IO_output", "IO_output_state", "DO", output);
}

int zq_set_voltage(zq_robot_handle* handle, int voltage_type, bool start_enable) {
    zq_send_value_t values[] = {send_str("command", "set_voltage"), send_int("voltage_type", voltage_type),
                                send_bool("start_enable", start_enable)};
    return cat::set("zq_set_voltage", handle, values, 3, "set_voltage", "state", query_timeout());
}

int zq_get_voltage(zq_robot_handle* handle, int* voltage_type) {
    int* const outs[] = {voltage_type};
    return cat::get_ints(kVoltage, handle, outs);
}

int zq_set_RS485(zq_robot_handle* handle, int baudrate) {
    int gate = generation_gate(handle, 3, -2);
    if (gate != 0) return gate;
    zq_send_value_t values[] = {send_str("command", "set_RS485"), send_int("baudrate", baudrate)};
    return zq_command_exchange("zq_set_RS485", handle, values, 2, nullptr, nullptr, 0, 800);
}

int zq_get_controller_RS485_mode(zq_robot_handle* handle, int* mode, int* baudrate, int* modbus_timeout) {
    return rs485_mode_v3("zq_get_controller_RS485_mode", handle, "get_controller_RS485_mode", "controller_RS485_mode",
                         mode, baudrate, modbus_timeout);
}
int zq_get_tool_RS485_mode(zq_robot_handle* handle, int* mode, int* baudrate, int* modbus_timeout) {
    return rs485_mode_v3("zq_get_tool_RS485_mode", handle, "get_tool_RS485_mode", "tool_RS485_mode", mode, baudrate,
                         modbus_timeout);
}

int zq_set_modbus_mode(zq_robot_handle* handle, int port, int baudrate, int timeout) {
    int gate = generation_gate(handle, 3, -4);
    if (gate != 0) return gate;
    if (timeout <= 0) timeout = 1;
    if (!store_bus_timeout(timeout, 100)) return -4;
    zq_send_value_t values[] = {send_str("command", "set_modbus_mode"), send_int("port", port),
                                send_int("baudrate", baudrate), send_int("timeout", timeout)};
    return cat::set("zq_set_modbus_mode", handle, values, 4, "set_modbus_mode", "set_state", query_timeout());
}

int zq_close_modbus_mode(zq_robot_handle* handle, int port) { return cat::set_ints(kCloseModbus, handle, &port); }

int zq_set_modbustcp_mode(zq_robot_handle* handle, const char* ip, int port, int timeout) {
    int gate = generation_gate(handle, 3, -4);
    if (gate != 0) return gate;
    if (!dotted_ipv4(ip)) return -4;
    if (timeout <= 0) timeout = 1;
    if (!store_bus_timeout(timeout, 1)) return -4;
    zq_send_value_t values[] = {send_str("command", "set_modbustcp_mode"), send_str("ip", ip), send_int("port", port),
                                send_int("timeout", timeout)};
    return cat::set("zq_set_modbustcp_mode", handle, values, 4, "set_modbustcp_mode", "set_state", query_timeout());
}

int zq_close_modbustcp_mode(zq_robot_handle* handle) { return cat::set_ints(kCloseModbusTcp, handle); }

int zq_set_controller_rs485_mode(zq_robot_handle* handle, int mode, int baudrate) {
    const int args[] = {mode, baudrate};
    return cat::set_ints(kControllerRs485, handle, args);
}
int zq_set_tool_rs485_mode(zq_robot_handle* handle, int mode, int baudrate) {
    const int args[] = {mode, baudrate};
    return cat::set_ints(kToolRs485, handle, args);
}
int zq_get_controller_rs485_mode_v4(zq_robot_handle* handle, int* mode, int* baudrate) {
    int* const outs[] = {mode, baudrate};
    return cat::get_ints(kControllerRs485Get, handle, outs);
}
int zq_get_tool_rs485_mode_v4(zq_robot_handle* handle, int* mode, int* baudrate) {
    int* const outs[] = {mode, baudrate};
    return cat::get_ints(kToolRs485Get, handle, outs);
}

}  // extern "C"
