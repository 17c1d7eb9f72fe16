// A JSON reader for realtime reports that builds its tree of cJSON nodes in
// reusable per-thread storage instead of allocating each node: the same
// grammar as cJSON_ParseWithLength (leading byte-order mark, bytes up to 32 as
// blanks, text after the first value ignored, nesting limit 1000, strtod
// numbers), so that the tree reads with the cJSON accessors but is never
// deleted. The tree lives until the thread's next parse.
#pragma once

#include <cstddef>

#include <cjson/cJSON.h>

namespace zq {

// The root of the tree, or null when the text is no JSON.
const cJSON* parse_report_json(const char* data, std::size_t len);

}  // namespace zq
