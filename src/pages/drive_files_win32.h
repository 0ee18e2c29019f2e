// "Laden..." and "Speichern..." of the drive dialog: the file dialogs over *.drv and *.csv,
// the folder remembered as "DrvDir", and the messages for files that cannot be used.
#pragma once

#include <windows.h>

#include "orvanta.h"

namespace orv {

// Asks for a file and reads its phases into drive (count and phases only). False, with the
// drive unchanged, when the user cancels or the file is refused (after a message naming the
// line).
bool loadDriveFile(HWND owner, OrvDrive& drive);
// Reads path into drive as loadDriveFile does once the file is chosen.
bool readDriveFromPath(HWND owner, const char* path, OrvDrive& drive);
// Asks for a file and writes the drive's phases into it.
void saveDriveFile(HWND owner, const OrvDrive& drive);

}  // namespace orv
