// What a Win32 test host needs beside the library's windows: waits that pump this thread's
// messages and end after a time limit instead of hanging, the dialogs a library thread shows
// found by their owner, file dialogs answered, and windows saved as PNG screenshots.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

// Dispatches what is queued for this thread.
void pumpMessages();
// Pumps this thread's messages until condition holds; false after timeoutMs.
bool pumpUntil(const std::function<bool()>& condition, int timeoutMs = 10000);

inline std::string windowText(HWND window) {
    char text[512] = "";
    GetWindowTextA(window, text, sizeof text);
    return text;
}

inline bool isDialog(HWND window) {
    char name[16] = "";
    GetClassNameA(window, name, sizeof name);
    return lstrcmpA(name, "#32770") == 0;
}

// A message box is a dialog with its text in control 0xFFFF; sheets are dialogs too.
inline bool isMessageBox(HWND window) {
    return GetDlgItem(window, 0xFFFF) != nullptr;
}

// A visible dialog (class "#32770") owned by owner for which match holds; null after
// timeoutMs. Only owned dialogs are matched: a window of a thread waiting for this one would
// never answer a question about its text.
HWND ownedDialog(HWND owner, const std::function<bool(HWND)>& match = nullptr,
                 int timeoutMs = 10000);

// A bitmap compatible with the screen, selected into a memory DC, for pictures drawn or printed
// into it.
class MemoryPicture {
public:
    MemoryPicture(int width, int height)
        : screen_(GetDC(nullptr)),
          dc_(CreateCompatibleDC(screen_)),
          bitmap_(CreateCompatibleBitmap(screen_, width, height)),
          old_(SelectObject(dc_, bitmap_)) {}
    ~MemoryPicture() {
        SelectObject(dc_, old_);
        DeleteObject(bitmap_);
        DeleteDC(dc_);
        ReleaseDC(nullptr, screen_);
    }
    MemoryPicture(const MemoryPicture&) = delete;
    MemoryPicture& operator=(const MemoryPicture&) = delete;
    HDC dc() const { return dc_; }

private:
    HDC screen_, dc_;
    HBITMAP bitmap_;
    HGDIOBJ old_;
};

// Types path into a file dialog (the name's edit and combo box) and presses its OK.
void chooseFile(HWND dialog, const std::string& path);

// Saves window as <ORVANTA_SCREENSHOTS, else "screenshots">/<name>.png (the folder created when
// missing) as the screen shows it; printed, a child drawing with OpenGL in a window of its own,
// prints itself into the picture. The path, or empty on failure.
std::string saveScreenshot(HWND window, const std::string& name, HWND printed = nullptr);
