// raytrace_window.cpp - the raytrace job and its window.
#include "raytrace_window.h"

#include <commctrl.h>
#include <commdlg.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <cwchar>

#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>

#include "orvanta.h"
#include "scene.h"

namespace {

constexpr OrvColorRef kBodyColour = 0x00B4B4B4;  // bodies without a material, as in the viewport
constexpr uint32_t kUnrendered = 0x00303030;     // rows still to come

// The library renders one image at a time.
std::atomic<bool> rendering{false};

struct Triangle {
    uint32_t body;
    double corners[9];
    double normals[9];
    double face[3];
};

struct RenderedBody {
    Mat* material;
    bool twoSided;
    double boxMin[3], boxMax[3], origin[3];
};

void copy3(double* out, Vec3 v) {
    out[0] = v.x;
    out[1] = v.y;
    out[2] = v.z;
}

// Normals go through the inverse transpose, so that scaled bodies keep them square to their
// faces.
Vec3 normalThrough(const Matrix& inverse, Vec3 n) {
    const double* m = inverse.m;
    return normalise({m[0] * n.x + m[1] * n.y + m[2] * n.z, m[4] * n.x + m[5] * n.y + m[6] * n.z,
                      m[8] * n.x + m[9] * n.y + m[10] * n.z});
}

bool writeFile(const std::wstring& path, const std::vector<uint8_t>& data) {
    HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    DWORD written = 0;
    const bool ok = WriteFile(file, data.data(), DWORD(data.size()), &written, nullptr) &&
                    written == data.size();
    CloseHandle(file);
    if (!ok) DeleteFileW(path.c_str());
    return ok;
}

}  // namespace

// ---- Job ------------------------------------------------------------------------------------

struct RaytraceJob::State {
    ~State() {
        if (thread) {
            WaitForSingleObject(thread, INFINITE);
            CloseHandle(thread);
        }
        if (bitmap) DeleteObject(bitmap);
    }

    // What the render reads: the triangles in scene coordinates, body by body.
    std::vector<Triangle> triangles;
    std::vector<RenderedBody> bodies;
    size_t next = 0;
    Env* environment = nullptr;
    std::vector<Lgt*> lights;  // null-terminated
    double eye[3] = {}, target[3] = {}, up[3] = {}, fov = 40;

    int width = 0, height = 0;
    BITMAPINFO info{};
    HBITMAP bitmap = nullptr;
    uint32_t* bits = nullptr;
    std::vector<bool> rowDone;  // a row near the middle may come twice

    HANDLE thread = nullptr;
    HWND notify = nullptr;
    UINT notifyMessage = 0;
    std::atomic<int> rowsDone{0};
    std::atomic<bool> cancelRequested{false};
    std::atomic<bool> running{false};
    std::atomic<bool> cancelled{false};
    ULONGLONG startTick = 0;
    std::atomic<ULONGLONG> endTick{0};

    static DWORD WINAPI run(void* self);
    static int32_t nextTriangle(int64_t* newBody, Mat** material, OrvColorRef* colour,
                                double* opacity, int32_t* twoSided, double corners[9],
                                double cornerNormals[9], double faceNormal[3], double boxMin[3],
                                double boxMax[3], double origin[3], void* self);
    static int32_t takeRow(const uint8_t* rgb, int32_t count, int32_t row, void* self);
};

int32_t RaytraceJob::State::nextTriangle(int64_t* newBody, Mat** material, OrvColorRef* colour,
                                         double* opacity, int32_t* twoSided, double corners[9],
                                         double cornerNormals[9], double faceNormal[3],
                                         double boxMin[3], double boxMax[3], double origin[3],
                                         void* self) {
    State& state = *static_cast<State*>(self);
    if (state.cancelRequested || state.next >= state.triangles.size()) return 0;
    const Triangle& t = state.triangles[state.next];
    *newBody = state.next == 0 || state.triangles[state.next - 1].body != t.body ? 1 : 0;
    ++state.next;
    const RenderedBody& body = state.bodies[t.body];
    *material = body.material;
    *colour = kBodyColour;
    *opacity = 1.0;
    *twoSided = body.twoSided ? 1 : 0;
    std::memcpy(corners, t.corners, sizeof t.corners);
    std::memcpy(cornerNormals, t.normals, sizeof t.normals);
    std::memcpy(faceNormal, t.face, sizeof t.face);
    std::memcpy(boxMin, body.boxMin, sizeof body.boxMin);
    std::memcpy(boxMax, body.boxMax, sizeof body.boxMax);
    std::memcpy(origin, body.origin, sizeof body.origin);
    return 1;
}

