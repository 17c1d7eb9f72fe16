/* Realtime state push over UDP: configuration, report record and callback. */
#ifndef ZQ_REALTIME_H
#define ZQ_REALTIME_H

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* ZQ_REALTIME_H */
