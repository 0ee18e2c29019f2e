// viewport.cpp - the OpenGL viewport.
#include "viewport.h"

#include <GL/gl.h>
#include <windowsx.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "messages.h"
#include "orvanta.h"
#include "scene.h"

namespace {

constexpr wchar_t kClassName[] = L"OrvantaStudioViewport";
constexpr double kPi = 3.14159265358979323846;
constexpr OrvColorRef kBodyColour = 0x00B4B4B4;  // bodies without a material

double radians(double degrees) {
    return degrees * kPi / 180;
}

// Like gluLookAt: the columns hold the camera's right, up and backward directions.
void lookAt(Vec3 eye, Vec3 target, Vec3 up, double m[16]) {
    const Vec3 f = normalise(target - eye);
    const Vec3 s = normalise(cross(f, up));
    const Vec3 u = cross(s, f);
    const double view[16] = {
        s.x,          u.x,          -f.x,        0,  //
        s.y,          u.y,          -f.y,        0,  //
        s.z,          u.z,          -f.z,        0,  //
        -dot(s, eye), -dot(u, eye), dot(f, eye), 1,
    };
    std::copy(view, view + 16, m);
}

void copy3(double* out, Vec3 v) {
    out[0] = v.x;
    out[1] = v.y;
    out[2] = v.z;
}

}  // namespace

// ---- Camera ----------------------------------------------------------------------------------

Vec3 Camera::forward() const {
    const double p = radians(pitch), y = radians(yaw);
    return {-std::cos(p) * std::sin(y), -std::sin(p), -std::cos(p) * std::cos(y)};
}
Vec3 Camera::eye() const {
    return target - forward() * distance;
}
Vec3 Camera::right() const {
    return normalise(cross(forward(), {0, 1, 0}));
}
Vec3 Camera::up() const {
    return cross(right(), forward());
}

void Camera::fit(const Box& box) {
    if (box.empty()) return;
    target = box.centre();
    const double radius = std::max(length(box.size()) / 2, 1e-3);
    distance = radius / std::sin(radians(fovY / 2)) * 0.8;  // the corners may leave the view
}

// ---- Window ----------------------------------------------------------------------------------

bool Viewport::registerClass(HINSTANCE instance) {
    WNDCLASSEXW wc{};
    wc.cbSize = sizeof wc;
    wc.style = CS_OWNDC | CS_HREDRAW | CS_VREDRAW;  // OpenGL keeps the one device context
    wc.lpfnWndProc = windowProc;
    wc.hInstance = instance;
    wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    wc.lpszClassName = kClassName;
    return RegisterClassExW(&wc) != 0;
}

HWND Viewport::create(HWND parent, int id) {
    CreateWindowExW(WS_EX_CLIENTEDGE, kClassName, L"",
                    WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS | WS_CLIPCHILDREN, 0, 0, 0, 0, parent,
                    reinterpret_cast<HMENU>(INT_PTR(id)), GetModuleHandleW(nullptr), this);
    return hwnd_;
}

LRESULT CALLBACK Viewport::windowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        auto* self =
            static_cast<Viewport*>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams);
        self->hwnd_ = hwnd;
        SetWindowLongPtrW(hwnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    }
    auto* self = reinterpret_cast<Viewport*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
    return self ? self->handle(message, wParam, lParam)
                : DefWindowProcW(hwnd, message, wParam, lParam);
}

LRESULT Viewport::handle(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_DESTROY: destroyContext(); return 0;
        case WM_ERASEBKGND: return 1;  // OpenGL paints every pixel
        case WM_PAINT: paint(); return 0;
        case WM_LBUTTONDOWN: beginDrag(Orbit, lParam); return 0;
        case WM_RBUTTONDOWN:
        case WM_MBUTTONDOWN: beginDrag(Pan, lParam); return 0;
        case WM_MOUSEMOVE: drag(lParam); return 0;
        case WM_LBUTTONUP:
        case WM_RBUTTONUP:
        case WM_MBUTTONUP: endDrag(lParam); return 0;
        case WM_CAPTURECHANGED: dragMode_ = None; return 0;
        case WM_MOUSEWHEEL:
            camera_.distance *=
                std::pow(0.88, GET_WHEEL_DELTA_WPARAM(wParam) / double(WHEEL_DELTA));
            redraw();
            return 0;
    }
    return DefWindowProcW(hwnd_, message, wParam, lParam);
}