// On the render's thread, after the library has drawn the row into the DIB section.
int32_t RaytraceJob::State::takeRow(const uint8_t*, int32_t, int32_t row, void* self) {
    State& state = *static_cast<State*>(self);
    GdiFlush();  // the window reads the bits from its own thread
    if (row >= 0 && row < state.height && !state.rowDone[size_t(row)]) {
        state.rowDone[size_t(row)] = true;
        ++state.rowsDone;
    }
    return state.cancelRequested ? 0 : 1;
}

DWORD WINAPI RaytraceJob::State::run(void* self) {
    State& state = *static_cast<State*>(self);
    HDC dc = CreateCompatibleDC(nullptr);
    HGDIOBJ previous = SelectObject(dc, state.bitmap);
    RaytraceToDevice2(dc, state.eye, state.target, state.up, state.fov, 1.0, 0, 0, 1.0, 0, 0,
                      state.width, state.height, state.environment, 0, state.lights.data(), 0, 0,
                      nextTriangle, &state, takeRow, &state);
    GdiFlush();
    SelectObject(dc, previous);
    DeleteDC(dc);
    state.cancelled = state.cancelRequested && state.rowsDone < state.height;
    state.endTick = GetTickCount64();
    state.running = false;
    rendering = false;
    if (state.notify) PostMessageW(state.notify, state.notifyMessage, state.cancelled ? 1 : 0, 0);
    return 0;
}

RaytraceJob::RaytraceJob() = default;

RaytraceJob::~RaytraceJob() {
    cancel();
}

bool RaytraceJob::start(const Document& document, const Camera& camera, int width, int height) {
    if (width <= 0 || height <= 0 || width > 16384 || height > 16384 || running()) return false;
    bool idle = false;
    if (!rendering.compare_exchange_strong(idle, true)) return false;

    HWND notify = state_ ? state_->notify : nullptr;
    const UINT notifyMessage = state_ ? state_->notifyMessage : 0;
    state_ = std::make_unique<State>();
    State& state = *state_;
    state.notify = notify;
    state.notifyMessage = notifyMessage;
    state.width = width;
    state.height = height;
    BITMAPINFOHEADER& header = state.info.bmiHeader;
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = -height;  // top row first, as the library numbers its rows
    header.biPlanes = 1;
    header.biBitCount = 32;
    header.biCompression = BI_RGB;
    void* bits = nullptr;
    state.bitmap = CreateDIBSection(nullptr, &state.info, DIB_RGB_COLORS, &bits, nullptr, 0);
    if (!state.bitmap) {
        rendering = false;
        return false;
    }
    state.bits = static_cast<uint32_t*>(bits);
    std::fill(state.bits, state.bits + size_t(width) * size_t(height), kUnrendered);
    state.rowDone.assign(size_t(height), false);

    // The bodies where the kinematics has put them now, in scene coordinates.
    const auto& bodies = document.bodies();
    for (size_t b = 0; b < bodies.size(); ++b) {
        const Body& body = bodies[b];
        if (body.mesh.triangleCount() == 0) continue;
        RenderedBody rendered{};
        rendered.material = body.material;
        // Open meshes show from both sides, as in the viewport; see-through bodies keep their
        // sides for refraction.
        rendered.twoSided = !body.material || MatAlpha(body.material) >= 1.0;
        const Box box = body.worldBounds();
        copy3(rendered.boxMin, box.min);
        copy3(rendered.boxMax, box.max);
        // Textures are placed by the corners less the origin: with the body's shift they move
        // along with it, as the viewport's do.
        copy3(rendered.origin, {body.motion.m[12], body.motion.m[13], body.motion.m[14]});
        const uint32_t index = uint32_t(state.bodies.size());
        state.bodies.push_back(rendered);

        const Mesh& mesh = body.mesh;
        const Matrix inverse = body.motion.inverse();
        for (size_t t = 0; t < mesh.triangleCount(); ++t) {
            Triangle triangle{};
            triangle.body = index;
            for (size_t c = 0; c < 3; ++c) {
                copy3(triangle.corners + 3 * c, body.motion.point(mesh.corners[3 * t + c]));
                copy3(triangle.normals + 3 * c, normalThrough(inverse, mesh.normals[3 * t + c]));
            }
            copy3(triangle.face, normalThrough(inverse, mesh.faceNormals[t]));
            state.triangles.push_back(triangle);
        }
    }
    state.environment = document.environment();
    for (size_t i = 0; i < document.lightCount(); ++i) state.lights.push_back(document.light(i));
    state.lights.push_back(nullptr);
    copy3(state.eye, camera.eye());
    copy3(state.target, camera.target);
    copy3(state.up, camera.up());  // square to the line of sight already
    state.fov = camera.fovY;       // the library's field of view is the vertical one too

    state.startTick = GetTickCount64();
    state.running = true;
    state.thread = CreateThread(nullptr, 0, State::run, &state, 0, nullptr);
    if (!state.thread) {
        state.running = false;
        rendering = false;
        return false;
    }
    return true;
}

