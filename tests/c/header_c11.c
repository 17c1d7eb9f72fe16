/* Compiled as strict C11: the public header must stand on its own in C. */
#include "zq_api.h"

int zq_header_c11_probe(void) {
    zq_robot_handle h;
    h.id = -1;
    return h.id + (int)sizeof(zq_robot_info_t);
}
