// The drive dialog ("Antrieb", dialog 273): one axis's drive block as a list of phases edited in
// place, the drive's switches and damping, a plot of the motion over two cycles, the generator
// of a back-and-forth motion and the drive files. Modal over the link page; it works on a copy
// and hands it back on OK only.
#pragma once

#include <windows.h>

#include "orvanta.h"

namespace orv {

class DriveDialog {
public:
    // Runs the dialog over owner for a copy of drive, captioned with the link's name and the
    // axis. True (and drive replaced by the copy) when the user pressed OK.
    bool run(HWND owner, OrvDrive& drive, const char* linkName, bool rotational);
    // Ends an open dialog as Cancel does (the sheet closing under it).
    void cancel();

private:
    HWND window_ = nullptr;
};

}  // namespace orv
