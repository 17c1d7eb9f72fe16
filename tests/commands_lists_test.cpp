// One rule for every list record: the length field counts the entries filled,
// never more than the record holds; total_size keeps the controller's count;
// a reply with more entries than fit logs one warning.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>

#include "log_capture.h"
#include "test_env.h"
#include "zq_api.h"

namespace {

namespace logs = zqtest::log_capture;

int count_of(const std::string& text, const std::string& part) {
    int n = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

// A reply for `command` whose list under `key` holds `entries` copies of `entry`.
std::string reply(const std::string& command, const std::string& key, const std::string& entry, int entries,
                  const std::string& head) {
    std::string r = R"({"command":")" + command + "\"," + head + "\"" + key + "\":[";
    for (int i = 0; i < entries; ++i) r += (i ? "," : "") + entry;
    return r + "]}";
}

struct Row {
    const char* family;
    const char* command;  // also the reply's "command"
    const char* key;
    const char* entry;
    int capacity;
    // Calls the function; returns its code, the length it reports and its
    // total_size (-1 where the record has none).
    std::function<int(zq_robot_handle*, int* len, int* total)> call;
};

class CommandsLists : public zqtest::ArmTest {
protected:
    void TearDown() override {
        logs::stop();
        ArmTest::TearDown();
    }
};

TEST_F(CommandsLists, LengthCountsEntriesFilledAndAnOverflowWarnsOnce) {
    const std::string head = R"("get_state":true,"page_num":1,"page_size":200,"total_size":250,)";
    const Row rows[] = {
        {"io", "get_modbus_tcp_master_list", "list", R"({"master_name":"m","ip":"10.0.0.1","port":502})",
         ZQ_MODBUS_TCP_MASTER_LIST_MAX,
         [](zq_robot_handle* h, int* len, int* total) {
             std::unique_ptr<zq_modbus_tcp_master_list_t> l(new zq_modbus_tcp_master_list_t());
             const int rc = zq_get_modbus_tcp_master_list(h, 1, 200, nullptr, l.get());
             *len = l->list_len;
             *total = l->total_size;
             return rc;
         }},
        {"safety", "get_electronic_fence_list_names", "name_list", R"("f")", ZQ_FENCE_LIST_MAX,
         [](zq_robot_handle* h, int* len, int* total) {
             zq_fence_names_t names[ZQ_FENCE_LIST_MAX];
             *total = -1;
             return zq_get_electronic_fence_list_names(h, names, len);
         }},
        {"programs", "get_tool_action_list", "action_list", R"({"name":"a"})", ZQ_LIST_ENTRIES,
         [](zq_robot_handle* h, int* len, int* total) {
             std::unique_ptr<zq_tool_action_list_t> l(new zq_tool_action_list_t());
             const int rc = zq_get_tool_action_list(h, 1, 200, nullptr, l.get());
             *len = l->list_len;
             *total = l->total_size;
             return rc;
         }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.family);
        for (const int entries : {row.capacity - 1, row.capacity, row.capacity + 3}) {
            SCOPED_TRACE(entries);
            logs::clear();
            logs::start();
            sim_.set_reply(row.command, reply(row.command, row.key, row.entry, entries, head), 1);
            int len = -7, total = -7;
            ASSERT_EQ(row.call(arm_, &len, &total), 0);
            logs::stop();
            EXPECT_EQ(len, std::min(entries, row.capacity));
            if (total != -1) {
                EXPECT_EQ(total, 250);
            }
            const std::string log = logs::log();
            EXPECT_EQ(count_of(log, "the record keeps"), entries > row.capacity ? 1 : 0) << log;
        }
    }
}

}  // namespace
