/* Motion: blocking moves, step, jog and stop control, pass-through streaming. */
#ifndef ZQ_MOTION_H
#define ZQ_MOTION_H

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* ZQ_MOTION_H */
