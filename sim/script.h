// Test scripting of the controller's answers, per command literal: a verbatim reply, a
// dropped reply, a delay, or a custom handler. Thread-safe.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace zqsim {

using CustomHandler = std::function<std::vector<std::string>(const std::string& request_line)>;

// What to do with one request.
struct ScriptDecision {
    enum class Kind { Normal, Drop, Verbatim, Custom };
    Kind kind = Kind::Normal;
    std::string verbatim;  // Kind::Verbatim: the reply line, without CR LF
    CustomHandler custom;  // Kind::Custom
    int delay_ms = 0;      // delay of whatever is answered
};

class Script {
  public:
    // `times` < 0: for ever; 0: removes the rule; n > 0: the next n requests.
    void set_reply(const std::string& command, const std::string& reply, int times);
    void drop_reply(const std::string& command, int times);
    void set_delay(const std::string& command, int ms);             // ms <= 0 removes the delay
    void on_command(const std::string& command, CustomHandler fn);  // an empty fn removes it
    void clear();

    // The rule for one request of `command`; a counted rule uses up one turn. A drop rule
    // comes before a reply rule, which comes before a custom handler.
    ScriptDecision decide(const std::string& command);

  private:
    struct Counted {
        std::string reply;
        int remaining;  // < 0: for ever
    };
    static bool take(std::map<std::string, Counted>& rules, const std::string& command, std::string* reply);

    std::mutex mu_;
    std::map<std::string, Counted> drops_;
    std::map<std::string, Counted> replies_;
    std::map<std::string, int> delays_;
    std::map<std::string, CustomHandler> custom_;
};

}  // namespace zqsim
