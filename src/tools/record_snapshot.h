// Snapshots of a record's bytes: what Cancel writes back where a family's page fields lie
// together in its record.
#pragma once

#include <cstddef>

namespace orv {

// A copy of bytes from..to of record (checked allocation).
void* copyRecordBytes(const void* record, size_t from, size_t to);
void restoreRecordBytes(void* record, const void* snapshot, size_t from, size_t to);
void freeRecordBytes(void* snapshot);

}  // namespace orv
