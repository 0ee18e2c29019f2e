// The drive dialog's plot: the axis offset over two cycles of the drive, as the animation
// evaluates it, with the time along the bottom and the path (or the angle) up the side.
#pragma once

#include <windows.h>

#include "orvanta.h"

namespace orv {

// Draws into the owner-drawn control of item. A drive that is switched off is drawn in grey.
void drawDrivePlot(const DRAWITEMSTRUCT& item, const OrvDrive& drive, bool rotational);

}  // namespace orv
