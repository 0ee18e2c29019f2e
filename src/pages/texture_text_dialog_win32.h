// The text texture's dialog ("Texturtext", dialog 247): modeless, at most one per texture page,
// editing the text, its size, placement, font and colours in the page's slot and drawing the
// texture again after every change, shown in the dialog's own preview box.
#pragma once

#include <windows.h>

#include "orvanta.h"

namespace orv {

// What the dialog asks of its texture page.
class TextTextureHost {
public:
    // "Anz. akt.": the text is drawn while it is typed, not only when the box is left.
    virtual bool drawsWhileTyping() const = 0;
    // Before the slot's image is replaced, and after it was.
    virtual void textChanging() = 0;
    virtual void textRendered() = 0;

protected:
    ~TextTextureHost() = default;
};

class TextTextureDialog {
public:
    TextTextureDialog(OrvTextureSlot& slot, TextTextureHost& host) : slot_(slot), host_(host) {}
    ~TextTextureDialog() { close(); }
    TextTextureDialog(const TextTextureDialog&) = delete;
    TextTextureDialog& operator=(const TextTextureDialog&) = delete;

    // Opens the dialog over page unless it is open already.
    void open(HWND page);
    // Closes it keeping the slot as it is ("OK").
    void close();
    bool isOpen() const { return window_ != nullptr; }

private:
    static INT_PTR CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    INT_PTR handle(UINT message, WPARAM wParam, LPARAM lParam);
    void fill();
    void command(int id, int code);
    // The text as typed into the slot, drawn when it changed.
    void storeText();
    void storeSize();
    void chooseFont();
    void chooseColour(uint32_t& colour);
    void render();
    void cancel();
    void drawPreview(const DRAWITEMSTRUCT& item) const;

    OrvTextureSlot& slot_;
    TextTextureHost& host_;
    HWND window_ = nullptr;
    bool filling_ = false;
    OrvTextureSlot before_{};  // the text fields as the dialog opened ("Abbrechen")
};

}  // namespace orv