void RaytraceJob::cancel() {
    if (!state_ || !state_->thread) return;
    state_->cancelRequested = true;
    WaitForSingleObject(state_->thread, INFINITE);
}

bool RaytraceJob::wait(unsigned milliseconds) const {
    if (!state_ || !state_->thread) return true;
    return WaitForSingleObject(state_->thread, milliseconds) == WAIT_OBJECT_0;
}

bool RaytraceJob::running() const {
    return state_ && state_->running;
}
bool RaytraceJob::finished() const {
    return state_ && state_->thread && !state_->running;
}
bool RaytraceJob::cancelled() const {
    return state_ && state_->cancelled;
}
int RaytraceJob::progressPercent() const {
    return state_ && state_->height > 0 ? state_->rowsDone * 100 / state_->height : 0;
}
double RaytraceJob::seconds() const {
    if (!state_ || !state_->thread) return 0;
    const ULONGLONG end = state_->running ? GetTickCount64() : state_->endTick.load();
    return double(end - state_->startTick) / 1000.0;
}
int RaytraceJob::width() const {
    return state_ ? state_->width : 0;
}
int RaytraceJob::height() const {
    return state_ ? state_->height : 0;
}

void RaytraceJob::notifyWhenDone(HWND window, UINT message) {
    if (!state_) state_ = std::make_unique<State>();
    state_->notify = window;
    state_->notifyMessage = message;
}

std::vector<uint8_t> RaytraceJob::rgb() const {
    if (!state_ || !state_->bits) return {};
    const size_t pixels = size_t(state_->width) * size_t(state_->height);
    std::vector<uint8_t> out(pixels * 3);
    for (size_t i = 0; i < pixels; ++i) {
        const uint32_t bgr = state_->bits[i];
        out[3 * i] = uint8_t(bgr >> 16);
        out[3 * i + 1] = uint8_t(bgr >> 8);
        out[3 * i + 2] = uint8_t(bgr);
    }
    return out;
}

void RaytraceJob::draw(HDC dc, const RECT& rect) const {
    if (!state_ || !state_->bits) return;
    const int w = rect.right - rect.left, h = rect.bottom - rect.top;
    SetStretchBltMode(dc, w < state_->width ? HALFTONE : COLORONCOLOR);
    SetBrushOrgEx(dc, 0, 0, nullptr);
    StretchDIBits(dc, rect.left, rect.top, w, h, 0, 0, state_->width, state_->height, state_->bits,
                  &state_->info, DIB_RGB_COLORS, SRCCOPY);
}

bool RaytraceJob::savePng(const std::wstring& path) const {
    if (!state_ || !state_->bits || running()) return false;
    const std::vector<uint8_t> pixels = rgb();
    std::vector<uint8_t> png;
    const auto append = [](void* context, void* data, int size) {
        auto* out = static_cast<std::vector<uint8_t>*>(context);
        out->insert(out->end(), static_cast<uint8_t*>(data), static_cast<uint8_t*>(data) + size);
    };
    if (!stbi_write_png_to_func(append, &png, state_->width, state_->height, 3, pixels.data(),
                                state_->width * 3))
        return false;
    return writeFile(path, png);
}

// ---- Window ---------------------------------------------------------------------------------

namespace {

constexpr wchar_t kClassName[] = L"OrvantaStudioRaytrace";
constexpr UINT kRenderDone = WM_APP + 1;
constexpr UINT_PTR kProgressTimer = 1;
constexpr int kBar = 42;  // the strip with the progress, the status and the buttons
constexpr int kGap = 8;
constexpr int kStatusWidth = 200, kCancelWidth = 80, kSaveWidth = 100, kButtonHeight = 26;

enum Control { IdProgress = 1, IdStatus, IdCancel, IdSave };

class RaytraceWindow {
public:
    static bool registerClass();
    static HWND create(HWND owner);
    static RaytraceWindow* of(HWND hwnd);
    // Renders the view, sizing the window to the image.
    bool start(const Document& document, const Camera& camera, int width, int height);
    void stop();

private:
    static LRESULT CALLBACK windowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT handle(UINT message, WPARAM wParam, LPARAM lParam);
    void onCreate();
    void layout();
    void paint();
    void update();
    void savePng();
    void fitToImage();
    RECT imageRect() const;

