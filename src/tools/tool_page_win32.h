// A page of an editor's sheet: its dialog template, its procedure and the fields it edits.
// The base serves what every page shares: localising on first activation, telling a typed
// number from a text the page wrote itself, committing typed numbers before Apply, Apply's
// callback and Cancel's restore. A page fills its controls, stores what the user changes and
// says which of its changes the host hears of at once.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>

#include "tools/dialog_numbers.h"
#include "tools/tool_block.h"

namespace orv {

class ToolPage {
public:
    explicit ToolPage(ToolBlock& tool) : tool_(tool) {}
    virtual ~ToolPage() = default;

    // The one dialog procedure of every page; the page object comes with WM_INITDIALOG.
    static INT_PTR CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    // The page edits the tool's record index (of the links a link tool edits); 0 by default.
    void editRecord(size_t index) { recordIndex_ = index; }

protected:
    // Fills the controls from the record (on every activation).
    virtual void fill() = 0;
    // A button, check box or other control notified code.
    virtual void clicked(int id) { (void)id; }
    // The user changed edit id's text and left it.
    virtual void numberEntered(int id) { (void)id; }
    // Once, when the page's dialog is made.
    virtual void created() {}
    // A slider (trackbar) of the page sent a scroll notification.
    virtual void scrolled(int id, int code) { (void)id, (void)code; }
    // The page is left for another or the sheet closes.
    virtual void deactivated() {}
    // Apply: the host hears of it with reason 0.
    virtual void applied() { notifyHost(0); }

    // The record, or null once it is being disposed of.
    void* record() const { return tool_.disposing ? nullptr : tool_.records[recordIndex_]; }
    // The host hears of a change of the page's record.
    void notifyHost(int32_t reason) { tool_.notifyHost(reason, record()); }
    HWND window() const { return window_; }
    // Writes a number or a text into an edit without taking it for the user's input.
    void showNumber(int id, double value, NumberFormat format);
    void showText(int id, const char* text);
    // False once the page was reset or applied: it stores nothing more.
    bool storing() const { return !stopped_ && record(); }

    ToolBlock& tool_;

private:
    INT_PTR handle(UINT message, WPARAM wParam, LPARAM lParam);
    bool notified(const NMHDR& header);
    void commitTypedNumbers();
    void wakeLoop();

    HWND window_ = nullptr;
    size_t recordIndex_ = 0;
    bool localised_ = false, writing_ = false, stopped_ = false;
    static constexpr size_t kTypedMost = 16;
    int typed_[kTypedMost] = {};  // edits whose text the user changed, 0 for a free place
};

// A page that is mostly its table: each control bound to a field of the record at an offset,
// a check box to a 32-bit flag, an edit to a double shown in its format.
struct FieldControl {
    enum Kind { check, number };
    int id;
    Kind kind;
    size_t offset;
    NumberFormat format;
};

class FieldPage : public ToolPage {
public:
    FieldPage(ToolBlock& tool, const FieldControl* controls, size_t count, bool liveCallback)
        : ToolPage(tool), controls_(controls), count_(count), live_(liveCallback) {}

protected:
    void fill() override;
    void clicked(int id) override;
    void numberEntered(int id) override;

private:
    // A field of record, which a handler takes once: Dispose may mark the record as going at
    // any moment, but it stays until the tool's thread has ended.
    template <typename T>
    static T& field(void* record, const FieldControl& c) {
        return *reinterpret_cast<T*>(static_cast<char*>(record) + c.offset);
    }
    const FieldControl* controls_;
    size_t count_;
    bool live_;  // the host hears of every change with reason 1
};

}  // namespace orv
