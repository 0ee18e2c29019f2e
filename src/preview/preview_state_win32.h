// The preview control's state, owned by the control and freed with its window, and the parts
// of the control that work on it: OpenGL (preview_gl_win32.cpp), the raytraced picture
// (preview_raytrace_win32.cpp) and the flat pictures (flat_picture_win32.cpp).
#pragma once

#include <windows.h>

#include <cstdint>

#include "preview/preview.h"
#include "preview/preview_scene.h"

namespace orv {

class PreviewRaytrace;

struct PreviewState {
    HWND window = nullptr;
    PreviewSubject subject;        // as last given
    PreviewSettings settings;
    PreviewLocals locals;          // owned
    HDC dc = nullptr;              // the window's own device context
    HGLRC gl = nullptr;
    HPALETTE palette = nullptr;
    HDC memoryDc = nullptr;        // colour and raytrace modes draw here
    HBITMAP memoryBitmap = nullptr;
    HGDIOBJ memoryBitmapBefore = nullptr;
    int width = 0, height = 0;
    WNDPROC previous = nullptr;
    unsigned sceneList = 0, shapeList = 0;
    int32_t lightsOn = 0;          // OpenGL lights last switched on
    bool shapeBuilt = false;
    PreviewRaytrace* raytrace = nullptr;  // the running raytraced picture, or null

    // What the scene list and the raytrace use: the local copies with "lok. Licht".
    const Env* sceneEnv() const { return settings.localLight ? locals.env : subject.env; }
    Lgt* const* sceneLights() const {
        return settings.localLight ? locals.lights : subject.lights;
    }
};

// OpenGL: the pixel format and palette of the control's context, its render state and lists.
bool setUpPreviewGl(PreviewState& state);
void releasePreviewGl(PreviewState& state);
void buildSceneList(PreviewState& state);
void buildShapeList(PreviewState& state);
void paintShaded(PreviewState& state);
// The shaded picture drawn again and read back into dc (for a window printed into a bitmap).
void printShaded(PreviewState& state, HDC dc);
// Realises the palette again; true when anything changed.
bool realisePreviewPalette(PreviewState& state);

// The raytraced picture: started on worker threads that post rows as the preview message.
void startPreviewRaytrace(PreviewState& state);
void stopPreviewRaytrace(PreviewState& state);
UINT previewRowMessage();
// A posted row: its pixels (0x00BBGGRR) set into the memory bitmap from column 0.
void takePreviewRow(PreviewState& state, uint32_t* pixels, LPARAM lParam);

// Colour mode: the colour, or the texture slot's image upright on light grey, in the memory
// bitmap.
void paintFlatPicture(PreviewState& state);

}  // namespace orv
