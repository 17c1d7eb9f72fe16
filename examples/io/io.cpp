// Controller IO: sets an IO port to output mode, switches it on and off, and reads the
// outputs and inputs back.
//   zq_example_io --host 127.0.0.1 --port 8080   (switches an output: use zq_sim first)
#include <cstdio>
#include <string>

#include <zq_api.h>

#include "example_cli.h"

using example::connect_arm;
using example::parse_args;

namespace {

void print_ports(const char* what, const int* v) {
    std::printf("%s:", what);
    for (int i = 0; i < 4; ++i) std::printf(" %d", v[i]);
    std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
    std::string host = "127.0.0.1";
    int port = 8080;
    const int done = parse_args(argc, argv, &host, &port, "usage: zq_example_io [--host ADDR] [--port N]");
    if (done >= 0) return done;
    zq_robot_handle* arm = connect_arm(host, port, ZQ_RECV_THREAD_MODE);
    if (!arm) return 1;

    const int io = 1;
    int failures = 0;
    auto check = [&failures](const char* call, int rc) {
        std::printf("%s: %d (%s)\n", call, rc, zq_strerror(rc));
        if (rc != 0) ++failures;
    };
    const zq_io_config_t output_mode{1, 0, 0};
    check("zq_set_IO_mode (digital output)", zq_set_IO_mode(arm, io, &output_mode));
    zq_io_get_t state{};
    check("zq_get_IO_state", zq_get_IO_state(arm, io, &state));
    std::printf("IO %d: mode %d, state %d\n", io, state.io_mode, state.io_state);

    int out[4] = {0}, in[4] = {0};
    for (int on : {1, 0}) {
        check(on ? "zq_set_DO_state on" : "zq_set_DO_state off", zq_set_DO_state(arm, io, on));
        check("zq_get_IO_output", zq_get_IO_output(arm, out));
        print_ports("outputs", out);
        if (out[io] != on) {
            std::printf("output %d reads %d, not %d\n", io, out[io], on);
            ++failures;
        }
    }
    check("zq_get_IO_input", zq_get_IO_input(arm, in));
    print_ports("inputs", in);

    zq_delete_robot_arm(arm);
    zq_destroy();
    return failures == 0 ? 0 : 1;
}
