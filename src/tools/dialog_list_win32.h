// A thread's modeless dialogs: the windows whose keyboard navigation the thread's message
// loop serves. 32 slots; registration takes the first free one.
#pragma once

#include <windows.h>

namespace orv {

bool addDialog(HWND dialog);
void removeDialog(HWND dialog);
// True when one of the thread's dialogs took msg as a dialog message.
bool takenAsDialogMessage(MSG& msg);

}  // namespace orv
