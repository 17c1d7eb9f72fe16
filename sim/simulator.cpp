#include "simulator.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <utility>

#include <cjson/cJSON.h>

#include "command_table.h"
#include "motion_engine.h"
#include "realtime_report.h"
#include "recorder.h"
#include "script.h"
#include "tcp_server.h"
#include "wire.h"

namespace zqsim {

struct Simulator::Impl {
    explicit Impl(ArmConfig cfg)
        : arm(std::move(cfg)),
          server(TcpServer::Callbacks{
              [this](int, const char* data, std::size_t n) { recorder.add_bytes(data, n); },
              [this](int connection, const std::string& line) { handle(connection, line); }}) {
        arm.normalise();
    }

    // One request line, on the network thread.
    void handle(int connection, const std::string& received) {
        recorder.add_line(received);
        const std::string line = skip_data(connection, received);
        if (line.empty()) return;
        cJSON* request = cJSON_ParseWithLength(line.data(), line.size());
        if (!cJSON_IsObject(request)) {
            cJSON_Delete(request);
            return;
        }
        const std::string command = wire::string_member(request, "command");
        std::vector<std::string> replies;
        std::vector<std::pair<int, std::string>> later;  // pushes a handler scheduled
        ScriptDecision d = command.empty() ? ScriptDecision{} : script.decide(command);
        if (!command.empty()) {
            switch (d.kind) {
                case ScriptDecision::Kind::Drop: break;
                case ScriptDecision::Kind::Verbatim: replies.push_back(d.verbatim); break;
                case ScriptDecision::Kind::Custom: replies = d.custom(line); break;
                case ScriptDecision::Kind::Normal: replies = from_table(connection, line, request, command, &later); break;
            }
        }
        cJSON_Delete(request);
        if (!replies.empty()) {
            std::string out;
            for (const std::string& r : replies) out += r + "\r\n";
            server.send(connection, std::move(out), d.delay_ms);
        }
        for (auto& push : later) server.send(connection, push.second + "\r\n", d.delay_ms + push.first);
    }

    // Data bytes that a request announced are not requests: they are taken off the stream, the
    // CR LF that the framer removed included. The rest of the line is a request again.
    std::string skip_data(int connection, const std::string& line) {
        auto it = data_pending.find(connection);
        if (it == data_pending.end()) return line;
        long long& left = it->second;
        const std::size_t n = static_cast<std::size_t>(std::min<long long>(left, static_cast<long long>(line.size())));
        left -= static_cast<long long>(n);
        if (n == line.size()) left -= 2;
        if (left <= 0) data_pending.erase(it);
        return line.substr(n);
    }

    std::vector<std::string> from_table(int connection, const std::string& line, const cJSON* request,
                                        const std::string& command, std::vector<std::pair<int, std::string>>* later) {
        const CommandHandler* handler = CommandTable::standard().find(command);
        if (!handler) return {};
        std::lock_guard<std::mutex> lock(arm_mu);
        CommandContext ctx{line, request, arm, connection, {}, {}, 0};
        (*handler)(ctx);
        *later = std::move(ctx.later);
        if (ctx.data_bytes > 0) data_pending[connection] = ctx.data_bytes;
        return std::move(ctx.replies);
    }

    std::map<int, long long> data_pending;  // connection -> announced data bytes still to come (network thread)
    mutable std::mutex arm_mu;
    ArmConfig arm;
    Script script;
    Recorder recorder;
    TcpServer server;  // its thread uses the members above
    RealtimeSender reports;
    std::unique_ptr<MotionEngine> motion;  // the moving arm, attached by Simulator's constructor

