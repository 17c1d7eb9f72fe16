/**
 * @file zq_io.h
 * @brief Controller IO, RS485 and the three generations of Modbus commands.
 */
#ifndef ZQ_IO_H
#define ZQ_IO_H

#include <stdbool.h>

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup io IO, RS485 and Modbus
 * @brief The controller's digital IO and supply voltage, its serial ports, and Modbus traffic
 *        to outside devices in three generations of commands: by port (controller generation
 *        3), Modbus RTU by device (generation 4) and Modbus TCP by master (generation 4).
 *
 * Common codes: 0 done; 1 the controller answered false (reads: no data); -1 no connection or
 * send failure; -2 no reply in time; -3 bad reply; -4 refused here (wrong controller
 * generation, null pointer, count out of range, address not dotted IPv4), nothing sent.
 * Waits are the query time-out unless noted.
 * @{
 */

/* ---- controller IO ---- */
/** The mode of a controller IO port. */
typedef struct {
    int io_mode;        /**< 0 to 14 (the controller's numbering); 14 adds the realtime speed settings below */
    int io_speed;       /**< realtime speed, mode 14 only */
    int io_speed_mode;  /**< realtime speed mode, mode 14 only */
} zq_io_config_t;

/** Level and mode of a controller IO port. */
typedef struct {
    int io_state;       /**< 1 high, 0 low */
    int io_mode;        /**< 0 to 14 */
    int io_speed;       /**< realtime speed; -1 below mode 14 */
    int io_speed_mode;  /**< realtime speed mode; -1 below mode 14 */
} zq_io_get_t;

/**
 * @brief Sets the mode of one controller IO port.
 * @param handle the arm.
 * @param io_num the port, 0 to 4.
 * @param config mode 0 to 14 (the controller's numbering); mode 14 also sends the realtime speed
 *        and speed mode.
 * @return 0 or a common code; 1 with nothing sent for a port or mode out of range; -4 with
 *         nothing sent for a null config.
 */
ZQ_API int zq_set_IO_mode(zq_robot_handle* handle, int io_num, const zq_io_config_t* config);
/**
 * @brief Sets a digital output of the controller.
 * @param handle the arm.
 * @param io_num the output's number.
 * @param state 1 high, 0 low.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_DO_state(zq_robot_handle* handle, int io_num, int state);
/**
 * @brief Reads the level and mode of one controller IO port.
 * @param handle the arm.
 * @param io_num the port, 0 to 4.
 * @param[out] io receives level and mode; below mode 14 the speed fields read -1.
 * @return 0 or a common code; 1 with nothing sent for a port out of range.
 */
ZQ_API int zq_get_IO_state(zq_robot_handle* handle, int io_num, zq_io_get_t* io);
/**
 * @brief Reads the controller's four digital inputs.
 * @param handle the arm.
 * @param[out] input four entries, 1 high, 0 low.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_IO_input(zq_robot_handle* handle, int* input);
/**
 * @brief Reads the controller's four digital outputs.
 * @param handle the arm.
 * @param[out] output four entries, 1 high, 0 low.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_IO_output(zq_robot_handle* handle, int* output);
/**
 * @brief Sets the controller's IO supply voltage.
 * @param handle the arm.
 * @param voltage_type the controller's voltage code, passed on unchanged.
 * @param start_enable true: the controller applies it at every start.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_voltage(zq_robot_handle* handle, int voltage_type, bool start_enable);
/**
 * @brief Reads the controller's IO supply voltage.
 * @param handle the arm.
 * @param[out] voltage_type receives the controller's voltage code.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_voltage(zq_robot_handle* handle, int* voltage_type);

/* ---- serial and Modbus mode ---- */
/**
 * @brief Sets the baud rate of the controller's RS485 port (generation 3).
 * @param handle the arm.
 * @param baudrate bits per second.
 * @return 0 when sent; -2 on generation 4. No reply is read: returns after an 800 ms pause.
 */
ZQ_API int zq_set_RS485(zq_robot_handle* handle, int baudrate);
/**
 * @brief Reads the mode of the controller's RS485 port (generation 3).
 * @param handle the arm.
 * @param[out] mode the port's mode, the controller's number.
 * @param[out] baudrate bits per second.
 * @param[out] modbus_timeout the Modbus RTU time-out as the controller reports it; 0 when the
 *        port is not in Modbus RTU mode.
 * @return 0 or a common code; -4 on generation 4.
 */
ZQ_API int zq_get_controller_RS485_mode(zq_robot_handle* handle, int* mode, int* baudrate, int* modbus_timeout);
/**
 * @brief Reads the mode of the tool connector's RS485 port (generation 3).
 * @param handle the arm.
 * @param[out] mode the port's mode, the controller's number.
 * @param[out] baudrate bits per second.
 * @param[out] modbus_timeout the Modbus RTU time-out as reported; 0 when not in Modbus RTU mode.
 * @return 0 or a common code; -4 on generation 4.
 */
ZQ_API int zq_get_tool_RS485_mode(zq_robot_handle* handle, int* mode, int* baudrate, int* modbus_timeout);
/**
 * @brief Puts a serial port into Modbus RTU master mode (generation 3).
 * @param handle the arm.
 * @param port the port, the controller's number (controller or tool connector).
 * @param baudrate bits per second.
 * @param timeout the bus time-out, 100 ms units (0 or less counts as 1). It also sets the
 *        process-wide wait of the peripheral reads and writes to `timeout` × 100 ms plus the
 *        query time-out.
 * @return 0 or a common code; -4 on generation 4.
 */
ZQ_API int zq_set_modbus_mode(zq_robot_handle* handle, int port, int baudrate, int timeout);
/**
 * @brief Ends Modbus RTU mode on a serial port (generation 3).
 * @param handle the arm.
 * @param port the port, as for zq_set_modbus_mode().
 * @return 0 or a common code; -4 on generation 4.
 */
ZQ_API int zq_close_modbus_mode(zq_robot_handle* handle, int port);
/**
 * @brief Connects the controller as Modbus TCP master to a device (generation 3).
 * @param handle the arm.
 * @param ip the device's dotted IPv4 address.
 * @param port its TCP port.
 * @param timeout the bus time-out, ms (0 or less counts as 1); the peripheral reads and
 *        writes then wait `timeout` plus the query time-out (process-wide).
 * @return 0 or a common code; -4 on generation 4 or for a bad address.
 */
ZQ_API int zq_set_modbustcp_mode(zq_robot_handle* handle, const char* ip, int port, int timeout);
/**
 * @brief Ends the Modbus TCP master connection (generation 3).
 * @param handle the arm.
 * @return 0 or a common code; -4 on generation 4.
 */
ZQ_API int zq_close_modbustcp_mode(zq_robot_handle* handle);
/**
 * @brief Sets the mode and baud rate of the controller's RS485 port (generation 4).
 * @param handle the arm.
 * @param mode the port's mode, the controller's number.
 * @param baudrate bits per second.
 * @return 0 or a common code; -4 on generation 3.
 */
ZQ_API int zq_set_controller_rs485_mode(zq_robot_handle* handle, int mode, int baudrate);
/**
 * @brief Reads the mode and baud rate of the controller's RS485 port (generation 4).
 * @param handle the arm.
 * @param[out] mode the port's mode.
 * @param[out] baudrate bits per second.
 * @return 0 or a common code; -4 on generation 3.
 */
ZQ_API int zq_get_controller_rs485_mode_v4(zq_robot_handle* handle, int* mode, int* baudrate);
/**
 * @brief Sets the mode and baud rate of the tool connector's RS485 port (generation 4).
 * @param handle the arm.
 * @param mode the port's mode, the controller's number.
 * @param baudrate bits per second.
 * @return 0 or a common code; -4 on generation 3.
 */
ZQ_API int zq_set_tool_rs485_mode(zq_robot_handle* handle, int mode, int baudrate);
/**
 * @brief Reads the mode and baud rate of the tool connector's RS485 port (generation 4).
 * @param handle the arm.
 * @param[out] mode the port's mode.
 * @param[out] baudrate bits per second.
 * @return 0 or a common code; -4 on generation 3.
 */
ZQ_API int zq_get_tool_rs485_mode_v4(zq_robot_handle* handle, int* mode, int* baudrate);

/* ---- first generation: peripheral commands by port, generation 3, bus time-out ---- */
/**
 * Target of a peripheral read or write by port. Data arrays are of bytes: a register takes
 * two elements, eight coils one. At most 100 elements travel in one command; more is refused
 * with -4.
 */
typedef struct {
    int port;    /**< the port, the controller's number (controller or tool connector) */
    int address; /**< first coil or register address */
    int device;  /**< the device's Modbus address */
    int num;     /**< count of coils or registers */
} zq_peripheral_read_write_params_t;

/**
 * @brief Reads coils of a Modbus device on a port (generation 3).
 * @param handle the arm.
 * @param params port, first address, device and count of coils.
 * @param[out] data receives one value, the coils packed eight to a byte.
 * @return 0; 1 no data; -4 on generation 4. Waits up to the bus time-out.
 */
ZQ_API int zq_read_coils(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int* data);
/**
 * @brief Reads discrete inputs of a Modbus device on a port (generation 3).
 * @param handle the arm.
 * @param params port, first address, device and count of inputs.
 * @param[out] data receives one value, the inputs packed eight to a byte.
 * @return as zq_read_coils().
 */
ZQ_API int zq_read_input_status(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int* data);
/**
 * @brief Reads one holding register of a Modbus device on a port (generation 3).
 * @param handle the arm.
 * @param params port, address and device (`num` is not used).
 * @param[out] data receives the register's value.
 * @return as zq_read_coils().
 */
ZQ_API int zq_read_holding_registers(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int* data);
/**
 * @brief Reads one input register of a Modbus device on a port (generation 3).
 * @param handle the arm.
 * @param params port, address and device (`num` is not used).
 * @param[out] data receives the register's value.
 * @return as zq_read_coils().
 */
ZQ_API int zq_read_input_registers(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int* data);
/**
 * @brief Writes one coil of a Modbus device on a port (generation 3).
 * @param handle the arm.
 * @param params port, address and device.
 * @param data 1 on, 0 off.
 * @return 0; 1 refused; -4 on generation 4. Waits up to the bus time-out.
 */
ZQ_API int zq_write_single_coil(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int data);
/**
 * @brief Writes one holding register of a Modbus device on a port (generation 3).
 * @param handle the arm.
 * @param params port, address and device.
 * @param data the register's value.
 * @return as zq_write_single_coil().
 */
ZQ_API int zq_write_single_register(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int data);
/**
 * @brief Writes `num` holding registers of a Modbus device on a port (generation 3).
 * @param handle the arm.
 * @param params port, first address, device and count of registers.
 * @param data `num` × 2 bytes; at most 100 elements.
 * @return as zq_write_single_coil(); -4 also for too many elements.
 */
ZQ_API int zq_write_registers(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, const int* data);
/**
 * @brief Writes `num` coils of a Modbus device on a port (generation 3).
 * @param handle the arm.
 * @param params port, first address, device and count of coils.
 * @param data the coils packed eight to a byte: `num` ÷ 8 bytes, truncated (10 coils send one
 *        byte); at most 100 elements.
 * @return as zq_write_single_coil(); -4 also for too many elements.
 */
ZQ_API int zq_write_coils(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, const int* data);
/**
 * @brief Reads `num` coils of a Modbus device on a port (generation 3).
 * @param handle the arm.
 * @param params port, first address, device and count of coils.
 * @param[out] data room for `num` ÷ 8 bytes rounded up, the coils packed eight to a byte.
 * @return as zq_read_coils(); -4 also for more than 100 elements.
 */
ZQ_API int zq_read_multiple_coils(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int* data);
/**
 * @brief Reads `num` holding registers of a Modbus device on a port (generation 3).
 * @param handle the arm.
 * @param params port, first address, device and count of registers.
 * @param[out] data room for `num` × 2 bytes.
 * @return as zq_read_coils(); -4 also for more than 100 elements.
 */
ZQ_API int zq_read_multiple_holding_registers(zq_robot_handle* handle, zq_peripheral_read_write_params_t params,
                                              int* data);
/**
 * @brief Reads `num` input registers of a Modbus device on a port (generation 3).
 * @param handle the arm.
 * @param params port, first address, device and count of registers.
 * @param[out] data room for `num` × 2 bytes.
 * @return as zq_read_coils(); -4 also for more than 100 elements.
 */
ZQ_API int zq_read_multiple_input_registers(zq_robot_handle* handle, zq_peripheral_read_write_params_t params,
                                            int* data);

/* ---- second generation: Modbus RTU by device and type, generation 4, query time-out ---- */
/** Room for the values of one Modbus write. */
#define ZQ_MODBUS_DATA_MAX 120

/** Target of a Modbus RTU read. */
typedef struct {
    int address; /**< first coil or register address */
    int device;  /**< the device's Modbus address */
    int type;    /**< the port type, the controller's number */
    int num;     /**< count, 1 to 100 */
} zq_modbus_rtu_read_params_t;

/** Target and values of a Modbus RTU write. */
typedef struct {
    int address; /**< first coil or register address */
    int device;  /**< the device's Modbus address */
    int type;    /**< the port type, the controller's number */
    int num;     /**< count, 0 to ZQ_MODBUS_DATA_MAX */
    int data[ZQ_MODBUS_DATA_MAX]; /**< one value per coil or register */
} zq_modbus_rtu_write_params_t;

/**
 * @brief Reads coils of a Modbus RTU device (generation 4).
 * @param handle the arm.
 * @param params first address, device, port type and count, 1 to 100.
 * @param[out] data room for `num` values, one per coil.
 * @return 0; 1 no data; -4 on generation 3 or a count out of range. Waits up to the query
 *         time-out.
 */
ZQ_API int zq_read_modbus_rtu_coils(zq_robot_handle* handle, zq_modbus_rtu_read_params_t params, int* data);
/**
 * @brief Reads discrete inputs of a Modbus RTU device (generation 4).
 * @param handle the arm.
 * @param params first address, device, port type and count, 1 to 100.
 * @param[out] data room for `num` values, one per input.
 * @return as zq_read_modbus_rtu_coils().
 */
ZQ_API int zq_read_modbus_rtu_input_status(zq_robot_handle* handle, zq_modbus_rtu_read_params_t params, int* data);
/**
 * @brief Reads holding registers of a Modbus RTU device (generation 4).
 * @param handle the arm.
 * @param params first address, device, port type and count, 1 to 100.
 * @param[out] data room for `num` values, one per register.
 * @return as zq_read_modbus_rtu_coils().
 */
ZQ_API int zq_read_modbus_rtu_holding_registers(zq_robot_handle* handle, zq_modbus_rtu_read_params_t params,
                                                int* data);
/**
 * @brief Reads input registers of a Modbus RTU device (generation 4).
 * @param handle the arm.
 * @param params first address, device, port type and count, 1 to 100.
 * @param[out] data room for `num` values, one per register.
 * @return as zq_read_modbus_rtu_coils().
 */
ZQ_API int zq_read_modbus_rtu_input_registers(zq_robot_handle* handle, zq_modbus_rtu_read_params_t params,
                                              int* data);
/**
 * @brief Writes coils of a Modbus RTU device (generation 4).
 * @param handle the arm.
 * @param params first address, device, port type, count (0 to ZQ_MODBUS_DATA_MAX) and one value
 *        per coil.
 * @return 0; 1 refused; -4 on generation 3 or a count out of range.
 */
ZQ_API int zq_write_modbus_rtu_coils(zq_robot_handle* handle, zq_modbus_rtu_write_params_t params);
/**
 * @brief Writes holding registers of a Modbus RTU device (generation 4).
 * @param handle the arm.
 * @param params first address, device, port type, count (0 to ZQ_MODBUS_DATA_MAX) and one value
 *        per register.
 * @return as zq_write_modbus_rtu_coils().
 */
ZQ_API int zq_write_modbus_rtu_registers(zq_robot_handle* handle, zq_modbus_rtu_write_params_t params);

/* ---- third generation: Modbus TCP by master name or address, generation 4 ---- */
/** Target of a Modbus TCP read. */
typedef struct {
    int address;          /**< first coil or register address */
    char master_name[20]; /**< the stored master to go through, when `ip` is not an address */
    char ip[16];          /**< 7 to 15 characters address by ip and port, anything else by master_name */
    int port;             /**< the device's TCP port, with `ip` */
    int num;              /**< count, 1 to 100 */
} zq_modbus_tcp_read_params_t;

/** Target and values of a Modbus TCP write. */
typedef struct {
    int address;          /**< first coil or register address */
    char master_name[20]; /**< the stored master to go through, when `ip` is not an address */
    char ip[16];          /**< as in zq_modbus_tcp_read_params_t */
    int port;             /**< the device's TCP port, with `ip` */
    int num;              /**< count, 0 to ZQ_MODBUS_DATA_MAX */
    int data[ZQ_MODBUS_DATA_MAX]; /**< one value per coil or register */
} zq_modbus_tcp_write_params_t;

/**
 * @brief Reads coils of a Modbus TCP device, by master name or by address (generation 4).
 * @param handle the arm.
 * @param params first address, count 1 to 100, and the device: by `ip` and `port` when `ip`
 *        has 7 to 15 characters, else by `master_name`.
 * @param[out] data room for `num` values.
 * @return 0; 1 no data; -4 on generation 3 or a count out of range. Waits, one query time-out
 *         after another, for the reply that names its own target, with no overall limit; -1 when
 *         the session is deleted or the library destroyed meanwhile.
 */
ZQ_API int zq_read_modbus_tcp_coils(zq_robot_handle* handle, zq_modbus_tcp_read_params_t params, int* data);
/**
 * @brief Reads discrete inputs of a Modbus TCP device (generation 4).
 * @param handle the arm.
 * @param params as for zq_read_modbus_tcp_coils().
 * @param[out] data room for `num` values.
 * @return as zq_read_modbus_tcp_coils().
 */
ZQ_API int zq_read_modbus_tcp_input_status(zq_robot_handle* handle, zq_modbus_tcp_read_params_t params, int* data);
/**
 * @brief Reads holding registers of a Modbus TCP device (generation 4).
 * @param handle the arm.
 * @param params as for zq_read_modbus_tcp_coils().
 * @param[out] data room for `num` values.
 * @return as zq_read_modbus_tcp_coils().
 */
ZQ_API int zq_read_modbus_tcp_holding_registers(zq_robot_handle* handle, zq_modbus_tcp_read_params_t params,
                                                int* data);
/**
 * @brief Reads input registers of a Modbus TCP device (generation 4).
 * @param handle the arm.
 * @param params as for zq_read_modbus_tcp_coils().
 * @param[out] data room for `num` values.
 * @return as zq_read_modbus_tcp_coils().
 */
ZQ_API int zq_read_modbus_tcp_input_registers(zq_robot_handle* handle, zq_modbus_tcp_read_params_t params,
                                              int* data);
/**
 * @brief Writes coils of a Modbus TCP device (generation 4).
 * @param handle the arm.
 * @param params first address, device (as for the reads), count 0 to ZQ_MODBUS_DATA_MAX and one
 *        value per coil.
 * @return 0; 1 refused; -4 on generation 3. Waits as zq_read_modbus_tcp_coils().
 */
ZQ_API int zq_write_modbus_tcp_coils(zq_robot_handle* handle, zq_modbus_tcp_write_params_t params);
/**
 * @brief Writes holding registers of a Modbus TCP device (generation 4).
 * @param handle the arm.
 * @param params first address, device (as for the reads), count 0 to ZQ_MODBUS_DATA_MAX and one
 *        value per register.
 * @return as zq_write_modbus_tcp_coils().
 */
ZQ_API int zq_write_modbus_tcp_registers(zq_robot_handle* handle, zq_modbus_tcp_write_params_t params);

/** A named Modbus TCP master stored on the controller. */
typedef struct {
    char master_name[20]; /**< its name, up to 19 characters */
    char ip[16];          /**< the device's dotted IPv4 address */
    int port;             /**< the device's TCP port */
} zq_modbus_tcp_master_info_t;

/** A page of masters holds at most this many entries. */
#define ZQ_MODBUS_TCP_MASTER_LIST_MAX 100

/** One page of the stored Modbus TCP masters. */
typedef struct {
    int page_num;          /**< the page, from 1 */
    int page_size;         /**< entries per page */
    int total_size;        /**< masters stored in all */
    char vague_search[32]; /**< the name fragment the list was filtered by */
    int list_len;          /**< entries filled, at most ZQ_MODBUS_TCP_MASTER_LIST_MAX */
    zq_modbus_tcp_master_info_t list[ZQ_MODBUS_TCP_MASTER_LIST_MAX]; /**< the page's masters */
} zq_modbus_tcp_master_list_t;

/**
 * @brief Stores a named Modbus TCP master on the controller (generation 4).
 * @param handle the arm.
 * @param master its name (up to 19 characters), dotted IPv4 address and port.
 * @return 0 or a common code; -4 on generation 3.
 */
ZQ_API int zq_add_modbus_tcp_master(zq_robot_handle* handle, zq_modbus_tcp_master_info_t master);
/**
 * @brief Changes a stored Modbus TCP master (generation 4).
 * @param handle the arm.
 * @param name the master's present name.
 * @param master its new name, address and port.
 * @return 0 or a common code; -4 on generation 3.
 */
ZQ_API int zq_update_modbus_tcp_master(zq_robot_handle* handle, const char* name, zq_modbus_tcp_master_info_t master);
/**
 * @brief Deletes a stored Modbus TCP master (generation 4).
 * @param handle the arm.
 * @param name the master's name.
 * @return 0 or a common code; -4 on generation 3.
 */
ZQ_API int zq_delete_modbus_tcp_master(zq_robot_handle* handle, const char* name);
/**
 * @brief Reads a stored Modbus TCP master by name (generation 4).
 * @param handle the arm.
 * @param name the master's name.
 * @param[out] master receives its name, address and port.
 * @return 0; 1 no master has that name; -4 on generation 3.
 */
ZQ_API int zq_get_modbus_tcp_master(zq_robot_handle* handle, const char* name, zq_modbus_tcp_master_info_t* master);
/**
 * @brief Reads one page of the stored Modbus TCP masters (generation 4).
 * @param handle the arm.
 * @param page_num the page, from 1.
 * @param page_size entries per page, at most ZQ_MODBUS_TCP_MASTER_LIST_MAX.
 * @param vague_search a fragment of the name to filter by; null for all.
 * @param[out] list receives the page and the total count.
 * @return 0 or a common code; -4 on generation 3. Waits up to the configuration time-out plus
 *         1000 ms.
 */
ZQ_API int zq_get_modbus_tcp_master_list(zq_robot_handle* handle, int page_num, int page_size,
                                         const char* vague_search, zq_modbus_tcp_master_list_t* list);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZQ_IO_H */
