// Localisation of windows, dialogs and menus, for Win32 sources. The module is passed
// explicitly; the library's own callers pass libraryModule().
#pragma once

#include <windows.h>

namespace orv {

// Localises the window's own text and the texts of all its descendants, each once.
void localiseWindow(HWND window);

// Creates the modeless dialog templateId from module's resources and localises it; null when
// the dialog cannot be created.
HWND createLocalisedDialog(HINSTANCE module, int templateId, HWND parent, DLGPROC proc,
                           LPARAM param);

// Loads menu menuId from module's resources with all its items and submenus localised; null
// when the menu cannot be loaded.
HMENU loadLocalisedMenu(HINSTANCE module, int menuId);

}  // namespace orv
