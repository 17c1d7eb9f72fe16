// The C++ face (zq/arm.hpp): the library guard, an arm that owns its handle, values instead of
// out-pointers and zq::Error instead of return codes. Moves joint 1 by 5 degrees and back,
// switches an output, reads the realtime state and computes the tool pose on the host.
//   zq_example_cpp_face --host 127.0.0.1 --port 8080   (moves the arm: use zq_sim first)
// Links api_cpp::api_cpp (CMake) or `pkg-config --libs api_cpp`, nothing else.
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include <zq/arm.hpp>

#include "example_cli.h"

int main(int argc, char** argv) {
    std::string host = "127.0.0.1";
    int port = 8080;
    const int done = example::parse_args(argc, argv, &host, &port, "usage: zq_example_cpp_face [--host ADDR] [--port N]");
    if (done >= 0) return done;
    try {
        zq::Library lib(ZQ_RECV_UDP_THREAD_MODE);
        zq::Arm arm(host, port);
        std::printf("connected: %zu joints\n", arm.joint_count());

        std::vector<float> q = arm.joint_degree();
        const std::vector<float> start = q;
        q[0] += 5.0f;
        arm.movej(q, 50);      // blocks until the arm reports the end of the move
        arm.movej(start, 50);  // and back
        std::printf("joint 1 went to %.1f deg and back to %.1f deg\n", q[0], arm.joint_degree()[0]);

        arm.set_do_state(1, 1);
        arm.set_do_state(1, 0);

        // The latest realtime report: zq::Error -2 until the first report has arrived.
        try {
            const zq::State s = arm.latest_state();
            std::printf("latest report: %d ms old\n", s.age_ms);
        } catch (const zq::Error& e) {
            std::printf("%s\n", e.what());
        }

        const zq::Pose p = arm.forward_kinematics(start);
        std::printf("tool at x %.4f y %.4f z %.4f m\n", p.position.x, p.position.y, p.position.z);

        // A failure is an exception that carries the C code.
        try {
            arm.movej(std::vector<float>(arm.joint_count(), 400.0f), 50);  // beyond the joint limits
        } catch (const zq::Error& e) {
            std::printf("refused as expected: %s\n", e.what());
        }
    } catch (const zq::Error& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    return 0;
}
