// zq_sim: the simulated controller as a program.
//
//   zq_sim [--port N] [--model TEXT] [--controller TEXT] [--dof N]
//
// Listens on 127.0.0.1:N (default 8080; 0 picks a free port), prints the port, and serves
// until SIGINT or SIGTERM.
#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "simulator.h"

namespace {

void usage() {
    std::fprintf(stderr,
                 "usage: zq_sim [--port N] [--model TEXT] [--controller TEXT] [--dof N]\n"
                 "  --port N           TCP port on 127.0.0.1 (default 8080, 0: any free port)\n"
                 "  --model TEXT       product version, e.g. ZQ41-B-1.0 or ZQ52-6F-1.0 (default ZQ41-B-1.0)\n"
                 "  --controller TEXT  controller version, 4.0 or a 3.x text (default 4.0)\n"
                 "  --dof N            joint count, 1 to 10 (default: the model's)\n");
}

bool parse_int(const char* text, int lo, int hi, int* out) {
    char* end = nullptr;
    const long v = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || v < lo || v > hi) return false;
    *out = static_cast<int>(v);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    int port = 8080;
    int dof = 0;
    std::string model = "ZQ41-B-1.0";
    std::string controller = "4.0";
    for (int i = 1; i < argc; i += 2) {  // each option takes one value
        const char* arg = argv[i];
        const char* value = i + 1 < argc ? argv[i + 1] : nullptr;
        bool ok = value != nullptr;
        if (std::strcmp(arg, "--port") == 0) {
            ok = ok && parse_int(value, 0, 65535, &port);
        } else if (std::strcmp(arg, "--model") == 0) {
            if (ok) model = value;
        } else if (std::strcmp(arg, "--controller") == 0) {
            if (ok) controller = value;
        } else if (std::strcmp(arg, "--dof") == 0) {
            ok = ok && parse_int(value, 1, 10, &dof);
        } else {
            ok = false;
        }
        if (!ok) {
            usage();
            return 2;
        }
    }

    zqsim::ArmConfig cfg = zqsim::ArmConfig::for_model(model);
    cfg.controller_version = controller;
    if (dof > 0) {
        cfg.dof = dof;
        cfg.normalise();
    }

    // Block the stop signals before any thread starts, so that only sigwait() sees them.
    sigset_t stop_signals;
    sigemptyset(&stop_signals);
    sigaddset(&stop_signals, SIGINT);
    sigaddset(&stop_signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stop_signals, nullptr);

    zqsim::Simulator sim(cfg);
    sim.set_recording(false);
    const int bound = sim.start(port);
    if (bound < 0) {
        std::fprintf(stderr, "zq_sim: cannot listen on 127.0.0.1:%d\n", port);
        return 1;
    }
    std::printf("zq_sim: %s (controller %s, %d joints) listening on 127.0.0.1:%d\n",
                cfg.product_version.c_str(), cfg.controller_version.c_str(), cfg.dof, bound);
    std::fflush(stdout);

    int sig = 0;
    sigwait(&stop_signals, &sig);
    sim.stop();
    std::printf("zq_sim: stopped by signal %d\n", sig);
    return 0;
}
