/* Realtime state push over UDP: configuration, report record and callback. */
#ifndef ZQ_REALTIME_H
#define ZQ_REALTIME_H

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Realtime report configuration. Section fields: 1 report, 0 don't, below 0 leave unsaid. */
typedef struct {
    int32_t cycle;
    uint8_t enable;
    int32_t port;
    int32_t force_coordinate; /* -1 when left out or not available */
    char ip[28];
    int32_t joint_speed;
    int32_t lift_state;
    int32_t expand_state;
    int32_t hand_state; /* wire key "hand" */
    int32_t arm_current_status;
    int32_t aloha_state;
    int32_t plus_base;  /* wire key "zq_plus_base" */
    int32_t plus_state; /* wire key "zq_plus_state" */
} zq_realtime_push_config_t;

ZQ_API int zq_get_realtime_push(zq_robot_handle* handle, zq_realtime_push_config_t* config);

#ifdef __cplusplus
}
#endif

#endif /* ZQ_REALTIME_H */
