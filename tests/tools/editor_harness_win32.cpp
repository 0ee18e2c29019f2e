#include "tools/editor_harness_win32.h"

#include <commctrl.h>
#include <prsht.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "support/png_write.h"

namespace {

LRESULT CALLBACK hostProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    return DefWindowProcA(window, message, wParam, lParam);
}

constexpr int kPreviewControl = 1094;  // the editors' preview picture

void pump() {
    MSG msg;
    while (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&msg);
        DispatchMessageA(&msg);
    }
}

}  // namespace

EditorHost::EditorHost() {
    InitializeCriticalSection(&lock_);
    WNDCLASSA windowClass = {};
    windowClass.lpfnWndProc = hostProcedure;
    windowClass.hInstance = GetModuleHandleA(nullptr);
    windowClass.lpszClassName = "OrvantaTestHost";
    windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_APPWORKSPACE + 1);
    RegisterClassA(&windowClass);  // fails harmlessly when registered already
    window_ = CreateWindowExA(0, "OrvantaTestHost", "Host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                              640, 480, nullptr, nullptr, windowClass.hInstance, nullptr);
    pump();
}

EditorHost::~EditorHost() {
    DestroyWindow(window_);
    pump();
    DeleteCriticalSection(&lock_);
}

int32_t EditorHost::applyCallback(void*, void* record, void* data, int32_t reason) {
    EditorHost* host = static_cast<EditorHost*>(data);
    EnterCriticalSection(&host->lock_);
    host->calls_.push_back({record, reason, GetCurrentThreadId()});
    LeaveCriticalSection(&host->lock_);
    return 1;
}

std::vector<ApplyCall> EditorHost::calls() const {
    EnterCriticalSection(&lock_);
    std::vector<ApplyCall> copy = calls_;
    LeaveCriticalSection(&lock_);
    return copy;
}

bool EditorHost::waitUntil(const std::function<bool()>& condition, int timeoutMs) {
    const ULONGLONG end = GetTickCount64() + ULONGLONG(timeoutMs);
    while (!condition()) {
        if (GetTickCount64() > end) return false;
        pump();
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 5, QS_ALLINPUT);
    }
    return true;
}

std::vector<HWND> EditorHost::sheets() const {
    struct Search {
        HWND owner;
        std::vector<HWND> found;
    } search{window_, {}};
    EnumWindows(
        [](HWND window, LPARAM param) -> BOOL {
            Search& s = *reinterpret_cast<Search*>(param);
            char name[16] = "";
            GetClassNameA(window, name, sizeof name);
            if (lstrcmpA(name, "#32770") == 0 && GetWindow(window, GW_OWNER) == s.owner &&
                !GetDlgItem(window, 0xFFFF))  // not a message box
                s.found.push_back(window);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.found;
}

HWND EditorHost::sheet(int timeoutMs) {
    HWND found = nullptr;
    waitUntil(
        [&] {
            const std::vector<HWND> all = sheets();
            found = all.size() == 1 && SendMessageA(all[0], PSM_GETCURRENTPAGEHWND, 0, 0)
                        ? all[0]
                        : nullptr;
            return found != nullptr;
        },
        timeoutMs);
    return found;
}

HWND SheetDriver::page() const {
    if (plain_) return sheet_;
    return reinterpret_cast<HWND>(SendMessageA(sheet_, PSM_GETCURRENTPAGEHWND, 0, 0));
}

void SheetDriver::selectPage(int index) const { SendMessageA(sheet_, PSM_SETCURSEL, index, 0); }

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

HWND SheetDriver::control(int id) const { return GetDlgItem(page(), id); }

std::string SheetDriver::text(int id) const {
    char text[512] = "";
    GetWindowTextA(control(id), text, sizeof text);
    return text;
}

void SheetDriver::type(int id, const char* text) const {
    SendMessageA(control(id), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text));
    leave(id);
}

void SheetDriver::leave(int id) const {
    SendMessageA(page(), WM_COMMAND, MAKEWPARAM(id, EN_KILLFOCUS),
                 reinterpret_cast<LPARAM>(control(id)));
}

void SheetDriver::click(int id) const { SendMessageA(control(id), BM_CLICK, 0, 0); }

bool SheetDriver::checked(int id) const {
    return SendMessageA(control(id), BM_GETCHECK, 0, 0) == BST_CHECKED;
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

int SheetDriver::sliderPosition(int id) const {
    return int(SendMessageA(control(id), TBM_GETPOS, 0, 0));
}

bool SheetDriver::enabled(int id) const { return IsWindowEnabled(control(id)) != FALSE; }

COLORREF SheetDriver::controlPixel(int id, int x, int y) const {
    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    RECT r;
    GetClientRect(control(id), &r);
    HBITMAP bitmap = CreateCompatibleBitmap(screen, r.right, r.bottom);
    HGDIOBJ old = SelectObject(memory, bitmap);
    SendMessageA(control(id), WM_PRINTCLIENT, reinterpret_cast<WPARAM>(memory), PRF_CLIENT);
    const COLORREF colour = GetPixel(memory, x, y);
    SelectObject(memory, old);
    DeleteObject(bitmap);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
    return colour;
}

void SheetDriver::press(int button) const { SendMessageA(sheet_, PSM_PRESSBUTTON, button, 0); }

void SheetDriver::close() const { SendMessageA(sheet_, WM_CLOSE, 0, 0); }

std::string SheetDriver::screenshot(const std::string& name) const {
    const char* folder = std::getenv("ORVANTA_SCREENSHOTS");
    const std::filesystem::path dir = folder && *folder ? folder : "screenshots";
    std::error_code ignored;
    std::filesystem::create_directories(dir, ignored);
    const std::string path = (dir / (name + ".png")).string();

    // Painted as the screen shows it: the sheet is topmost.
    RedrawWindow(sheet_, nullptr, nullptr,
                 RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN | RDW_UPDATENOW);
    const ULONGLONG settle = GetTickCount64() + 300;
    while (GetTickCount64() < settle) pump(), Sleep(10);
    RECT r;
    GetWindowRect(sheet_, &r);
    const int w = r.right - r.left, h = r.bottom - r.top;
    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = w;
    info.bmiHeader.biHeight = -h;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    HBITMAP section = CreateDIBSection(memory, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    bool written = false;
    if (section) {
        HGDIOBJ old = SelectObject(memory, section);
        BitBlt(memory, 0, 0, w, h, screen, r.left, r.top, SRCCOPY);
        // A picture drawn by OpenGL on a window of its own is not in the screen's copy: the
        // page's preview prints it.
        if (HWND preview = GetDlgItem(page(), kPreviewControl)) {
            POINT at{0, 0};
            ClientToScreen(preview, &at);
            SetViewportOrgEx(memory, at.x - r.left, at.y - r.top, nullptr);
            SendMessageA(preview, WM_PRINTCLIENT, reinterpret_cast<WPARAM>(memory), PRF_CLIENT);
            SetViewportOrgEx(memory, 0, 0, nullptr);
        }
        GdiFlush();
        std::vector<uint8_t> rgb(size_t(w) * h * 3);
        const uint8_t* p = static_cast<const uint8_t*>(bits);
        for (size_t i = 0; i < size_t(w) * h; ++i) {
            rgb[3 * i] = p[4 * i + 2], rgb[3 * i + 1] = p[4 * i + 1], rgb[3 * i + 2] = p[4 * i];
        }
        written = writePng(path, w, h, rgb.data());
        SelectObject(memory, old);
        DeleteObject(section);
    }
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
    if (!written) return {};
    std::printf("screenshot: %s\n", std::filesystem::absolute(path).string().c_str());
    return path;
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
