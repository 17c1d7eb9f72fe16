// A TCP proxy that stands between a client and a controller on loopback and
// spoils the link. It cuts each direction at CR LF and, message by message,
// delays, splits into two writes, duplicates, drops or corrupts it; on any
// read it may reset the connection. Every decision comes from a generator
// seeded per connection, so a plan and a seed give the same faults over the
// same messages. Faults act on whole messages, as a faulty controller or
// network stack would show them: a byte stream is never cut or repeated in
// the middle of a number, which would change the number without a trace.
//
//   zqsim::FaultPlan plan;
//   plan.seed = 7;
//   plan.drop = 0.01;
//   zqsim::FaultProxy proxy(sim.port(), plan);
//   int port = proxy.start();   // connect here instead of to sim.port()
#pragma once

#include <cstdint>
#include <memory>

namespace zqsim {

// Chances per message (reset: per read), each from 0 to 1.
struct FaultPlan {
    uint64_t seed = 1;
    double delay = 0;      // hold the message back for 1 to max_delay_ms
    int max_delay_ms = 20;
    double split = 0;      // forward it in two writes, a few milliseconds apart
    double duplicate = 0;  // forward it twice
    double drop = 0;       // forward nothing of it
    double corrupt = 0;    // replace one byte before its CR LF by "#", which no JSON number or
                           // structure holds
    double reset = 0;      // close both sides of the connection instead
};

struct FaultCounts {
    long forwarded = 0, delayed = 0, split = 0, duplicated = 0, dropped = 0, corrupted = 0, resets = 0;
};

class FaultProxy {
public:
    FaultProxy(int target_port, FaultPlan plan);
    ~FaultProxy();  // stops
    FaultProxy(const FaultProxy&) = delete;
    FaultProxy& operator=(const FaultProxy&) = delete;

    // Listens on an ephemeral loopback port; returns it, or -1.
    int start();
    // Closes every connection and the listener and joins the thread.
    void stop();
    FaultCounts counts() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zqsim
