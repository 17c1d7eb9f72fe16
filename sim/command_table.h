// The controller's command set: a table from the command literal of a request to the
// handler that answers it. Each command family registers its rows from its own source file
// (commands_<family>.cpp); the standard table holds every family.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <cjson/cJSON.h>

#include "arm_config.h"

namespace zqsim {

// What a handler sees of one request, and where it puts its answer.
struct CommandContext {
    const std::string& line;  // the request line as received, without CR LF
    const cJSON* request;     // the parsed request object
    ArmConfig& arm;           // the arm's state; the caller holds the state lock
    int connection;           // the connection that sent the request

    std::vector<std::string> replies;  // reply lines to send, without CR LF
    // Lines pushed later on the same connection: delay in ms after the replies, line.
    std::vector<std::pair<int, std::string>> later;
    // Bytes of data that follow this request on its connection and are not requests.
    long long data_bytes = 0;

    // Prints `obj` as the next reply line and deletes it.
    void reply(cJSON* obj);
    // Prints `obj` as a message pushed `delay_ms` from now and deletes it.
    void push_later(int delay_ms, cJSON* obj);
};

using CommandHandler = std::function<void(CommandContext&)>;

class CommandTable {
  public:
    // Adds or replaces the row of `literal`.
    void add(const std::string& literal, CommandHandler handler);

    // The handler of `literal`, or null when the controller does not know the command.
    const CommandHandler* find(const std::string& literal) const;

    // Every command literal in the table, sorted.
    std::vector<std::string> literals() const;

    // The table of all command families, built once.
    static const CommandTable& standard();

  private:
    std::map<std::string, CommandHandler> rows_;
};

}  // namespace zqsim