    HWND hwnd_ = nullptr;
    HWND progress_ = nullptr, status_ = nullptr, cancel_ = nullptr, save_ = nullptr;
    RaytraceJob job_;
};

bool RaytraceWindow::registerClass() {
    static bool registered = false;
    if (registered) return true;
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_PROGRESS_CLASS};
    InitCommonControlsEx(&controls);
    WNDCLASSEXW wc{};
    wc.cbSize = sizeof wc;
    wc.lpfnWndProc = windowProc;
    wc.hInstance = GetModuleHandleW(nullptr);
    wc.hIcon = LoadIconW(nullptr, IDI_APPLICATION);
    wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    wc.hbrBackground = GetSysColorBrush(COLOR_3DFACE);
    wc.lpszClassName = kClassName;
    registered = RegisterClassExW(&wc) != 0;
    return registered;
}

// The window deletes itself once destroyed.
HWND RaytraceWindow::create(HWND owner) {
    if (!registerClass()) return nullptr;
    auto* window = new RaytraceWindow;
    const HWND hwnd = CreateWindowExW(
        0, kClassName, L"Raytrace", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, CW_USEDEFAULT,
        CW_USEDEFAULT, 640, 480, owner, nullptr, GetModuleHandleW(nullptr), window);
    if (!hwnd) delete window;
    return hwnd;
}

RaytraceWindow* RaytraceWindow::of(HWND hwnd) {
    wchar_t name[64] = L"";
    if (!GetClassNameW(hwnd, name, 64) || std::wcscmp(name, kClassName) != 0) return nullptr;
    return reinterpret_cast<RaytraceWindow*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
}

LRESULT CALLBACK RaytraceWindow::windowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        auto* self =
            static_cast<RaytraceWindow*>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams);
        self->hwnd_ = hwnd;
        SetWindowLongPtrW(hwnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    }
    auto* self = reinterpret_cast<RaytraceWindow*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
    if (!self) return DefWindowProcW(hwnd, message, wParam, lParam);
    if (message == WM_NCDESTROY) {
        SetWindowLongPtrW(hwnd, GWLP_USERDATA, 0);
        delete self;
        return DefWindowProcW(hwnd, message, wParam, lParam);
    }
    return self->handle(message, wParam, lParam);
}

LRESULT RaytraceWindow::handle(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_CREATE: onCreate(); return 0;
        case WM_DESTROY:
            KillTimer(hwnd_, kProgressTimer);
            job_.cancel();  // the render reads the document's records: it ends here
            return 0;
        case WM_SIZE: layout(); return 0;
        case WM_ERASEBKGND: return 1;  // paint() covers every pixel
        case WM_PAINT: paint(); return 0;
        case WM_TIMER:
            if (wParam == kProgressTimer) update();
            return 0;
        case kRenderDone: update(); return 0;
        case WM_COMMAND:
            if (LOWORD(wParam) == IdCancel) stop();
            if (LOWORD(wParam) == IdSave) savePng();
            return 0;
        case WM_GETMINMAXINFO: {
            auto* limits = reinterpret_cast<MINMAXINFO*>(lParam);
            limits->ptMinTrackSize = {kStatusWidth + kCancelWidth + kSaveWidth + 6 * kGap + 120,
                                      kBar + 160};
            return 0;
        }
    }
    return DefWindowProcW(hwnd_, message, wParam, lParam);
}

