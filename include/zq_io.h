/* Controller IO, RS485 and the three generations of Modbus commands. */
#ifndef ZQ_IO_H
#define ZQ_IO_H

#include <stdbool.h>

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Common codes: 0 done; 1 the controller answered false (reads: no data); -1 no connection or
 * send failure; -2 no reply in time; -3 bad reply; -4 refused here (wrong controller generation,
 * null pointer, count out of range, address not dotted IPv4), nothing sent. */

/* ---- controller IO ---- */
typedef struct {
    int io_mode;        /* 0 to 14; 14 adds the realtime speed settings below */
    int io_speed;
    int io_speed_mode;
} zq_io_config_t;

typedef struct {
    int io_state;
    int io_mode;
    int io_speed;       /* -1 below mode 14 */
    int io_speed_mode;  /* -1 below mode 14 */
} zq_io_get_t;

/* io_num 0 to 4, io_mode 0 to 14; anything else returns 1 with nothing sent. A null config: -4. */
ZQ_API int zq_set_IO_mode(zq_robot_handle* handle, int io_num, const zq_io_config_t* config);
ZQ_API int zq_set_DO_state(zq_robot_handle* handle, int io_num, int state);
/* io_num 0 to 4, else 1. */
ZQ_API int zq_get_IO_state(zq_robot_handle* handle, int io_num, zq_io_get_t* io);
/* Four digital inputs or outputs. */
ZQ_API int zq_get_IO_input(zq_robot_handle* handle, int* input);
ZQ_API int zq_get_IO_output(zq_robot_handle* handle, int* output);
ZQ_API int zq_set_voltage(zq_robot_handle* handle, int voltage_type, bool start_enable);
ZQ_API int zq_get_voltage(zq_robot_handle* handle, int* voltage_type);

/* ---- serial and Modbus mode ---- */
/* Generation 3: no reply is read, returns after an 800 ms pause; -2 on generation 4. */
ZQ_API int zq_set_RS485(zq_robot_handle* handle, int baudrate);
/* Generation 3. *modbus_timeout is 0 when the port is not in Modbus RTU mode. */
ZQ_API int zq_get_controller_RS485_mode(zq_robot_handle* handle, int* mode, int* baudrate, int* modbus_timeout);
ZQ_API int zq_get_tool_RS485_mode(zq_robot_handle* handle, int* mode, int* baudrate, int* modbus_timeout);
/* Generation 3. timeout in 100 ms (0 or less counts as 1); sets the process-wide bus time-out of
 * the peripheral reads and writes to timeout × 100 ms + the query time-out. */
ZQ_API int zq_set_modbus_mode(zq_robot_handle* handle, int port, int baudrate, int timeout);
ZQ_API int zq_close_modbus_mode(zq_robot_handle* handle, int port);
/* Generation 3. timeout in ms (0 or less counts as 1); bus time-out = timeout + the query time-out. */
ZQ_API int zq_set_modbustcp_mode(zq_robot_handle* handle, const char* ip, int port, int timeout);
ZQ_API int zq_close_modbustcp_mode(zq_robot_handle* handle);
/* Generation 4. */
ZQ_API int zq_set_controller_rs485_mode(zq_robot_handle* handle, int mode, int baudrate);
ZQ_API int zq_get_controller_rs485_mode_v4(zq_robot_handle* handle, int* mode, int* baudrate);
ZQ_API int zq_set_tool_rs485_mode(zq_robot_handle* handle, int mode, int baudrate);
ZQ_API int zq_get_tool_rs485_mode_v4(zq_robot_handle* handle, int* mode, int* baudrate);

/* ---- first generation: peripheral commands by port, generation 3, bus time-out ---- */
typedef struct {
    int port;
    int address;
    int device;
    int num;
} zq_peripheral_read_write_params_t;

/* Data arrays are of bytes: a register takes two elements, eight coils one. At most 100
 * elements travel in one command; more is refused with -4. */
ZQ_API int zq_read_coils(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int* data);
ZQ_API int zq_read_input_status(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int* data);
ZQ_API int zq_read_holding_registers(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int* data);
ZQ_API int zq_read_input_registers(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int* data);
ZQ_API int zq_write_single_coil(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int data);
ZQ_API int zq_write_single_register(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int data);
/* num × 2 elements. */
ZQ_API int zq_write_registers(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, const int* data);
/* num ÷ 8 elements, truncated: 10 coils send one element. */
ZQ_API int zq_write_coils(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, const int* data);
/* num ÷ 8 elements, rounded up. */
ZQ_API int zq_read_multiple_coils(zq_robot_handle* handle, zq_peripheral_read_write_params_t params, int* data);
/* num × 2 elements. */
ZQ_API int zq_read_multiple_holding_registers(zq_robot_handle* handle, zq_peripheral_read_write_params_t params,
                                              int* data);
