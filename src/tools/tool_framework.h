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
};

// 0 when the record already has an editor (nothing happens), else 1 once its thread runs.
int32_t openTool(const ToolFamily& family, void* record, const ToolRequest& request);

// Serves the calling thread's messages until the record has no editor; returns 1.
int32_t waitTool(const ToolFamily& family, void* record);

}  // namespace orv
