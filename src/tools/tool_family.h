// What the framework knows of a record family's editor: its caption, icon and pages, where the
// record keeps its tool pointer, and the snapshot that Cancel restores. Adding a page adds a
// PageDesign to its family's table and touches nothing else of the framework.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orv {

struct ToolBlock;
class ToolPage;

struct PageDesign {
    int templateId;   // the page's dialog resource
    int32_t titleId;  // the tab title's string id; 0: the record's name
    ToolPage* (*make)(ToolBlock& tool, const PageDesign& design);
};

struct ToolFamily {
    int32_t captionId;
    int iconId;
    bool nameInCaption;        // the sheet's caption is the caption, a blank and the name
    bool callbackAfterCancel;  // reason 1 once Cancel has restored the record
    // The tool edits several records (the selected links), with a page each: pages() gives the
    // one design that every record's page follows, titled with that record's name.
    bool pagePerRecord;
    // The pages of this opening (the material sheet's depend on the expert mode).
    size_t (*pages)(const ToolBlock& tool, const PageDesign** out);
    void** (*toolPointer)(void* record);
    void* (*takeSnapshot)(const void* record);
    void (*restoreSnapshot)(void* record, const void* snapshot);
    void (*freeSnapshot)(void* snapshot);
};

}  // namespace orv
