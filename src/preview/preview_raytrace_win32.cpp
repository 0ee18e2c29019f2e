// The raytraced picture: the library's engine renders the preview's scene on worker threads,
// each finished row posted to the control as the registered message "OrvantaDLL:Preview"
// (wParam: the row's pixels, allocated here and freed by the control; lParam: row << 16 |
// pixel count). Stopping cancels the workers within a pixel, waits for them and takes their
// rows still queued, so no row outlives its picture or reaches a destroyed control.
#include <windows.h>

#include <atomic>
#include <cstring>
#include <vector>

#include "core/checked_alloc.h"
#include "preview/preview_state_win32.h"
#include "raytrace/render_driver.h"

namespace orv {

class PreviewRaytrace final : public RowSink, public ThreadStarter {
public:
    explicit PreviewRaytrace(HWND window) : window_(window) {}

    bool deliver(int32_t row, const uint32_t* pixels, int32_t width) override {
        if (cancelled_.load(std::memory_order_relaxed)) return false;
        auto* copy = static_cast<uint32_t*>(checkedAlloc(sizeof(uint32_t) * size_t(width)));
        std::memcpy(copy, pixels, sizeof(uint32_t) * size_t(width));
        const LPARAM where = (LPARAM(row & 0xFFFF) << 16) | LPARAM(width & 0xFFFF);
        if (!PostMessageA(window_, previewRowMessage(), reinterpret_cast<WPARAM>(copy), where))
            checkedFree(copy);
        return true;
    }

    bool cancelRequested() override { return cancelled_.load(std::memory_order_relaxed); }

    bool start(RenderWorker* worker) override {
        HANDLE thread = CreateThread(nullptr, 0, workerBody, worker, 0, nullptr);
        if (!thread) return false;
        threads_.push_back(thread);
        return true;
    }

    // On the control's thread. The workers never wait for the control, so this ends soon.
    void stop() {
        cancelled_ = true;
        for (HANDLE thread : threads_) {
            WaitForSingleObject(thread, INFINITE);
            CloseHandle(thread);
        }
        threads_.clear();
        MSG message;
        while (PeekMessageA(&message, window_, previewRowMessage(), previewRowMessage(),
                            PM_REMOVE)) {
            checkedFree(reinterpret_cast<void*>(message.wParam));
        }
    }

private:
    static DWORD WINAPI workerBody(void* worker) {
        runWorker(static_cast<RenderWorker*>(worker));
        return 0;
    }

    HWND window_;
    std::atomic<bool> cancelled_{false};
    std::vector<HANDLE> threads_;
};

namespace {

// The posed cube, two triangles per face, as the engine's geometry callback delivers them.
struct CubeFeed {
    Mat* material;
    int next = 0;
};

int32_t feedCube(int64_t* newBody, Mat** material, OrvColorRef*, double*, int32_t* twoSided,
                 double corners[9], double cornerNormals[9], double faceNormal[3], void* user) {
    auto& feed = *static_cast<CubeFeed*>(user);
    if (feed.next == 2 * kCubeFaces) return 0;
    const int face = feed.next / 2, half = feed.next % 2;
    *newBody = feed.next == 0;
    *material = feed.material;
    *twoSided = 0;
    const int order[2][3] = {{0, 1, 2}, {0, 2, 3}};
    Vec3 p[3];
    for (int i = 0; i < 3; ++i) p[i] = posedCubeCorner(kCubeCorners[face][order[half][i]]);
    Vec3 n;
    triangleNormal(n, p[0], p[1], p[2]);
    for (int i = 0; i < 3; ++i) {
        const double* c = &p[i].x;
        for (int k = 0; k < 3; ++k) {
            corners[3 * i + k] = c[k];
            cornerNormals[3 * i + k] = (&n.x)[k];
        }
    }
    faceNormal[0] = n.x, faceNormal[1] = n.y, faceNormal[2] = n.z;
    ++feed.next;
    return 1;
}

int32_t feedNothing(int64_t*, Mat**, OrvColorRef*, double*, int32_t*, double*, double*, double*,
                    void*) {
    return 0;
}

}  // namespace

UINT previewRowMessage() {
    static const UINT message = RegisterWindowMessageA("OrvantaDLL:Preview");
    return message;
}

void startPreviewRaytrace(PreviewState& state) {
    stopPreviewRaytrace(state);
    if (state.width <= 0 || state.height <= 0) return;
    Mat* mat = const_cast<Mat*>(state.subject.material);
    RaytraceRequest request;
    request.camera = CameraSetup{{0, 0, kPreviewEyeZ}, {0, 0, 0}, {0, 1, 0}, kPreviewFov, 1.0, 0,
                                 0, 1.0, state.width, state.height};
    request.env = state.sceneEnv();
    request.background = 0xFFFFFF;
    request.lights = state.sceneLights();
    request.lightGain = 1.5;
    request.maxDepth = 5;
    CubeFeed feed{mat};
    const bool cube = mat && state.settings.previewShape == 1;
    request.geometry = cube ? feedCube : feedNothing;
    request.geometryUser = &feed;
    request.previewSphere = mat && !cube ? mat : nullptr;
    state.raytrace = new PreviewRaytrace(state.window);
    startRender(request, *state.raytrace, *state.raytrace);
}

void stopPreviewRaytrace(PreviewState& state) {
    if (!state.raytrace) return;
    state.raytrace->stop();
    delete state.raytrace;
    state.raytrace = nullptr;
}

void takePreviewRow(PreviewState& state, uint32_t* pixels, LPARAM lParam) {
    const int count = int(lParam & 0xFFFF), row = int((lParam >> 16) & 0xFFFF);
    if (row < state.height && count > 0) {
        const int width = count < state.width ? count : state.width;
        for (int i = 0; i < width; ++i) {  // 0x00BBGGRR to the DIB's 0x00RRGGBB
            const uint32_t p = pixels[i];
            pixels[i] = (p & 0xFF00) | ((p & 0xFF) << 16) | ((p >> 16) & 0xFF);
        }
        BITMAPINFO info{};
        info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, -1, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        SetDIBitsToDevice(state.memoryDc, 0, row, DWORD(width), 1, 0, 0, 0, 1, pixels, &info,
                          DIB_RGB_COLORS);
        const RECT line{0, row, state.width, row + 1};
        InvalidateRect(state.window, &line, FALSE);
    }
    checkedFree(pixels);
}

}  // namespace orv