bool Viewport::createContext() {
    if (!dc_) dc_ = GetDC(hwnd_);
    PIXELFORMATDESCRIPTOR pfd{};
    pfd.nSize = sizeof pfd;
    pfd.nVersion = 1;
    pfd.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
    pfd.iPixelType = PFD_TYPE_RGBA;
    pfd.cColorBits = 24;
    pfd.cDepthBits = 24;
    pfd.iLayerType = PFD_MAIN_PLANE;
    const int format = ChoosePixelFormat(dc_, &pfd);
    if (!format || !SetPixelFormat(dc_, format, &pfd)) return false;
    context_ = wglCreateContext(dc_);
    if (!context_ || !wglMakeCurrent(dc_, context_)) return false;

    glEnable(GL_DEPTH_TEST);
    glEnable(GL_NORMALIZE);  // motion matrices may scale
    glShadeModel(GL_SMOOTH);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glGenTextures(1, &texture_);
    glBindTexture(GL_TEXTURE_2D, texture_);
    return true;
}

void Viewport::destroyContext() {
    if (context_) {
        wglMakeCurrent(dc_, context_);
        glDeleteTextures(1, &texture_);
        wglMakeCurrent(nullptr, nullptr);
        wglDeleteContext(context_);
        context_ = nullptr;
    }
    if (dc_) ReleaseDC(hwnd_, dc_);
    dc_ = nullptr;
}

void Viewport::setDocument(Document* document) {
    document_ = document;
    selectedBody_ = -1;
    fitAll();
}

void Viewport::setSelectedBody(int body) {
    if (body == selectedBody_) return;
    selectedBody_ = body;
    redraw();
}

void Viewport::fitAll() {
    if (document_) {
        const Box models = document_->bounds(false);
        camera_.fit(models.empty() ? document_->bounds() : models);
    }
    redraw();
}

void Viewport::redraw() const {
    if (hwnd_) InvalidateRect(hwnd_, nullptr, FALSE);
}

// ---- Drawing ---------------------------------------------------------------------------------

void Viewport::paint() {
    PAINTSTRUCT ps;
    BeginPaint(hwnd_, &ps);
    RECT client;
    GetClientRect(hwnd_, &client);
    // The context is made once the window is shown at its size: some drivers (Wine's among
    // them) keep a child window's drawable at the size it had when the pixel format was set.
    if (!context_ && IsWindowVisible(hwnd_)) createContext();
    if (context_ && client.right > 0 && client.bottom > 0) {
        wglMakeCurrent(dc_, context_);
        render(client.right, client.bottom);
        SwapBuffers(dc_);
    }
    EndPaint(hwnd_, &ps);
}

std::vector<uint8_t> Viewport::readPixels(int& width, int& height) {
    RECT client;
    GetClientRect(hwnd_, &client);
    width = client.right;
    height = client.bottom;
    if (!context_ || width <= 0 || height <= 0) return {};
    wglMakeCurrent(dc_, context_);
    render(width, height);
    // Read before the swap: the back buffer holds the frame just drawn on every system.
    std::vector<uint8_t> rgb(size_t(width) * size_t(height) * 3);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadBuffer(GL_BACK);
    glReadPixels(0, 0, width, height, GL_RGB, GL_UNSIGNED_BYTE, rgb.data());
    SwapBuffers(dc_);
    return rgb;
}

