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

/* Additions of this library for motion planning: the distance behind the
 * verdict, and whole paths in one call. */

/**
 * @brief Clearance of one configuration: how far the arm (and its tool) is
 * from touching itself.
 *
 * The smallest distance less the radii over the capsule pairs of the arm's
 * family, in metres, at most 1.0; zero or negative in contact. The capsules
 * are measured in the order of the check, which ends at the first pair in
 * contact, so a negative value is the clearance met up to that pair.
 * zq_algo_safety_robot_self_collision_detection() reports contact exactly
 * when this value is below 1e-5. An arm without a collision model gets 1.0.
 *
 * @param q_deg      joint angles in degrees, the arm's joint count of them
 * @param clearance  receives the clearance in metres
 * @return 0 with the clearance written; 1 when a joint is outside its limits
 *         (nothing computed, `clearance` untouched); -4 for a null pointer or
 *         a joint that is not finite.
 */
ZQ_API int zq_algo_self_collision_clearance(const float* q_deg, float* clearance);

/**
 * @brief The first configuration of a path that is in self-contact or
 * outside the joint limits.
 *
 * `count` configurations are stored one after another, each with the arm's
 * joint count of angles in degrees. Each one gets the answer of
 * zq_algo_safety_robot_self_collision_detection(); several configurations
 * are checked at once, so a long path costs far less than one call each.
 *
 * @param q_deg  count x joint count angles, degrees
 * @param count  number of configurations, 0 or more
 * @param first  receives the index of the first configuration in contact or
 *               outside the limits, -1 when every one is free
 * @return 0 with `first` written; -4 for a null pointer, a negative count or
 *         an angle that is not finite (nothing checked).
 */
ZQ_API int zq_algo_self_collision_path(const float* q_deg, int count, int* first);

#ifdef __cplusplus
}
#endif

#endif /* ZQ_COLLISION_H */
