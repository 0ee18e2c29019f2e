#include <windows.h>

#include <atomic>
#include <thread>

#include "support/box_watch.h"
#include "support/host_win32.h"

struct BoxWatch::Impl {
    std::vector<ShownBox> boxes;
    std::atomic<bool> stopping{false};
    std::thread watcher;

    static BOOL CALLBACK findBox(HWND window, LPARAM found) {
        DWORD process = 0;
        GetWindowThreadProcessId(window, &process);
        if (process != GetCurrentProcessId() || !isDialog(window) || !IsWindowVisible(window) ||
            !isMessageBox(window))
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
            boxes.push_back({windowText(box), windowText(GetDlgItem(box, 0xFFFF))});
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
