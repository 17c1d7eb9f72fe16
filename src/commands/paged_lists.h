// The paged lists of what the controller stores (waypoints, recorded
// trajectories, tool actions): one request form, one reading of the reply's
// head, and a reader per entry kind.
#pragma once

#include <cstdint>
#include <functional>

#include <cjson/cJSON.h>

#include "session/exchange.h"

namespace zq::lists {

constexpr int kListReply = 10240;

// Where the head of a list record goes.
struct Head {
    int32_t* page_num;
    int32_t* page_size;
    int32_t* total_size;
    char* vague_search;  // 32 bytes
    int32_t* list_len;
};

struct Request {
    const char* fn;
    const char* command;
    int page_num;
    int page_size;
    const char* vague_search;  // null: not sent
    int timeout_ms;
};

// Fills entry `index` of the record from one list element; false for a
// missing name or a value of the wrong type.
using EntryReader = std::function<bool(const cJSON* element, int index)>;

// Sends the request, reads "get_state" (false: 1), the head ("total_size"
// required) and every element of `list_key`, at most `capacity` of them
// stored and counted in list_len. 0, 1, the exchange's code, or -3.
int read_paged(const Request& req, zq_robot_handle* handle, const char* list_key, const Head& head, int capacity,
               const EntryReader& entry);

// Every list record counts in its length field the entries it holds, never
// more than its capacity; a reply listing `entries` beyond `capacity` logs
// one warning naming `fn`. Returns the number to store.
int entries_kept(const char* fn, int entries, int capacity);

// Copies a string member into a field of `size` bytes, cut and terminated.
// A missing member leaves the field; a member of another type gives false.
bool text_member(const cJSON* obj, const char* key, char* field, int size);
// An integer member: missing leaves *out; another type gives false.
bool int_member(const cJSON* obj, const char* key, int32_t* out);

}  // namespace zq::lists
