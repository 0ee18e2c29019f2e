// The preview control: the square picture at the right of every material, light and
// environment page (control 1094), with its seven buttons. It draws a cube or a sphere with the
// edited material under the edited or a fixed set of lights: flat (the colour or the texture),
// shaded by OpenGL on the control's own context, or raytraced by the library's engine on
// worker threads that post finished rows back to the control.
#pragma once

#include <windows.h>

#include <cstdint>

#include "math/vec3.h"
#include "orvanta.h"

namespace orv {

// One block per page and tool, kept by the tool for its whole life.
struct PreviewSettings {
    uint32_t previewMode = 1;   // 0 colour, 1 shaded, 2 raytrace
    uint32_t previewShape = 0;  // 1 cube, 0 sphere
    uint32_t localLight = 0;    // the fixed preview lights and environment
    uint32_t showActive = 1;    // the host follows while a slider is dragged
};

// What a page hands to every update. Records are read, never written; they must stay until
// the next update or the control's end.
struct PreviewSubject {
    const Env* env = nullptr;
    Lgt* const* lights = nullptr;  // null-terminated, or null
    const Mat* material = nullptr;
    Vec3 colour{1, 1, 1};          // shown in colour mode without a texture slot
    int textureSlot = -1;          // the material's slot shown in colour mode, or -1
    const Env* localEnvSource = nullptr;  // ambient, background and fog of the local scene
    const Lgt* localLightSource = nullptr;  // shown from +z instead of the three fixed lights
};

// Once, when a page's dialog is initialised: makes control 1094 of page a preview.
void createPreview(HWND page);
// The one redraw request of a page after any change.
void updatePreview(HWND page, const PreviewSubject& subject, const PreviewSettings& settings);
// Cancels a running raytraced picture (before a page changes its record, on deactivation).
void stopPreviewRaytrace(HWND page);
// Checks the seven buttons from settings; the shape and local-light buttons are enabled only
// outside colour mode.
void setPreviewButtons(HWND page, const PreviewSettings& settings);
// A click on one of the seven buttons: updates settings and the buttons and returns true (the
// page then updates the preview); false for any other control.
bool previewButtonClicked(HWND page, PreviewSettings& settings, int id);

// The flat thumbnail of a material into a device context (MatPreview).
void drawMaterialThumbnail(const Mat& mat, int x, int y, int size, HDC dc);

}  // namespace orv
