// Controller IO, serial modes and the three generations of Modbus commands against the
// simulated controller.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "session/session.h"
#include "test_env.h"
#include "zq_api.h"

namespace {

using Clock = std::chrono::steady_clock;

class CommandsIo : public zqtest::ArmTest {
protected:
    std::string last() {
        auto lines = sim_.received_lines();
        return lines.empty() ? std::string() : lines.back();
    }
};

class CommandsIoGen3 : public CommandsIo {
protected:
    void SetUp() override {
        sim_.update([](zqsim::ArmConfig& a) { a.controller_version = "3.5.2"; });
        CommandsIo::SetUp();
        ASSERT_EQ(arm_->controller_version, 3);
    }
    void TearDown() override {
        zq_set_timeout(500);
        zq::set_bus_timeout(1000);
        CommandsIo::TearDown();
    }
};

TEST_F(CommandsIo, IoModesAndStates) {
    zq_io_config_t fast{14, 100, 2};
    ASSERT_EQ(zq_set_IO_mode(arm_, 1, &fast), 0);
    EXPECT_EQ(last(), R"({"command":"set_IO_mode","IO_Num":1,"IO_mode":14,"realtime_speed":{"speed":100,"mode":2}})");
    zq_io_get_t io{};
    ASSERT_EQ(zq_get_IO_state(arm_, 1, &io), 0);
    EXPECT_EQ(last(), R"({"command":"get_IO_state","IO_Num":1})");
    EXPECT_EQ(io.io_mode, 14);
    EXPECT_EQ(io.io_speed, 100);
    EXPECT_EQ(io.io_speed_mode, 2);

    const zq_io_config_t plain{3, 7, 7};
    ASSERT_EQ(zq_set_IO_mode(arm_, 1, &plain), 0);
    EXPECT_EQ(last(), R"({"command":"set_IO_mode","IO_Num":1,"IO_mode":3})");
    ASSERT_EQ(zq_get_IO_state(arm_, 1, &io), 0);
    EXPECT_EQ(io.io_speed, -1);
    EXPECT_EQ(io.io_speed_mode, -1);

    ASSERT_EQ(zq_set_DO_state(arm_, 2, 1), 0);
    EXPECT_EQ(last(), R"({"command":"set_DO_state","IO_Num":2,"state":1})");
    int out[4] = {-1, -1, -1, -1}, in[4] = {-1, -1, -1, -1};
    ASSERT_EQ(zq_get_IO_output(arm_, out), 0);
    ASSERT_EQ(zq_get_IO_input(arm_, in), 0);
    EXPECT_EQ(std::vector<int>(out, out + 4), (std::vector<int>{0, 0, 1, 0}));
    EXPECT_EQ(in[0], 0);

    ASSERT_EQ(zq_set_voltage(arm_, 2, true), 0);
    EXPECT_EQ(last(), R"({"command":"set_voltage","voltage_type":2,"start_enable":true})");
    int type = -1;
    ASSERT_EQ(zq_get_voltage(arm_, &type), 0);
    EXPECT_EQ(type, 2);
}

TEST_F(CommandsIo, IoStateRepliesAreCheckedByHand) {
    zq_io_get_t io{5, 5, 5, 5};
    const char* bad[] = {
        R"({"command":"IO_state","IO_state":-1,"IO_Mode":3})",
        R"({"command":"IO_state","IO_state":1})",
        R"({"command":"IO_state","IO_state":1,"IO_Mode":14})",
        R"({"command":"IO_state","IO_state":1,"IO_Mode":14,"realtime_speed":{"speed":-2,"mode":1}})",
    };
    for (const char* reply : bad) {
        sim_.set_reply("get_IO_state", reply, 1);
        EXPECT_EQ(zq_get_IO_state(arm_, 0, &io), -3) << reply;
        EXPECT_EQ(io.io_state, 5);
    }
    sim_.set_reply("get_IO_state", R"({"command":"IO_state","IO_state":1,"IO_Mode":15})", 1);
    ASSERT_EQ(zq_get_IO_state(arm_, 0, &io), 0);
    EXPECT_EQ(io.io_speed, 5);  // above 14 the speed fields stay
}

TEST_F(CommandsIo, OutOfRangeIoArgumentsGiveOneAndSendNothing) {
    zq_io_get_t io{};
    const zq_io_config_t mode15{15, 0, 0}, mode1{1, 0, 0};
    EXPECT_EQ(zq_set_IO_mode(arm_, 0, &mode15), 1);
    EXPECT_EQ(zq_set_IO_mode(arm_, 5, &mode1), 1);
    EXPECT_EQ(zq_set_IO_mode(arm_, 0, nullptr), -4);
    EXPECT_EQ(zq_set_IO_mode(arm_, 5, nullptr), -4);
    EXPECT_EQ(zq_get_IO_state(arm_, -1, &io), 1);
    EXPECT_EQ(zq_get_IO_state(arm_, 0, nullptr), -4);
    EXPECT_EQ(zq_get_IO_input(arm_, nullptr), -4);
    EXPECT_TRUE(sim_.received_lines().empty());
}

// Every generation 3 command refuses a generation 4 controller with -4 (set_RS485 with -2)
// and every generation 4 command a generation 3 one, with nothing sent and no lock kept.
TEST_F(CommandsIo, GenerationGatesOnGeneration4) {
    int a, b, c, data[8];
    zq_peripheral_read_write_params_t p{0, 0, 1, 1};
    const std::function<int()> gen3[] = {
        [&] { return zq_get_controller_RS485_mode(arm_, &a, &b, &c); },
        [&] { return zq_get_tool_RS485_mode(arm_, &a, &b, &c); },
        [&] { return zq_set_modbus_mode(arm_, 0, 9600, 1); },
        [&] { return zq_close_modbus_mode(arm_, 0); },
        [&] { return zq_set_modbustcp_mode(arm_, "10.0.0.9", 502, 10); },
        [&] { return zq_close_modbustcp_mode(arm_); },
        [&] { return zq_read_coils(arm_, p, data); },
        [&] { return zq_write_registers(arm_, p, data); },
        [&] { return zq_read_multiple_input_registers(arm_, p, data); },
    };
    for (const auto& call : gen3) EXPECT_EQ(call(), -4);
    EXPECT_EQ(zq_set_RS485(arm_, 9600), -2);
    EXPECT_TRUE(sim_.received_lines().empty());
}

TEST_F(CommandsIoGen3, GenerationGatesOnGeneration3) {
    int a, b, data[8];
    zq_modbus_rtu_read_params_t rr{0, 1, 0, 1};
    zq_modbus_tcp_read_params_t tr{0, "plc", "", 0, 1};
    zq_modbus_tcp_master_info_t m{"plc", "10.0.0.2", 502};
    zq_modbus_tcp_master_list_t list;
    const std::function<int()> gen4[] = {
        [&] { return zq_set_controller_rs485_mode(arm_, 0, 9600); },
        [&] { return zq_get_tool_rs485_mode_v4(arm_, &a, &b); },
        [&] { return zq_read_modbus_rtu_coils(arm_, rr, data); },
        [&] { return zq_write_modbus_rtu_registers(arm_, zq_modbus_rtu_write_params_t{}); },
        [&] { return zq_read_modbus_tcp_input_registers(arm_, tr, data); },
        [&] { return zq_write_modbus_tcp_coils(arm_, zq_modbus_tcp_write_params_t{}); },
        [&] { return zq_add_modbus_tcp_master(arm_, m); },
        [&] { return zq_get_modbus_tcp_master_list(arm_, 1, 10, nullptr, &list); },
    };
    for (const auto& call : gen4) EXPECT_EQ(call(), -4);
    EXPECT_TRUE(sim_.received_lines().empty());
}

TEST_F(CommandsIoGen3, ModeSetupStoresTheBusTimeOut) {
    ASSERT_EQ(zq_set_modbus_mode(arm_, 0, 115200, 0), 0);
    EXPECT_EQ(last(), R"({"command":"set_modbus_mode","port":0,"baudrate":115200,"timeout":1})");
    EXPECT_EQ(zq::bus_timeout(), 500 + 100);
    ASSERT_EQ(zq_set_modbustcp_mode(arm_, "10.0.0.9", 502, 5), 0);
    EXPECT_EQ(last(), R"({"command":"set_modbustcp_mode","ip":"10.0.0.9","port":502,"timeout":5})");
    EXPECT_EQ(zq::bus_timeout(), 500 + 5);
    EXPECT_EQ(zq_set_modbustcp_mode(arm_, "10.0.0", 502, 5), -4);
    EXPECT_EQ(zq_set_modbus_mode(arm_, 0, 9600, 30000000), -4);  // ×100 would not fit

    int mode = -1, baud = -1, timeout = -1;
    ASSERT_EQ(zq_get_controller_RS485_mode(arm_, &mode, &baud, &timeout), 0);
    EXPECT_EQ(mode, 1);
    EXPECT_EQ(baud, 115200);
    EXPECT_EQ(timeout, 1);
    ASSERT_EQ(zq_close_modbus_mode(arm_, 0), 0);
    ASSERT_EQ(zq_get_controller_RS485_mode(arm_, &mode, &baud, &timeout), 0);
    EXPECT_EQ(timeout, 0);  // no "modbus_timeout" outside Modbus RTU mode
    sim_.set_reply("get_tool_RS485_mode", R"({"command":"get_tool_RS485_mode","baudrate":9600})", 1);
    EXPECT_EQ(zq_get_tool_RS485_mode(arm_, &mode, &baud, &timeout), -3);

    const auto t0 = Clock::now();
    EXPECT_EQ(zq_set_RS485(arm_, 9600), 0);
    EXPECT_GE(Clock::now() - t0, std::chrono::milliseconds(800));
    EXPECT_EQ(last(), R"({"command":"set_RS485","baudrate":9600})");
}

TEST_F(CommandsIoGen3, PeripheralCommandsCountBytes) {
    ASSERT_EQ(zq_set_modbus_mode(arm_, 1, 9600, 1), 0);
    zq_peripheral_read_write_params_t p{1, 20, 3, 2};
    const int regs[] = {0x12, 0x34, 0x00, 0x07};
    ASSERT_EQ(zq_write_registers(arm_, p, regs), 0);
    EXPECT_EQ(last(), R"({"command":"write_registers","port":1,"address":20,"num":2,"data":[18,52,0,7],"device":3})");
    int data[8] = {};
    ASSERT_EQ(zq_read_multiple_holding_registers(arm_, p, data), 0);
    EXPECT_EQ(last(), R"({"command":"read_multiple_holding_registers","port":1,"address":20,"num":2,"device":3})");
    EXPECT_EQ(std::vector<int>(data, data + 4), std::vector<int>(regs, regs + 4));
    ASSERT_EQ(zq_read_holding_registers(arm_, p, data), 0);
    EXPECT_EQ(last(), R"({"command":"read_holding_registers","port":1,"address":20,"device":3})");
    EXPECT_EQ(data[0], 0x1234);
    ASSERT_EQ(zq_write_single_coil(arm_, p, 1), 0);
    EXPECT_EQ(last(), R"({"command":"write_single_coil","port":1,"address":20,"data":1,"device":3})");

    // Ten coils write one byte (truncated), nine read two (rounded up); four write none.
    const int coils[] = {0xA5, 0xFF};
    ASSERT_EQ(zq_write_coils(arm_, zq_peripheral_read_write_params_t{1, 0, 3, 10}, coils), 0);
    EXPECT_EQ(last(), R"({"command":"write_coils","port":1,"address":0,"num":10,"data":[165],"device":3})");
    ASSERT_EQ(zq_write_coils(arm_, zq_peripheral_read_write_params_t{1, 0, 3, 4}, coils), 0);
    EXPECT_EQ(last(), R"({"command":"write_coils","port":1,"address":0,"num":4,"data":[],"device":3})");
    ASSERT_EQ(zq_read_multiple_coils(arm_, zq_peripheral_read_write_params_t{1, 0, 3, 9}, data), 0);
    EXPECT_EQ(data[0], 0xA5);
    EXPECT_EQ(data[1], 0);

    sim_.set_reply("read_multiple_coils", R"({"command":"read_multiple_coils","data":[1]})", 1);
    EXPECT_EQ(zq_read_multiple_coils(arm_, zq_peripheral_read_write_params_t{1, 0, 3, 9}, data), -3);
    EXPECT_EQ(zq_read_coils(arm_, zq_peripheral_read_write_params_t{0, 0, 3, 1}, data), 1);  // port 0 closed

    sim_.clear_received();
    EXPECT_EQ(zq_read_multiple_holding_registers(arm_, zq_peripheral_read_write_params_t{1, 0, 3, 51}, data), -4);
    EXPECT_EQ(zq_write_registers(arm_, zq_peripheral_read_write_params_t{1, 0, 3, 61}, regs), -4);
    EXPECT_EQ(zq_write_registers(arm_, p, nullptr), -4);
    EXPECT_EQ(zq_read_coils(arm_, p, nullptr), -4);
    EXPECT_TRUE(sim_.received_lines().empty());
}

TEST_F(CommandsIoGen3, PeripheralReadsWaitTheBusTimeOut) {
    zq_set_timeout(50);
    ASSERT_EQ(zq_set_modbus_mode(arm_, 0, 9600, 1), 0);  // bus time-out 150 ms
    sim_.drop_reply("read_coils");
    int data = 0;
    const auto t0 = Clock::now();
    EXPECT_EQ(zq_read_coils(arm_, zq_peripheral_read_write_params_t{0, 0, 1, 1}, &data), -2);
    const auto waited = Clock::now() - t0;
    EXPECT_GE(waited, std::chrono::milliseconds(140));
    EXPECT_LT(waited, std::chrono::milliseconds(1000));
}

TEST_F(CommandsIo, ModbusRtuRoundTrip) {
    zq_modbus_rtu_write_params_t w{};
    w.address = 10;
    w.device = 1;
    w.type = 0;
    w.num = 3;
    w.data[0] = 7;
    w.data[1] = 65535;
    w.data[2] = 300;
    ASSERT_EQ(zq_write_modbus_rtu_registers(arm_, w), 0);
    EXPECT_EQ(last(), R"({"command":"write_modbus_rtu_registers","address":10,"device":1,"type":0,"data":[7,65535,300]})");
    int data[4] = {};
    ASSERT_EQ(zq_read_modbus_rtu_holding_registers(arm_, zq_modbus_rtu_read_params_t{11, 1, 0, 2}, data), 0);
    EXPECT_EQ(last(), R"({"command":"read_modbus_rtu_holding_registers","address":11,"device":1,"num":2,"type":0})");
    EXPECT_EQ(data[0], 65535);
    EXPECT_EQ(data[1], 300);
    ASSERT_EQ(zq_read_modbus_rtu_input_registers(arm_, zq_modbus_rtu_read_params_t{3, 1, 0, 1}, data), 0);
    EXPECT_EQ(data[0], 3 * 7 + 1);

    sim_.set_reply("read_modbus_rtu_coils", R"({"command":"read_modbus_rtu_coils","read_state":false})", 1);
    EXPECT_EQ(zq_read_modbus_rtu_coils(arm_, zq_modbus_rtu_read_params_t{0, 1, 0, 1}, data), 1);
    sim_.clear_received();
    w.num = ZQ_MODBUS_DATA_MAX + 1;
    EXPECT_EQ(zq_write_modbus_rtu_coils(arm_, w), -4);
    EXPECT_EQ(zq_read_modbus_rtu_coils(arm_, zq_modbus_rtu_read_params_t{0, 1, 0, 101}, data), -4);
    EXPECT_EQ(zq_read_modbus_rtu_coils(arm_, zq_modbus_rtu_read_params_t{0, 1, 0, -1}, data), -4);
    EXPECT_TRUE(sim_.received_lines().empty());
}

TEST_F(CommandsIo, ModbusTcpByNameOrAddress) {
    ASSERT_EQ(zq_add_modbus_tcp_master(arm_, zq_modbus_tcp_master_info_t{"plc1", "10.0.0.7", 502}), 0);
    EXPECT_EQ(last(), R"({"command":"add_modbus_tcp_master","master_name":"plc1","ip":"10.0.0.7","port":502})");
    zq_modbus_tcp_write_params_t w{};
    w.address = 4;
    std::snprintf(w.master_name, sizeof w.master_name, "plc1");
    w.num = 2;
    w.data[0] = 1;
    w.data[1] = 1;
    ASSERT_EQ(zq_write_modbus_tcp_coils(arm_, w), 0);
    EXPECT_EQ(last(), R"({"command":"write_modbus_tcp_coils","address":4,"data":[1,1],"master_name":"plc1"})");

    // The same slave by its address; an ip of six characters addresses by name instead.
    zq_modbus_tcp_read_params_t r{3, "", "10.0.0.7", 502, 3};
    int data[3] = {-1, -1, -1};
    ASSERT_EQ(zq_read_modbus_tcp_coils(arm_, r, data), 0);
    EXPECT_EQ(last(), R"({"command":"read_modbus_tcp_coils","address":3,"num":3,"ip":"10.0.0.7","port":502})");
    EXPECT_EQ(std::vector<int>(data, data + 3), (std::vector<int>{0, 1, 1}));
    zq_modbus_tcp_read_params_t short_ip{3, "plc1", "1.2.34", 502, 1};
    ASSERT_EQ(zq_read_modbus_tcp_holding_registers(arm_, short_ip, data), 0);
    EXPECT_EQ(last(), R"({"command":"read_modbus_tcp_holding_registers","address":3,"num":1,"master_name":"plc1"})");
    zq_modbus_tcp_read_params_t unknown{0, "nobody", "", 0, 1};
    EXPECT_EQ(zq_read_modbus_tcp_input_status(arm_, unknown, data), 1);
}

TEST_F(CommandsIo, ModbusTcpDropsAnswersOfOtherCalls) {
    ASSERT_EQ(zq_add_modbus_tcp_master(arm_, zq_modbus_tcp_master_info_t{"a", "10.0.0.7", 502}), 0);
    sim_.on_command("read_modbus_tcp_coils", [](const std::string&) {
        return std::vector<std::string>{
            R"({"command":"read_modbus_tcp_coils","data":[9],"master_name":"b"})",
            R"({"command":"read_modbus_tcp_coils","read_state":false,"master_name":"c"})",
            R"({"command":"read_modbus_tcp_coils","data":[5],"master_name":"a"})"};
    });
    int data = 0;
    ASSERT_EQ(zq_read_modbus_tcp_coils(arm_, zq_modbus_tcp_read_params_t{0, "a", "", 0, 1}, &data), 0);
    EXPECT_EQ(data, 5);
}

TEST_F(CommandsIo, ModbusTcpWaitEndsWhenTheSessionIsDeleted) {
    sim_.drop_reply("read_modbus_tcp_coils");
    zq_set_timeout(40);
    std::thread deleter([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        zq_delete_robot_arm(arm_);
    });
    int data = 0;
    EXPECT_EQ(zq_read_modbus_tcp_coils(arm_, zq_modbus_tcp_read_params_t{0, "a", "", 0, 1}, &data), -1);
    deleter.join();
    arm_ = nullptr;
    zq_set_timeout(500);
}

TEST_F(CommandsIo, ModbusTcpMasters) {
    for (const char* name : {"line1", "line2", "press"}) {
        zq_modbus_tcp_master_info_t m{};
        std::snprintf(m.master_name, sizeof m.master_name, "%s", name);
        std::snprintf(m.ip, sizeof m.ip, "10.0.0.9");
        m.port = 502;
        ASSERT_EQ(zq_add_modbus_tcp_master(arm_, m), 0);
    }
    EXPECT_EQ(zq_add_modbus_tcp_master(arm_, zq_modbus_tcp_master_info_t{"press", "10.0.0.1", 1}), 1);
    ASSERT_EQ(zq_update_modbus_tcp_master(arm_, "press", zq_modbus_tcp_master_info_t{"press2", "10.0.0.3", 503}), 0);
    EXPECT_EQ(last(), R"({"command":"update_modbus_tcp_master","master_name":"press","new_name":"press2",)"
                      R"("ip":"10.0.0.3","port":503})");
    zq_modbus_tcp_master_info_t got{};
    ASSERT_EQ(zq_get_modbus_tcp_master(arm_, "press2", &got), 0);
    EXPECT_STREQ(got.ip, "10.0.0.3");
    EXPECT_EQ(got.port, 503);
    EXPECT_EQ(zq_get_modbus_tcp_master(arm_, "press", &got), 1);

    zq_modbus_tcp_master_list_t list{};
    ASSERT_EQ(zq_get_modbus_tcp_master_list(arm_, 1, 10, "line", &list), 0);
    EXPECT_EQ(last(), R"({"command":"get_modbus_tcp_master_list","vague_search":"line","page_num":1,"page_size":10})");
    EXPECT_EQ(list.total_size, 2);
    ASSERT_EQ(list.list_len, 2);
    EXPECT_STREQ(list.list[1].master_name, "line2");
    ASSERT_EQ(zq_get_modbus_tcp_master_list(arm_, 2, 2, nullptr, &list), 0);
    EXPECT_EQ(last(), R"({"command":"get_modbus_tcp_master_list","page_num":2,"page_size":2})");
    EXPECT_EQ(list.total_size, 3);
    ASSERT_EQ(list.list_len, 1);
    EXPECT_STREQ(list.list[0].master_name, "press2");

    ASSERT_EQ(zq_delete_modbus_tcp_master(arm_, "line1"), 0);
    EXPECT_EQ(zq_delete_modbus_tcp_master(arm_, "line1"), 1);
    sim_.set_reply("get_modbus_tcp_master_list", R"({"command":"get_modbus_tcp_master_list","list":[]})", 1);
    EXPECT_EQ(zq_get_modbus_tcp_master_list(arm_, 1, 10, nullptr, &list), -3);  // no total_size
    sim_.set_reply("get_modbus_tcp_master_list",
                   R"({"command":"get_modbus_tcp_master_list","total_size":1,"list":[{"ip":"1.1.1.1"}]})", 1);
    EXPECT_EQ(zq_get_modbus_tcp_master_list(arm_, 1, 10, nullptr, &list), -3);  // no name
    sim_.set_reply("get_modbus_tcp_master_list", R"({"command":"get_modbus_tcp_master_list","get_state":false})", 1);
    EXPECT_EQ(zq_get_modbus_tcp_master_list(arm_, 1, 10, nullptr, &list), 1);
}

}  // namespace