    // The next UDP report and where it goes, from the arm's state.
    bool next_report(std::string& report, std::string& ip, int& port, int& period_ms) {
        std::lock_guard<std::mutex> lock(arm_mu);
        const RealtimePush& p = arm.realtime;
        period_ms = std::max(p.cycle, 1) * kReportCycleUnitMs;
        if (!p.enable || !p.configured) return false;
        report = build_realtime_report(arm);
        ip = p.ip;
        port = p.port;
        return true;
    }
};

Simulator::Simulator(ArmConfig cfg) : impl_(new Impl(std::move(cfg))) {
    impl_->motion.reset(new MotionEngine(*this));
}

Simulator::~Simulator() {
    stop();
    impl_->motion.reset();  // no handler runs once the network thread is gone
}

MotionEngine& Simulator::motion() { return *impl_->motion; }

int Simulator::start(int port) {
    const int bound = impl_->server.start(port);
    if (bound > 0) {
        Impl* impl = impl_.get();
        impl_->reports.start([impl](std::string& report, std::string& ip, int& to, int& period_ms) {
            return impl->next_report(report, ip, to, period_ms);
        });
    }
    return bound;
}
void Simulator::stop() {
    impl_->reports.stop();
    impl_->server.stop();
}
int Simulator::port() const { return impl_->server.port(); }
int Simulator::connection_count() const { return impl_->server.connection_count(); }
int Simulator::accepted_count() const { return impl_->server.accepted_count(); }
bool Simulator::wait_for_connections(int n, int timeout_ms) const {
    return impl_->server.wait_for_connections(n, timeout_ms);
}

void Simulator::set_reply(const std::string& command, const std::string& reply_json, int times) {
    impl_->script.set_reply(command, reply_json, times);
}
void Simulator::set_delay(const std::string& command, int ms) { impl_->script.set_delay(command, ms); }
void Simulator::drop_reply(const std::string& command, int times) { impl_->script.drop_reply(command, times); }
void Simulator::on_command(const std::string& command,
                           std::function<std::vector<std::string>(const std::string&)> fn) {
    impl_->script.on_command(command, std::move(fn));
}
void Simulator::clear_script() {
    impl_->script.clear();
    impl_->motion->attach();
}

void Simulator::send_raw(const std::string& bytes, int connection) { impl_->server.send(connection, bytes); }

void Simulator::send_split(const std::string& bytes, std::vector<std::size_t> cut_points, int pause_ms,
                           int connection) {
    std::sort(cut_points.begin(), cut_points.end());
    std::size_t from = 0;
    int delay = 0;
    for (std::size_t cut : cut_points) {
        if (cut <= from || cut >= bytes.size()) continue;
        impl_->server.send(connection, bytes.substr(from, cut - from), delay);
        from = cut;
        delay += std::max(pause_ms, 0);
    }
    impl_->server.send(connection, bytes.substr(from), delay);
}

void Simulator::push(const std::string& json, int connection) { impl_->server.push(connection, json + "\r\n"); }
std::chrono::steady_clock::time_point Simulator::last_push_written_at() const {
    return impl_->server.last_push_written();
}
void Simulator::close_connections(int connection) { impl_->server.close(connection); }

std::vector<std::string> Simulator::received_lines() const { return impl_->recorder.lines(); }
std::string Simulator::received_bytes() const { return impl_->recorder.bytes(); }
bool Simulator::wait_for_lines(std::size_t n, int timeout_ms) const {
    return impl_->recorder.wait_for_lines(n, timeout_ms);
}
void Simulator::clear_received() { impl_->recorder.clear(); }
void Simulator::set_recording(bool on) { impl_->recorder.set_enabled(on); }

void Simulator::on_report_sent(std::function<void(std::chrono::steady_clock::time_point)> hook) {
    impl_->reports.set_sent_hook(std::move(hook));
}
void Simulator::send_report_now() { impl_->reports.kick(); }

ArmConfig Simulator::config() const {
    std::lock_guard<std::mutex> lock(impl_->arm_mu);
    return impl_->arm;
}

void Simulator::update(const std::function<void(ArmConfig&)>& fn) {
    std::lock_guard<std::mutex> lock(impl_->arm_mu);
    fn(impl_->arm);
    impl_->arm.normalise();
}

}  // namespace zqsim
