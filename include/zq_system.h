/* Network, power and system: the controller's addresses, the arm's power, runtime counters. */
#ifndef ZQ_SYSTEM_H
#define ZQ_SYSTEM_H

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The wireless interface as the controller reports it. Texts are cut to their fields and terminated. */
typedef struct {
    int channel;       /* access point mode only */
    char ip[16];
    char mac[18];
    char mask[16];
    char mode[5];      /* "ap", "sta" or "off" */
    char password[16];
    char ssid[32];
} zq_wifi_net_t;

/* Common codes: 0 done; 1 the controller answered false; -1 no connection or send failure;
 * -2 no reply in time; -3 bad reply; -4 refused here (null pointer, address not dotted IPv4),
 * nothing sent. */

/* Wired address, mask and gateway, dotted IPv4 texts; waits up to 2000 ms. */
ZQ_API int zq_set_NetIP(zq_robot_handle* handle, const char* ip, const char* netmask, const char* gw);
/* Access point or station mode: no reply is read; returns after a fixed 800 ms pause (0 when sent). */
ZQ_API int zq_set_wifi_ap(zq_robot_handle* handle, const char* wifi_name, const char* password);
ZQ_API int zq_set_wifi_sta(zq_robot_handle* handle, const char* router_name, const char* password);
/* Factory network settings; waits up to 4000 ms. */
ZQ_API int zq_set_net_default(zq_robot_handle* handle);
/* Switches the wireless interface off; waits up to 2000 ms. */
ZQ_API int zq_set_wifi_close(zq_robot_handle* handle);
/* Wired address, mask and MAC: ip and mask need 16 bytes, mac 18; texts are cut to them. */
ZQ_API int zq_get_wired_net(zq_robot_handle* handle, char* ip, char* mask, char* mac);
/* Wireless settings; in mode "off" ssid and password stay as they were. */
ZQ_API int zq_get_wifi_net(zq_robot_handle* handle, zq_wifi_net_t* wifi_net);
ZQ_API int zq_set_webserver_enabled(zq_robot_handle* handle, int enabled);
ZQ_API int zq_get_webserver_enabled(zq_robot_handle* handle, int* enabled);
/* Arm power: 1 on, 0 off. */
ZQ_API int zq_set_arm_power(zq_robot_handle* handle, int power);
ZQ_API int zq_get_arm_power_state(zq_robot_handle* handle, int* power);
/* Time the controller has been running: days, hours, minutes, seconds. */
ZQ_API int zq_get_system_runtime(zq_robot_handle* handle, int* day, int* hour, int* min, int* sec);
ZQ_API int zq_clear_system_runtime(zq_robot_handle* handle);
/* Distance every joint has travelled, one value per joint, as the controller counts it (no factor). */
ZQ_API int zq_get_joint_odom(zq_robot_handle* handle, float* odom);
ZQ_API int zq_clear_joint_odom(zq_robot_handle* handle);
ZQ_API int zq_clear_system_err(zq_robot_handle* handle);

#ifdef __cplusplus
}
#endif

#endif /* ZQ_SYSTEM_H */