void RaytraceWindow::onCreate() {
    const HINSTANCE instance = GetModuleHandleW(nullptr);
    auto child = [&](const wchar_t* type, const wchar_t* text, DWORD style, int id) {
        HWND hwnd = CreateWindowExW(0, type, text, WS_CHILD | WS_VISIBLE | style, 0, 0, 0, 0, hwnd_,
                                    reinterpret_cast<HMENU>(INT_PTR(id)), instance, nullptr);
        SendMessageW(hwnd, WM_SETFONT, WPARAM(GetStockObject(DEFAULT_GUI_FONT)), FALSE);
        return hwnd;
    };
    progress_ = child(PROGRESS_CLASSW, nullptr, PBS_SMOOTH, IdProgress);
    SendMessageW(progress_, PBM_SETRANGE32, 0, 100);
    status_ = child(L"STATIC", L"", SS_LEFT | SS_CENTERIMAGE | SS_ENDELLIPSIS, IdStatus);
    cancel_ = child(L"BUTTON", L"Cancel", BS_PUSHBUTTON, IdCancel);
    save_ = child(L"BUTTON", L"Save PNG...", BS_PUSHBUTTON | WS_DISABLED, IdSave);
    job_.notifyWhenDone(hwnd_, kRenderDone);
}

void RaytraceWindow::layout() {
    RECT client;
    GetClientRect(hwnd_, &client);
    const int barTop = std::max(0, int(client.bottom) - kBar);
    const int y = barTop + (kBar - kButtonHeight) / 2;
    int right = client.right - kGap;
    MoveWindow(save_, right - kSaveWidth, y, kSaveWidth, kButtonHeight, TRUE);
    right -= kSaveWidth + kGap;
    MoveWindow(cancel_, right - kCancelWidth, y, kCancelWidth, kButtonHeight, TRUE);
    right -= kCancelWidth + kGap;
    MoveWindow(status_, right - kStatusWidth, y, kStatusWidth, kButtonHeight, TRUE);
    right -= kStatusWidth + kGap;
    MoveWindow(progress_, kGap, y + 4, std::max(0, right - kGap), kButtonHeight - 8, TRUE);
    InvalidateRect(hwnd_, nullptr, FALSE);
}

// The image at its size, or smaller to fit, in the middle of the area above the strip.
RECT RaytraceWindow::imageRect() const {
    RECT client;
    GetClientRect(hwnd_, &client);
    const int areaW = client.right, areaH = std::max(0, int(client.bottom) - kBar);
    const int w = job_.width(), h = job_.height();
    if (w <= 0 || h <= 0) return {0, 0, 0, 0};
    const double scale = std::min({1.0, double(areaW) / w, double(areaH) / h});
    const int shownW = int(w * scale + 0.5), shownH = int(h * scale + 0.5);
    const int left = (areaW - shownW) / 2, top = (areaH - shownH) / 2;
    return {left, top, left + shownW, top + shownH};
}

void RaytraceWindow::paint() {
    PAINTSTRUCT ps;
    HDC dc = BeginPaint(hwnd_, &ps);
    RECT client;
    GetClientRect(hwnd_, &client);
    const RECT image = imageRect();
    // Around the image a dark frame; below it the strip in the dialog colour.
    RECT area = client;
    area.bottom = std::max(0, int(client.bottom) - kBar);
    HBRUSH frame = CreateSolidBrush(RGB(64, 64, 64));
    RECT margins[4] = {{area.left, area.top, area.right, image.top},
                       {area.left, image.bottom, area.right, area.bottom},
                       {area.left, image.top, image.left, image.bottom},
                       {image.right, image.top, area.right, image.bottom}};
    for (const RECT& margin : margins)
        if (margin.right > margin.left && margin.bottom > margin.top) FillRect(dc, &margin, frame);
    DeleteObject(frame);
    RECT strip = client;
    strip.top = area.bottom;
    FillRect(dc, &strip, GetSysColorBrush(COLOR_3DFACE));
    job_.draw(dc, image);
    EndPaint(hwnd_, &ps);
}

// The progress, the status and the buttons from the job; the image as far as it has come.
void RaytraceWindow::update() {
    const int percent = job_.progressPercent();
    SendMessageW(progress_, PBM_SETPOS,
                 WPARAM(job_.finished() && !job_.cancelled() ? 100 : percent), 0);
    wchar_t text[128];
    if (job_.running()) {
        swprintf(text, 128, L"Rendering... %d %%  (%.0f s)", percent, job_.seconds());
    } else if (job_.cancelled()) {
        swprintf(text, 128, L"Cancelled at %d %%", percent);
        KillTimer(hwnd_, kProgressTimer);
    } else if (job_.finished()) {
        swprintf(text, 128, L"Done in %.1f s", job_.seconds());
        KillTimer(hwnd_, kProgressTimer);
    } else {
        swprintf(text, 128, L"Not started");
    }
    SetWindowTextW(status_, text);
    EnableWindow(cancel_, job_.running());
    EnableWindow(save_, job_.finished() && !job_.cancelled());
    const RECT image = imageRect();
    InvalidateRect(hwnd_, &image, FALSE);
}

