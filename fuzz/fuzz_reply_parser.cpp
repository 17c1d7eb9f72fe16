// Arbitrary bytes as the reply to a command: the table parser with every
// kind of entry, plain and wrapped, and the state check.
#include <cstddef>
#include <cstdint>
#include <cstdarg>
#include <string>

#include "session/exchange.h"
#include "zq_api.h"

namespace {

void quiet(const char*, va_list) {}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool once = [] {
        zq_set_log_call_back(quiet, 4);
        return true;
    }();
    (void)once;
    const std::string text(reinterpret_cast<const char*>(data), size);  // terminated, as a reply is

    zq_key_value_t table[] = {
        zq::reply_entry(ZQ_VALUE_STRING, "name"),     zq::reply_entry(ZQ_VALUE_INT, "mode"),
        zq::reply_entry(ZQ_VALUE_INT_ARRAY, "joint", 7), zq::reply_entry(ZQ_VALUE_BOOL, "enable"),
        zq::reply_entry(ZQ_VALUE_JSON, "custom"),     zq::reply_entry(ZQ_VALUE_INT_ARRAY, "err"),
    };
    zq_parse_reply("fuzz", text.c_str(), table, 6);
    cJSON_Delete(table[4].value.json);

    // Each entry alone, so that a failing first key doesn't hide the others.
    for (int i = 0; i < 6; ++i) {
        zq_key_value_t one[] = {table[i]};
        one[0].value.json = nullptr;
        one[0].count = i == 2 ? 7 : 0;
        zq_parse_reply("fuzz", text.c_str(), one, 1);
        if (one[0].type == ZQ_VALUE_JSON) cJSON_Delete(one[0].value.json);
    }
    zq_parse_state("fuzz", text.c_str(), "state");
    return 0;
}
