// The editors as a host and a user meet them: a host window, the sheet the library opens over
// it, and the messages a user's actions become. Every wait pumps the host's messages and ends
// after a time limit instead of hanging.
#pragma once

#include <windows.h>

#include <commctrl.h>
#include <gtest/gtest.h>
#include <prsht.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <mutex>
#include <string>
#include <vector>

#include "orvanta.h"
#include "support/host_win32.h"

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
    std::vector<ApplyCall> calls() const {
        const std::lock_guard<std::mutex> hold(lock_);
        return calls_;
    }

    // Pumps the host's messages until condition holds; false after timeoutMs.
    bool waitUntil(const std::function<bool()>& condition, int timeoutMs = 10000) {
        return pumpUntil(condition, timeoutMs);
    }

    // The sheets the library has opened over the host window (dialogs owned by it).
    std::vector<HWND> sheets() const;
    // Waits for the one sheet; null after the time limit.
    HWND sheet(int timeoutMs = 10000);

private:
    HWND window_ = nullptr;
    mutable std::mutex lock_;
    std::vector<ApplyCall> calls_;
};

// One sheet, driven by messages; or, made with plainDialog, a dialog of its own (its controls
// are then the dialog's).
class SheetDriver {
public:
    explicit SheetDriver(HWND sheet, bool plainDialog = false)
        : sheet_(sheet), plain_(plainDialog) {}
    HWND sheet() const { return sheet_; }
    HWND page() const {  // the current page's window
        return plain_ ? sheet_ : HWND(SendMessageA(sheet_, PSM_GETCURRENTPAGEHWND, 0, 0));
    }
    void selectPage(int index) const { SendMessageA(sheet_, PSM_SETCURSEL, index, 0); }
    std::string pageTitle(int index) const;
    int pageCount() const { return TabCtrl_GetItemCount(PropSheet_GetTabControl(sheet_)); }
    std::string text(int id) const { return windowText(control(id)); }  // of the current page
    // Types text into an edit and leaves it: WM_SETTEXT, then the edit's focus loss.
    void type(int id, const char* text) const {
        SendMessageA(control(id), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text));
        leave(id);
    }
    // Leaves an edit without typing.
    void leave(int id) const {
        SendMessageA(page(), WM_COMMAND, MAKEWPARAM(id, EN_KILLFOCUS), LPARAM(control(id)));
    }
    void click(int id) const { SendMessageA(control(id), BM_CLICK, 0, 0); }
    bool checked(int id) const {
        return SendMessageA(control(id), BM_GETCHECK, 0, 0) == BST_CHECKED;
    }
    void slide(int id, int position) const;  // TBM_SETPOS and the parent's scroll message
    void drag(int id, int position) const;   // the same while the thumb is held: no end
    int sliderPosition(int id) const { return int(SendMessageA(control(id), TBM_GETPOS, 0, 0)); }
    bool enabled(int id) const { return IsWindowEnabled(control(id)) != FALSE; }
    // A pixel of control id's picture, as the control prints its client area.
    COLORREF controlPixel(int id, int x, int y) const;
    // PSM_PRESSBUTTON: PSBTN_OK, PSBTN_CANCEL.
    void press(int button) const { SendMessageA(sheet_, PSM_PRESSBUTTON, button, 0); }
    void close() const { SendMessageA(sheet_, WM_CLOSE, 0, 0); }  // as the close box sends

    // Saves the sheet as <ORVANTA_SCREENSHOTS>/<name>.png with the page's preview (a failure
    // fails the test).
    void screenshot(const std::string& name) const;

private:
    HWND control(int id) const { return GetDlgItem(page(), id); }
    HWND sheet_;
    bool plain_;
};

// Ends the process unless destroyed within timeoutMs: for calls without a time limit.
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

// The language the library shows: "en" when ORVANTA_LANGUAGE says so, else "de".
std::string shownLanguage();
inline bool german() {
    return shownLanguage() == "de";
}

