// The circular move. Its "pose" is a nested object, so the request is built
// and printed here, formatted, rather than from a request table.
#include <cstring>
#include <shared_mutex>

#include "motion/move_family.h"
#include "platform/log.h"
#include "session/wire_input.h"

namespace zq::motion {
namespace {

constexpr int kMovecBuffer = 300;

cJSON* pose_array(const zq_pose_t& pose) {
    const WirePose p = wire_pose(pose);
    return cJSON_CreateIntArray(p.v, 6);
}

// Prints the request, formatted, with CR LF into `buf`; a text too long for
// the buffer is cut. Returns the length.
int print_movec(const zq_pose_t& via, const zq_pose_t& to, int v, int r, int loop, int trajectory_connect,
                char* buf) {
    cJSON* root = cJSON_CreateObject();
    cJSON_AddStringToObject(root, "command", "movec");
    cJSON* pose = cJSON_AddObjectToObject(root, "pose");
    cJSON_AddItemToObject(pose, "pose_via", pose_array(via));
    cJSON_AddItemToObject(pose, "pose_to", pose_array(to));
    cJSON_AddNumberToObject(root, "v", v);
    cJSON_AddNumberToObject(root, "r", r);
    cJSON_AddNumberToObject(root, "loop", loop);
    cJSON_AddNumberToObject(root, "trajectory_connect", trajectory_connect);
    char* text = cJSON_Print(root);
    cJSON_Delete(root);
    if (!text) return 0;
    size_t len = std::strlen(text);
    if (len > kMovecBuffer - 3) len = kMovecBuffer - 3;
    std::memcpy(buf, text, len);
    buf[len] = '\r';
    buf[len + 1] = '\n';
    buf[len + 2] = '\0';
    cJSON_free(text);
    return static_cast<int>(len + 2);
}

// Sends the printed request on the handle's socket: 0, or -1.
int send_movec(zq_robot_handle* handle, const char* buf, int len, int block) {
    std::shared_lock<platform::RwLock> lock(pool_lock());
    zq_robot_session* session = find_session(handle);
    if (!session || !session->socket) return -1;
    if (block) log_debug("send is: %s\n", buf);
    return session->socket->zq_socket_send(session->socket, buf, len) == 0 ? 0 : -1;
}

}  // namespace
}  // namespace zq::motion

extern "C" int zq_movec(zq_robot_handle* handle, zq_pose_t pose_via, zq_pose_t pose_to, int v, int r, int loop,
                        int trajectory_connect, int block) {
    using namespace zq;
    using namespace zq::motion;
    if (trajectory_connect != 0 && trajectory_connect != 1) {
        log_error("[%s] trajectory_connect check err! \n", kMoveC.fn);
        return -6;
    }
    if (!pose_ok(pose_via) || !pose_ok(pose_to)) return refuse_input(kMoveC.fn);
    char buf[kMovecBuffer];
    const int len = print_movec(pose_via, pose_to, v, r, loop, trajectory_connect, buf);
    if (len < 1 || send_movec(handle, buf, len, block) != 0) return -1;
    char out[kMoveReply] = {0};
    const int n = zq_command_exchange(kMoveC.fn, handle, nullptr, 0, kMoveC.command, out, sizeof out,
                                      query_timeout());
    return finish_move(kMoveC.fn, handle, n, out, block, trajectory_connect, kMoveC.wait);
}
