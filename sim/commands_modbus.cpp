// Modbus slaves behind the controller, reached by the three generations of commands.
//
// Generation 3 ("read_coils", "write_registers", ... {"port","address",["num"],["data"],"device"}):
// port 0 is the controller's RS485, 1 the tool's, each usable once "set_modbus_mode" made it a
// Modbus master; port 2 is the Modbus TCP link of "set_modbustcp_mode". Data arrays are bytes:
// a register is two (high first), eight coils one (lowest address in bit 0).
// Generation 4 RTU ("read_modbus_rtu_coils", ... {"address","device","num","type"}) and TCP
// ("read_modbus_tcp_coils", ... {"address","num", "master_name" or "ip","port"}) carry one
// element per coil or register; TCP answers echo "master_name", or "ip" and "port".
// Reads answer "data", refusals "read_state": false; writes answer "write_state".
// Coils and holding registers are kept per slave; input bits and input registers follow fixed
// patterns: bit (address % 2), register (address × 7 + 1).
// Masters: "add_modbus_tcp_master" {"master_name","ip","port"} -> "add_state",
// "update_modbus_tcp_master" {"master_name","new_name","ip","port"} -> "update_state",
// "delete_modbus_tcp_master" -> "delete_state", "given_modbus_tcp_master" -> the master or
// "given_state": false, "get_modbus_tcp_master_list" {"vague_search","page_num","page_size"}
// -> a page with "total_size" and "list".
#include <algorithm>

#include "command_families.h"
#include "request_fields.h"

