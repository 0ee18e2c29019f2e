#include "pages/texture_text_dialog_win32.h"

#include <commdlg.h>

#include <cstring>
#include <vector>

#include "appearance/texture_image.h"
#include "core/library_module.h"
#include "core/process_lock.h"
#include "i18n/localise_win32.h"
#include "pages/slot_choice.h"
#include "texture_text_ids.h"
#include "tools/dialog_controls_win32.h"
#include "tools/dialog_list_win32.h"

namespace orv {

namespace {

// The colour dialog's custom colours for the text colours, kept for the process.
COLORREF textCustomColours[16];

constexpr SlotChoice kPlacements[] = {
    {IDC_TEXT_LEFT, &OrvTextureSlot::textAlignH, 0},
    {IDC_TEXT_CENTRE, &OrvTextureSlot::textAlignH, 1},
    {IDC_TEXT_RIGHT, &OrvTextureSlot::textAlignH, 2},
    {IDC_TEXT_TOP, &OrvTextureSlot::textAlignV, 0},
    {IDC_TEXT_MIDDLE, &OrvTextureSlot::textAlignV, 4},
    {IDC_TEXT_BOTTOM, &OrvTextureSlot::textAlignV, 8},
};

// The fields "Abbrechen" gives back, from the text to the vertical placement.
constexpr size_t kTextFrom = offsetof(OrvTextureSlot, text);
constexpr size_t kTextTo = offsetof(OrvTextureSlot, mode);

}  // namespace

void TextTextureDialog::open(HWND page) {
    if (window_) return;
    std::memcpy(reinterpret_cast<char*>(&before_) + kTextFrom,
                reinterpret_cast<const char*>(&slot_) + kTextFrom, kTextTo - kTextFrom);
    window_ = createLocalisedDialog(static_cast<HINSTANCE>(libraryModule()), IDD_TEXTURE_TEXT, page,
                                    procedure, reinterpret_cast<LPARAM>(this));
    if (!window_) return;
    addDialog(window_);
    ShowWindow(window_, SW_SHOW);
}

void TextTextureDialog::close() {
    if (!window_) return;
    HWND window = window_;
    window_ = nullptr;
    removeDialog(window);
    SetWindowLongPtrA(window, DWLP_USER, 0);
    DestroyWindow(window);
}

INT_PTR CALLBACK TextTextureDialog::procedure(HWND window, UINT message, WPARAM wParam,
                                              LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        auto* dialog = reinterpret_cast<TextTextureDialog*>(lParam);
        SetWindowLongPtrA(window, DWLP_USER, lParam);
        dialog->window_ = window;
        dialog->fill();
        return TRUE;
    }
    auto* dialog = reinterpret_cast<TextTextureDialog*>(GetWindowLongPtrA(window, DWLP_USER));
    return dialog ? dialog->handle(message, wParam, lParam) : FALSE;
}

INT_PTR TextTextureDialog::handle(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_COMMAND: command(LOWORD(wParam), HIWORD(wParam)); return TRUE;
        case WM_DRAWITEM:
            if (wParam != IDC_TEXT_PREVIEW) return FALSE;
            drawPreview(*reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
            return TRUE;
    }
    return FALSE;
}

void TextTextureDialog::fill() {
    filling_ = true;
    char text[sizeof slot_.text + 1] = {};
    std::memcpy(text, slot_.text, sizeof slot_.text);
    SendDlgItemMessageA(window_, IDC_TEXT_TEXT, EM_LIMITTEXT, sizeof slot_.text, 0);
    SetDlgItemTextA(window_, IDC_TEXT_TEXT, text);
    SetDlgItemInt(window_, IDC_TEXT_SIZE, slot_.textSize, FALSE);
    for (const auto& p : kPlacements) setCheck(window_, p.id, slot_.*p.field == p.value);
    filling_ = false;
}

void TextTextureDialog::command(int id, int code) {
    if (filling_) return;
    if (id == IDC_TEXT_TEXT) {
        if ((code == EN_CHANGE && host_.drawsWhileTyping()) || code == EN_KILLFOCUS) storeText();
        return;
    }
    if (id == IDC_TEXT_SIZE) {
        if (code == EN_KILLFOCUS) storeSize();
        return;
    }
    if (code != BN_CLICKED) return;
    for (const auto& p : kPlacements) {
        if (p.id != id) continue;
        slot_.*p.field = p.value;
        render();
        return;
    }
    switch (id) {
        case IDC_TEXT_FONT: chooseFont(); break;
        case IDC_TEXT_BACKGROUND: chooseColour(slot_.textBackground); break;
        case IDC_TEXT_FOREGROUND: chooseColour(slot_.textColor); break;
        case IDC_TEXT_OK:
        case IDOK:
            storeText();
            storeSize();
            close();
            break;
        case IDC_TEXT_CANCEL:
        case IDCANCEL: cancel(); break;
    }
}

