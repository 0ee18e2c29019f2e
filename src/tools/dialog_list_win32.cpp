#include "tools/dialog_list_win32.h"

namespace orv {

namespace {

constexpr int kDialogSlots = 32;
thread_local HWND dialogs[kDialogSlots];

}  // namespace

bool addDialog(HWND dialog) {
    for (HWND& slot : dialogs) {
        if (!slot) return slot = dialog, true;
    }
    return false;
}

void removeDialog(HWND dialog) {
    for (HWND& slot : dialogs) {
        if (slot == dialog) slot = nullptr;
    }
}

bool takenAsDialogMessage(MSG& msg) {
    for (HWND slot : dialogs) {
        if (slot && IsDialogMessageA(slot, &msg)) return true;
    }
    return false;
}

}  // namespace orv
