// WGL: a double-buffered RGBA context in a small window, as a host's viewer has one.
#include <windows.h>

#include "support/gl_context.h"

struct TestGlContext::Impl {
    HWND window = nullptr;
    HDC dc = nullptr;
    HGLRC context = nullptr;
};

TestGlContext::TestGlContext() : impl_(new Impl) {
    HINSTANCE instance = GetModuleHandleA(nullptr);
    WNDCLASSA wc = {};
    wc.style = CS_OWNDC;
    wc.lpfnWndProc = DefWindowProcA;
    wc.hInstance = instance;
    wc.lpszClassName = "OrvantaTestGl";
    RegisterClassA(&wc);  // fails harmlessly when registered by an earlier context
    impl_->window = CreateWindowA("OrvantaTestGl", "OpenGL test", WS_OVERLAPPEDWINDOW, 0, 0, 64,
                                  64, nullptr, nullptr, instance, nullptr);
    if (!impl_->window) {
        error_ = "CreateWindow failed: " + std::to_string(GetLastError());
        return;
    }
    impl_->dc = GetDC(impl_->window);
    PIXELFORMATDESCRIPTOR pfd = {};
    pfd.nSize = sizeof pfd;
    pfd.nVersion = 1;
    pfd.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
    pfd.iPixelType = PFD_TYPE_RGBA;
    pfd.cColorBits = 24;
    pfd.cDepthBits = 16;
    const int format = ChoosePixelFormat(impl_->dc, &pfd);
    if (format == 0 || !SetPixelFormat(impl_->dc, format, &pfd)) {
        error_ = "no pixel format: " + std::to_string(GetLastError());
        return;
    }
    impl_->context = wglCreateContext(impl_->dc);
    if (!impl_->context || !wglMakeCurrent(impl_->dc, impl_->context))
        error_ = "wglCreateContext/wglMakeCurrent failed: " + std::to_string(GetLastError());
}

TestGlContext::~TestGlContext() {
    wglMakeCurrent(nullptr, nullptr);
    if (impl_->context) wglDeleteContext(impl_->context);
    if (impl_->dc) ReleaseDC(impl_->window, impl_->dc);
    if (impl_->window) DestroyWindow(impl_->window);
    delete impl_;
}
