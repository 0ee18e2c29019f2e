// The block of an open editor. The record's tool pointer points to it while the editor exists;
// the editor's thread frees it when it ends.
#pragma once

namespace orv {

struct ToolBlock {
    void* sheet = nullptr;   // the property sheet's window, null once destroyed
    void* owner = nullptr;   // the host's window
    void* thread = nullptr;  // the editor thread's handle (kept for the material editor)
};

}  // namespace orv
