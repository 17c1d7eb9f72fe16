#include "script.h"

#include <utility>

namespace zqsim {

void Script::set_reply(const std::string& command, const std::string& reply, int times) {
    std::lock_guard<std::mutex> lock(mu_);
    if (times == 0)
        replies_.erase(command);
    else
        replies_[command] = Counted{reply, times};
}

void Script::drop_reply(const std::string& command, int times) {
    std::lock_guard<std::mutex> lock(mu_);
    if (times == 0)
        drops_.erase(command);
    else
        drops_[command] = Counted{std::string(), times};
}

void Script::set_delay(const std::string& command, int ms) {
    std::lock_guard<std::mutex> lock(mu_);
    if (ms <= 0)
        delays_.erase(command);
    else
        delays_[command] = ms;
}

void Script::on_command(const std::string& command, CustomHandler fn) {
    std::lock_guard<std::mutex> lock(mu_);
    if (fn)
        custom_[command] = std::move(fn);
    else
        custom_.erase(command);
}

void Script::clear() {
    std::lock_guard<std::mutex> lock(mu_);
    drops_.clear();
    replies_.clear();
    delays_.clear();
    custom_.clear();
}

bool Script::take(std::map<std::string, Counted>& rules, const std::string& command, std::string* reply) {
    auto it = rules.find(command);
    if (it == rules.end()) return false;
    *reply = it->second.reply;
    if (it->second.remaining > 0 && --it->second.remaining == 0) rules.erase(it);
    return true;
}

ScriptDecision Script::decide(const std::string& command) {
    std::lock_guard<std::mutex> lock(mu_);
    ScriptDecision d;
    auto delay = delays_.find(command);
    if (delay != delays_.end()) d.delay_ms = delay->second;
    if (take(drops_, command, &d.verbatim)) {
        d.kind = ScriptDecision::Kind::Drop;
    } else if (take(replies_, command, &d.verbatim)) {
        d.kind = ScriptDecision::Kind::Verbatim;
    } else {
        auto custom = custom_.find(command);
        if (custom != custom_.end()) {
            d.kind = ScriptDecision::Kind::Custom;
            d.custom = custom->second;
        }
    }
    return d;
}

}  // namespace zqsim