namespace zqsim {
namespace {

enum class Bus { Port, Rtu, Tcp };
enum class Bank { Coils, Inputs, Holding, InputRegisters };
enum class Op { ReadOne, ReadBytes, ReadItems, WriteOne, WriteBytes, WriteItems };

struct Row {
    const char* command;
    Bus bus;
    Bank bank;
    Op op;
};

const Row kRows[] = {
    {"read_coils", Bus::Port, Bank::Coils, Op::ReadOne},
    {"read_input_status", Bus::Port, Bank::Inputs, Op::ReadOne},
    {"read_holding_registers", Bus::Port, Bank::Holding, Op::ReadOne},
    {"read_input_registers", Bus::Port, Bank::InputRegisters, Op::ReadOne},
    {"write_single_coil", Bus::Port, Bank::Coils, Op::WriteOne},
    {"write_single_register", Bus::Port, Bank::Holding, Op::WriteOne},
    {"write_registers", Bus::Port, Bank::Holding, Op::WriteBytes},
    {"write_coils", Bus::Port, Bank::Coils, Op::WriteBytes},
    {"read_multiple_coils", Bus::Port, Bank::Coils, Op::ReadBytes},
    {"read_multiple_holding_registers", Bus::Port, Bank::Holding, Op::ReadBytes},
    {"read_multiple_input_registers", Bus::Port, Bank::InputRegisters, Op::ReadBytes},
    {"read_modbus_rtu_coils", Bus::Rtu, Bank::Coils, Op::ReadItems},
    {"read_modbus_rtu_input_status", Bus::Rtu, Bank::Inputs, Op::ReadItems},
    {"read_modbus_rtu_holding_registers", Bus::Rtu, Bank::Holding, Op::ReadItems},
    {"read_modbus_rtu_input_registers", Bus::Rtu, Bank::InputRegisters, Op::ReadItems},
    {"write_modbus_rtu_coils", Bus::Rtu, Bank::Coils, Op::WriteItems},
    {"write_modbus_rtu_registers", Bus::Rtu, Bank::Holding, Op::WriteItems},
    {"read_modbus_tcp_coils", Bus::Tcp, Bank::Coils, Op::ReadItems},
    {"read_modbus_tcp_input_status", Bus::Tcp, Bank::Inputs, Op::ReadItems},
    {"read_modbus_tcp_holding_registers", Bus::Tcp, Bank::Holding, Op::ReadItems},
    {"read_modbus_tcp_input_registers", Bus::Tcp, Bank::InputRegisters, Op::ReadItems},
    {"write_modbus_tcp_coils", Bus::Tcp, Bank::Coils, Op::WriteItems},
    {"write_modbus_tcp_registers", Bus::Tcp, Bank::Holding, Op::WriteItems},
};

constexpr int kMaxItems = 2000;

bool is_bits(Bank b) { return b == Bank::Coils || b == Bank::Inputs; }

int read_item(ModbusDevice& d, Bank b, int address) {
    switch (b) {
        case Bank::Coils: return d.coils[address];
        case Bank::Inputs: return address % 2;
        case Bank::Holding: return d.registers[address];
        case Bank::InputRegisters: return (address * 7 + 1) & 0xFFFF;
    }
    return 0;
}

void write_item(ModbusDevice& d, Bank b, int address, int value) {
    if (b == Bank::Coils) d.coils[address] = value ? 1 : 0;
    if (b == Bank::Holding) d.registers[address] = value & 0xFFFF;
}

std::vector<int> numbers(const cJSON* arr) {
    std::vector<int> v;
    for (const cJSON* el = arr ? arr->child : nullptr; el; el = el->next) v.push_back(el->valueint);
    return v;
}

const ModbusMaster* master_named(const ArmConfig& arm, const std::string& name) {
    for (const auto& m : arm.system_io.masters)
        if (m.name == name) return &m;
    return nullptr;
}

// The slave a request addresses, with the echo members of its answer; null when its bus is closed.
ModbusDevice* slave(const Row& row, CommandContext& c, cJSON* echo) {
    SystemIoState& s = c.arm.system_io;
    int device = 0, n = 0;
    std::string key;
    switch (row.bus) {
        case Bus::Port: {
            if (!req::integer(c, "port", &n) || !req::integer(c, "device", &device)) return nullptr;
            const bool open = (n == 0 && s.controller_serial.mode == 1) || (n == 1 && s.tool_serial.mode == 1) ||
                              (n == 2 && s.modbus_tcp_open);
            if (!open) return nullptr;
            key = "port" + std::to_string(n) + "/" + std::to_string(device);
            break;
        }
        case Bus::Rtu:
            if (!req::integer(c, "type", &n) || !req::integer(c, "device", &device)) return nullptr;
            key = "rtu" + std::to_string(n) + "/" + std::to_string(device);
            break;
        case Bus::Tcp: {
            std::string name = wire::string_member(c.request, "master_name");
            if (!name.empty()) {
                cJSON_AddStringToObject(echo, "master_name", name.c_str());
                const ModbusMaster* m = master_named(c.arm, name);
                if (!m) return nullptr;
                key = "tcp/" + m->ip + ":" + std::to_string(m->port);
            } else {
                std::string ip = wire::string_member(c.request, "ip");
                int port = 0;
                req::integer(c, "port", &port);
                cJSON_AddStringToObject(echo, "ip", ip.c_str());
                cJSON_AddNumberToObject(echo, "port", port);
                if (ip.empty()) return nullptr;
                key = "tcp/" + ip + ":" + std::to_string(port);
            }
            break;
        }
    }
    return &s.devices[key];
}

void answer(const Row& row, CommandContext& c) {
    const bool write = row.op == Op::WriteOne || row.op == Op::WriteBytes || row.op == Op::WriteItems;
    cJSON* echo = cJSON_CreateObject();
    ModbusDevice* d = slave(row, c, echo);
    int address = 0, num = 1;
    bool ok = d && req::integer(c, "address", &address) && address >= 0;
    if (ok && (row.op == Op::ReadBytes || row.op == Op::ReadItems || (row.op == Op::ReadOne && is_bits(row.bank)) ||
               (row.op == Op::WriteBytes)))
        ok = req::integer(c, "num", &num) && num >= 0 && num <= kMaxItems;

    cJSON* r = wire::reply(row.command);
    std::vector<std::int64_t> data;
    if (ok) {
        switch (row.op) {
            case Op::ReadOne: {
                int v = 0;
                if (is_bits(row.bank)) {
                    for (int i = 0; i < num && i < 31; ++i) v |= read_item(*d, row.bank, address + i) << i;
                } else {
                    v = read_item(*d, row.bank, address);
                }
                cJSON_AddNumberToObject(r, "data", v);
                break;
            }
            case Op::ReadBytes:
                if (is_bits(row.bank)) {
                    for (int byte = 0; byte < (num + 7) / 8; ++byte) {
                        int v = 0;
                        for (int b = 0; b < 8 && byte * 8 + b < num; ++b)
                            v |= read_item(*d, row.bank, address + byte * 8 + b) << b;
                        data.push_back(v);
                    }
                } else {
                    for (int i = 0; i < num; ++i) {
                        const int v = read_item(*d, row.bank, address + i);
                        data.push_back(v >> 8);
                        data.push_back(v & 0xFF);
                    }
                }
                break;
            case Op::ReadItems:
                for (int i = 0; i < num; ++i) data.push_back(read_item(*d, row.bank, address + i));
                break;
            case Op::WriteOne: {
                int v = 0;
                ok = req::integer(c, "data", &v);
                if (ok) write_item(*d, row.bank, address, v);
                break;
            }
            case Op::WriteBytes: {
                const std::vector<int> bytes = numbers(req::member(c, "data"));
                const std::size_t want = static_cast<std::size_t>(is_bits(row.bank) ? num / 8 : num * 2);
                ok = cJSON_IsArray(req::member(c, "data")) && bytes.size() == want;
                for (std::size_t i = 0; ok && i < want; ++i) {
                    if (is_bits(row.bank)) {
                        for (int b = 0; b < 8; ++b)
                            write_item(*d, row.bank, address + static_cast<int>(i) * 8 + b, (bytes[i] >> b) & 1);
                    } else if (i % 2 == 1) {
                        write_item(*d, row.bank, address + static_cast<int>(i / 2), (bytes[i - 1] << 8) | bytes[i]);
                    }
                }
                break;
            }
            case Op::WriteItems: {
                const std::vector<int> items = numbers(req::member(c, "data"));
                ok = cJSON_IsArray(req::member(c, "data"));
                for (std::size_t i = 0; ok && i < items.size(); ++i)
                    write_item(*d, row.bank, address + static_cast<int>(i), items[i]);
                break;
            }
        }
    }
    if (ok && (row.op == Op::ReadBytes || row.op == Op::ReadItems)) wire::add_int_array(r, "data", data);
    if (write || !ok) cJSON_AddBoolToObject(r, write ? "write_state" : "read_state", ok);
    for (cJSON* e = echo->child; e; e = e->next) cJSON_AddItemToObject(r, e->string, cJSON_Duplicate(e, true));
    cJSON_Delete(echo);
    c.reply(r);
}

// ---- masters ----------------------------------------------------------------------------

bool master_from(const CommandContext& c, const char* name_key, ModbusMaster* m) {
    return req::text(c, name_key, 19, &m->name) && req::text(c, "ip", 15, &m->ip) && req::integer(c, "port", &m->port);
}

void add_master(CommandContext& c) {
    ModbusMaster m;
    auto& list = c.arm.system_io.masters;
    const bool ok = master_from(c, "master_name", &m) && !master_named(c.arm, m.name) && list.size() < 100;
    if (ok) list.push_back(m);
    req::answer(c, "add_modbus_tcp_master", "add_state", ok);
}

void update_master(CommandContext& c) {
    ModbusMaster m;
    const std::string old = wire::string_member(c.request, "master_name");
    auto* existing = const_cast<ModbusMaster*>(master_named(c.arm, old));
    const bool ok = existing && master_from(c, "new_name", &m) && (m.name == old || !master_named(c.arm, m.name));
    if (ok) *existing = m;
    req::answer(c, "update_modbus_tcp_master", "update_state", ok);
}

void delete_master(CommandContext& c) {
    auto& list = c.arm.system_io.masters;
    const std::string name = wire::string_member(c.request, "master_name");
    auto it = std::find_if(list.begin(), list.end(), [&](const ModbusMaster& m) { return m.name == name; });
    const bool ok = it != list.end();
    if (ok) list.erase(it);
    req::answer(c, "delete_modbus_tcp_master", "delete_state", ok);
}

void given_master(CommandContext& c) {
    const ModbusMaster* m = master_named(c.arm, wire::string_member(c.request, "master_name"));
    if (!m) return req::answer(c, "given_modbus_tcp_master", "given_state", false);
    cJSON* r = wire::reply("given_modbus_tcp_master");
    cJSON_AddStringToObject(r, "master_name", m->name.c_str());
    cJSON_AddStringToObject(r, "ip", m->ip.c_str());
    cJSON_AddNumberToObject(r, "port", m->port);
    c.reply(r);
}

void master_list(CommandContext& c) {
    int page = 1, size = 10;
    if (!req::integer(c, "page_num", &page) || !req::integer(c, "page_size", &size) || page < 1 || size < 1)
        return req::answer(c, "get_modbus_tcp_master_list", "get_state", false);
    const std::string search = wire::string_member(c.request, "vague_search");
    std::vector<const ModbusMaster*> hits;
    for (const auto& m : c.arm.system_io.masters)
        if (m.name.find(search) != std::string::npos) hits.push_back(&m);
    cJSON* r = wire::reply("get_modbus_tcp_master_list");
    cJSON_AddNumberToObject(r, "page_num", page);
    cJSON_AddNumberToObject(r, "page_size", size);
    cJSON_AddNumberToObject(r, "total_size", static_cast<double>(hits.size()));
    if (req::member(c, "vague_search")) cJSON_AddStringToObject(r, "vague_search", search.c_str());
    cJSON* list = cJSON_AddArrayToObject(r, "list");
    const std::size_t first = static_cast<std::size_t>(page - 1) * static_cast<std::size_t>(size);
    for (std::size_t i = first; i < hits.size() && i < first + static_cast<std::size_t>(size); ++i) {
        cJSON* m = cJSON_CreateObject();
        cJSON_AddStringToObject(m, "master_name", hits[i]->name.c_str());
        cJSON_AddStringToObject(m, "ip", hits[i]->ip.c_str());
        cJSON_AddNumberToObject(m, "port", hits[i]->port);
        cJSON_AddItemToArray(list, m);
    }
    c.reply(r);
}

}  // namespace

void register_modbus_commands(CommandTable& t) {
    for (const Row& row : kRows) {
        const int gen = row.bus == Bus::Port ? 3 : 4;
        t.add(row.command, [row, gen](CommandContext& c) {
            if (c.arm.generation() == gen) answer(row, c);
        });
    }
    const std::pair<const char*, void (*)(CommandContext&)> masters[] = {
        {"add_modbus_tcp_master", add_master},       {"update_modbus_tcp_master", update_master},
        {"delete_modbus_tcp_master", delete_master}, {"given_modbus_tcp_master", given_master},
        {"get_modbus_tcp_master_list", master_list},
    };
    for (const auto& m : masters) {
        auto fn = m.second;
        t.add(m.first, [fn](CommandContext& c) {
            if (c.arm.generation() == 4) fn(c);
        });
    }
}

}  // namespace zqsim
