#include "tools/dialog_list_win32.h"

#include "core/checked_alloc.h"

namespace orv {

namespace {

constexpr int kDialogSlots = 32;

// The table lives in a thread-local slot of the platform's own, which the thread frees
// itself: the library gets no notice of ending threads.
DWORD listSlot() {
    static const DWORD slot = TlsAlloc();
    return slot;
}

HWND* list(bool make) {
    HWND* table = static_cast<HWND*>(TlsGetValue(listSlot()));
    if (!table && make) {
        table = static_cast<HWND*>(checkedAlloc(kDialogSlots * sizeof(HWND)));
        TlsSetValue(listSlot(), table);
    }
    return table;
}

}  // namespace

bool addDialog(HWND dialog) {
    HWND* table = list(true);
    for (int i = 0; i < kDialogSlots; ++i) {
        if (!table[i]) return table[i] = dialog, true;
    }
    return false;
}

void removeDialog(HWND dialog) {
    HWND* table = list(false);
    for (int i = 0; table && i < kDialogSlots; ++i) {
        if (table[i] == dialog) table[i] = nullptr;
    }
}

bool takenAsDialogMessage(MSG& msg) {
    HWND* table = list(false);
    for (int i = 0; table && i < kDialogSlots; ++i) {
        if (table[i] && IsDialogMessageA(table[i], &msg)) return true;
    }
    return false;
}

void freeDialogList() {
    checkedFree(list(false));
    TlsSetValue(listSlot(), nullptr);
}

}  // namespace orv
