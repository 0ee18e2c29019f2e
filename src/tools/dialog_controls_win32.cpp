#include "tools/dialog_controls_win32.h"

#include <commctrl.h>

#include "core/message_box.h"
#include "i18n/localise.h"

namespace orv {

namespace {

// Longest text formatDialogNumber produces: "%.0f" of the largest double has 309 digits.
constexpr size_t kFormattedMax = 320;

LRESULT sendToControl(HWND dialog, int id, UINT message, WPARAM wParam, LPARAM lParam) {
    return SendDlgItemMessageA(dialog, id, message, wParam, lParam);
}

// Trackbar ranges and selections pack two 16-bit values into one LPARAM.
LPARAM packedPair(double low, double high) {
    return static_cast<LPARAM>(
        MAKELONG(static_cast<WORD>(roundHalfAway(low)), static_cast<WORD>(roundHalfAway(high))));
}

}  // namespace

void setEditNumber(HWND dialog, int id, double value, NumberFormat format) {
    char text[kFormattedMax];
    formatDialogNumber(value, format, text, sizeof text);
    SetDlgItemTextA(dialog, id, text);
}

double readEditNumber(HWND dialog, int id) {
    char text[kNumberInputMax + 1] = "";
    if (GetDlgItemTextA(dialog, id, text, sizeof text) == 0) return 0.0;
    return parseDialogNumber(text);
}

void setupSlider(HWND dialog, int id, double ticStep, double minimum, double maximum) {
    const int32_t step = roundHalfAway(ticStep);
    sendToControl(dialog, id, TBM_SETTICFREQ, static_cast<WPARAM>(step), 0);
    sendToControl(dialog, id, TBM_SETPAGESIZE, 0, static_cast<LPARAM>(step));
    sendToControl(dialog, id, TBM_SETRANGE, TRUE, packedPair(minimum, maximum));
}

void setupSliderWithoutTics(HWND dialog, int id, double pageSize, double minimum, double maximum) {
    sendToControl(dialog, id, TBM_CLEARTICS, FALSE, 0);
    sendToControl(dialog, id, TBM_CLEARSEL, FALSE, 0);
    sendToControl(dialog, id, TBM_SETPAGESIZE, 0, static_cast<LPARAM>(roundHalfAway(pageSize)));
    sendToControl(dialog, id, TBM_SETRANGE, TRUE, packedPair(minimum, maximum));
}

void addSliderTic(HWND dialog, int id, double value) {
    sendToControl(dialog, id, TBM_SETTIC, 0, static_cast<LPARAM>(roundHalfAway(value)));
}

void setSliderPosition(HWND dialog, int id, double value) {
    sendToControl(dialog, id, TBM_SETPOS, TRUE, static_cast<LPARAM>(roundHalfAway(value)));
}

void setSliderSelection(HWND dialog, int id, double from, double to) {
    sendToControl(dialog, id, TBM_SETSEL, TRUE, packedPair(from, to));
}

double sliderPosition(HWND dialog, int id) {
    return static_cast<double>(static_cast<int32_t>(sendToControl(dialog, id, TBM_GETPOS, 0, 0)));
}

void setCheck(HWND dialog, int id, int32_t value) {
    CheckDlgButton(dialog, id, value != 0 ? BST_CHECKED : BST_UNCHECKED);
}

int32_t readCheck(HWND dialog, int id) {
    return IsDlgButtonChecked(dialog, id) == BST_CHECKED ? 1 : 0;
}

void setComboSelection(HWND dialog, int id, int index) {
    sendToControl(dialog, id, CB_SETCURSEL, static_cast<WPARAM>(index), 0);
}

int readComboSelection(HWND dialog, int id) {
    return static_cast<int>(sendToControl(dialog, id, CB_GETCURSEL, 0, 0));
}

void setLocalisedText(HWND dialog, int id, int32_t stringId) {
    char text[kLocalisedMax];
    loadLocalisedString(stringId, text);
    SetDlgItemTextA(dialog, id, text);
}

void reportLastError(HWND owner) {
    const DWORD error = GetLastError();
    char* text = nullptr;
    const DWORD length = FormatMessageA(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, error, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), reinterpret_cast<LPSTR>(&text),
        0, nullptr);
    // An error the platform has no text for still gets its box, empty.
    showMessageBox(owner, length != 0 && text ? text : "", "Error", kMbOk | kMbIconInformation);
    if (text) LocalFree(text);
}

}  // namespace orv
