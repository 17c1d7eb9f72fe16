// What the controller received: every request line and the raw byte stream, for tests to
// read back. Thread-safe.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

namespace zqsim {

class Recorder {
  public:
    void add_bytes(const char* data, std::size_t n);
    void add_line(const std::string& line);

    std::vector<std::string> lines() const;
    std::string bytes() const;
    bool wait_for_lines(std::size_t n, int timeout_ms) const;
    void clear();

    // A long-running controller turns recording off to keep its memory flat.
    void set_enabled(bool on);

  private:
    mutable std::mutex mu_;
    mutable std::condition_variable cv_;
    bool enabled_ = true;
    std::vector<std::string> lines_;
    std::string bytes_;
};

}  // namespace zqsim
