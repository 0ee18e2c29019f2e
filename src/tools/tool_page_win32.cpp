// Sections: the page procedure; notifications and commands; typed numbers; table pages.
#include "tools/tool_page_win32.h"

#include <commctrl.h>
#include <prsht.h>

#include "i18n/localise_win32.h"
#include "tools/dialog_controls_win32.h"

namespace orv {

// ---- the page procedure --------------------------------------------------------------------

INT_PTR CALLBACK ToolPage::procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        ToolPage* page = reinterpret_cast<ToolPage*>(
            reinterpret_cast<const PROPSHEETPAGEA*>(lParam)->lParam);
        page->window_ = window;
        SetWindowLongPtrA(window, DWLP_USER, reinterpret_cast<LONG_PTR>(page));
        page->created();
        return TRUE;
    }
    // Cleared before the page object goes, so late messages of a dying window find nothing.
    ToolPage* page = reinterpret_cast<ToolPage*>(GetWindowLongPtrA(window, DWLP_USER));
    return page ? page->handle(message, wParam, lParam) : FALSE;
}

// ---- notifications and commands ------------------------------------------------------------

INT_PTR ToolPage::handle(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NOTIFY) return notified(*reinterpret_cast<const NMHDR*>(lParam));
    if (message == WM_VSCROLL || message == WM_HSCROLL) {
        const int id = GetDlgCtrlID(reinterpret_cast<HWND>(lParam));
        if (lParam && storing()) scrolled(id, LOWORD(wParam));
        return FALSE;
    }
    if (message != WM_COMMAND) return FALSE;
    const int id = LOWORD(wParam), code = HIWORD(wParam);
    switch (code) {
    case EN_CHANGE:
        if (writing_) break;
        for (int& slot : typed_) {
            if (slot == id) break;
            if (!slot) {
                slot = id;
                break;
            }
        }
        break;
    case EN_KILLFOCUS:
        for (int& slot : typed_) {
            if (slot != id) continue;
            slot = 0;
            if (storing()) numberEntered(id);
        }
        break;
    case BN_CLICKED:
        if (storing()) clicked(id);
        break;
    }
    return FALSE;
}

bool ToolPage::notified(const NMHDR& header) {
    switch (header.code) {
    case PSN_SETACTIVE:
        if (!localised_) localiseWindow(window_), localised_ = true;
        if (record()) {
            writing_ = true;
            fill();
            writing_ = false;
        }
        SetWindowLongPtrA(window_, DWLP_MSGRESULT, 0);
        return true;
    case PSN_KILLACTIVE:  // Enter on an edit presses OK without leaving the edit
        commitTypedNumbers();
        deactivated();
        SetWindowLongPtrA(window_, DWLP_MSGRESULT, FALSE);
        return true;
    case PSN_APPLY:
        commitTypedNumbers();
        deactivated();
        if (record()) applied();
        stopped_ = true;
        wakeLoop();
        SetWindowLongPtrA(window_, DWLP_MSGRESULT, PSNRET_NOERROR);
        return true;
    case PSN_RESET:
        deactivated();
        stopped_ = true;
        tool_.cancel();
        wakeLoop();
        return true;
    }
    return false;
}

// A sheet closed by a message sent from another thread (a host pressing its buttons, Dispose's
// close message) is handled inside the tool thread's wait for a message, which does not return
// for sent messages: a posted one lets the loop see that the sheet has closed.
void ToolPage::wakeLoop() { PostMessageA(GetParent(window_), WM_NULL, 0, 0); }

// ---- typed numbers -------------------------------------------------------------------------

void ToolPage::commitTypedNumbers() {
    for (int& slot : typed_) {
        const int id = slot;
        slot = 0;
        if (id && storing()) numberEntered(id);
    }
}

void ToolPage::showNumber(int id, double value, NumberFormat format) {
    const bool was = writing_;
    writing_ = true;
    setEditNumber(window_, id, value, format);
    writing_ = was;
}

void ToolPage::showText(int id, const char* text) {
    const bool was = writing_;
    writing_ = true;
    SetDlgItemTextA(window_, id, text);
    writing_ = was;
}

// ---- table pages ---------------------------------------------------------------------------

void FieldPage::fill() {
    void* r = record();
    for (const FieldControl* c = controls_; r && c != controls_ + count_; ++c) {
        if (c->kind == FieldControl::check)
            setCheck(window(), c->id, field<int32_t>(r, *c));
        else
            showNumber(c->id, field<double>(r, *c), c->format);
    }
}

void FieldPage::clicked(int id) {
    void* r = record();
    bool ours = false;
    for (const FieldControl* c = controls_; c != controls_ + count_; ++c)
        ours = ours || (c->id == id && c->kind == FieldControl::check);
    if (!ours || !r) return;
    // Every check box's state is stored, as the page shows it.
    for (const FieldControl* c = controls_; c != controls_ + count_; ++c) {
        if (c->kind == FieldControl::check) field<int32_t>(r, *c) = readCheck(window(), c->id);
    }
    if (live_) notifyHost(1);
}

void FieldPage::numberEntered(int id) {
    void* r = record();
    for (const FieldControl* c = controls_; r && c != controls_ + count_; ++c) {
        if (c->id != id || c->kind != FieldControl::number) continue;
        double& value = field<double>(r, *c);
        value = readEditNumber(window(), id);
        showNumber(id, value, c->format);  // the user sees the value as stored
        if (live_) notifyHost(1);
    }
}

}  // namespace orv
