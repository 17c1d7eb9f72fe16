// Rows of commands whose requests and replies are a few plain integers:
// shape S with up to three integer keys, shape G with up to four, both with
// an optional generation gate in front.
#pragma once

#include "session/catalogue.h"

namespace zq::cat {

constexpr int kQueryBudget = -1;  // a row's time budget: the query time-out
inline int row_budget(int ms) { return ms == kQueryBudget ? query_timeout() : ms; }

struct IntSetRow {
    const char* fn;
    const char* command;
    const char* keys[3];     // request keys, in order; unused ones null
    const char* reply_key;
    const char* result_key;
    int timeout_ms = kQueryBudget;
    int generation = 0;      // 3 or 4: the only generation that has the command; 0 both
};

// A setting with no request keys whose reply is named by its command literal.
constexpr IntSetRow plain_row(const char* fn, const char* command, const char* result_key) {
    return IntSetRow{fn, command, {}, command, result_key};
}

struct IntGetRow {
    const char* fn;
    const char* command;
    const char* reply_key;
    const char* keys[4];     // reply keys parsed as integers; unused ones null
    int generation = 0;
};

// Sends the row's keys with `args` in order.
inline int set_ints(const IntSetRow& row, zq_robot_handle* handle, const int* args = nullptr) {
    if (row.generation != 0) {
        int gate = generation_gate(handle, row.generation, -4);
        if (gate != 0) return gate;
    }
    zq_send_value_t values[4] = {send_str("command", row.command)};
    int count = 1;
    for (int i = 0; i < 3 && row.keys[i]; ++i) values[count++] = send_int(row.keys[i], args[i]);
    return set(row.fn, handle, values, count, row.reply_key, row.result_key, row_budget(row.timeout_ms));
}

// Fills `*outs[i]` from the row's keys; a null output refuses the call with -4.
inline int get_ints(const IntGetRow& row, zq_robot_handle* handle, int* const* outs) {
    if (row.generation != 0) {
        int gate = generation_gate(handle, row.generation, -4);
        if (gate != 0) return gate;
    }
    zq_key_value_t table[4];
    int count = 0;
    for (; count < 4 && row.keys[count]; ++count) {
        if (!outs[count]) return -4;
        table[count] = reply_entry(ZQ_VALUE_INT, row.keys[count]);
    }
    int rc = get(row.fn, handle, row.command, row.reply_key, table, count, query_timeout());
    if (rc != 0) return rc;
    for (int i = 0; i < count; ++i) *outs[i] = table[i].value.i;
    return 0;
}

}  // namespace zq::cat
