// Reading the members of a request and answering with one boolean, for the command families
// whose requests are flat objects of numbers, texts and booleans.
#pragma once

#include <string>

#include "command_table.h"
#include "wire.h"

namespace zqsim {
namespace req {

inline const cJSON* member(const CommandContext& c, const char* key) {
    return cJSON_GetObjectItemCaseSensitive(c.request, key);
}

// An integer member; false when missing or no number.
inline bool integer(const CommandContext& c, const char* key, int* out) {
    const cJSON* item = member(c, key);
    if (!cJSON_IsNumber(item)) return false;
    *out = item->valueint;
    return true;
}

inline bool boolean(const CommandContext& c, const char* key, bool* out) {
    const cJSON* item = member(c, key);
    if (!cJSON_IsBool(item)) return false;
    *out = cJSON_IsTrue(item);
    return true;
}

// A text member of 1 to `max` characters.
inline bool text(const CommandContext& c, const char* key, std::size_t max, std::string* out) {
    const cJSON* item = member(c, key);
    if (!cJSON_IsString(item)) return false;
    *out = item->valuestring;
    return !out->empty() && out->size() <= max;
}

// {"command":<reply_key>,<result_key>:ok}
inline void answer(CommandContext& c, const char* reply_key, const char* result_key, bool ok) {
    cJSON* r = wire::reply(reply_key);
    cJSON_AddBoolToObject(r, result_key, ok);
    c.reply(r);
}

}  // namespace req
}  // namespace zqsim
