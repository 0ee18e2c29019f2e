// Localisation of windows, dialogs and menus: every tagged caption passes through the
// translation table once.
#include "i18n/localise_win32.h"

#include <windows.h>

#include <cstring>

#include "i18n/localise.h"

namespace orv {

namespace {

void localiseOwnText(HWND window) {
    char text[kLocalisedMax] = {};
    GetWindowTextA(window, text, int(kLocalisedMax));
    if (localiseInPlace(text)) SetWindowTextA(window, text);
}

// EnumChildWindows already visits every descendant, so each text is localised exactly once
// and a translation that itself holds " $" stays as written.
BOOL CALLBACK localiseDescendant(HWND window, LPARAM) {
    localiseOwnText(window);
    return TRUE;
}

void localiseMenu(HMENU menu) {
    for (UINT position = 0;; ++position) {
        char text[kLocalisedMax] = {};
        MENUITEMINFOA item = {};
        item.cbSize = sizeof item;
        item.fMask = MIIM_FTYPE | MIIM_SUBMENU | MIIM_STRING;
        item.dwTypeData = text;
        item.cch = UINT(kLocalisedMax);
        if (!GetMenuItemInfoA(menu, position, TRUE, &item)) return;
        if (item.hSubMenu) localiseMenu(item.hSubMenu);

        // Separators, bitmaps and owner-drawn items have no text of their own to translate.
        if (item.fType & (MFT_SEPARATOR | MFT_BITMAP | MFT_OWNERDRAW)) continue;
        if (!std::strstr(text, " $") || !localiseInPlace(text)) continue;
        MENUITEMINFOA update = {};
        update.cbSize = sizeof update;
        update.fMask = MIIM_STRING;
        update.dwTypeData = text;
        SetMenuItemInfoA(menu, position, TRUE, &update);
    }
}

}  // namespace

void localiseWindow(HWND window) {
    localiseOwnText(window);
    EnumChildWindows(window, localiseDescendant, 0);
}

HWND createLocalisedDialog(HINSTANCE module, int templateId, HWND parent, DLGPROC proc,
                           LPARAM param) {
    HWND dialog = CreateDialogParamA(module, MAKEINTRESOURCEA(templateId), parent, proc, param);
    if (dialog) localiseWindow(dialog);
    return dialog;
}

HMENU loadLocalisedMenu(HINSTANCE module, int menuId) {
    HMENU menu = LoadMenuA(module, MAKEINTRESOURCEA(menuId));
    if (menu) localiseMenu(menu);
    return menu;
}

}  // namespace orv
