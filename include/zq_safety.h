/* Safety zones: electronic fences, virtual walls, tool envelopes, collision and singularity settings.
 * Coordinates and radii are metres; they travel as integer millimetres (× 1000, truncated). */
#ifndef ZQ_SAFETY_H
#define ZQ_SAFETY_H

#include <stdbool.h>

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Common codes: 0 done; 1 the controller answered false; -1 no connection or send failure;
 * -2 no reply in time; -3 bad reply; -4 refused here (unknown form, null pointer, a coordinate
 * that is not finite or beyond the wire's range), nothing sent. */

/* A fence or wall: form 1 cube (the limits), 2 plane (three points), 3 sphere (centre, radius). */
typedef struct {
    int form;
    char name[12];
    float x_min_limit, x_max_limit;
    float y_min_limit, y_max_limit;
    float z_min_limit, z_max_limit;
    float x1, y1, z1, x2, y2, z2, x3, y3, z3;
    float x, y, z;
    float radius;
} zq_fence_config_t;

typedef struct {
    char name[12];  /* a 12-character name fills it without a terminator */
} zq_fence_names_t;

/* Lists fill at most this many entries: the caller's arrays must hold as many. */
#define ZQ_FENCE_LIST_MAX 10

typedef struct {
    zq_fence_config_t config[ZQ_FENCE_LIST_MAX];
} zq_fence_config_list_t;

typedef struct {
    bool enable_state;
    int in_out_side;
    int effective_region;
} zq_electronic_fence_enable_t;

#define ZQ_ENVELOPE_BALLS_MAX 5

typedef struct {
    char name[12];
    float radius;
    float x, y, z;
} zq_envelope_ball_t;

typedef struct {
    zq_envelope_ball_t balls[ZQ_ENVELOPE_BALLS_MAX];
    int size;           /* balls that count, 0 to ZQ_ENVELOPE_BALLS_MAX */
    char tool_name[12];
} zq_envelope_balls_list_t;

/* Stored fences. On the wire a cube's "z_min_limit" carries x_min_limit: the controller's stored
 * cube is read back as it stands. Forms outside 1 to 3 give -4. */
ZQ_API int zq_add_electronic_fence_config(zq_robot_handle* handle, zq_fence_config_t config);
ZQ_API int zq_update_electronic_fence_config(zq_robot_handle* handle, zq_fence_config_t config);
ZQ_API int zq_delete_electronic_fence_config(zq_robot_handle* handle, const char* name);
/* Names of all stored fences, at most ZQ_FENCE_LIST_MAX; *len is the number filled. */
ZQ_API int zq_get_electronic_fence_list_names(zq_robot_handle* handle, zq_fence_names_t* names, int* len);
/* 1 when no fence has that name. */
ZQ_API int zq_get_given_electronic_fence_config(zq_robot_handle* handle, const char* name, zq_fence_config_t* config);
ZQ_API int zq_get_electronic_fence_list_infos(zq_robot_handle* handle, zq_fence_config_list_t* list, int* len);
ZQ_API int zq_set_electronic_fence_enable(zq_robot_handle* handle, zq_electronic_fence_enable_t state);
ZQ_API int zq_get_electronic_fence_enable(zq_robot_handle* handle, zq_electronic_fence_enable_t* state);
/* The fence in force: forms 1 and 2 (3 gives -4; other forms send the form alone). */
ZQ_API int zq_set_electronic_fence_config(zq_robot_handle* handle, zq_fence_config_t config);
/* A sphere comes back with only its form. */
ZQ_API int zq_get_electronic_fence_config(zq_robot_handle* handle, zq_fence_config_t* config);
/* The virtual wall: forms 1 and 3. */
ZQ_API int zq_set_virtual_wall_enable(zq_robot_handle* handle, zq_electronic_fence_enable_t state);
ZQ_API int zq_get_virtual_wall_enable(zq_robot_handle* handle, zq_electronic_fence_enable_t* state);
ZQ_API int zq_set_virtual_wall_config(zq_robot_handle* handle, zq_fence_config_t config);
ZQ_API int zq_get_virtual_wall_config(zq_robot_handle* handle, zq_fence_config_t* config);
/* Switches. */
ZQ_API int zq_set_self_collision_enable(zq_robot_handle* handle, bool enable);
ZQ_API int zq_get_self_collision_enable(zq_robot_handle* handle, bool* enable);
ZQ_API int zq_set_collision_remove_enable(zq_robot_handle* handle, bool enable);
ZQ_API int zq_get_collision_remove_enable(zq_robot_handle* handle, bool* enable);
ZQ_API int zq_set_collision_detection(zq_robot_handle* handle, int mode);
ZQ_API int zq_get_collision_detection(zq_robot_handle* handle, int* mode);
ZQ_API int zq_set_avoid_singularity_mode(zq_robot_handle* handle, int mode);
ZQ_API int zq_get_avoid_singularity_mode(zq_robot_handle* handle, int* mode);
/* The spheres around a tool frame; size 0 to 5 (0 clears them). */
ZQ_API int zq_set_tool_envelope(zq_robot_handle* handle, zq_envelope_balls_list_t envelope);
/* 1 when the tool frame does not exist. */
ZQ_API int zq_get_tool_envelope(zq_robot_handle* handle, const char* tool_name, zq_envelope_balls_list_t* envelope);

#ifdef __cplusplus
}
#endif

#endif /* ZQ_SAFETY_H */
