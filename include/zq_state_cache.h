/**
 * @file zq_state_cache.h
 * @brief Latest realtime state of each arm, for control loops that poll instead of taking the
 *        realtime callback.
 * @ingroup realtime
 */
#ifndef ZQ_STATE_CACHE_H
#define ZQ_STATE_CACHE_H

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @ingroup realtime
 * @brief Copies the last realtime report that arrived for this arm, and its age.
 * @param handle the arm.
 * @param[out] state receives the report. Reports arrive in thread mode 2 while the arm pushes
 *        them (zq_set_realtime_push() with `enable`).
 * @param[out] age_ms milliseconds since it arrived; may be null.
 * @return 0; -1 unknown handle; -2 no report of this arm yet; -4 null `state`. Never blocks.
 */
ZQ_API int zq_get_realtime_arm_state(zq_robot_handle* handle, zq_realtime_arm_joint_state_t* state, int32_t* age_ms);

#ifdef __cplusplus
}
#endif

#endif /* ZQ_STATE_CACHE_H */
