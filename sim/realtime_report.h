// The UDP state report of the simulated controller: its text, and the thread that sends it
// at the configured cycle to the configured address and port.
//
// The controller's cycle unit is 5 ms: a cycle of 1 reports 200 times a second. Reports go
// out only while they are enabled, and only to loopback addresses (127.x.x.x).
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "arm_config.h"

namespace zqsim {

constexpr int kReportCycleUnitMs = 5;

// One report of the arm as it stands, with the sections its realtime settings ask for.
std::string build_realtime_report(const ArmConfig& arm);

class RealtimeSender {
public:
    // Fills the next report and where it goes; false when reports are off.
    using Source = std::function<bool(std::string& report, std::string& ip, int& port, int& period_ms)>;
    using SentHook = std::function<void(std::chrono::steady_clock::time_point)>;

    RealtimeSender() = default;
    ~RealtimeSender();
    RealtimeSender(const RealtimeSender&) = delete;
    RealtimeSender& operator=(const RealtimeSender&) = delete;

    void start(Source source);
    void stop();
    // Called on the sender's thread right after each datagram has been sent.
    void set_sent_hook(SentHook hook);
    // Sends the next report now rather than at the end of the current cycle.
    void kick();

private:
    void run();

    Source source_;
    std::mutex mu_;
    std::condition_variable cv_;
    bool stop_ = true;
    bool kick_ = false;
    SentHook hook_;
    std::thread thread_;
};

}  // namespace zqsim
