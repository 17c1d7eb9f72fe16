#include "recorder.h"

#include <chrono>

namespace zqsim {

void Recorder::add_bytes(const char* data, std::size_t n) {
    std::lock_guard<std::mutex> lock(mu_);
    if (enabled_) bytes_.append(data, n);
}

void Recorder::add_line(const std::string& line) {
    {
        std::lock_guard<std::mutex> lock(mu_);
        if (!enabled_) return;
        lines_.push_back(line);
    }
    cv_.notify_all();
}

std::vector<std::string> Recorder::lines() const {
    std::lock_guard<std::mutex> lock(mu_);
    return lines_;
}

std::string Recorder::bytes() const {
    std::lock_guard<std::mutex> lock(mu_);
    return bytes_;
}

bool Recorder::wait_for_lines(std::size_t n, int timeout_ms) const {
    std::unique_lock<std::mutex> lock(mu_);
    return cv_.wait_for(lock, std::chrono::milliseconds(timeout_ms < 0 ? 0 : timeout_ms),
                        [&] { return lines_.size() >= n; });
}

void Recorder::clear() {
    std::lock_guard<std::mutex> lock(mu_);
    lines_.clear();
    bytes_.clear();
}

void Recorder::set_enabled(bool on) {
    std::lock_guard<std::mutex> lock(mu_);
    enabled_ = on;
}

}  // namespace zqsim
