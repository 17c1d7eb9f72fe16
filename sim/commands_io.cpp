// The controller's IO ports and the modes of its serial ports.
//
// IO: "set_IO_mode" {"IO_Num" 0-4,"IO_mode" 0-14, mode 14 with "realtime_speed":{"speed","mode"}}
// and "set_DO_state" {"IO_Num","state"} answer "set_state"; "get_IO_state" {"IO_Num"} answers
// under "IO_state" with "IO_state","IO_Mode" and, in mode 14, "realtime_speed";
// "get_IO_input" / "get_IO_output" answer "IO_input_state" / "IO_output_state" with "DI" / "DO"
// (four each); "set_voltage" {"voltage_type","start_enable"} answers "state", "get_voltage"
// answers "voltage_state".
// Serial ports of a generation 3 controller: "set_RS485" (no answer), the RS485 mode queries
// (with "modbus_timeout" only while the port is a Modbus RTU master), "set_modbus_mode"
// {"port" 0 controller / 1 tool,"baudrate","timeout"} and "close_modbus_mode", the Modbus TCP
// link ("set_modbustcp_mode" {"ip","port","timeout"}, "close_modbustcp_mode"). Generation 4:
// "set_controller_rs485_mode" / "set_tool_rs485_mode" {"mode","baudrate"} and their queries.
// A command of the other generation is not known and gets no answer.
#include "command_families.h"
#include "request_fields.h"