ZQ_API int zq_read_multiple_input_registers(zq_robot_handle* handle, zq_peripheral_read_write_params_t params,
                                            int* data);

/* ---- second generation: Modbus RTU by device and type, generation 4, query time-out ---- */
#define ZQ_MODBUS_DATA_MAX 120

typedef struct {
    int address;
    int device;
    int type;
    int num;  /* 1 to 100 for a read */
} zq_modbus_rtu_read_params_t;

typedef struct {
    int address;
    int device;
    int type;
    int num;  /* 0 to ZQ_MODBUS_DATA_MAX */
    int data[ZQ_MODBUS_DATA_MAX];
} zq_modbus_rtu_write_params_t;

ZQ_API int zq_read_modbus_rtu_coils(zq_robot_handle* handle, zq_modbus_rtu_read_params_t params, int* data);
ZQ_API int zq_read_modbus_rtu_input_status(zq_robot_handle* handle, zq_modbus_rtu_read_params_t params, int* data);
ZQ_API int zq_read_modbus_rtu_holding_registers(zq_robot_handle* handle, zq_modbus_rtu_read_params_t params,
                                                int* data);
ZQ_API int zq_read_modbus_rtu_input_registers(zq_robot_handle* handle, zq_modbus_rtu_read_params_t params,
                                              int* data);
ZQ_API int zq_write_modbus_rtu_coils(zq_robot_handle* handle, zq_modbus_rtu_write_params_t params);
ZQ_API int zq_write_modbus_rtu_registers(zq_robot_handle* handle, zq_modbus_rtu_write_params_t params);

/* ---- third generation: Modbus TCP by master name or address, generation 4 ---- */
typedef struct {
    int address;
    char master_name[20];
    char ip[16];   /* 7 to 15 characters address by ip and port, anything else by master_name */
    int port;
    int num;       /* 1 to 100 for a read */
} zq_modbus_tcp_read_params_t;

typedef struct {
    int address;
    char master_name[20];
    char ip[16];
    int port;
    int num;       /* 0 to ZQ_MODBUS_DATA_MAX */
    int data[ZQ_MODBUS_DATA_MAX];
} zq_modbus_tcp_write_params_t;

/* These wait, a query time-out at a time, until the answer that echoes their own target arrives;
 * they end with -1 when the session is deleted or the library destroyed. */
ZQ_API int zq_read_modbus_tcp_coils(zq_robot_handle* handle, zq_modbus_tcp_read_params_t params, int* data);
ZQ_API int zq_read_modbus_tcp_input_status(zq_robot_handle* handle, zq_modbus_tcp_read_params_t params, int* data);
ZQ_API int zq_read_modbus_tcp_holding_registers(zq_robot_handle* handle, zq_modbus_tcp_read_params_t params,
                                                int* data);
ZQ_API int zq_read_modbus_tcp_input_registers(zq_robot_handle* handle, zq_modbus_tcp_read_params_t params,
                                              int* data);
ZQ_API int zq_write_modbus_tcp_coils(zq_robot_handle* handle, zq_modbus_tcp_write_params_t params);
ZQ_API int zq_write_modbus_tcp_registers(zq_robot_handle* handle, zq_modbus_tcp_write_params_t params);

typedef struct {
    char master_name[20];
    char ip[16];
    int port;
} zq_modbus_tcp_master_info_t;

/* A page of masters holds at most this many entries. */
#define ZQ_MODBUS_TCP_MASTER_LIST_MAX 100

typedef struct {
    int page_num;
    int page_size;
    int total_size;
    char vague_search[32];
    int list_len;  /* entries filled, at most ZQ_MODBUS_TCP_MASTER_LIST_MAX */
    zq_modbus_tcp_master_info_t list[ZQ_MODBUS_TCP_MASTER_LIST_MAX];
} zq_modbus_tcp_master_list_t;

/* Generation 4, query time-out. Names are cut at 19 characters. */
ZQ_API int zq_add_modbus_tcp_master(zq_robot_handle* handle, zq_modbus_tcp_master_info_t master);
ZQ_API int zq_update_modbus_tcp_master(zq_robot_handle* handle, const char* name, zq_modbus_tcp_master_info_t master);
ZQ_API int zq_delete_modbus_tcp_master(zq_robot_handle* handle, const char* name);
/* 1 when no master has that name. */
ZQ_API int zq_get_modbus_tcp_master(zq_robot_handle* handle, const char* name, zq_modbus_tcp_master_info_t* master);
/* One page; vague_search filters by a fragment of the name (null: no filter). Waits the
 * configuration time-out + 1000 ms. */
ZQ_API int zq_get_modbus_tcp_master_list(zq_robot_handle* handle, int page_num, int page_size,
                                         const char* vague_search, zq_modbus_tcp_master_list_t* list);

#ifdef __cplusplus
}
#endif

#endif /* ZQ_IO_H */
