// The paged list request and the reading of its reply.
#include "commands/paged_lists.h"

#include <cstring>
#include <memory>

#include "platform/log.h"

namespace zq::lists {

int entries_kept(const char* fn, int entries, int capacity) {
    if (entries <= capacity) return entries;
    log_warning("[%s] the reply lists %d entries, the record keeps %d\n", fn, entries, capacity);
    return capacity;
}

bool text_member(const cJSON* obj, const char* key, char* field, int size) {
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(obj, key);
    if (!item) return true;
    if (!cJSON_IsString(item)) return false;
    std::memset(field, 0, static_cast<std::size_t>(size));
    std::strncpy(field, item->valuestring, static_cast<std::size_t>(size - 1));
    return true;
}

bool int_member(const cJSON* obj, const char* key, int32_t* out) {
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(obj, key);
    if (!item) return true;
    if (!cJSON_IsNumber(item)) return false;
    *out = item->valueint;
    return true;
}

int read_paged(const Request& req, zq_robot_handle* handle, const char* list_key, const Head& head, int capacity,
               const EntryReader& entry) {
    zq_send_value_t values[] = {send_str("command", req.command), send_str("vague_search", req.vague_search),
                                send_int("page_num", req.page_num), send_int("page_size", req.page_size)};
    std::unique_ptr<char[]> out(new char[kListReply]());
    const int n = zq_command_exchange(req.fn, handle, values, 4, req.command, out.get(), kListReply, req.timeout_ms);
    if (n < 1) return n;
    std::unique_ptr<cJSON, void (*)(cJSON*)> root(cJSON_Parse(out.get()), cJSON_Delete);
    if (!root) return -3;
    const cJSON* state = cJSON_GetObjectItemCaseSensitive(root.get(), "get_state");
    if (cJSON_IsFalse(state)) return 1;
    if (state && !cJSON_IsTrue(state)) return -3;
    const cJSON* total = cJSON_GetObjectItemCaseSensitive(root.get(), "total_size");
    if (!cJSON_IsNumber(total) || !int_member(root.get(), "page_num", head.page_num) ||
        !int_member(root.get(), "page_size", head.page_size) ||
        !text_member(root.get(), "vague_search", head.vague_search, 32))
        return -3;
    *head.total_size = total->valueint;
    const cJSON* list = cJSON_GetObjectItemCaseSensitive(root.get(), list_key);
    if (!cJSON_IsArray(list)) return -3;
    const int kept = entries_kept(req.fn, cJSON_GetArraySize(list), capacity);
    *head.list_len = kept;
    int index = 0;
    for (const cJSON* el = list->child; el && index < kept; el = el->next, ++index) {
        if (!cJSON_IsObject(el) || !entry(el, index)) return -3;
    }
    return 0;
}

}  // namespace zq::lists