namespace zqsim {
namespace {

// `fn` on a controller of generation `gen` only.
CommandHandler only(int gen, void (*fn)(CommandContext&)) {
    return [gen, fn](CommandContext& c) {
        if (c.arm.generation() == gen) fn(c);
    };
}

IoPort* port_of(CommandContext& c) {
    int n = -1;
    if (!req::integer(c, "IO_Num", &n) || n < 0 || n > 4) return nullptr;
    return &c.arm.system_io.io[static_cast<std::size_t>(n)];
}

void set_io_mode(CommandContext& c) {
    IoPort* p = port_of(c);
    int mode = -1, speed = -1, speed_mode = -1;
    bool ok = p && req::integer(c, "IO_mode", &mode) && mode >= 0 && mode <= 14;
    if (ok && mode == 14) {
        const cJSON* rs = req::member(c, "realtime_speed");
        const cJSON* s = cJSON_GetObjectItemCaseSensitive(rs, "speed");
        const cJSON* m = cJSON_GetObjectItemCaseSensitive(rs, "mode");
        ok = cJSON_IsNumber(s) && cJSON_IsNumber(m) && s->valueint >= 0 && m->valueint >= 0;
        if (ok) speed = s->valueint, speed_mode = m->valueint;
    }
    if (ok) {
        p->mode = mode;
        p->speed = speed;
        p->speed_mode = speed_mode;
    }
    req::answer(c, "set_IO_mode", "set_state", ok);
}

void set_do_state(CommandContext& c) {
    IoPort* p = port_of(c);
    int state = 0;
    const bool ok = p && req::integer(c, "state", &state) && (state == 0 || state == 1);
    if (ok) p->output = state;
    req::answer(c, "set_DO_state", "set_state", ok);
}

void get_io_state(CommandContext& c) {
    IoPort* p = port_of(c);
    if (!p) return req::answer(c, "IO_state", "get_state", false);
    cJSON* r = wire::reply("IO_state");
    cJSON_AddNumberToObject(r, "IO_state", p->output | p->input);
    cJSON_AddNumberToObject(r, "IO_Mode", p->mode);
    if (p->mode == 14) {
        cJSON* rs = cJSON_AddObjectToObject(r, "realtime_speed");
        cJSON_AddNumberToObject(rs, "speed", p->speed);
        cJSON_AddNumberToObject(rs, "mode", p->speed_mode);
    }
    c.reply(r);
}

void four(CommandContext& c, const char* reply_key, const char* key, int IoPort::*field) {
    std::vector<std::int64_t> v;
    for (std::size_t i = 0; i < 4; ++i) v.push_back(c.arm.system_io.io[i].*field);
    cJSON* r = wire::reply(reply_key);
    wire::add_int_array(r, key, v);
    c.reply(r);
}

void set_voltage(CommandContext& c) {
    int type = -1;
    bool start = false;
    const bool ok = req::integer(c, "voltage_type", &type) && type >= 0 && type <= 3 &&
                    req::boolean(c, "start_enable", &start);
    if (ok) c.arm.system_io.voltage_type = type;
    req::answer(c, "set_voltage", "state", ok);
}

void serial_mode_v3(CommandContext& c, const char* command, const char* mode_key, const SerialPort& p) {
    cJSON* r = wire::reply(command);
    cJSON_AddNumberToObject(r, mode_key, p.mode);
    cJSON_AddNumberToObject(r, "baudrate", p.baudrate);
    if (p.mode == 1) cJSON_AddNumberToObject(r, "modbus_timeout", p.modbus_timeout);
    c.reply(r);
}

void set_modbus_mode(CommandContext& c) {
    int port = -1, baud = 0, timeout = 0;
    const bool ok = req::integer(c, "port", &port) && (port == 0 || port == 1) && req::integer(c, "baudrate", &baud) &&
                    req::integer(c, "timeout", &timeout) && timeout > 0;
    if (ok) {
        SerialPort& p = port == 0 ? c.arm.system_io.controller_serial : c.arm.system_io.tool_serial;
        p = SerialPort{1, baud, timeout};
    }
    req::answer(c, "set_modbus_mode", "set_state", ok);
}

void close_modbus_mode(CommandContext& c) {
    int port = -1;
    const bool ok = req::integer(c, "port", &port) && (port == 0 || port == 1);
    if (ok) (port == 0 ? c.arm.system_io.controller_serial : c.arm.system_io.tool_serial).mode = 0;
    req::answer(c, "close_modbus_mode", "set_state", ok);
}

void set_modbustcp_mode(CommandContext& c) {
    std::string ip;
    int port = 0, timeout = 0;
    const bool ok = req::text(c, "ip", 15, &ip) && req::integer(c, "port", &port) && req::integer(c, "timeout", &timeout);
    if (ok) c.arm.system_io.modbus_tcp_open = true;
    req::answer(c, "set_modbustcp_mode", "set_state", ok);
}

void set_rs485_v4(CommandContext& c, const char* command, SerialPort& p) {
    int mode = -1, baud = 0;
    const bool ok = req::integer(c, "mode", &mode) && mode >= 0 && req::integer(c, "baudrate", &baud) && baud > 0;
    if (ok) p.mode = mode, p.baudrate = baud;
    req::answer(c, command, "set_state", ok);
}

void get_rs485_v4(CommandContext& c, const char* command, const char* mode_key, const SerialPort& p) {
    cJSON* r = wire::reply(command);
    cJSON_AddNumberToObject(r, mode_key, p.mode);
    cJSON_AddNumberToObject(r, "baudrate", p.baudrate);
    c.reply(r);
}

}  // namespace

void register_io_commands(CommandTable& t) {
    t.add("set_IO_mode", set_io_mode);
    t.add("set_DO_state", set_do_state);
    t.add("get_IO_state", get_io_state);
    t.add("get_IO_input", [](CommandContext& c) { four(c, "IO_input_state", "DI", &IoPort::input); });
    t.add("get_IO_output", [](CommandContext& c) { four(c, "IO_output_state", "DO", &IoPort::output); });
    t.add("set_voltage", set_voltage);
    t.add("get_voltage", [](CommandContext& c) {
        cJSON* r = wire::reply("voltage_state");
        cJSON_AddNumberToObject(r, "voltage_type", c.arm.system_io.voltage_type);
        c.reply(r);
    });

    t.add("set_RS485", only(3, [](CommandContext& c) {
              int baud = 0;
              if (req::integer(c, "baudrate", &baud) && baud > 0) c.arm.system_io.controller_serial.baudrate = baud;
          }));
    t.add("get_controller_RS485_mode", only(3, [](CommandContext& c) {
              serial_mode_v3(c, "get_controller_RS485_mode", "controller_RS485_mode", c.arm.system_io.controller_serial);
          }));
    t.add("get_tool_RS485_mode", only(3, [](CommandContext& c) {
              serial_mode_v3(c, "get_tool_RS485_mode", "tool_RS485_mode", c.arm.system_io.tool_serial);
          }));
    t.add("set_modbus_mode", only(3, set_modbus_mode));
    t.add("close_modbus_mode", only(3, close_modbus_mode));
    t.add("set_modbustcp_mode", only(3, set_modbustcp_mode));
    t.add("close_modbustcp_mode", only(3, [](CommandContext& c) {
              c.arm.system_io.modbus_tcp_open = false;
              req::answer(c, "close_modbustcp_mode", "set_state", true);
          }));
    t.add("set_controller_rs485_mode", only(4, [](CommandContext& c) {
              set_rs485_v4(c, "set_controller_rs485_mode", c.arm.system_io.controller_serial);
          }));
    t.add("set_tool_rs485_mode", only(4, [](CommandContext& c) {
              set_rs485_v4(c, "set_tool_rs485_mode", c.arm.system_io.tool_serial);
          }));
    t.add("get_controller_rs485_mode", only(4, [](CommandContext& c) {
              get_rs485_v4(c, "get_controller_rs485_mode", "controller_rs485_mode", c.arm.system_io.controller_serial);
          }));
    t.add("get_tool_rs485_mode", only(4, [](CommandContext& c) {
              get_rs485_v4(c, "get_tool_rs485_mode", "tool_rs485_mode", c.arm.system_io.tool_serial);
          }));
}

}  // namespace zqsim
