// The installed face of the simulator: SimulatedController forwards to Simulator.
#include "zq_sim.h"

#include <algorithm>

#include "arm_models.h"
#include "platform/platform.h"
#include "simulator.h"

namespace zqsim {

namespace {
ArmConfig config_of(const std::string& model, const std::string& controller, int dof) {
    ArmConfig cfg = ArmConfig::for_model(model);
    cfg.controller_version = controller;
    if (dof > 0) {
        cfg.dof = dof;
        cfg.normalise();
    }
    return cfg;
}
}  // namespace

SimulatedController::SimulatedController(const std::string& model, const std::string& controller, int dof)
    : sim_(new Simulator(config_of(model, controller, dof))) {}
SimulatedController::~SimulatedController() { sim_->stop(); }

int SimulatedController::start(int port) { return sim_->start(port); }
void SimulatedController::stop() { sim_->stop(); }
int SimulatedController::port() const { return sim_->port(); }

int SimulatedController::free_udp_port() {
    namespace pf = zq::platform;
    const pf::NetUser net;
    const pf::socket_t s = net.ok() ? pf::udp_socket() : pf::kInvalidSocket;
    const int port = pf::socket_valid(s) && pf::bind_ipv4(s, pf::loopback_address(), 0) == 0 ? pf::local_port(s) : -1;
    pf::close_socket(s);
    return port;
}

std::vector<double> SimulatedController::joints() const { return sim_->config().joint_angles; }
void SimulatedController::set_joints(const std::vector<double>& degrees) {
    sim_->update([&](ArmConfig& a) {
        std::copy_n(degrees.begin(), std::min(degrees.size(), a.joint_angles.size()), a.joint_angles.begin());
    });
}
std::vector<int> SimulatedController::errors() const {
    const std::vector<int> err = sim_->config().state.err;
    return err.empty() ? std::vector<int>{0} : err;
}
void SimulatedController::set_errors(const std::vector<int>& codes) {
    sim_->update([&](ArmConfig& a) { a.state.err = codes; });
}

void SimulatedController::set_reply(const std::string& command, const std::string& reply_json, int times) {
    sim_->set_reply(command, reply_json, times);
}
void SimulatedController::set_delay(const std::string& command, int ms) { sim_->set_delay(command, ms); }
void SimulatedController::drop_reply(const std::string& command, int times) { sim_->drop_reply(command, times); }
void SimulatedController::push(const std::string& json) { sim_->push(json); }
std::vector<std::string> SimulatedController::received_lines() const { return sim_->received_lines(); }
bool SimulatedController::wait_for_lines(std::size_t n, int timeout_ms) const {
    return sim_->wait_for_lines(n, timeout_ms);
}

std::vector<std::string> SimulatedController::models() { return known_families(); }
bool SimulatedController::known_model(const std::string& model) { return is_known_model(model); }
Simulator& SimulatedController::simulator() { return *sim_; }

}  // namespace zqsim