void Viewport::render(int width, int height) {
    glViewport(0, 0, width, height);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    const double nearPlane = camera_.distance * 0.01, farPlane = camera_.distance * 50;
    const double top = nearPlane * std::tan(radians(camera_.fovY / 2));
    const double right = top * width / height;
    glFrustum(-right, right, -top, top, nearPlane, farPlane);

    // Lights are placed in scene coordinates, so the view is loaded before they are defined.
    glMatrixMode(GL_MODELVIEW);
    const Vec3 eye = camera_.eye(), up = camera_.up();
    double view[16];
    lookAt(eye, camera_.target, up, view);
    glLoadMatrixd(view);

    if (!document_) {
        glClearColor(0.5f, 0.5f, 0.5f, 1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        return;
    }
    const Env* env = document_->environment();
    ViewerDefineEnv(env, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    double eyeAt[3], aim[6];
    copy3(eyeAt, eye);
    copy3(aim, camera_.target);
    copy3(aim + 3, up);
    ViewerDefineLgts(env, 0, document_->lightList(), &lightsOn_, eyeAt, aim);
    glEnable(GL_LIGHTING);

    drawBodies(false);
    // See-through bodies last, over everything opaque, without hiding each other.
    glDepthMask(GL_FALSE);
    drawBodies(true);
    glDepthMask(GL_TRUE);
    drawSelection();
}

void Viewport::drawBodies(bool transparent) {
    for (const Body& body : document_->bodies()) {
        const Mat* mat = body.material;
        if ((mat && MatAlpha(mat) < 1.0) != transparent) continue;

        glPushMatrix();
        glMultMatrixd(body.motion.m);
        ViewerDefineMat(mat, kBodyColour, 1.0, 1);
        if (body.colliding) {
            const GLfloat glow[4] = {0.75f, 0.05f, 0.0f, 1.0f};
            glMaterialfv(GL_FRONT_AND_BACK, GL_EMISSION, glow);
        }
        // Texture coordinates come from the material's projection, per triangle, in the
        // body's own coordinates so that the texture moves with the body.
        const bool textured = mat && IsMatTexture(mat);
        double boxMin[3], boxMax[3];
        copy3(boxMin, body.mesh.bounds.min);
        copy3(boxMax, body.mesh.bounds.max);

        const Mesh& mesh = body.mesh;
        glBegin(GL_TRIANGLES);
        for (size_t t = 0; t < mesh.triangleCount(); ++t) {
            const Vec3* corners = &mesh.corners[3 * t];
            const Vec3* normals = &mesh.normals[3 * t];
            double uv[6];
            bool mapped = false;
            if (textured) {
                double points[9], face[3];
                for (int c = 0; c < 3; ++c) copy3(points + 3 * c, corners[c]);
                copy3(face, mesh.faceNormals[t]);
                mapped = ViewerMapTexture2(mat, points, face, uv, boxMin, boxMax, nullptr) != 0;
            }
            for (int c = 0; c < 3; ++c) {
                if (mapped) glTexCoord2d(uv[2 * c], uv[2 * c + 1]);
                glNormal3d(normals[c].x, normals[c].y, normals[c].z);
                glVertex3d(corners[c].x, corners[c].y, corners[c].z);
            }
        }
        glEnd();
        glPopMatrix();
    }
}

// The selected body's box, in a colour that no material of the default scene has.
void Viewport::drawSelection() {
    const auto& bodies = document_->bodies();
    if (selectedBody_ < 0 || size_t(selectedBody_) >= bodies.size()) return;
    Box box = bodies[size_t(selectedBody_)].worldBounds();
    const Vec3 margin = box.size() * 0.02 + Vec3{0.02, 0.02, 0.02};
    box.min = box.min - margin;
    box.max = box.max + margin;

    glPushAttrib(GL_ENABLE_BIT | GL_LINE_BIT | GL_DEPTH_BUFFER_BIT);
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_BLEND);
    glDisable(GL_FOG);
    glLineWidth(2.0f);
    glColor3d(1.0, 0.2, 0.8);
    auto corner = [&](int i) {
        glVertex3d(i & 1 ? box.max.x : box.min.x, i & 2 ? box.max.y : box.min.y,
                   i & 4 ? box.max.z : box.min.z);
    };
    glBegin(GL_LINES);
    // The twelve edges join the corners that differ in one coordinate.
    for (int i = 0; i < 8; ++i) {
        for (int bit : {1, 2, 4}) {
            if (i & bit) continue;
            corner(i);
            corner(i | bit);
        }
    }
    glEnd();
    glPopAttrib();
}

// ---- Mouse -----------------------------------------------------------------------------------

void Viewport::beginDrag(int mode, LPARAM lParam) {
    SetFocus(hwnd_);  // for the wheel
    SetCapture(hwnd_);
    dragMode_ = mode;
    pressedAt_ = lastPoint_ = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    dragged_ = false;
}

void Viewport::drag(LPARAM lParam) {
    if (dragMode_ == None) return;
    const POINT p = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    const int dx = p.x - lastPoint_.x, dy = p.y - lastPoint_.y;
    lastPoint_ = p;
    if (std::abs(p.x - pressedAt_.x) + std::abs(p.y - pressedAt_.y) > 3) dragged_ = true;
    if (!dragged_) return;

    if (dragMode_ == Orbit) {
        camera_.yaw -= dx * 0.4;
        camera_.pitch = std::clamp(camera_.pitch + dy * 0.4, -89.0, 89.0);
    } else {
        // One pixel moves the target by one pixel's width at the target's distance.
        RECT client;
        GetClientRect(hwnd_, &client);
        const double perPixel = 2 * camera_.distance * std::tan(radians(camera_.fovY / 2)) /
                                std::max(1L, client.bottom);
        camera_.target =
            camera_.target - camera_.right() * (dx * perPixel) + camera_.up() * (dy * perPixel);
    }
    redraw();
}

void Viewport::endDrag(LPARAM lParam) {
    const bool click = dragMode_ == Orbit && !dragged_;
    if (GetCapture() == hwnd_) ReleaseCapture();
    dragMode_ = None;
    if (click) pickAt(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
}

void Viewport::pickAt(int x, int y) {
    if (!document_) return;
    RECT client;
    GetClientRect(hwnd_, &client);
    if (client.right <= 0 || client.bottom <= 0) return;
    const double tanHalf = std::tan(radians(camera_.fovY / 2));
    const double sx = (2.0 * (x + 0.5) / client.right - 1) * tanHalf * client.right / client.bottom;
    const double sy = (1 - 2.0 * (y + 0.5) / client.bottom) * tanHalf;
    const Vec3 direction = normalise(camera_.forward() + camera_.right() * sx + camera_.up() * sy);
    const int body = document_->pick(camera_.eye(), direction);
    SendMessageW(GetParent(hwnd_), WM_STUDIO_BODY_PICKED, WPARAM(body), 0);
}
