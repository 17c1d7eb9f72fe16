/* Latest realtime state of each arm, for control loops that poll instead of
 * taking the realtime callback. */
#ifndef ZQ_STATE_CACHE_H
#define ZQ_STATE_CACHE_H

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Copies the last realtime report that arrived for this arm and parsed, and
 * its age in milliseconds (`age_ms` may be null). Reports arrive in thread
 * mode 2 while the arm pushes them (zq_set_realtime_push with `enable`).
 * 0 success; -1 unknown handle; -2 no report of this arm yet; -4 null `state`.
 */
ZQ_API int zq_get_realtime_arm_state(zq_robot_handle* handle, zq_realtime_arm_joint_state_t* state, int32_t* age_ms);

#ifdef __cplusplus
}
#endif

#endif /* ZQ_STATE_CACHE_H */
