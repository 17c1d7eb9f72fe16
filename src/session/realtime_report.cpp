// Realtime report datagrams.
#include "session/realtime.h"

namespace zq {

void realtime_dispatch(const char* data, int len, const char* ip, int arm_port) {
    (void)data;
    (void)len;
    (void)ip;
    (void)arm_port;
}

}  // namespace zq
