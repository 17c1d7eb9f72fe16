/* Host-side kinematics: arm model data, forward and inverse kinematics, Jacobians, self-collision. */
#ifndef ZQ_ALGO_H
#define ZQ_ALGO_H

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* ZQ_ALGO_H */
