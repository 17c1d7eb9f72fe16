// Reply FIFO: fixed entries, claimed by key, aged by message count.
#include "session/fifo.h"

#include <cstring>

namespace zq {
namespace {

// Empties a taken entry: the fields to zero, and of the text the stored
// bytes and their terminator. Nothing reads an entry's text past its length
// (a store writes its own terminator), so the 10 kB text is not swept whole.
void clear(FifoEntry& e, char* data) {
    const int used = e.len >= 0 && e.len < kFifoDataSize ? e.len + 1 : kFifoDataSize;
    std::memset(data, 0, static_cast<size_t>(used));
    e.valid = 0;
    e.len = 0;
    std::memset(e.key, 0, sizeof e.key);
    e.id = 0;
    e.stamp = 0;
}

}  // namespace

ReplyFifo::ReplyFifo() : fifo{}, data{}, receive_tick(0) {}

int ReplyFifo::begin_store() {
    ++receive_tick;
    // The oldest entry: the first with the smallest stamp.
    int oldest = 0;
    uint64_t smallest = 2147483647;
    for (int i = 0; i < kFifoEntries; ++i) {
        if (fifo[i].stamp < smallest) {
            smallest = fifo[i].stamp;
            oldest = i;
        }
    }
    for (int i = 0; i < kFifoEntries; ++i) {
        if (i == kFifoEntries - 1) {
            std::memset(&fifo[oldest], 0, sizeof fifo[oldest]);
            std::memset(data[oldest], 0, sizeof data[oldest]);
        }
        if (fifo[i].valid != 1) return i;
        if (fifo[i].stamp + kFifoStaleAfter < receive_tick) return i;  // unclaimed for too long
    }
    return -1;
}

void ReplyFifo::store(int slot, const char* text, int len) {
    FifoEntry& e = fifo[slot];
    int n = len < kFifoDataSize - 1 ? len : kFifoDataSize - 1;
    std::memcpy(data[slot], text, static_cast<size_t>(n));
    data[slot][n] = '\0';
    e.stamp = receive_tick;
    e.len = n;
    e.valid = 1;
}

void ReplyFifo::set_key(int slot, const char* key) {
    FifoEntry& e = fifo[slot];
    e.valid = 0;  // a reused entry never shows its old text under the new key
    std::memset(e.key, 0, sizeof e.key);
    if (key) std::memcpy(e.key, key, strnlen(key, sizeof e.key - 1));
}

void ReplyFifo::file(const char* key, const char* text, int len) {
    const int slot = begin_store();
    if (slot < 0) return;
    set_key(slot, key);
    store(slot, text, len);
}

int ReplyFifo::take(const char* key, char* out, int cap) {
    // Stored keys are cut to the entry's size; a waited key is compared the same way.
    const size_t key_len = strnlen(key, sizeof fifo[0].key - 1);
    for (int slot = 0; slot < kFifoEntries; ++slot) {
        FifoEntry& e = fifo[slot];
        if (e.valid != 1 || strnlen(e.key, sizeof e.key) != key_len) continue;
        if (std::memcmp(e.key, key, key_len) != 0) continue;
        int len = e.len;
        if (out && cap > 0) {
            int n = len < cap - 1 ? len : cap - 1;
            std::memcpy(out, data[slot], static_cast<size_t>(n));
            out[n] = '\0';
            len = n;
        }
        clear(e, data[slot]);
        return len;
    }
    return -1;
}

}  // namespace zq
