// What the simulated controller keeps about its network, power and counters, its IO and
// serial ports, the Modbus devices behind them, and its safety zones. Numbers are wire
// integers as the controller reports them (coordinates in millimetres).
#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

namespace zqsim {

struct NetworkState {
    std::string ip = "192.168.1.18", mask = "255.255.255.0", gateway = "192.168.1.1", mac = "5c:2a:91:07:3e:11";
    std::string wifi_mode = "ap";  // "ap", "sta" or "off"
    std::string wifi_ip = "192.168.33.80", wifi_mask = "255.255.255.0", wifi_mac = "5c:2a:91:07:3e:12";
    std::string ssid = "zq-arm", password = "12345678";
    int channel = 6;
    int webserver = 1;
    int arm_power = 1;
    long long runtime_s = 93784;  // 1 day, 2 hours, 3 minutes, 4 seconds
    std::vector<long long> odom = std::vector<long long>(10, 0);  // per joint; filled at first query
    bool odom_set = false;
};

struct IoPort {
    int mode = 0;
    int speed = -1, speed_mode = -1;  // mode 14 only
    int output = 0;
    int input = 0;
};

// A serial port's mode: 0 plain, 1 Modbus RTU master (then with its time-out).
struct SerialPort {
    int mode = 0;
    int baudrate = 115200;
    int modbus_timeout = 0;
};

// One Modbus slave: coils and holding registers it keeps; its inputs follow fixed patterns.
struct ModbusDevice {
    std::map<int, int> coils;      // address -> 0 or 1
    std::map<int, int> registers;  // address -> 0 to 65535
};

struct ModbusMaster {
    std::string name, ip;
    int port = 502;
};

struct Fence {
    int form = 1;
    std::string name;
    std::vector<std::pair<std::string, long long>> coordinates;  // as received, in order
};

struct ZoneEnable {
    bool enable = false;
    int in_out_side = 0;
    int effective_region = 0;
};

struct EnvelopeBall {
    std::string name;
    long long radius = 0, x = 0, y = 0, z = 0;
};

struct SystemIoState {
    NetworkState net;
    std::array<IoPort, 5> io{};
    int voltage_type = 0;
    SerialPort controller_serial, tool_serial;
    bool modbus_tcp_open = false;                 // generation 3 Modbus TCP link
    std::map<std::string, ModbusDevice> devices;  // by bus and device address, see commands_modbus.cpp
    std::vector<ModbusMaster> masters;
    std::vector<Fence> fences;
    bool has_fence = false, has_wall = false;
    Fence fence, wall;  // the zones in force
    ZoneEnable fence_enable, wall_enable;
    bool self_collision = true, collision_remove = false;
    int collision_detection = 0, avoid_singularity = 0;
    std::map<std::string, std::vector<EnvelopeBall>> envelopes;  // by tool frame
};

}  // namespace zqsim
