// The preview control itself: made from a page's static control 1094, it keeps its state in
// the window's properties, draws by mode on every update and frees everything when its window
// is destroyed. All drawing happens on the page's thread; the raytrace workers only post rows.
#include <windows.h>

#include "preview/preview_state_win32.h"
#include "preview_ids.h"

namespace orv {

namespace {

const char kStateProperty[] = "OrvantaDLL:PreviewState";

PreviewState* stateOf(HWND control) {
    return control ? static_cast<PreviewState*>(GetPropA(control, kStateProperty)) : nullptr;
}

PreviewState* stateOfPage(HWND page) { return stateOf(GetDlgItem(page, IDC_PREVIEW)); }

void destroy(PreviewState* state) {
    stopPreviewRaytrace(*state);
    releasePreviewGl(*state);
    if (state->dc) ReleaseDC(state->window, state->dc);
    if (state->memoryDc) {
        SelectObject(state->memoryDc, state->memoryBitmapBefore);
        DeleteDC(state->memoryDc);
    }
    if (state->memoryBitmap) DeleteObject(state->memoryBitmap);
    if (state->palette) DeleteObject(state->palette);
    freePreviewLocals(state->locals);
    RemovePropA(state->window, kStateProperty);
    delete state;
}

LRESULT paletteMessage(PreviewState& state, HWND window) {
    if (!state.palette) return 0;
    if (realisePreviewPalette(state)) InvalidateRect(window, nullptr, FALSE);
    return 1;
}

LRESULT CALLBACK previewProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    PreviewState* state = stateOf(window);
    if (!state) return DefWindowProcA(window, message, wParam, lParam);
    if (message == previewRowMessage()) {
        takePreviewRow(*state, reinterpret_cast<uint32_t*>(wParam), lParam);
        return 0;
    }
    switch (message) {
    case WM_PAINT: {
        PAINTSTRUCT paint;
        HDC dc = BeginPaint(window, &paint);
        if (state->settings.previewMode == 1) {
            paintShaded(*state);
        } else {
            const RECT& r = paint.rcPaint;
            BitBlt(dc, r.left, r.top, r.right - r.left, r.bottom - r.top, state->memoryDc, r.left,
                   r.top, SRCCOPY);
        }
        EndPaint(window, &paint);
        return 0;
    }
    case WM_PRINTCLIENT:  // the picture as painted, into a device context of the caller's
        if (state->settings.previewMode == 1)
            printShaded(*state, HDC(wParam));
        else
            BitBlt(HDC(wParam), 0, 0, state->width, state->height, state->memoryDc, 0, 0, SRCCOPY);
        return 0;
    case WM_ERASEBKGND:
        return 1;
    case WM_QUERYNEWPALETTE:
        return paletteMessage(*state, window);
    case WM_PALETTECHANGED:
        return HWND(wParam) == window ? 0 : paletteMessage(*state, window);
    case WM_NCDESTROY: {
        const WNDPROC previous = state->previous;
        destroy(state);
        SetWindowLongPtrA(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(previous));
        return CallWindowProcA(previous, window, message, wParam, lParam);
    }
    }
    return CallWindowProcA(state->previous, window, message, wParam, lParam);
}

}  // namespace

void createPreview(HWND page) {
    ShowWindow(GetDlgItem(page, IDC_PREVIEW_RAYTRACE), SW_SHOW);
    HWND control = GetDlgItem(page, IDC_PREVIEW);
    if (!control || stateOf(control)) return;
    SetWindowLongPtrA(control, GWL_STYLE,
                      GetWindowLongPtrA(control, GWL_STYLE) | WS_CLIPCHILDREN | WS_CLIPSIBLINGS);
    previewRowMessage();
    auto* state = new PreviewState;
    state->window = control;
    state->dc = GetDC(control);
    RECT client;
    GetClientRect(control, &client);
    state->width = client.right;
    state->height = client.bottom;
    SetPropA(control, kStateProperty, state);
    state->memoryDc = CreateCompatibleDC(state->dc);
    state->memoryBitmap = CreateCompatibleBitmap(state->dc, state->width, state->height);
    state->memoryBitmapBefore = SelectObject(state->memoryDc, state->memoryBitmap);
    PatBlt(state->memoryDc, 0, 0, state->width, state->height, WHITENESS);
    // The context comes before the subclassing, so a control without OpenGL still paints its
    // flat and raytraced pictures.
    setUpPreviewGl(*state);
    state->previous = reinterpret_cast<WNDPROC>(SetWindowLongPtrA(
        control, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(previewProcedure)));
}

void updatePreview(HWND page, const PreviewSubject& subject, const PreviewSettings& settings) {
    PreviewState* state = stateOfPage(page);
    if (!state) return;
    stopPreviewRaytrace(*state);
    const bool newShape = settings.previewShape != state->settings.previewShape ||
                          settings.previewMode != state->settings.previewMode ||
                          subject.material != state->subject.material || !state->shapeBuilt;
    state->subject = subject;
    state->settings = settings;
    makePreviewLocals(state->locals, subject.localEnvSource, subject.localLightSource);
    switch (settings.previewMode) {
    case 0:
        paintFlatPicture(*state);
        break;
    case 1:
        buildSceneList(*state);
        if (newShape || settings.previewShape == 1) buildShapeList(*state);
        break;
    default:
        PatBlt(state->memoryDc, 0, 0, state->width, state->height, WHITENESS);
        startPreviewRaytrace(*state);
        break;
    }
    InvalidateRect(state->window, nullptr, FALSE);
    UpdateWindow(state->window);
}

void stopPreviewRaytrace(HWND page) {
    if (PreviewState* state = stateOfPage(page)) stopPreviewRaytrace(*state);
}

}  // namespace orv
