// zq_view: one arm drawn live in the browser. `zq_view --help` describes it.
#include <getopt.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "arm_models.h"
#include "platform/platform.h"
#include "simulator.h"
#include "viewer.h"
#include "zq_api.h"
#include "zq_collision.h"
#include "zq_motion.h"

namespace {

const char kUsage[] =
    "usage: zq_view --arm HOST:PORT [OPTION]...\n"
    "       zq_view --sim [MODEL] [OPTION]...\n"
    "\n"
    "Connects to an arm controller through the library and serves a page that draws the arm\n"
    "live: its kinematic chain, the capsules of the self-collision check coloured by their\n"
    "clearance (red in contact), the base, flange and tool frames, the tool spheres, the joints,\n"
    "the flange pose, the run state and the error codes, and the flange's recent path. The page\n"
    "only reads: it never sends a command to the arm. The first line on standard output is the\n"
    "page's address. It serves until SIGINT or SIGTERM.\n"
    "\n"
    "Options:\n"
    "  -a, --arm HOST:PORT   the controller (its realtime reports are used when it sends them;\n"
    "                        an arm on 127.x that sends none is asked to, otherwise the viewer\n"
    "                        asks for the arm's state 50 times a second)\n"
    "  -s, --sim [MODEL]     a simulated controller in this process instead (default ZQ41-B-1.0)\n"
    "      --demo            with --sim: keep the arm moving through a few poses\n"
    "  -H, --http PORT       the page's port (default 8000; 0 picks a free port)\n"
    "  -b, --bind ADDRESS    the page's address (default 127.0.0.1: this machine only)\n"
    "      --poll            ask for the arm's state instead of using realtime reports\n"
    "  -t, --tool-sphere R,X,Y,Z  a sphere of the tool envelope (metres, in the flange frame),\n"
    "                        drawn and checked like the arm's capsules; up to five\n"
    "      --web DIR         the page's files (default: where the package installed them)\n"
    "  -h, --help            print this text and exit\n"
    "\n"
    "Exit status: 0 after a stop signal or --help; 1 when the arm cannot be reached or the port\n"
    "cannot be bound; 2 on a bad option.\n";

int bad_usage(const char* what, const char* value) {
    std::fprintf(stderr, "zq_view: %s '%s'\nTry 'zq_view --help' for more information.\n", what, value);
    return 2;
}

// A slow tour through a few poses, each a blocking joint move.
void demo_loop(zq_robot_handle* arm, const std::atomic<bool>& stop) {
    static const float kPoses[][7] = {{0, 0, 0, 0, 0, 0, 0},
                                      {30, -25, 60, 0, 50, 20, 0},
                                      {-40, 20, 80, 30, -40, -30, 0},
                                      {60, -10, 100, -20, 60, 45, 0},
                                      {0, 30, 40, 0, 90, 0, 0}};
    for (size_t i = 0; !stop.load(); i = (i + 1) % (sizeof kPoses / sizeof *kPoses)) {
        float q[7];
        std::memcpy(q, kPoses[i], sizeof q);
        if (zq_movej(arm, q, 30, 0, 0, 1) != 0) std::this_thread::sleep_for(std::chrono::milliseconds(500));
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::string arm_addr, sim_model;
    bool sim = false, demo = false;
    zqview::Options opt;
    zq_tool_sphere_t tool[5];
    int spheres = 0;
    enum { kDemo = 256, kPoll, kWeb };
    static const option kOptions[] = {
        {"arm", required_argument, nullptr, 'a'}, {"sim", optional_argument, nullptr, 's'},
        {"demo", no_argument, nullptr, kDemo},    {"http", required_argument, nullptr, 'H'},
        {"bind", required_argument, nullptr, 'b'}, {"poll", no_argument, nullptr, kPoll},
        {"web", required_argument, nullptr, kWeb}, {"help", no_argument, nullptr, 'h'},
        {"tool-sphere", required_argument, nullptr, 't'},
        {nullptr, 0, nullptr, 0},
    };
    opterr = 0;
    for (;;) {
        const int c = getopt_long(argc, argv, ":a:s::H:b:t:h", kOptions, nullptr);
        if (c == -1) break;
        char* end = nullptr;
        switch (c) {
            case 'a':
                arm_addr = optarg;
                break;
            case 's':
                sim = true;
                if (optarg) sim_model = optarg;
                else if (optind < argc && argv[optind][0] != '-') sim_model = argv[optind++];
                break;
            case kDemo:
                demo = true;
                break;
            case 'H':
                opt.port = static_cast<int>(std::strtol(optarg, &end, 10));
                if (end == optarg || *end || opt.port < 0 || opt.port > 65535) return bad_usage("invalid port", optarg);
                break;
            case 'b':
                opt.bind = optarg;
                break;
            case kPoll:
                opt.poll = true;
                break;
            case 't': {
                zq_tool_sphere_t t{};
                if (spheres == 5 || std::sscanf(optarg, "%f,%f,%f,%f", &t.radius, &t.centre[0], &t.centre[1],
                                                &t.centre[2]) != 4 || !(t.radius > 0.0f))
                    return bad_usage("invalid tool sphere", optarg);
                tool[spheres++] = t;
                break;
            }
            case kWeb:
                opt.web_dir = optarg;
                break;
            case 'h':
                std::fputs(kUsage, stdout);
                return 0;
            case ':':
                return bad_usage("missing value of option", argv[optind - 1]);
            default:
                return bad_usage("unknown option", argv[optind - 1]);
        }
    }
    if (optind < argc) return bad_usage("unexpected argument", argv[optind]);
    if (sim == !arm_addr.empty()) return bad_usage("give either --arm or --sim", sim ? "both" : "neither");

    if (!sim_model.empty() && !zqsim::is_known_model(sim_model)) return bad_usage("unknown model", sim_model.c_str());
    std::string host = "127.0.0.1";
    int port = 0;
    zqsim::Simulator simulator(zqsim::ArmConfig::for_model(sim_model.empty() ? "ZQ41-B-1.0" : sim_model));
    if (sim) {
        simulator.set_recording(false);
        port = simulator.start(0);
        if (port < 0) {
            std::fprintf(stderr, "zq_view: the simulator did not start\n");
            return 1;
        }
    } else {
        const size_t colon = arm_addr.rfind(':');
        if (colon == std::string::npos) return bad_usage("invalid arm address", arm_addr.c_str());
        host = arm_addr.substr(0, colon);
        char* end = nullptr;
        const char* digits = arm_addr.c_str() + colon + 1;
        port = static_cast<int>(std::strtol(digits, &end, 10));
        if (end == digits || *end || port <= 0 || port > 65535) return bad_usage("invalid arm address", arm_addr.c_str());
    }

    // Stop signals blocked before any thread starts, so that only the wait below sees them.
    zq::platform::block_stop_signals();

    for (int i = 0; i < spheres; ++i) zq_algo_set_tool_envelope(i, tool[i]);
    if (zq_init(opt.poll ? ZQ_RECV_THREAD_MODE : ZQ_RECV_UDP_THREAD_MODE) != 0) return 1;
    zq_robot_handle* arm = zq_create_robot_arm(host.c_str(), port);
    if (!arm || arm->id < 0) {
        if (arm) zq_delete_robot_arm(arm);  // a failed handle is deleted all the same
        std::fprintf(stderr, "zq_view: cannot reach the arm at %s:%d\n", host.c_str(), port);
        zq_destroy();
        return 1;
    }
    if (!opt.poll && !zqview::enable_reports(arm, host.c_str()))
        std::fprintf(stderr, "zq_view: the arm sends no realtime reports here; asking for its state instead\n");

    int rc = 0;
    {
        zqview::Viewer viewer(arm, opt);
        if (viewer.start() < 0) {
            std::fprintf(stderr, "zq_view: %s\n", viewer.error().c_str());
            rc = 1;
        } else {
            std::printf("zq_view: %s (arm at %s:%d)\n", viewer.url().c_str(), host.c_str(), port);
            std::fflush(stdout);
            std::atomic<bool> stop{false};
            std::thread mover;
            if (demo && sim) mover = std::thread([&] { demo_loop(arm, stop); });
            zq::platform::wait_stop_signal();
            stop = true;
            if (mover.joinable()) {
                zq_set_arm_stop(arm);
                mover.join();
            }
            viewer.stop();
        }
    }
    zq_delete_robot_arm(arm);
    zq_destroy();
    simulator.stop();
    return rc;
}
