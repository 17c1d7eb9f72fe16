// Cuts a TCP byte stream into lines ended by CR LF. Segments may end anywhere, also between
// the CR and the LF. A pending line that grows beyond the limit without a CR LF is
// discarded, so that a peer that never ends its line cannot grow the buffer without bound.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace zqsim {

class LineFramer {
  public:
    static constexpr std::size_t kMaxPending = 1u << 20;

    // Appends `n` bytes and calls `on_line` with every completed line, without its CR LF.
    void feed(const char* data, std::size_t n, const std::function<void(std::string)>& on_line);

    // Bytes waiting for their CR LF.
    std::size_t pending() const { return buf_.size(); }

  private:
    std::string buf_;
    std::size_t scanned_ = 0;  // bytes of buf_ known to hold no CR LF start
};

}  // namespace zqsim
