// The simulator's own arm in the browser: zq_sim --view PORT.
#pragma once

#include <memory>
#include <string>

namespace zqview {

class Viewer;

class SimulatorView {
public:
    // Connects through the library to the simulator on 127.0.0.1:sim_port and
    // serves its page on 127.0.0.1:http_port (0: a free port).
    SimulatorView(int sim_port, int http_port);
    ~SimulatorView();
    SimulatorView(const SimulatorView&) = delete;
    SimulatorView& operator=(const SimulatorView&) = delete;

    bool ok() const { return !url_.empty(); }
    const std::string& url() const { return url_; }  // empty on failure
    const std::string& error() const { return error_; }

private:
    std::unique_ptr<Viewer> viewer_;
    void* arm_ = nullptr;
    std::string url_, error_;
};

}  // namespace zqview
