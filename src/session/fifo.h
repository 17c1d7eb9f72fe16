// The reply FIFO of one session: 40 fixed entries, filed by the receive
// thread and claimed by key by waiting commands.
#pragma once

#include <cstdint>

#include "platform/platform.h"

namespace zq {

constexpr int kFifoEntries = 40;
constexpr int kFifoKeySize = 50;
constexpr int kFifoDataSize = 10240;
constexpr uint64_t kFifoStaleAfter = 50;

// The bookkeeping of one entry. The entries lie side by side and their texts
// apart (`ReplyFifo::data`), so that the searches by key and by age read a
// few kilobytes, not one cache line in every 10 kB: a reply that comes after
// a long idle wait finds its entry without a cache miss per entry.
struct FifoEntry {
    uint8_t valid;
    int32_t len;
    char key[kFifoKeySize];
    int32_t id;
    uint64_t stamp;
};

struct ReplyFifo {
    FifoEntry fifo[kFifoEntries];
    char data[kFifoEntries][kFifoDataSize];  // the text of each entry
    uint64_t receive_tick;
    platform::Mutex lock;
    platform::CondVar filed;

    ReplyFifo();
    // Counts one framed message and finds the entry it may go to, or -1 when
    // the FIFO is full. Caller holds `lock`.
    int begin_store();
    // Replaces the key of entry `slot` (null clears it) and invalidates the
    // entry until its new text is stored. Caller holds `lock`.
    void set_key(int slot, const char* key);
    // Stores the text (cut to the entry's size) into entry `slot` and marks
    // it valid. Caller holds `lock`, and wakes the waiters on `filed` once it
    // has let go of it: a waiter woken under the lock would only block on it.
    void store(int slot, const char* text, int len);
    // Files one message under its key: begin_store, set_key and store in
    // one step. Caller holds `lock` and wakes the waiters as for `store`.
    void file(const char* key, const char* text, int len);
    // Takes the first valid entry with this key: copies at most cap - 1 bytes
    // and a terminator, clears the entry, returns the stored length or -1.
    // Caller holds `lock`.
    int take(const char* key, char* out, int cap);
};

}  // namespace zq
