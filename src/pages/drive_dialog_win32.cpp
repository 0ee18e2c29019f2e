// Sections: the dialog's state; filling; commands; the procedure and running it.
#include "pages/drive_dialog_win32.h"

#include <commctrl.h>

#include <cstdio>
#include <cstring>

#include "core/library_module.h"
#include "core/message_box.h"
#include "i18n/localise.h"
#include "i18n/localise_win32.h"
#include "kinematics/drive_editing.h"
#include "link_page_ids.h"
#include "pages/drive_files_win32.h"
#include "pages/drive_phase_list_win32.h"
#include "pages/drive_plot_win32.h"
#include "tools/dialog_controls_win32.h"

namespace orv {

namespace {

// ---- the dialog's state --------------------------------------------------------------------

struct DriveEditing {
    OrvDrive drive;  // the copy the dialog edits
    const char* linkName;
    bool rotational;
    HWND window = nullptr;
    HWND* shown = nullptr;  // where the dialog's window is kept while it is open
    PhaseList phases;
    bool filling = false;
};

constexpr struct {
    int id;
    int32_t OrvDrive::*field;
} kSwitches[] = {
    {IDC_DRV_ON, &OrvDrive::on},
    {IDC_DRV_INVERSE, &OrvDrive::inverse},
    {IDC_DRV_CYCLIC, &OrvDrive::cyclic},
    {IDC_DRV_STRETCH, &OrvDrive::stretch},
};

void message(const DriveEditing& e, int32_t textId) {
    showLocalisedMessage(e.window, textId, 298, 0, kMbOk | kMbIconExclamation);  // "Antrieb"
}

// ---- filling -------------------------------------------------------------------------------

// The buttons that need a phase, or room for one more, follow the list.
void enableButtons(const DriveEditing& e) {
    const int row = e.phases.selected(), count = e.drive.count;
    const struct {
        int id;
        bool on;
    } buttons[] = {
        {IDC_DRV_ADD, count < 256},
        {IDC_DRV_INSERT, count < 256},
        {IDC_DRV_DELETE, row >= 0},
        {IDC_DRV_UP, row > 0},
        {IDC_DRV_DOWN, row >= 0 && row + 1 < count},
    };
    for (const auto& b : buttons) {
        HWND button = GetDlgItem(e.window, b.id);
        // A button about to be disabled hands the focus on, so the keyboard is never lost.
        if (!b.on && GetFocus() == button) SendMessageA(e.window, WM_NEXTDLGCTL, 0, FALSE);
        EnableWindow(button, b.on);
    }
}

void redrawPlot(const DriveEditing& e) {
    InvalidateRect(GetDlgItem(e.window, IDC_DRV_PLOT), nullptr, FALSE);
}

// The list (row select selected) and everything that depends on the phases.
void showPhases(DriveEditing& e, int select) {
    e.phases.show(select);
    enableButtons(e);
    redrawPlot(e);
}

void fill(DriveEditing& e) {
    e.filling = true;
    for (const auto& s : kSwitches) setCheck(e.window, s.id, e.drive.*s.field);
    double damping;
    std::memcpy(&damping, &e.drive.damping, sizeof damping);
    setEditNumber(e.window, IDC_DRV_DAMPING, damping);
    setEditNumber(e.window, IDC_DRV_GEN_PATH, e.rotational ? 90 : 1);
    setEditNumber(e.window, IDC_DRV_GEN_PERIOD, 1);
    for (int32_t f = 0; f <= 4; ++f) {
        char name[kLocalisedMax];
        motionFunctionName(f, name);
        SendDlgItemMessageA(e.window, IDC_DRV_GEN_FUNCTION, CB_ADDSTRING, 0,
                            reinterpret_cast<LPARAM>(name));
    }
    setComboSelection(e.window, IDC_DRV_GEN_FUNCTION, 1);  // "sinus": a smooth swing
    showPhases(e, e.drive.count > 0 ? 0 : -1);
    e.filling = false;
}

// "Antrieb: <link> – Linear" in the dialog's own (localised) caption.
void caption(const DriveEditing& e) {
    char own[kLocalisedMax], axis[kLocalisedMax], text[2 * kLocalisedMax + 80];
    GetWindowTextA(e.window, own, sizeof own);
    loadLocalisedString(e.rotational ? 297 : 296, axis);  // "Rotation" or "Linear"
    std::snprintf(text, sizeof text, "%s: %.64s - %s", own, e.linkName, axis);
    SetWindowTextA(e.window, text);
}

// ---- commands ------------------------------------------------------------------------------

// A new phase: a copy of the selected one (or the last), else one unit in one unit of time.
OrvPhase newPhase(const DriveEditing& e) {
    const int row = e.phases.selected();
    const int from = row >= 0 ? row : e.drive.count - 1;
    if (from >= 0) return e.drive.phases[from];
    OrvPhase phase = {};
    phase.W = e.rotational ? 90 : 1;
    phase.T = 1;
    return phase;
}

void addPhase(DriveEditing& e, bool atSelection) {
    const int row = e.phases.selected();
    const int at = atSelection ? (row >= 0 ? row : 0) : e.drive.count;
    if (!insertPhase(e.drive, at, newPhase(e))) {
        message(e, 282);  // "Ein Antrieb fasst höchstens 256 Phasen."
        return;
    }
    showPhases(e, at);
    e.phases.beginEdit(at, PhaseList::kFirstEdited);
}

void generate(DriveEditing& e) {
    const double path = readEditNumber(e.window, IDC_DRV_GEN_PATH);
    const double period = readEditNumber(e.window, IDC_DRV_GEN_PERIOD);
    const int function = readComboSelection(e.window, IDC_DRV_GEN_FUNCTION);
    if (!generateBackAndForth(e.drive, path, period, function)) {
        message(e, 281);  // "Die Periode muss größer als 0 sein."
        return;
    }
    showPhases(e, 0);
}

void command(DriveEditing& e, int id, int code) {
    if (e.filling) return;
    const int row = e.phases.selected();
    switch (id) {
        case IDC_DRV_ADD: addPhase(e, false); return;
        case IDC_DRV_INSERT: addPhase(e, true); return;
        case IDC_DRV_DELETE:
            if (deletePhase(e.drive, row))
                showPhases(e, row < e.drive.count ? row : e.drive.count - 1);
            return;
        case IDC_DRV_UP:
        case IDC_DRV_DOWN: {
            const int by = id == IDC_DRV_UP ? -1 : 1;
            if (movePhase(e.drive, row, by)) showPhases(e, row + by);
            return;
        }
        case IDC_DRV_GENERATE: generate(e); return;
        case IDC_DRV_LOAD:
            if (loadDriveFile(e.window, e.drive)) showPhases(e, e.drive.count > 0 ? 0 : -1);
            return;
        case IDC_DRV_SAVE: saveDriveFile(e.window, e.drive); return;
        case IDC_DRV_CELL:
            if ((code == EN_KILLFOCUS || code == CBN_KILLFOCUS) && e.phases.endEdit(true))
                redrawPlot(e);
            return;
        case IDC_DRV_DAMPING:
            if (code == EN_CHANGE) {
                const double damping = readEditNumber(e.window, id);
                std::memcpy(&e.drive.damping, &damping, sizeof damping);
                redrawPlot(e);
            }
            return;
    }
    for (const auto& s : kSwitches) {
        if (s.id != id || code != BN_CLICKED) continue;
        e.drive.*s.field = readCheck(e.window, id);
        redrawPlot(e);
    }
}

// ---- the procedure and running it ----------------------------------------------------------

INT_PTR CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        auto& e = *reinterpret_cast<DriveEditing*>(lParam);
        SetWindowLongPtrA(window, DWLP_USER, lParam);
        e.window = window;
        *e.shown = window;
        localiseWindow(window);
        caption(e);
        e.phases.attach(window, IDC_DRV_LIST, IDC_DRV_CELL, e.drive);
        fill(e);
        return TRUE;
    }
    auto* e = reinterpret_cast<DriveEditing*>(GetWindowLongPtrA(window, DWLP_USER));
    if (!e) return FALSE;
    switch (message) {
        case WM_COMMAND: {
            const int id = LOWORD(wParam);
            // While a cell is edited, Enter takes it and Escape drops it; the dialog stays.
            if (e->phases.editing() && (id == IDOK || id == IDCANCEL)) {
                if (id == IDOK ? e->phases.takeAndGoOn() : e->phases.endEdit(false)) redrawPlot(*e);
                return TRUE;
            }
            if (id == IDOK || id == IDCANCEL) {
                EndDialog(window, id);
                return TRUE;
            }
            command(*e, id, HIWORD(wParam));
            return TRUE;
        }
        case WM_NOTIFY: {
            const NMHDR& header = *reinterpret_cast<const NMHDR*>(lParam);
            if (header.idFrom != IDC_DRV_LIST) return FALSE;
            if (header.code == LVN_ITEMCHANGED) enableButtons(*e);
            e->phases.notified(header);
            return TRUE;
        }
        case WM_DRAWITEM: {
            const auto& item = *reinterpret_cast<const DRAWITEMSTRUCT*>(lParam);
            if (item.CtlID != IDC_DRV_PLOT) return FALSE;
            drawDrivePlot(item, e->drive, e->rotational);
            return TRUE;
        }
    }
    return FALSE;
}

}  // namespace

bool DriveDialog::run(HWND owner, OrvDrive& drive, const char* linkName, bool rotational) {
    if (window_) return false;
    DriveEditing* e = new DriveEditing{};
    std::memcpy(&e->drive, &drive, sizeof drive);
    e->linkName = linkName;
    e->rotational = rotational;
    e->shown = &window_;
    const INT_PTR result =
        DialogBoxParamA(static_cast<HINSTANCE>(libraryModule()), MAKEINTRESOURCEA(IDD_DRIVE), owner,
                        procedure, reinterpret_cast<LPARAM>(e));
    window_ = nullptr;
    const bool taken = result == IDOK;
    if (taken) std::memcpy(&drive, &e->drive, sizeof drive);
    delete e;
    return taken;
}

void DriveDialog::cancel() {
    if (window_) EndDialog(window_, IDCANCEL);
}

}  // namespace orv
