// Snapshots of a record's bytes: what Cancel writes back where a family's page fields lie
// together in its record.
#pragma once

#include <cstddef>

namespace orv {

// A copy of bytes from..to of record (checked allocation).
void* copyRecordBytes(const void* record, size_t from, size_t to);
void restoreRecordBytes(void* record, const void* snapshot, size_t from, size_t to);
void freeRecordBytes(void* snapshot);

// The snapshot functions of a family whose page fields are bytes From..To of its record.
template <size_t From, size_t To>
struct RecordBytes {
    static void* take(const void* record) { return copyRecordBytes(record, From, To); }
    static void restore(void* record, const void* snapshot) {
        restoreRecordBytes(record, snapshot, From, To);
    }
};

}  // namespace orv