// Each record tool's calls, for OpenTool.
struct ToolCalls {
    static constexpr OrvApplyCallback cb = EditorHost::applyCallback;
    static int32_t open(EditorHost& h, Trn* r) { return OpenTrnTool(h.window(), r, cb, &h); }
    static int32_t open(EditorHost& h, Lgt* r) { return OpenLgtTool(h.window(), r, 0, 0, cb, &h); }
    static int32_t open(EditorHost& h, Env* r) { return OpenEnvTool(h.window(), r, 0, cb, &h); }
    static int32_t open(EditorHost& h, Mat* r) { return OpenMatTool(h.window(), r, 0, 0, cb, &h); }
    // The scene tool's first two pages only.
    static int32_t openShort(EditorHost& h, Env* r) {
        return OpenEnvTool1(h.window(), r, 0, cb, &h);
    }
    // One link tool with a page for each link that has no tool (nor follows, if asked).
    static int32_t openLinks(EditorHost& h, Lnk** links, int count, int32_t skipFollowers = 0,
                             int32_t closeNotifyOff = 0) {
        return OpenLnkTool(h.window(), links, count, skipFollowers, closeNotifyOff, cb, &h, 1, 2, 3,
                           4);
    }
    static int32_t wait(Trn* r) { return WaitTrnTool(r); }
    static int32_t wait(Lgt* r) { return WaitLgtTool(r); }
    static int32_t wait(Env* r) { return WaitEnvTool(r); }
    static int32_t wait(Mat* r) { return WaitMatTool(r); }
    static void dispose(Trn* r) { DisposeTrn(r); }
    static void dispose(Lgt* r) { DisposeLgt(r); }
    static void dispose(Env* r) { DisposeEnv(r); }
    static void dispose(Mat* r) { DisposeMat(r); }
};

// One record, prepared, with its tool open over a host window; cancelled and disposed of at
// the end.
template <typename Record>
struct OpenTool {
    using Prepare = std::function<void(Record&)>;
    using Opener = int32_t (*)(EditorHost&, Record*);

    explicit OpenTool(Record* created, const Prepare& prepare = nullptr,
                      Opener open = ToolCalls::open)
        : record(created) {
        if (prepare) prepare(*record);
        EXPECT_EQ(open(host, record), 1);
        sheet = SheetDriver(host.sheet());
    }
    ~OpenTool() {
        if (record->tool) sheet.press(PSBTN_CANCEL);
        host.waitUntil([this] { return !record->tool; });
        ToolCalls::wait(record);
        ToolCalls::dispose(record);
    }
    // The tool has ended within the time limit, and its Wait*Tool agrees.
    bool closed() {
        return host.waitUntil([this] { return !record->tool; }) && ToolCalls::wait(record) == 1;
    }
    int reasons(int32_t reason) const {
        int n = 0;
        for (const ApplyCall& c : host.calls()) n += c.reason == reason && c.record == record;
        return n;
    }

    EditorHost host;
    Record* record;
    SheetDriver sheet{nullptr};
};

// A slider case's value left unchecked.
constexpr double kUnchecked = std::numeric_limits<double>::quiet_NaN();

struct SliderCase {
    int page, slider, position;
    double expected;    // or kUnchecked
    const char* shown;  // the display's text, or null
    int display;
};

// Moves each slider of cases and checks value(record, case) and the display.
template <typename Record>
void slideAll(OpenTool<Record>& tool, const std::vector<SliderCase>& cases,
              const std::function<double(const Record&, const SliderCase&)>& value) {
    for (const SliderCase& c : cases) {
        SCOPED_TRACE(testing::Message() << "slider " << c.slider << " at " << c.position);
        tool.sheet.selectPage(c.page);
        tool.sheet.slide(c.slider, c.position);
        if (!std::isnan(c.expected)) {
            EXPECT_NEAR(value(*tool.record, c), c.expected, 1e-12);
        }
        if (c.shown) {
            EXPECT_EQ(tool.sheet.text(c.display), c.shown);
        }
    }
}
