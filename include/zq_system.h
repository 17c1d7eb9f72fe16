/**
 * @file zq_system.h
 * @brief Network, power and system: the controller's addresses, the arm's power, runtime counters.
 */
#ifndef ZQ_SYSTEM_H
#define ZQ_SYSTEM_H

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup system Network, power and system
 * @brief The controller's network addresses, the arm's power, and the system's counters.
 *
 * Common codes: 0 done; 1 the controller answered false; -1 no connection or send failure;
 * -2 no reply in time; -3 bad reply; -4 refused here (null pointer, address not dotted IPv4),
 * nothing sent. Queries wait up to the query time-out unless noted. Both controller
 * generations.
 * @{
 */

/** The wireless interface as the controller reports it. Texts are cut to their fields and terminated. */
typedef struct {
    int channel;       /**< the radio channel, access point mode only */
    char ip[16];       /**< dotted IPv4 address */
    char mac[18];      /**< MAC address */
    char mask[16];     /**< dotted IPv4 mask */
    char mode[5];      /**< "ap", "sta" or "off" */
    char password[16]; /**< the network's password */
    char ssid[32];     /**< the network's name */
} zq_wifi_net_t;

/**
 * @brief Sets the controller's wired address, mask and gateway.
 * @param handle the arm.
 * @param ip dotted IPv4 address.
 * @param netmask dotted IPv4 mask.
 * @param gw dotted IPv4 gateway.
 * @return 0 or a common code; waits up to 2000 ms. The connection may drop after a change; the
 *         library does not reconnect.
 */
ZQ_API int zq_set_NetIP(zq_robot_handle* handle, const char* ip, const char* netmask, const char* gw);
/**
 * @brief Makes the controller's wireless interface an access point.
 * @param handle the arm.
 * @param wifi_name the network's name.
 * @param password its password.
 * @return 0 when sent; -1 send failed. No reply is read: the call returns after a fixed 800 ms
 *         pause.
 */
ZQ_API int zq_set_wifi_ap(zq_robot_handle* handle, const char* wifi_name, const char* password);
/**
 * @brief Joins the controller's wireless interface to a router's network (station mode).
 * @param handle the arm.
 * @param router_name the network's name.
 * @param password its password.
 * @return as zq_set_wifi_ap(): no reply read, returns after 800 ms.
 */
ZQ_API int zq_set_wifi_sta(zq_robot_handle* handle, const char* router_name, const char* password);
/**
 * @brief Restores the controller's factory network settings.
 * @param handle the arm.
 * @return 0 or a common code; waits up to 4000 ms.
 */
ZQ_API int zq_set_net_default(zq_robot_handle* handle);
/**
 * @brief Switches the controller's wireless interface off.
 * @param handle the arm.
 * @return 0 or a common code; waits up to 2000 ms.
 */
ZQ_API int zq_set_wifi_close(zq_robot_handle* handle);
/**
 * @brief Reads the controller's wired address, mask and MAC address.
 * @param handle the arm.
 * @param[out] ip at least 16 bytes; the dotted address, cut to fit and terminated.
 * @param[out] mask at least 16 bytes, the dotted mask.
 * @param[out] mac at least 18 bytes, the MAC address.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_wired_net(zq_robot_handle* handle, char* ip, char* mask, char* mac);
/**
 * @brief Reads the controller's wireless settings.
 * @param handle the arm.
 * @param[out] wifi_net receives them; in mode "off" `ssid` and `password` stay as they were.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_wifi_net(zq_robot_handle* handle, zq_wifi_net_t* wifi_net);
/**
 * @brief Switches the controller's web server on or off.
 * @param handle the arm.
 * @param enabled 1 on, 0 off.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_webserver_enabled(zq_robot_handle* handle, int enabled);
/**
 * @brief Reads whether the controller's web server runs.
 * @param handle the arm.
 * @param[out] enabled receives 1 on, 0 off.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_webserver_enabled(zq_robot_handle* handle, int* enabled);
/**
 * @brief Switches the arm's power on or off.
 * @param handle the arm.
 * @param power 1 on, 0 off.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_arm_power(zq_robot_handle* handle, int power);
/**
 * @brief Reads whether the arm is powered.
 * @param handle the arm.
 * @param[out] power receives 1 on, 0 off.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_arm_power_state(zq_robot_handle* handle, int* power);
/**
 * @brief Reads how long the controller has been running.
 * @param handle the arm.
 * @param[out] day whole days.
 * @param[out] hour hours, 0 to 23.
 * @param[out] min minutes, 0 to 59.
 * @param[out] sec seconds, 0 to 59.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_system_runtime(zq_robot_handle* handle, int* day, int* hour, int* min, int* sec);
/**
 * @brief Resets the controller's runtime counter.
 * @param handle the arm.
 * @return 0 or a common code.
 */
ZQ_API int zq_clear_system_runtime(zq_robot_handle* handle);
/**
 * @brief Reads the distance each joint has travelled, as the controller counts it.
 * @param handle the arm.
 * @param[out] odom one value per joint (the arm's joint count), unscaled.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_joint_odom(zq_robot_handle* handle, float* odom);
/**
 * @brief Resets the joints' travel counters.
 * @param handle the arm.
 * @return 0 or a common code.
 */
ZQ_API int zq_clear_joint_odom(zq_robot_handle* handle);
/**
 * @brief Clears the controller's system errors.
 * @param handle the arm.
 * @return 0 or a common code.
 */
ZQ_API int zq_clear_system_err(zq_robot_handle* handle);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZQ_SYSTEM_H */
