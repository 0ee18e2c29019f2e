// The block of an open editor ("tool"). The record's tool pointer points to it while the
// editor exists; the editor's thread frees it when it ends.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "i18n/localise.h"

namespace orv {

struct ToolFamily;

// The host's apply callback: (owner window, record or null, callback data, reason); reason 0
// on Apply, 1 for a live change and after Cancel has restored the record.
using ApplyCallback = int32_t (*)(void* owner, void* record, void* data, int32_t reason);

struct ToolBlock {
    char caption[kLocalisedMax] = {};  // the sheet's caption
    void* sheet = nullptr;             // the property sheet's window, null once destroyed
    void* owner = nullptr;             // the host's window: the sheet's parent
    ApplyCallback callback = nullptr;
    void* data = nullptr;         // the callback's data
    uint64_t hostValues[4] = {};  // passed through to the pages
    int32_t flag = 0;             // the environment tool's page flag (OpenEnvTool 1)
    void* record = nullptr;       // the record edited; null once its Dispose took it
    // Every record edited: record alone, or the selected links of the link tool (each null
    // once its Dispose took it), with the snapshots that Cancel restores into them.
    void** records = &record;
    void** snapshots = &snapshot;
    size_t recordCount = 1;
    bool notifyOnClose = false;     // (owner, null, data, 0) once the sheet has closed
    ToolBlock* nextOpen = nullptr;  // the list of open tools that ObjInLnkTool searches
    void* thread = nullptr;         // the editor thread's handle
    uint32_t threadId = 0;
    const ToolFamily* family = nullptr;
    void* snapshot = nullptr;            // the fields Cancel restores, taken by the thread
    std::atomic<bool> disposing{false};  // Dispose is closing the sheet: restore nothing
    bool restored = false;               // Cancel has restored the snapshot

    // The host learns of a change of edited; nothing once Dispose is closing the sheet.
    void notifyHost(int32_t reason, void* edited);
    // Cancel: the snapshots back into the records (once), then reason 1 for each where the
    // family wants it.
    void cancel();
};

}  // namespace orv
