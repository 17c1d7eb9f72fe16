// zq_sim: the simulated controller as a program. `zq_sim --help` describes it.
#include <getopt.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "arm_models.h"
#include "platform/platform.h"
#include "simulator.h"
#ifdef ZQ_SIM_VIEW
#include "sim_view.h"
#endif

#ifndef ZQ_SIM_VERSION
#define ZQ_SIM_VERSION "unknown"
#endif

namespace {

// The whole manual: --help prints it on standard output.
const char kUsage[] =
    "usage: zq_sim [OPTION]...\n"
    "\n"
    "A simulated arm controller on 127.0.0.1. It answers the command protocol (JSON lines\n"
    "ended by CR LF) over TCP, moves its arm in real time, and sends UDP state reports once a\n"
    "client has configured where they go (set_realtime_push). It serves until SIGINT or\n"
    "SIGTERM. The first line on standard output names the model and the bound port.\n"
    "\n"
    "Options:\n"
    "  -p, --port N           TCP port on 127.0.0.1 (default 8080; 0 picks a free port)\n"
    "  -m, --model TEXT       product version of the arm (default ZQ41-B-1.0); it must name a\n"
    "                         known family, optionally with an end variant suffix\n"
    "                         (-B, -ZF, -6F, -6FB, -B-V, -6FB-V), e.g. ZQ52-6F-1.0\n"
    "  -c, --controller TEXT  controller version: 4.0, or a 3.x text such as 3.5.2 (default 4.0)\n"
    "  -d, --dof N            joint count, 1 to 10 (default: the model's)\n"
    "  -j, --joints A,B,...   the arm's joint angles at start, degrees, one per joint\n"
    "                         (default: all 0)\n"
    "  -v, --view PORT        also serve a live 3D view of the arm on http://127.0.0.1:PORT\n"
    "                         (0 picks a free port; the page's address is the second line)\n"
    "  -l, --list-models      print the known families with their joint counts and exit\n"
    "  -h, --help             print this text and exit\n"
    "  -V, --version          print the version and exit\n"
    "\n"
    "Exit status: 0 after a stop signal, --help, --version or --list-models; 1 when the port\n"
    "cannot be bound; 2 on a bad option or an unknown model.\n"
    "\n"
    "Streamed set points (movej_canfd, movej_follow) are checked against the joints' speed and\n"
    "acceleration limits; a set point beyond them is not executed and puts an error code in the\n"
    "arm's error list (cleared by clear_system_err).\n";

void list_models(std::FILE* to) {
    for (const std::string& f : zqsim::known_families())
        std::fprintf(to, "  %-8s %d joints\n", f.c_str(), zqsim::ArmConfig::for_model(f).dof);
}

bool parse_int(const char* text, int lo, int hi, int* out) {
    char* end = nullptr;
    const long v = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || v < lo || v > hi) return false;
    *out = static_cast<int>(v);
    return true;
}

// A comma-separated list of finite numbers, at most ten.
bool parse_joints(const char* text, std::vector<double>* out) {
    out->clear();
    const char* p = text;
    for (;;) {
        char* end = nullptr;
        const double v = std::strtod(p, &end);
        if (end == p || !std::isfinite(v) || out->size() == 10) return false;
        out->push_back(v);
        if (*end == '\0') return true;
        if (*end != ',') return false;
        p = end + 1;
    }
}

int bad_usage(const char* what, const char* value) {
    std::fprintf(stderr, "zq_sim: %s '%s'\nTry 'zq_sim --help' for more information.\n", what, value);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    int port = 8080;
    int dof = 0;
    std::string model = "ZQ41-B-1.0";
    std::string controller = "4.0";
    int view_port = -1;
    std::vector<double> joints;

    static const option kOptions[] = {
        {"port", required_argument, nullptr, 'p'},     {"model", required_argument, nullptr, 'm'},
        {"controller", required_argument, nullptr, 'c'}, {"dof", required_argument, nullptr, 'd'},
        {"list-models", no_argument, nullptr, 'l'},    {"help", no_argument, nullptr, 'h'},
        {"view", required_argument, nullptr, 'v'},     {"joints", required_argument, nullptr, 'j'},
        {"version", no_argument, nullptr, 'V'},        {nullptr, 0, nullptr, 0},
    };
    opterr = 0;  // the messages below replace getopt's own
    for (;;) {
        const int c = getopt_long(argc, argv, ":p:m:c:d:v:j:lhV", kOptions, nullptr);
        if (c == -1) break;
        switch (c) {
            case 'p':
                if (!parse_int(optarg, 0, 65535, &port)) return bad_usage("invalid port", optarg);
                break;
            case 'm':
                model = optarg;
                break;
            case 'c':
                controller = optarg;
                break;
            case 'd':
                if (!parse_int(optarg, 1, 10, &dof)) return bad_usage("invalid joint count", optarg);
                break;
            case 'v':
                if (!parse_int(optarg, 0, 65535, &view_port)) return bad_usage("invalid view port", optarg);
                break;
            case 'j':
                if (!parse_joints(optarg, &joints)) return bad_usage("invalid joint angles", optarg);
                break;
            case 'l':
                list_models(stdout);
                return 0;
            case 'h':
                std::fputs(kUsage, stdout);
                return 0;
            case 'V':
                std::printf("zq_sim %s\n", ZQ_SIM_VERSION);
                return 0;
            case ':':
                return bad_usage("missing value of option", argv[optind - 1]);
            default:
                return bad_usage("unknown option", argv[optind - 1]);
        }
    }
    if (optind < argc) return bad_usage("unexpected argument", argv[optind]);
    if (!zqsim::is_known_model(model)) {
        std::fprintf(stderr, "zq_sim: unknown model '%s'; known families:\n", model.c_str());
        list_models(stderr);
        return 2;
    }
    if (controller.empty()) return bad_usage("invalid controller version", "");

    zqsim::ArmConfig cfg = zqsim::ArmConfig::for_model(model);
    cfg.controller_version = controller;
    if (dof > 0) {
        cfg.dof = dof;
        cfg.normalise();
    }
    if (!joints.empty()) {
        if (joints.size() != static_cast<size_t>(cfg.dof)) return bad_usage("joint angles not one per joint", "--joints");
        for (size_t i = 0; i < joints.size(); ++i) cfg.joint_angles[i] = joints[i];
    }

    // Block the stop signals before any thread starts, so that only the wait below sees them.
    zq::platform::block_stop_signals();

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
#ifdef ZQ_SIM_VIEW
    std::unique_ptr<zqview::SimulatorView> view;
    if (view_port >= 0) {
        view.reset(new zqview::SimulatorView(bound, view_port));
        if (!view->ok()) {
            std::fprintf(stderr, "zq_sim: no view: %s\n", view->error().c_str());
            return 1;
        }
        std::printf("zq_sim: view on %s\n", view->url().c_str());
        std::fflush(stdout);
    }
#else
    if (view_port >= 0) std::fprintf(stderr, "zq_sim: built without the viewer; --view ignored\n");
#endif

    const int sig = zq::platform::wait_stop_signal();
#ifdef ZQ_SIM_VIEW
    view.reset();
#endif
    sim.stop();
    std::printf("zq_sim: stopped by signal %d\n", sig);
    return 0;
}
