#include "wire.h"

#include <cmath>
#include <cstdlib>

namespace zqsim {
namespace wire {

std::int64_t scaled(double value, double factor) {
    return static_cast<std::int64_t>(std::llround(value * factor));
}

cJSON* reply(const char* key) {
    cJSON* obj = cJSON_CreateObject();
    cJSON_AddStringToObject(obj, "command", key);
    return obj;
}

void add_int_array(cJSON* obj, const char* name, const std::vector<std::int64_t>& values) {
    cJSON* arr = cJSON_AddArrayToObject(obj, name);
    for (std::int64_t v : values) cJSON_AddItemToArray(arr, cJSON_CreateNumber(static_cast<double>(v)));
}

std::string print_and_delete(cJSON* obj) {
    std::string text;
    if (char* printed = cJSON_PrintUnformatted(obj)) {
        text = printed;
        cJSON_free(printed);
    }
    cJSON_Delete(obj);
    return text;
}

std::string string_member(const cJSON* obj, const char* name) {
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(obj, name);
    return cJSON_IsString(item) && item->valuestring ? std::string(item->valuestring) : std::string();
}

}  // namespace wire
}  // namespace zqsim
