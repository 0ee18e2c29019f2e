#include "tools/editor_harness_win32.h"

#include <cstdio>
#include <cstdlib>

#include "preview_ids.h"

EditorHost::EditorHost() {
    WNDCLASSA windowClass = {};
    windowClass.lpfnWndProc = DefWindowProcA;
    windowClass.hInstance = GetModuleHandleA(nullptr);
    windowClass.lpszClassName = "OrvantaTestHost";
    windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_APPWORKSPACE + 1);
    RegisterClassA(&windowClass);  // fails harmlessly when registered already
    window_ = CreateWindowExA(0, "OrvantaTestHost", "Host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                              640, 480, nullptr, nullptr, windowClass.hInstance, nullptr);
    pumpMessages();
}

EditorHost::~EditorHost() {
    DestroyWindow(window_);
    pumpMessages();
}

int32_t EditorHost::applyCallback(void*, void* record, void* data, int32_t reason) {
    EditorHost* host = static_cast<EditorHost*>(data);
    const std::lock_guard<std::mutex> hold(host->lock_);
    host->calls_.push_back({record, reason, GetCurrentThreadId()});
    return 1;
}

std::vector<HWND> EditorHost::sheets() const {
    std::vector<HWND> found;
    for (HWND w = FindWindowA("#32770", nullptr); w; w = GetWindow(w, GW_HWNDNEXT))
        if (isDialog(w) && GetWindow(w, GW_OWNER) == window_ && !isMessageBox(w))
            found.push_back(w);
    return found;
}

HWND EditorHost::sheet(int timeoutMs) {
    HWND found = nullptr;
    waitUntil(
        [&] {
            const std::vector<HWND> all = sheets();
            found = all.size() == 1 && SendMessageA(all[0], PSM_GETCURRENTPAGEHWND, 0, 0) ? all[0]
                                                                                          : nullptr;
            return found != nullptr;
        },
        timeoutMs);
    return found;
}

std::string SheetDriver::pageTitle(int index) const {
    HWND tabs = reinterpret_cast<HWND>(SendMessageA(sheet_, PSM_GETTABCONTROL, 0, 0));
    char text[256] = "";
    TCITEMA item = {};
    item.mask = TCIF_TEXT;
    item.pszText = text;
    item.cchTextMax = sizeof text;
    SendMessageA(tabs, TCM_GETITEMA, index, reinterpret_cast<LPARAM>(&item));
    return text;
}

void SheetDriver::slide(int id, int position) const {
    HWND slider = control(id);
    SendMessageA(slider, TBM_SETPOS, TRUE, position);
    const UINT message = GetWindowLongA(slider, GWL_STYLE) & TBS_VERT ? WM_VSCROLL : WM_HSCROLL;
    SendMessageA(page(), message, MAKEWPARAM(TB_THUMBPOSITION, position),
                 reinterpret_cast<LPARAM>(slider));
    SendMessageA(page(), message, MAKEWPARAM(TB_ENDTRACK, 0), reinterpret_cast<LPARAM>(slider));
}

void SheetDriver::drag(int id, int position) const {
    HWND slider = control(id);
    SendMessageA(slider, TBM_SETPOS, TRUE, position);
    SendMessageA(page(), WM_VSCROLL, MAKEWPARAM(TB_THUMBTRACK, position),
                 reinterpret_cast<LPARAM>(slider));
}

COLORREF SheetDriver::controlPixel(int id, int x, int y) const {
    RECT r;
    GetClientRect(control(id), &r);
    const MemoryPicture picture(r.right, r.bottom);
    SendMessageA(control(id), WM_PRINTCLIENT, WPARAM(picture.dc()), PRF_CLIENT);
    return GetPixel(picture.dc(), x, y);
}

void SheetDriver::screenshot(const std::string& name) const {
    // A picture drawn by OpenGL on a window of its own is not in the screen's copy: the page's
    // preview prints it.
    EXPECT_FALSE(saveScreenshot(sheet_, name, GetDlgItem(page(), IDC_PREVIEW)).empty()) << name;
}

Watchdog::Watchdog(int timeoutMs)
    : disarmed_(CreateEventA(nullptr, TRUE, FALSE, nullptr)), timeoutMs_(timeoutMs) {
    thread_ = CreateThread(
        nullptr, 0,
        [](void* self) -> DWORD {
            const Watchdog& w = *static_cast<Watchdog*>(self);
            if (WaitForSingleObject(w.disarmed_, DWORD(w.timeoutMs_)) == WAIT_TIMEOUT) {
                std::printf("watchdog: no answer within %d ms\n", w.timeoutMs_);
                std::fflush(stdout);
                ExitProcess(3);
            }
            return 0;
        },
        this, 0, nullptr);
}

Watchdog::~Watchdog() {
    SetEvent(disarmed_);
    WaitForSingleObject(thread_, INFINITE);
    CloseHandle(thread_);
    CloseHandle(disarmed_);
}

std::string shownLanguage() {
    const char* language = std::getenv("ORVANTA_LANGUAGE");
    return language && std::string(language) == "en" ? "en" : "de";
}
