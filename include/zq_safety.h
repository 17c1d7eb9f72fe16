/**
 * @file zq_safety.h
 * @brief Safety zones: electronic fences, virtual walls, tool envelopes, collision and
 *        singularity settings.
 */
#ifndef ZQ_SAFETY_H
#define ZQ_SAFETY_H

#include <stdbool.h>

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup safety Safety zones
 * @brief Electronic fences that keep the arm inside or outside a zone, the virtual wall that
 *        keeps the tool inside one, the spheres around a tool, and the controller's collision
 *        and singularity settings.
 *
 * Coordinates and radii are metres; they travel as integer millimetres (× 1000, truncated).
 * Common codes: 0 done; 1 the controller answered false; -1 no connection or send failure;
 * -2 no reply in time; -3 bad reply; -4 refused here (unknown form, null pointer, a coordinate
 * that is not finite or beyond the wire's range), nothing sent. Every call waits up to the
 * query time-out. Both controller generations.
 * @{
 */

/** A fence or wall: form 1 cube (the limits), 2 plane (three points), 3 sphere (centre, radius); metres. */
typedef struct {
    int form;          /**< 1 cube, 2 plane, 3 sphere */
    char name[12];     /**< the fence's name */
    float x_min_limit; /**< cube: smallest x */
    float x_max_limit; /**< cube: largest x */
    float y_min_limit; /**< cube: smallest y */
    float y_max_limit; /**< cube: largest y */
    float z_min_limit; /**< cube: smallest z */
    float z_max_limit; /**< cube: largest z */
    float x1;          /**< plane: first point, x */
    float y1;          /**< plane: first point, y */
    float z1;          /**< plane: first point, z */
    float x2;          /**< plane: second point, x */
    float y2;          /**< plane: second point, y */
    float z2;          /**< plane: second point, z */
    float x3;          /**< plane: third point, x */
    float y3;          /**< plane: third point, y */
    float z3;          /**< plane: third point, z */
    float x;           /**< sphere: centre, x */
    float y;           /**< sphere: centre, y */
    float z;           /**< sphere: centre, z */
    float radius;      /**< sphere: radius */
} zq_fence_config_t;

/** The name of a stored fence. */
typedef struct {
    char name[12];  /**< a 12-character name fills it without a terminator */
} zq_fence_names_t;

/** Lists fill at most this many entries: the caller's arrays must hold as many. */
#define ZQ_FENCE_LIST_MAX 10

/** The stored fences. */
typedef struct {
    zq_fence_config_t config[ZQ_FENCE_LIST_MAX]; /**< one per fence */
} zq_fence_config_list_t;

/** The switch of the electronic fence or the virtual wall. */
typedef struct {
    bool enable_state;    /**< true on */
    int in_out_side;      /**< which side to keep to, the controller's number */
    int effective_region; /**< what it applies to, the controller's number */
} zq_electronic_fence_enable_t;

/** Spheres a tool envelope holds. */
#define ZQ_ENVELOPE_BALLS_MAX 5

/** One sphere of a tool envelope, in the tool frame. */
typedef struct {
    char name[12]; /**< its name */
    float radius;  /**< radius, m */
    float x;       /**< centre x, m */
    float y;       /**< centre y, m */
    float z;       /**< centre z, m */
} zq_envelope_ball_t;

/** The spheres around a tool. */
typedef struct {
    zq_envelope_ball_t balls[ZQ_ENVELOPE_BALLS_MAX]; /**< the spheres */
    int size;           /**< balls that count, 0 to ZQ_ENVELOPE_BALLS_MAX */
    char tool_name[12]; /**< the tool frame they belong to */
} zq_envelope_balls_list_t;

/**
 * @brief Stores a named electronic fence on the controller.
 * @param handle the arm.
 * @param config its name, form (1 cube, 2 plane, 3 sphere) and the form's coordinates, metres.
 *        The cube's minimum z travels as its minimum x: read back, the stored cube shows that.
 * @return 0 or a common code; -4 for a form outside 1 to 3, nothing sent.
 */
ZQ_API int zq_add_electronic_fence_config(zq_robot_handle* handle, zq_fence_config_t config);
/**
 * @brief Changes a stored electronic fence, found by its name.
 * @param handle the arm.
 * @param config as for zq_add_electronic_fence_config().
 * @return as zq_add_electronic_fence_config().
 */
ZQ_API int zq_update_electronic_fence_config(zq_robot_handle* handle, zq_fence_config_t config);
/**
 * @brief Deletes a stored electronic fence.
 * @param handle the arm.
 * @param name its name.
 * @return 0 or a common code.
 */
ZQ_API int zq_delete_electronic_fence_config(zq_robot_handle* handle, const char* name);
/**
 * @brief Reads the names of all stored electronic fences.
 * @param handle the arm.
 * @param[out] names room for ZQ_FENCE_LIST_MAX names.
 * @param[out] len the number filled.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_electronic_fence_list_names(zq_robot_handle* handle, zq_fence_names_t* names, int* len);
/**
 * @brief Reads a stored electronic fence by name.
 * @param handle the arm.
 * @param name its name.
 * @param[out] config receives it.
 * @return 0; 1 no fence has that name.
 */
ZQ_API int zq_get_given_electronic_fence_config(zq_robot_handle* handle, const char* name, zq_fence_config_t* config);
/**
 * @brief Reads all stored electronic fences.
 * @param handle the arm.
 * @param[out] list room for ZQ_FENCE_LIST_MAX fences.
 * @param[out] len the number filled.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_electronic_fence_list_infos(zq_robot_handle* handle, zq_fence_config_list_t* list, int* len);
/**
 * @brief Switches the electronic fence in force on or off.
 * @param handle the arm.
 * @param state on or off, which side the arm must keep to, and what it applies to.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_electronic_fence_enable(zq_robot_handle* handle, zq_electronic_fence_enable_t state);
/**
 * @brief Reads the switch of the electronic fence.
 * @param handle the arm.
 * @param[out] state receives it.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_electronic_fence_enable(zq_robot_handle* handle, zq_electronic_fence_enable_t* state);
/**
 * @brief Sets the electronic fence in force.
 * @param handle the arm.
 * @param config a cube (form 1) or a plane (form 2), metres; other forms send the form alone.
 * @return 0 or a common code; -4 for a sphere (form 3), nothing sent.
 */
ZQ_API int zq_set_electronic_fence_config(zq_robot_handle* handle, zq_fence_config_t config);
/**
 * @brief Reads the electronic fence in force.
 * @param handle the arm.
 * @param[out] config receives it; a sphere comes back with only its form.
 * @return 0; 1 none is set.
 */
ZQ_API int zq_get_electronic_fence_config(zq_robot_handle* handle, zq_fence_config_t* config);
/**
 * @brief Switches the virtual wall on or off.
 * @param handle the arm.
 * @param state on or off, which side the tool must keep to, and what it applies to.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_virtual_wall_enable(zq_robot_handle* handle, zq_electronic_fence_enable_t state);
/**
 * @brief Reads the switch of the virtual wall.
 * @param handle the arm.
 * @param[out] state receives it.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_virtual_wall_enable(zq_robot_handle* handle, zq_electronic_fence_enable_t* state);
/**
 * @brief Sets the virtual wall that the tool stays within.
 * @param handle the arm.
 * @param config a cube (form 1) or a sphere (form 3), metres; other forms send the form alone.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_virtual_wall_config(zq_robot_handle* handle, zq_fence_config_t config);
/**
 * @brief Reads the virtual wall.
 * @param handle the arm.
 * @param[out] config receives it (a cube or a sphere).
 * @return 0; 1 none is set.
 */
ZQ_API int zq_get_virtual_wall_config(zq_robot_handle* handle, zq_fence_config_t* config);
/**
 * @brief Switches the controller's self-collision check on or off.
 * @param handle the arm.
 * @param enable true on.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_self_collision_enable(zq_robot_handle* handle, bool enable);
/**
 * @brief Reads whether the controller's self-collision check is on.
 * @param handle the arm.
 * @param[out] enable receives true when on.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_self_collision_enable(zq_robot_handle* handle, bool* enable);
/**
 * @brief Switches the controller's collision release setting on or off.
 * @param handle the arm.
 * @param enable true on.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_collision_remove_enable(zq_robot_handle* handle, bool enable);
/**
 * @brief Reads whether the controller's collision release setting is on.
 * @param handle the arm.
 * @param[out] enable receives true when on.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_collision_remove_enable(zq_robot_handle* handle, bool* enable);
/**
 * @brief Sets the controller's collision detection mode.
 * @param handle the arm.
 * @param mode the controller's mode number, passed on unchanged.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_collision_detection(zq_robot_handle* handle, int mode);
/**
 * @brief Reads the controller's collision detection mode.
 * @param handle the arm.
 * @param[out] mode receives the mode number.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_collision_detection(zq_robot_handle* handle, int* mode);
/**
 * @brief Sets how the controller avoids singular configurations.
 * @param handle the arm.
 * @param mode the controller's mode number, passed on unchanged.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_avoid_singularity_mode(zq_robot_handle* handle, int mode);
/**
 * @brief Reads how the controller avoids singular configurations.
 * @param handle the arm.
 * @param[out] mode receives the mode number.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_avoid_singularity_mode(zq_robot_handle* handle, int* mode);
/**
 * @brief Sets the spheres that envelop a tool, for the controller's collision checks.
 * @param handle the arm.
 * @param envelope the tool frame's name and 0 to 5 spheres (centre and radius, metres, in the
 *        tool frame); size 0 clears them.
 * @return 0; 1 refused (does the tool frame exist?).
 */
ZQ_API int zq_set_tool_envelope(zq_robot_handle* handle, zq_envelope_balls_list_t envelope);
/**
 * @brief Reads the spheres that envelop a tool.
 * @param handle the arm.
 * @param tool_name the tool frame's name.
 * @param[out] envelope receives them.
 * @return 0; 1 the tool frame does not exist.
 */
ZQ_API int zq_get_tool_envelope(zq_robot_handle* handle, const char* tool_name, zq_envelope_balls_list_t* envelope);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZQ_SAFETY_H */
