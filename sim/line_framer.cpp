#include "line_framer.h"

namespace zqsim {

void LineFramer::feed(const char* data, std::size_t n, const std::function<void(std::string)>& on_line) {
    buf_.append(data, n);
    std::size_t start = 0;
    for (;;) {
        const std::size_t end = buf_.find("\r\n", scanned_ > start ? scanned_ : start);
        if (end == std::string::npos) break;
        on_line(buf_.substr(start, end - start));
        start = end + 2;
    }
    buf_.erase(0, start);
    // A trailing CR may be the first half of the next terminator: scan it again next time.
    scanned_ = buf_.empty() ? 0 : buf_.size() - 1;
    if (buf_.size() > kMaxPending) {
        buf_.clear();
        scanned_ = 0;
    }
}

}  // namespace zqsim
