// Testing the editors as a host and a user meet them: a host window, the sheet the library
// opens over it, and the messages a user's actions become (as Wine's own comctl32 tests drive
// property sheets). Every wait pumps the host's messages and ends after a time limit instead
// of hanging. Each page opened can be saved as a PNG screenshot.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct ApplyCall {
    void* record;
    int32_t reason;
    DWORD thread;  // the thread the callback ran on
};

class EditorHost {
public:
    EditorHost();
    ~EditorHost();
    EditorHost(const EditorHost&) = delete;
    EditorHost& operator=(const EditorHost&) = delete;

    HWND window() const { return window_; }

    // The apply callback to hand to Open*Tool; its calls are recorded in calls().
    static int32_t applyCallback(void* owner, void* record, void* data, int32_t reason);
    void* callbackData() { return this; }
    std::vector<ApplyCall> calls() const;

    // Pumps the host's messages until condition holds; false after timeoutMs.
    bool waitUntil(const std::function<bool()>& condition, int timeoutMs = 10000);

    // The sheets the library has opened over the host window (class "#32770", owned by it).
    std::vector<HWND> sheets() const;
    // Waits for the one sheet; null after the time limit.
    HWND sheet(int timeoutMs = 10000);

private:
    HWND window_ = nullptr;
    mutable CRITICAL_SECTION lock_;
    std::vector<ApplyCall> calls_;
};

// One sheet, driven by messages; or, made with plainDialog, a dialog of its own (its controls
// are then the dialog's).
class SheetDriver {
public:
    explicit SheetDriver(HWND sheet, bool plainDialog = false)
        : sheet_(sheet), plain_(plainDialog) {}
    HWND sheet() const { return sheet_; }
    HWND page() const;  // the current page's window
    void selectPage(int index) const;
    std::string pageTitle(int index) const;
    std::string text(int id) const;  // a control of the current page
    // Types text into an edit and leaves it: WM_SETTEXT, then the edit's focus loss.
    void type(int id, const char* text) const;
    // Leaves an edit without typing.
    void leave(int id) const;
    void click(int id) const;                // BM_CLICK
    bool checked(int id) const;
    void slide(int id, int position) const;  // TBM_SETPOS and the parent's scroll message
    void drag(int id, int position) const;   // the same while the thumb is held: no end
    int sliderPosition(int id) const;
    bool enabled(int id) const;
    // A pixel of control id's picture, as the control prints its client area.
    COLORREF controlPixel(int id, int x, int y) const;
    void press(int button) const;            // PSM_PRESSBUTTON: PSBTN_OK, PSBTN_CANCEL
    void close() const;                      // a close message, as the close box sends

    // Saves the sheet as build/windows/screenshots/<name>.png (the folder from
    // ORVANTA_SCREENSHOTS, created when missing); returns the path, empty on failure.
    std::string screenshot(const std::string& name) const;

private:
    HWND control(int id) const;
    HWND sheet_;
    bool plain_;
};

// Ends the process with a message when it is not disarmed (destroyed) within timeoutMs: for
// calls that have no time limit of their own, such as Wait*Tool.
class Watchdog {
public:
    explicit Watchdog(int timeoutMs);
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

private:
    HANDLE disarmed_, thread_;
    int timeoutMs_;
};

// The language the library shows: "en" when ORVANTA_LANGUAGE says so (an OrvantaDLL.ltx
// beside the DLL), else "de".
std::string shownLanguage();
