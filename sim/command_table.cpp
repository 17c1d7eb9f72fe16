#include "command_table.h"

#include <utility>

#include "command_families.h"
#include "wire.h"

namespace zqsim {

void CommandContext::reply(cJSON* obj) {
    replies.push_back(wire::print_and_delete(obj));
}

void CommandContext::push_later(int delay_ms, cJSON* obj) {
    later.emplace_back(delay_ms, wire::print_and_delete(obj));
}

void CommandTable::add(const std::string& literal, CommandHandler handler) {
    rows_[literal] = std::move(handler);
}

const CommandHandler* CommandTable::find(const std::string& literal) const {
    auto it = rows_.find(literal);
    return it == rows_.end() ? nullptr : &it->second;
}

std::vector<std::string> CommandTable::literals() const {
    std::vector<std::string> out;
    out.reserve(rows_.size());
    for (const auto& row : rows_) out.push_back(row.first);
    return out;
}

const CommandTable& CommandTable::standard() {
    static const CommandTable table = [] {
        using Register = void (*)(CommandTable&);
        static const Register kFamilies[] = {
            register_state_commands, register_realtime_commands,   register_frame_commands, register_frame_store_commands,
            register_limit_commands, register_arm_state_commands, register_trajectory_commands,
            register_system_commands, register_io_commands, register_modbus_commands, register_safety_commands,
            register_effector_commands, register_force_commands, register_program_commands,
        };
        CommandTable t;
        for (Register r : kFamilies) r(t);
        return t;
    }();
    return table;
}

}  // namespace zqsim
