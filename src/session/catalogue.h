// Before adding a command family, read docs/contributing.md (rules for this tree).
//
// The shapes every controller command is built from. A command function is
// a row (command literal, reply key, result key, keys, scales, time-out)
// handed to one of these.
#pragma once

#include "session/exchange.h"

namespace zq::cat {

constexpr int kReplyBuffer = 1024;

// Shape S: send `values` (entry 0 is "command"), wait for `reply_key`, and
// turn the boolean under `result_key` into 0 or 1.
int set(const char* fn, zq_robot_handle* handle, const zq_send_value_t* values, int count, const char* reply_key,
        const char* result_key, int timeout_ms);

// Shape G: send only "command", wait for `reply_key`, parse `table`.
// Returns the exchange's code when below 1, else the parser's.
int get(const char* fn, zq_robot_handle* handle, const char* command, const char* reply_key, zq_key_value_t* table,
        int count, int timeout_ms);

// Shape G as the limit getters have it: a reply that does not parse leaves
// `table` unused and returns the exchange's positive byte count, not -3.
int get_or_length(const char* fn, zq_robot_handle* handle, const char* command, const char* reply_key,
                  zq_key_value_t* table, int count, int timeout_ms);

// Shape J: as G, but every array entry of `table` with no count of its own
// takes the handle's joint count, read after the exchange. *dof receives it.
// The entry named `own_length_key`, if any, keeps a count of 0: inside a
// wrapped state reply it takes the array's own length.
int get_joints(const char* fn, zq_robot_handle* handle, const char* command, const char* reply_key,
               zq_key_value_t* table, int count, int timeout_ms, int* dof, const char* own_length_key = nullptr);

// The joint count for shape J: 1 to 10, or -1 with the disconnection line.
int joint_count(const char* fn, const zq_robot_handle* handle);

// Reads the whole reply of a hand-parsed query: the exchange's code when
// below 1, else 0 and the parsed tree in *root (caller deletes it).
int get_tree(const char* fn, zq_robot_handle* handle, const char* command, const char* reply_key, int timeout_ms,
             cJSON** root, char* out, int capacity);

}  // namespace zq::cat
