// Arbitrary bytes as a realtime report datagram: the report parser, and its
// JSON reader against cJSON_ParseWithLength, which must agree on what is JSON
// and on every node of the tree.
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <cjson/cJSON.h>

#include "session/realtime.h"
#include "session/report_json.h"
#include "zq_api.h"

namespace {

void quiet(const char*, va_list) {}

bool same_text(const char* a, const char* b) {
    if (!a || !b) return a == b;
    return std::strcmp(a, b) == 0;
}

bool same(const cJSON* a, const cJSON* b) {
    for (; a && b; a = a->next, b = b->next) {
        if ((a->type & 0xFF) != (b->type & 0xFF) || !same_text(a->string, b->string)) return false;
        if (cJSON_IsString(a) && !same_text(a->valuestring, b->valuestring)) return false;
        if (cJSON_IsNumber(a)) {
            if (a->valueint != b->valueint) return false;
            if (std::memcmp(&a->valuedouble, &b->valuedouble, sizeof(double)) != 0) return false;
        }
        if (!same(a->child, b->child)) return false;
    }
    return !a && !b;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool once = [] {
        zq_set_log_call_back(quiet, 4);
        return true;
    }();
    (void)once;
    if (size > 2048) size = 2048;  // what the receive call cuts a datagram to
    const char* text = reinterpret_cast<const char*>(data);

    cJSON* reference = cJSON_ParseWithLength(text, size);
    const cJSON* fast = zq::parse_report_json(text, size);
    if ((reference == nullptr) != (fast == nullptr) || (reference && !same(reference, fast))) std::abort();
    cJSON_Delete(reference);

    zq_realtime_arm_joint_state_t report;
    zq::parse_realtime_report(text, static_cast<int>(size), &report);
    return 0;
}
