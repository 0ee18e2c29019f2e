// The helpers through which every page fills and reads its controls, addressed by dialog and
// control id, so that numbers look the same everywhere and every numeric edit accepts the
// same input.
#pragma once

#include <windows.h>

#include <cstdint>

#include "tools/dialog_numbers.h"

namespace orv {

// Edits.
void setEditNumber(HWND dialog, int id, double value, NumberFormat format = NumberFormat::general);
// At most kNumberInputMax characters of the edit through parseDialogNumber; an empty or
// unreadable control reads 0.0.
double readEditNumber(HWND dialog, int id);

// Sliders (trackbars). Ranges are 16-bit each; every value is rounded half away from zero.
void setupSlider(HWND dialog, int id, double ticStep, double minimum, double maximum);
void setupSliderWithoutTics(HWND dialog, int id, double pageSize, double minimum, double maximum);
void addSliderTic(HWND dialog, int id, double value);
void setSliderPosition(HWND dialog, int id, double value);
void setSliderSelection(HWND dialog, int id, double from, double to);
double sliderPosition(HWND dialog, int id);

// Check boxes: checked when value is nonzero; read as 1 only when checked (indeterminate is 0).
void setCheck(HWND dialog, int id, int32_t value);
int32_t readCheck(HWND dialog, int id);

// Combo boxes: the current selection.
void setComboSelection(HWND dialog, int id, int index);
int readComboSelection(HWND dialog, int id);

// A static or list control's text: the localised string stringId.
void setLocalisedText(HWND dialog, int id, int32_t stringId);

// Shows the calling thread's last error, formatted by the platform in the user's default
// language, in a message box captioned "Error" with the information icon.
void reportLastError(HWND owner);

}  // namespace orv
