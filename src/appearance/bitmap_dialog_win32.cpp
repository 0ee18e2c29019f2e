// The open-file dialog for bitmaps: explorer style with a hook, and template 242's preview box
// drawn from the selected file.
#include <windows.h>
#include <commdlg.h>

#include <cstring>

#include "appearance/bitmap_decode.h"
#include "appearance/bitmap_dialog.h"
#include "core/library_module.h"
#include "i18n/localise.h"
#include "settings/settings.h"

namespace orv {

namespace {

// The selected file's picture, or none.
struct Preview {
    Bitmap picture;
    bool loaded = false;

    void load(const char* path) {
        loaded = readBitmapFile(path, picture) == BitmapStatus::ok;
    }
};

// The top-left square of edge min(w, h) stretched into the box; the button-face colour when
// nothing loaded.
void drawPreview(const Preview& preview, const DRAWITEMSTRUCT& item) {
    const RECT& box = item.rcItem;
    if (!preview.loaded) {
        FillRect(item.hDC, &box, GetSysColorBrush(COLOR_BTNFACE));
        return;
    }
    const Bitmap& p = preview.picture;
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    info.bmiHeader.biWidth = p.width;
    info.bmiHeader.biHeight = -p.height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    HDC dc = CreateCompatibleDC(item.hDC);
    void* bits = nullptr;
    HBITMAP section = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    if (section) {
        std::memcpy(bits, p.pixels.get(), size_t(4) * p.width * p.height);
        const HGDIOBJ old = SelectObject(dc, section);
        const int edge = p.width < p.height ? p.width : p.height;
        SetStretchBltMode(item.hDC, HALFTONE);
        SetBrushOrgEx(item.hDC, 0, 0, nullptr);
        StretchBlt(item.hDC, box.left, box.top, box.right - box.left, box.bottom - box.top, dc,
                   0, 0, edge, edge, SRCCOPY);
        SelectObject(dc, old);
        DeleteObject(section);
    }
    DeleteDC(dc);
}

UINT_PTR CALLBACK previewHook(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_INITDIALOG:
        SetWindowLongPtrA(dialog, GWLP_USERDATA,
                          reinterpret_cast<const OPENFILENAMEA*>(lParam)->lCustData);
        return TRUE;
    case WM_NOTIFY:
        if (reinterpret_cast<const NMHDR*>(lParam)->code == CDN_SELCHANGE) {
            auto* preview = reinterpret_cast<Preview*>(GetWindowLongPtrA(dialog, GWLP_USERDATA));
            char path[MAX_PATH] = "";
            // The explorer dialog is the hook dialog's parent.
            if (SendMessageA(GetParent(dialog), CDM_GETFILEPATH, sizeof path,
                             reinterpret_cast<LPARAM>(path)) > 0) {
                preview->load(path);
            } else {
                preview->loaded = false;
            }
            InvalidateRect(GetDlgItem(dialog, kBitmapPreviewBox), nullptr, FALSE);
        }
        return 0;
    case WM_DRAWITEM:
        if (wParam == UINT(kBitmapPreviewBox)) {
            const auto* preview =
                reinterpret_cast<const Preview*>(GetWindowLongPtrA(dialog, GWLP_USERDATA));
            drawPreview(*preview, *reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
            return TRUE;
        }
        return 0;
    default:
        return 0;
    }
}

}  // namespace

bool chooseBitmapFile(void* owner, char* path) {
    // 112 "Bitmap (*.bmp):*.bmp": its colons separate the filter's strings, which end with an
    // empty one.
    char filter[kLocalisedMax + 2] = {};
    loadLocalisedString(112, filter);
    const bool withPreview = std::strstr(filter, "bmp") != nullptr;
    for (char* c = filter; *c; ++c) {
        if (*c == ':') *c = '\n';
    }
    for (char* c = filter; *c; ++c) {
        if (*c == '\n') *c = '\0';
    }
    char title[kLocalisedMax];
    loadLocalisedString(113, title);  // "Bild laden"
    char folder[settings::kStringBytes];
    const bool remembered =
        settings::readString(settings::kUserHive, settings::kLibrarySubkey, "TexDir", folder) &&
        folder[0] != '\0';

    Preview preview;
    OPENFILENAMEA dialog = {};
    dialog.lStructSize = sizeof dialog;
    dialog.hwndOwner = static_cast<HWND>(owner);
    dialog.hInstance = static_cast<HINSTANCE>(libraryModule());
    dialog.lpstrFilter = filter;
    dialog.lpstrFile = path;
    dialog.nMaxFile = kBitmapPathChars;
    dialog.lpstrInitialDir = remembered ? folder : nullptr;
    dialog.lpstrTitle = title;
    dialog.Flags = OFN_EXPLORER | OFN_ENABLEHOOK | OFN_NOCHANGEDIR | OFN_FILEMUSTEXIST |
                   OFN_HIDEREADONLY | (withPreview ? OFN_ENABLETEMPLATE : 0);
    dialog.lpfnHook = previewHook;
    dialog.lpTemplateName = MAKEINTRESOURCEA(kBitmapPreviewTemplate);
    dialog.lCustData = reinterpret_cast<LPARAM>(&preview);
    if (!GetOpenFileNameA(&dialog)) return false;

    char current[kBitmapPathChars];
    const DWORD length = GetCurrentDirectoryA(sizeof current, current);
    if (length > 0 && length < sizeof current)
        settings::writeString(settings::kUserHive, settings::kLibrarySubkey, "TexDir", current);
    return true;
}

}  // namespace orv
