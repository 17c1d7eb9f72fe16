/**
 * @file zq_collision.h
 * @brief Self-collision of the arm and its tool, on capsule models of each arm family.
 * @ingroup algo
 */
#ifndef ZQ_COLLISION_H
#define ZQ_COLLISION_H

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @ingroup algo
 *  One sphere of the tool envelope, in the flange frame (metres). */
typedef struct {
    float radius;    /**< radius, m; 0 leaves the slot unused */
    float centre[3]; /**< centre x, y, z in the flange frame, m */
} zq_tool_sphere_t;

/**
 * @ingroup algo
 * @brief Tells whether joints leave the limits or make the arm or its tool touch the arm,
 *        on the process-wide arm model.
 * @param q the model's joint count of angles, degrees.
 * @return 1 outside the joint limits, in self-collision, or unreadable (null pointer, a value
 *         that is not finite); 0 free. An arm without a collision model is free within its
 *         limits. Computes on the host, never blocks.
 */
ZQ_API int zq_algo_safety_robot_self_collision_detection(float* q);

/**
 * @ingroup algo
 * @brief Sets one sphere of the tool envelope that the self-collision check includes.
 * @param index the slot, 0 to 4, filled from 0 upwards.
 * @param sphere radius and centre (m, flange frame); a radius of 0 leaves the slot unused.
 *        An index outside 0 to 4, a negative or non-finite radius or a non-finite centre
 *        leaves the envelope unchanged.
 */
ZQ_API void zq_algo_set_tool_envelope(int index, zq_tool_sphere_t sphere);
/**
 * @ingroup algo
 * @brief Reads one sphere of the tool envelope.
 * @param index the slot, 0 to 4.
 * @param[out] sphere receives it; a null pointer or an index outside 0 to 4 does nothing.
 */
ZQ_API void zq_algo_get_tool_envelope(int index, zq_tool_sphere_t* sphere);

#ifdef __cplusplus
}
#endif

#endif /* ZQ_COLLISION_H */