void TextTextureDialog::storeText() {
    char text[sizeof slot_.text + 1] = {};
    GetDlgItemTextA(window_, IDC_TEXT_TEXT, text, sizeof text);
    if (std::strncmp(text, slot_.text, sizeof slot_.text) == 0) return;
    std::memset(slot_.text, 0, sizeof slot_.text);
    std::memcpy(slot_.text, text, strnlen(text, sizeof slot_.text));
    render();
}

void TextTextureDialog::storeSize() {
    BOOL read = FALSE;
    const UINT size = GetDlgItemInt(window_, IDC_TEXT_SIZE, &read, FALSE);
    if (!read || size == slot_.textSize) return;
    slot_.textSize = size;
    render();
}

void TextTextureDialog::chooseFont() {
    LOGFONTA font;
    static_assert(sizeof font == sizeof slot_.textFont, "the slot keeps a LOGFONTA");
    std::memcpy(&font, slot_.textFont, sizeof font);
    CHOOSEFONTA dialog{};
    dialog.lStructSize = sizeof dialog;
    dialog.hwndOwner = window_;
    dialog.lpLogFont = &font;
    dialog.Flags = CF_SCREENFONTS | CF_EFFECTS | CF_INITTOLOGFONTSTRUCT;
    dialog.rgbColors = slot_.textColor;
    if (!ChooseFontA(&dialog) || !window_) return;
    std::memcpy(slot_.textFont, &font, sizeof font);
    slot_.textColor = dialog.rgbColors;
    render();
}

void TextTextureDialog::chooseColour(uint32_t& colour) {
    CHOOSECOLORA dialog{};
    dialog.lStructSize = sizeof dialog;
    dialog.hwndOwner = window_;
    dialog.rgbResult = colour;
    dialog.lpCustColors = textCustomColours;
    dialog.Flags = CC_FULLOPEN | CC_RGBINIT;
    if (!ChooseColorA(&dialog) || !window_) return;
    colour = dialog.rgbResult;
    render();
}

void TextTextureDialog::render() {
    host_.textChanging();
    renderTextTexture(slot_);
    if (window_) InvalidateRect(GetDlgItem(window_, IDC_TEXT_PREVIEW), nullptr, FALSE);
    host_.textRendered();
}

void TextTextureDialog::cancel() {
    std::memcpy(reinterpret_cast<char*>(&slot_) + kTextFrom,
                reinterpret_cast<const char*>(&before_) + kTextFrom, kTextTo - kTextFrom);
    close();
    render();
}

void TextTextureDialog::drawPreview(const DRAWITEMSTRUCT& item) const {
    const RECT& box = item.rcItem;
    std::vector<uint32_t> picture;
    uint32_t side = 0;
    {
        // The image's bytes red, green, blue, alpha become the bitmap's blue, green, red words.
        ProcessLockScope lock;
        if (slot_.pixels && slot_.side > 0) {
            side = slot_.side;
            picture.resize(size_t(side) * side);
            const uint8_t* p = slot_.pixels;
            for (size_t i = 0; i < picture.size(); ++i, p += 4)
                picture[i] = uint32_t(p[0]) << 16 | p[1] << 8 | p[2];
        }
    }
    if (!side) {
        FillRect(item.hDC, &box, GetSysColorBrush(COLOR_BTNFACE));
        return;
    }
    BITMAPINFO info{};
    info.bmiHeader = {
        sizeof(BITMAPINFOHEADER), LONG(side), LONG(side), 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    SetStretchBltMode(item.hDC, HALFTONE);
    SetBrushOrgEx(item.hDC, 0, 0, nullptr);
    StretchDIBits(item.hDC, box.left, box.top, box.right - box.left, box.bottom - box.top, 0, 0,
                  int(side), int(side), picture.data(), &info, DIB_RGB_COLORS, SRCCOPY);
}

}  // namespace orv
