// Small pieces shared by the device, force and store command families of the simulated
// controller: reading request members and forming the usual answers.
#pragma once

#include <string>
#include <vector>

#include "command_table.h"
#include "wire.h"

namespace zqsim {
namespace dev {

// An integer member within [lo, hi]; false when missing, no number or out of range.
inline bool int_in(const CommandContext& c, const char* key, long long lo, long long hi, int* out) {
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(c.request, key);
    if (!cJSON_IsNumber(item) || item->valuedouble < lo || item->valuedouble > hi) return false;
    *out = static_cast<int>(item->valuedouble);
    return true;
}

// An array of exactly `n` integers (n < 0: any length); false otherwise.
inline bool ints(const CommandContext& c, const char* key, int n, std::vector<long long>* out) {
    const cJSON* arr = cJSON_GetObjectItemCaseSensitive(c.request, key);
    if (!cJSON_IsArray(arr) || (n >= 0 && cJSON_GetArraySize(arr) != n)) return false;
    out->clear();
    for (const cJSON* el = arr->child; el; el = el->next) {
        if (!cJSON_IsNumber(el)) return false;
        out->push_back(static_cast<long long>(el->valuedouble));
    }
    return true;
}

inline bool flag(const CommandContext& c, const char* key) {
    return cJSON_IsTrue(cJSON_GetObjectItemCaseSensitive(c.request, key));
}

// {"command":reply_key, result_key: ok}
inline void state(CommandContext& c, const char* reply_key, const char* result_key, bool ok) {
    cJSON* r = wire::reply(reply_key);
    cJSON_AddBoolToObject(r, result_key, ok);
    c.reply(r);
}

// {"command":reply_key, key: value}
inline void value(CommandContext& c, const char* reply_key, const char* key, long long v) {
    cJSON* r = wire::reply(reply_key);
    cJSON_AddNumberToObject(r, key, static_cast<double>(v));
    c.reply(r);
}

// The end of a device motion, pushed `delay_ms` from now unless the test lost it.
inline void complete_later(CommandContext& c, int device, int delay_ms, bool ok = true) {
    const DeviceState& d = c.arm.devices;
    if (d.lose_reports) return;
    cJSON* r = cJSON_CreateObject();
    cJSON_AddStringToObject(r, "state", "current_trajectory_state");
    cJSON_AddBoolToObject(r, "trajectory_state", ok);
    cJSON_AddNumberToObject(r, "device", d.report_device >= 0 ? d.report_device : device);
    cJSON_AddNumberToObject(r, "trajectory_connect", 0);
    c.push_later(delay_ms, r);
}

inline std::string text(const CommandContext& c, const char* key) { return wire::string_member(c.request, key); }

}  // namespace dev
}  // namespace zqsim
