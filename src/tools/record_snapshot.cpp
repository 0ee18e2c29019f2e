#include "tools/record_snapshot.h"

#include <cstring>

#include "core/checked_alloc.h"

namespace orv {

void* copyRecordBytes(const void* record, size_t from, size_t to) {
    void* copy = checkedAlloc(to - from);
    std::memcpy(copy, static_cast<const char*>(record) + from, to - from);
    return copy;
}

void restoreRecordBytes(void* record, const void* snapshot, size_t from, size_t to) {
    std::memcpy(static_cast<char*>(record) + from, snapshot, to - from);
}

void freeRecordBytes(void* snapshot) { checkedFree(snapshot); }

}  // namespace orv
