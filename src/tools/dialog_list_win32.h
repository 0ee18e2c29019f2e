// A thread's modeless dialogs: the windows whose keyboard navigation the thread's message
// loop serves. A table of 32 slots per thread, made on the first registration and freed by
// freeDialogList; registration takes the first free slot.
#pragma once

#include <windows.h>

namespace orv {

bool addDialog(HWND dialog);
void removeDialog(HWND dialog);
// True when one of the thread's dialogs took msg as a dialog message.
bool takenAsDialogMessage(MSG& msg);
// Frees the calling thread's table (before the thread ends).
void freeDialogList();

}  // namespace orv
