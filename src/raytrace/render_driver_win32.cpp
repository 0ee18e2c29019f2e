// The raytrace driver on Windows: a hidden window of the class "OrvantaDLL:Raytrace" on the
// caller's thread receives the workers' rows as the registered message "OrvantaDLL:Raytrace"
// (wParam: a heap row of packed pixels, lParam: row << 16 | width), sets them into the device
// context or hands them to the row callback, and cancels the workers by thread messages.
#include <windows.h>

#include <atomic>
#include <vector>

#include "core/checked_alloc.h"
#include "core/library_module.h"
#include "raytrace/render_driver.h"

namespace orv {

namespace {

const char kRaytraceName[] = "OrvantaDLL:Raytrace";
UINT rowMessage = 0;  // process-wide, written by every call

// The call's state that the window procedure needs; on the caller's stack for the whole call.
struct WindowData {
    HDC dc;
    int32_t x0, y0;
    std::vector<HANDLE> threads;  // null once ended
    std::vector<DWORD> threadIds;
    OrvRowCallback rowCallback;
    void* rowUser;
    // Set before the cancel messages are posted: a worker looks into its queue only then,
    // as a queue look-up after every pixel is costly under some Windows implementations.
    std::atomic<bool> cancelling{false};
};

// Posts the cancel message to every worker still running; a worker's queue may not exist
// yet, so the post is retried until it succeeds or the worker has ended.
void cancelWorkers(WindowData& data) {
    data.cancelling = true;
    for (size_t i = 0; i < data.threads.size(); ++i) {
        HANDLE thread = data.threads[i];
        if (!thread) continue;
        while (WaitForSingleObject(thread, 0) == WAIT_TIMEOUT &&
               !PostThreadMessageA(data.threadIds[i], rowMessage, 0, 0)) {
            Sleep(10);
        }
    }
}

void deliverRow(WindowData& data, const uint32_t* pixels, int32_t count, int32_t row) {
    std::vector<uint8_t> rgb;
    if (!data.dc) {
        rgb.resize(static_cast<size_t>(count) * 3);
        for (int32_t i = 0; i < count; ++i) {
            for (int k = 0; k < 3; ++k) rgb[3 * i + k] = static_cast<uint8_t>(pixels[i] >> (8 * k));
        }
    }
    const bool goOn = !data.rowCallback || data.rowCallback(data.dc ? nullptr : rgb.data(), count,
                                                            row, data.rowUser) != 0;
    if (goOn && data.dc) {
        for (int32_t i = 0; i < count; ++i)
            SetPixel(data.dc, data.x0 + i, data.y0 + row, pixels[i]);
    }
    if (!goOn) cancelWorkers(data);
}

LRESULT CALLBACK raytraceWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != rowMessage || rowMessage == 0) {
        return DefWindowProcA(window, message, wParam, lParam);
    }
    auto* pixels = reinterpret_cast<uint32_t*>(wParam);
    auto* data = reinterpret_cast<WindowData*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    if (data && pixels) {
        const auto count = static_cast<int32_t>(lParam & 0xFFFF);
        const auto row = static_cast<int32_t>((lParam >> 16) & 0xFFFF);
        deliverRow(*data, pixels, count, row);
    }
    checkedFree(pixels);
    return 0;
}

// Rows go to the hidden window with SendMessage: the worker waits until its row is drawn.
class WindowRowSink final : public RowSink, public ThreadStarter {
public:
    WindowRowSink(HWND window, WindowData& data) : window_(window), data_(data) {}

    void workerStarted() override {
        MSG msg;  // gives the thread its message queue before anybody posts to it
        PeekMessageA(&msg, nullptr, 0, 0, PM_NOREMOVE);
    }

    bool deliver(int32_t row, const uint32_t* pixels, int32_t width) override {
        auto* copy = static_cast<uint32_t*>(checkedAlloc(static_cast<size_t>(width) * 4));
        for (int32_t i = 0; i < width; ++i) copy[i] = pixels[i];
        SendMessageA(window_, rowMessage, reinterpret_cast<WPARAM>(copy),
                     (static_cast<LPARAM>(row) << 16) | width);
        return true;  // a cancel arrives as a thread message
    }

    bool cancelRequested() override {
        if (!data_.cancelling.load(std::memory_order_relaxed)) return false;
        MSG msg;
        return PeekMessageA(&msg, nullptr, rowMessage, rowMessage, PM_REMOVE) != 0;
    }

    bool start(RenderWorker* worker) override {
        DWORD id = 0;
        HANDLE thread = CreateThread(nullptr, 0, workerThread, worker, 0, &id);
        if (!thread) return false;
        data_.threads.push_back(thread);
        data_.threadIds.push_back(id);
        return true;
    }

private:
    static DWORD WINAPI workerThread(LPVOID worker) {
        runWorker(static_cast<RenderWorker*>(worker));
        return 0;
    }

    HWND window_;
    WindowData& data_;
};

HWND createHiddenWindow() {
    const auto instance = static_cast<HINSTANCE>(libraryModule());
    WNDCLASSA wc = {};
    wc.lpfnWndProc = raytraceWindowProc;
    wc.hInstance = instance;
    wc.lpszClassName = kRaytraceName;
    RegisterClassA(&wc);  // fails harmlessly when an earlier call registered it
    return CreateWindowA(kRaytraceName, "", WS_DISABLED, 0, 0, 0, 0, nullptr, nullptr, instance,
                         nullptr);
}

// Serves the hidden window's messages until every worker has ended.
void pumpUntilWorkersEnd(HWND window, WindowData& data) {
    for (HANDLE& thread : data.threads) {
        while (thread) {
            if (WaitForSingleObject(thread, 0) != WAIT_TIMEOUT) {
                CloseHandle(thread);
                thread = nullptr;
                break;
            }
            MSG msg;
            if (PeekMessageA(&msg, window, 0, 0, PM_REMOVE)) {
                TranslateMessage(&msg);
                DispatchMessageA(&msg);
            } else {
                // Sleeps until a row is sent, a message arrives or the worker ends.
                MsgWaitForMultipleObjects(1, &thread, FALSE, 10, QS_ALLINPUT);
            }
        }
    }
}

}  // namespace

int32_t raytraceToDevice(const RaytraceRequest& request) {
    WindowData data{static_cast<HDC>(request.deviceContext),
                    request.x0,
                    request.y0,
                    {},
                    {},
                    request.rowCallback,
                    request.rowUser};
    HWND window = createHiddenWindow();
    if (!window) return 0;
    SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&data));
    rowMessage = RegisterWindowMessageA(kRaytraceName);

    WindowRowSink sink(window, data);
    if (startRender(request, sink, sink)) pumpUntilWorkersEnd(window, data);
    return DestroyWindow(window) ? 1 : 0;
}

}  // namespace orv
