/* Self-collision of the arm and its tool, on capsule models of each arm family. */
#ifndef ZQ_COLLISION_H
#define ZQ_COLLISION_H

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* One sphere of the tool envelope, in the flange frame (metres). */
typedef struct {
    float radius;
    float centre[3];
} zq_tool_sphere_t;

/* 1 if the joints (degrees, dof of them) are outside the joint limits, make
 * the arm touch itself or the tool touch the arm, or cannot be read (null
 * pointer, a value that is not finite); 0 if the configuration is free. An
 * arm without a collision model is free within its limits. */
ZQ_API int zq_algo_safety_robot_self_collision_detection(float* q);

/* The tool envelope: up to five spheres, filled from index 0 upwards; a
 * radius of 0 leaves a slot unused. An index outside 0 to 4, a negative or
 * non-finite radius or a non-finite centre leaves the envelope unchanged. */
ZQ_API void zq_algo_set_tool_envelope(int index, zq_tool_sphere_t sphere);
/* Copies slot `index`; a null pointer or an index outside 0 to 4 does nothing. */
ZQ_API void zq_algo_get_tool_envelope(int index, zq_tool_sphere_t* sphere);

#ifdef __cplusplus
}
#endif

#endif /* ZQ_COLLISION_H */
