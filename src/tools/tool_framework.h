// Opening, waiting for and closing a record's editor: a modeless property sheet on a thread of
// its own, one per record.
#pragma once

#include <cstdint>

#include "tools/tool_block.h"

namespace orv {

struct ToolFamily;

// What the host hands to Open*Tool besides the record.
struct ToolRequest {
    void* owner = nullptr;
    ApplyCallback callback = nullptr;
    void* data = nullptr;
    uint64_t hostValues[4] = {};
    int32_t flag = 0;
    bool notifyOnClose = false;  // (owner, null, data, 0) after the sheet has closed
};

// The most records one tool edits: the link tool's sheet has a page for each.
constexpr size_t kToolRecordsMost = 64;

// 0 when the record already has an editor (nothing happens), else 1 once its thread runs.
int32_t openTool(const ToolFamily& family, void* record, const ToolRequest& request);

// The link tool's opening: one editor over those of count records that have none yet and
// that wanted accepts (null: all), at most kToolRecordsMost of them, each once. 0 when none
// remains, else 1 once the thread runs.
int32_t openToolOnSelection(const ToolFamily& family, void* const* records, size_t count,
                            bool (*wanted)(const void* record), const ToolRequest& request);

// True when an open editor of family edits a record that matches accepts.
bool openToolEdits(const ToolFamily& family, bool (*matches)(const void* record, uint64_t value),
                   uint64_t value);

// Serves the calling thread's messages until the record has no editor; returns 1.
int32_t waitTool(const ToolFamily& family, void* record);

}  // namespace orv