void RaytraceWindow::fitToImage() {
    // The image at its size where the screen has room for it.
    RECT want = {0, 0, std::max(job_.width(), 480), job_.height() + kBar};
    const DWORD style = DWORD(GetWindowLongPtrW(hwnd_, GWL_STYLE));
    AdjustWindowRectEx(&want, style, FALSE, 0);
    MONITORINFO monitor{};
    monitor.cbSize = sizeof monitor;
    GetMonitorInfoW(
        MonitorFromWindow(GetWindow(hwnd_, GW_OWNER) ? GetWindow(hwnd_, GW_OWNER) : hwnd_,
                          MONITOR_DEFAULTTONEAREST),
        &monitor);
    const RECT& work = monitor.rcWork;
    const int w = std::min(int(want.right - want.left), int(work.right - work.left));
    const int h = std::min(int(want.bottom - want.top), int(work.bottom - work.top));
    RECT now;
    GetWindowRect(hwnd_, &now);
    const int x = std::clamp(int(now.left), int(work.left), int(work.right) - w);
    const int y = std::clamp(int(now.top), int(work.top), int(work.bottom) - h);
    SetWindowPos(hwnd_, nullptr, x, y, w, h, SWP_NOZORDER | SWP_NOACTIVATE);
}

bool RaytraceWindow::start(const Document& document, const Camera& camera, int width, int height) {
    job_.cancel();
    if (!job_.start(document, camera, width, height)) return false;
    wchar_t title[96];
    swprintf(title, 96, L"Raytrace - %d x %d", width, height);
    SetWindowTextW(hwnd_, title);
    fitToImage();
    layout();
    SetTimer(hwnd_, kProgressTimer, 100, nullptr);
    update();
    return true;
}

void RaytraceWindow::stop() {
    job_.cancel();
    update();
}

void RaytraceWindow::savePng() {
    wchar_t path[MAX_PATH] = L"raytrace.png";
    OPENFILENAMEW dialog{};
    dialog.lStructSize = sizeof dialog;
    dialog.hwndOwner = hwnd_;
    dialog.lpstrFilter = L"PNG image (*.png)\0*.png\0All files\0*.*\0";
    dialog.lpstrFile = path;
    dialog.nMaxFile = MAX_PATH;
    dialog.lpstrDefExt = L"png";
    dialog.Flags = OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST | OFN_NOCHANGEDIR;
    if (!GetSaveFileNameW(&dialog)) return;
    if (job_.savePng(path)) {
        SetWindowTextW(status_, (L"Saved " + std::wstring(path + dialog.nFileOffset)).c_str());
    } else {
        MessageBoxW(hwnd_, (std::wstring(L"The image cannot be written to\n") + path).c_str(),
                    L"Raytrace", MB_ICONWARNING);
    }
}

// The raytrace windows that owner owns.
std::vector<HWND> windowsOf(HWND owner) {
    struct Search {
        HWND owner;
        std::vector<HWND> found;
    } search{owner, {}};
    EnumThreadWindows(
        GetWindowThreadProcessId(owner, nullptr),
        [](HWND hwnd, LPARAM param) -> BOOL {
            auto& s = *reinterpret_cast<Search*>(param);
            if (GetWindow(hwnd, GW_OWNER) == s.owner && RaytraceWindow::of(hwnd))
                s.found.push_back(hwnd);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.found;
}

}  // namespace

HWND openRaytraceWindow(HWND owner, const Document& document, const Camera& camera, int width,
                        int height) {
    const std::vector<HWND> open = windowsOf(owner);
    if (!open.empty()) {
        // The render of the earlier view stops here, so that the new one may start.
        if (!RaytraceWindow::of(open.front())->start(document, camera, width, height))
            return nullptr;
        ShowWindow(open.front(), SW_SHOWNORMAL);
        SetForegroundWindow(open.front());
        return open.front();
    }
    const HWND hwnd = RaytraceWindow::create(owner);
    if (!hwnd) return nullptr;
    if (!RaytraceWindow::of(hwnd)->start(document, camera, width, height)) {
        DestroyWindow(hwnd);
        return nullptr;
    }
    ShowWindow(hwnd, SW_SHOWNORMAL);
    return hwnd;
}

void stopRaytraceWindows(HWND owner) {
    for (HWND hwnd : windowsOf(owner)) RaytraceWindow::of(hwnd)->stop();
}
