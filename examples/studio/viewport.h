// viewport.h - the OpenGL view of the document: the library defines how things look, the
// viewport draws the triangles; the mouse orbits, pans, zooms and picks.
#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

#include "geometry.h"

class Document;

// A camera circling its target: yaw about the vertical, pitch above the horizon, in degrees.
struct Camera {
    Vec3 target;
    double yaw = -28;
    double pitch = 24;
    double distance = 20;
    double fovY = 40;

    Vec3 eye() const;
    Vec3 forward() const;
    Vec3 right() const;
    Vec3 up() const;
    void fit(const Box& box);
};

class Viewport {
public:
    static bool registerClass(HINSTANCE instance);

    HWND create(HWND parent, int id);
    HWND hwnd() const { return hwnd_; }

    void setDocument(Document* document);
    void setSelectedBody(int body);
    void fitAll();
    void redraw() const;

    const Camera& camera() const { return camera_; }
    // Draws the view now and reads it back: RGB rows, bottom row first, the client area's size.
    // Empty before the window has been shown.
    std::vector<uint8_t> readPixels(int& width, int& height);

private:
    static LRESULT CALLBACK windowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT handle(UINT message, WPARAM wParam, LPARAM lParam);

    bool createContext();
    void destroyContext();
    void paint();
    void render(int width, int height);
    void drawBodies(bool transparent);
    void drawSelection();
    void beginDrag(int mode, LPARAM lParam);
    void drag(LPARAM lParam);
    void endDrag(LPARAM lParam);
    void pickAt(int x, int y);

    HWND hwnd_ = nullptr;
    HDC dc_ = nullptr;
    HGLRC context_ = nullptr;
    unsigned texture_ = 0;  // the library uploads each surface image into it
    Document* document_ = nullptr;
    Camera camera_;
    int selectedBody_ = -1;
    int32_t lightsOn_ = 0;

    enum DragMode { None, Orbit, Pan };
    int dragMode_ = None;
    POINT pressedAt_{};
    POINT lastPoint_{};
    bool dragged_ = false;
};
