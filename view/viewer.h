// zq_view's server: draws one arm in the browser from its realtime reports.
//
// A sampler thread of its own copies the arm's latest report out of the
// library's state cache (or, where no report arrives, asks the controller for
// its state), turns it into a frame for the page and keeps only the newest
// one. Each browser stream takes that newest frame when it is ready to write,
// so a slow or vanished browser holds up nobody but itself, and the library's
// realtime thread never waits for the viewer. The pages only read: nothing
// the server answers sends a command to the arm.
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "zq_api.h"

namespace zqview {

struct Options {
    std::string bind = "127.0.0.1";  // address the HTTP server listens on
    int port = 8000;                 // 0: a free port
    std::string web_dir;             // the page's files; empty: where the build or the install put them
    int max_streams = 8;             // browser streams served at once; more are answered 503
    bool poll = false;               // ask the controller for its state instead of waiting for reports
};

// Realtime reports for this process. An arm reached over loopback (a
// simulator) is asked to send them every 20 ms to a free UDP port of
// 127.0.0.1; another arm is left as it is configured. Returns true when
// reports are on.
bool enable_reports(zq_robot_handle* arm, const char* arm_host);

class Viewer {
public:
    Viewer(zq_robot_handle* arm, Options options);
    ~Viewer();  // stops
    Viewer(const Viewer&) = delete;
    Viewer& operator=(const Viewer&) = delete;

    // Loads the page's files and the arm's model, starts the sampler and the
    // server. Returns the bound port, or -1 (files missing, port taken).
    int start();
    void stop();
    std::string url() const;
    const std::string& error() const { return error_; }

    // For tests: streams open now, frames made so far, and the newest frame.
    int open_streams() const;
    long long frames() const;
    std::string latest_frame() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
    std::string error_;
};

// Where the page's files are: the install tree beside the program, or else
// the build tree.
std::string default_web_dir();

}  // namespace zqview
