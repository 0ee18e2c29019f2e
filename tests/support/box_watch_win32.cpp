#include <windows.h>

#include <atomic>
#include <thread>

#include "support/box_watch.h"

struct BoxWatch::Impl {
    std::vector<ShownBox> boxes;
    std::atomic<bool> stopping{false};
    std::thread watcher;

    static BOOL CALLBACK findBox(HWND window, LPARAM found) {
        DWORD process = 0;
        char className[16] = "";
        GetWindowThreadProcessId(window, &process);
        GetClassNameA(window, className, sizeof className);
        // A message box is a dialog with its text in control 0xFFFF; sheets are dialogs too.
        if (process != GetCurrentProcessId() || lstrcmpA(className, "#32770") != 0 ||
            !IsWindowVisible(window) || !GetDlgItem(window, 0xFFFF))
            return TRUE;
        *reinterpret_cast<HWND*>(found) = window;
        return FALSE;
    }

    void watch() {
        while (!stopping) {
            HWND box = nullptr;
            EnumWindows(findBox, reinterpret_cast<LPARAM>(&box));
            if (!box) {
                Sleep(10);
                continue;
            }
            char caption[512] = "", text[512] = "";
            GetWindowTextA(box, caption, sizeof caption);
            GetDlgItemTextA(box, 0xFFFF, text, sizeof text);  // a message box's text control
            boxes.push_back({caption, text});
            PostMessageA(box, WM_COMMAND, IDOK, 0);
            // Wait for the box to go, so that it is not recorded twice.
            for (int i = 0; i < 500 && IsWindow(box); ++i) Sleep(10);
        }
    }
};

BoxWatch::BoxWatch() : impl_(new Impl) {
    impl_->watcher = std::thread([this] { impl_->watch(); });
}

BoxWatch::~BoxWatch() {
    stop();
    delete impl_;
}

std::vector<ShownBox> BoxWatch::stop() {
    impl_->stopping = true;
    if (impl_->watcher.joinable()) impl_->watcher.join();
    return impl_->boxes;
}
