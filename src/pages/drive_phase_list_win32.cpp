// Sections: names and columns; rows; the cell editor.
#include "pages/drive_phase_list_win32.h"

#include <commctrl.h>

#include <cstdio>
#include <cstring>
#include <iterator>

#include "i18n/localise.h"
#include "tools/dialog_controls_win32.h"
#include "tools/dialog_numbers.h"

namespace orv {

// ---- names and columns ---------------------------------------------------------------------

void motionFunctionName(int32_t f, char* out) {
    if (f < 0 || f > 4) {
        std::strcpy(out, "?");
        return;
    }
    loadLocalisedString(286 + f, out);  // "linear", "sinus", "cosinus", "beschleunigt", ...
}

namespace {

constexpr struct {
    int32_t title;  // "Nr.", "Weg W", "Dauer T", "Funktion F", "H"
    int width;      // in dialog units
    int format;
} kColumns[] = {
    {291, 22, LVCFMT_RIGHT}, {292, 66, LVCFMT_RIGHT}, {293, 66, LVCFMT_RIGHT},
    {294, 62, LVCFMT_LEFT},  {295, 26, LVCFMT_RIGHT},
};

// A cell's text as the list shows it.
void cellText(const OrvPhase& phase, int row, int column, char* out, size_t size) {
    switch (column) {
        case 0: std::snprintf(out, size, "%i", row + 1); break;
        case 1: formatDialogNumber(phase.W, NumberFormat::general, out, size); break;
        case 2: formatDialogNumber(phase.T, NumberFormat::general, out, size); break;
        case 3: motionFunctionName(phase.F, out); break;
        default: std::snprintf(out, size, "%i", int(phase.H)); break;
    }
}

}  // namespace

void PhaseList::attach(HWND dialog, int id, int editorId, OrvDrive& drive) {
    dialog_ = dialog;
    list_ = GetDlgItem(dialog, id);
    editorId_ = editorId;
    drive_ = &drive;
    SendMessageA(list_, LVM_SETEXTENDEDLISTVIEWSTYLE, 0, LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES);
    for (int c = 0; c < int(std::size(kColumns)); ++c) {
        char title[kLocalisedMax];
        loadLocalisedString(kColumns[c].title, title);
        RECT units = {0, 0, kColumns[c].width, 0};
        MapDialogRect(dialog, &units);
        LVCOLUMNA column = {};
        column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_FMT;
        column.fmt = kColumns[c].format;
        column.cx = units.right;
        column.pszText = title;
        SendMessageA(list_, LVM_INSERTCOLUMNA, c, reinterpret_cast<LPARAM>(&column));
    }
}

// ---- rows ----------------------------------------------------------------------------------

void PhaseList::showRow(int row) {
    for (int c = 0; c < int(std::size(kColumns)); ++c) {
        char text[kLocalisedMax];
        cellText(drive_->phases[row], row, c, text, sizeof text);
        LVITEMA item = {};
        item.iSubItem = c;
        item.pszText = text;
        SendMessageA(list_, LVM_SETITEMTEXTA, row, reinterpret_cast<LPARAM>(&item));
    }
}

void PhaseList::show(int select) {
    endEdit(false);
    const int count = drive_->count < 0 ? 0 : drive_->count > 256 ? 256 : drive_->count;
    SendMessageA(list_, WM_SETREDRAW, FALSE, 0);
    SendMessageA(list_, LVM_DELETEALLITEMS, 0, 0);
    for (int row = 0; row < count; ++row) {
        LVITEMA item = {};
        item.mask = LVIF_TEXT;
        item.iItem = row;
        item.pszText = const_cast<char*>("");
        SendMessageA(list_, LVM_INSERTITEMA, 0, reinterpret_cast<LPARAM>(&item));
        showRow(row);
    }
    SendMessageA(list_, WM_SETREDRAW, TRUE, 0);
    if (select >= 0 && select < count) {
        LVITEMA item = {};
        item.stateMask = item.state = LVIS_SELECTED | LVIS_FOCUSED;
        SendMessageA(list_, LVM_SETITEMSTATE, select, reinterpret_cast<LPARAM>(&item));
        SendMessageA(list_, LVM_ENSUREVISIBLE, select, FALSE);
    }
}

int PhaseList::selected() const {
    return int(SendMessageA(list_, LVM_GETNEXTITEM, WPARAM(-1), LVNI_SELECTED));
}

// ---- the cell editor -----------------------------------------------------------------------

void PhaseList::beginEdit(int row, int column) {
    endEdit(true);
    if (row < 0 || row >= drive_->count || column < kFirstEdited || column > kLastEdited) return;
    SendMessageA(list_, LVM_ENSUREVISIBLE, row, FALSE);
    RECT cell = {};
    cell.top = column;
    cell.left = LVIR_BOUNDS;
    SendMessageA(list_, LVM_GETSUBITEMRECT, row, reinterpret_cast<LPARAM>(&cell));
    MapWindowPoints(list_, dialog_, reinterpret_cast<POINT*>(&cell), 2);
    const bool function = column == 3;
    const int height = cell.bottom - cell.top;
    editor_ =
        CreateWindowExA(function ? 0 : WS_EX_CLIENTEDGE, function ? WC_COMBOBOXA : WC_EDITA, "",
                        WS_CHILD | WS_VISIBLE | WS_TABSTOP |
                            (function ? CBS_DROPDOWNLIST | WS_VSCROLL : ES_AUTOHSCROLL | ES_RIGHT),
                        cell.left, cell.top, cell.right - cell.left, function ? height * 7 : height,
                        dialog_, reinterpret_cast<HMENU>(INT_PTR(editorId_)), nullptr, nullptr);
    SendMessageA(editor_, WM_SETFONT, SendMessageA(dialog_, WM_GETFONT, 0, 0), FALSE);
    SetWindowPos(editor_, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    row_ = row;
    column_ = column;
    const OrvPhase& phase = drive_->phases[row];
    if (function) {
        for (int32_t f = 0; f <= 4; ++f) {
            char name[kLocalisedMax];
            motionFunctionName(f, name);
            SendMessageA(editor_, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(name));
        }
        SendMessageA(editor_, CB_SETCURSEL, phase.F >= 0 && phase.F <= 4 ? phase.F : -1, 0);
    } else {
        char text[kLocalisedMax];
        cellText(phase, row, column, text, sizeof text);
        SetWindowTextA(editor_, text);
        SendMessageA(editor_, EM_SETSEL, 0, -1);
    }
    SetFocus(editor_);
}

bool PhaseList::endEdit(bool take) {
    if (!editor_) return false;
    HWND editor = editor_;
    editor_ = nullptr;  // destroying it loses the focus, which ends the edit again
    bool changed = false;
    if (take && row_ < drive_->count) {
        OrvPhase& phase = drive_->phases[row_];
        const OrvPhase before = phase;
        if (column_ == 3) {
            const int f = int(SendMessageA(editor, CB_GETCURSEL, 0, 0));
            if (f >= 0 && f <= 4) phase.F = f;
        } else {
            const double value = readEditNumber(dialog_, editorId_);
            if (column_ == 1) phase.W = value;
            if (column_ == 2) phase.T = value;
            // H is whole; a number beyond 32 bits keeps the old one.
            if (column_ == 4 && value > -2147483649.0 && value < 2147483648.0)
                phase.H = int32_t(value);
        }
        changed = std::memcmp(&before, &phase, sizeof phase) != 0;
        showRow(row_);
    }
    const bool hadFocus = GetFocus() == editor;
    DestroyWindow(editor);
    if (hadFocus) SetFocus(list_);
    return changed;
}

bool PhaseList::takeAndGoOn() {
    const int row = row_, next = column_ + 1;
    const bool changed = endEdit(true);
    if (next <= kLastEdited) beginEdit(row, next);
    return changed;
}

void PhaseList::notified(const NMHDR& header) {
    if (header.code == NM_DBLCLK) {
        const auto& activate = reinterpret_cast<const NMITEMACTIVATE&>(header);
        LVHITTESTINFO hit = {};
        hit.pt = activate.ptAction;
        SendMessageA(list_, LVM_SUBITEMHITTEST, 0, reinterpret_cast<LPARAM>(&hit));
        if (hit.iItem >= 0)
            beginEdit(hit.iItem, hit.iSubItem < kFirstEdited ? kFirstEdited : hit.iSubItem);
    } else if (header.code == LVN_KEYDOWN &&
               reinterpret_cast<const NMLVKEYDOWN&>(header).wVKey == VK_F2) {
        beginEdit(selected(), kFirstEdited);
    }
}

}  // namespace orv
