// raytrace_window.h - raytracing the studio's view: a job on a thread of its own that the
// library renders into a DIB section, and a window that shows the rows coming in.
#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "viewport.h"

class Document;

class RaytraceJob {
public:
    RaytraceJob();
    ~RaytraceJob();  // cancels a running render and waits for it
    RaytraceJob(const RaytraceJob&) = delete;
    RaytraceJob& operator=(const RaytraceJob&) = delete;

    // Renders the document as the camera sees it (eye, target, up and vertical field of view),
    // width x height pixels, on a thread of its own. The triangles are taken now, so the bodies
    // may move on meanwhile; the environment, lights and materials are read as the render goes,
    // so the document must not be disposed of before it ends (cancel() first). False when the
    // size is not usable, when a render of any job is running (the library renders one at a
    // time) or when the thread cannot start.
    bool start(const Document& document, const Camera& camera, int width, int height);
    // Stops the render and waits until it has; the rows done so far stay.
    void cancel();
    // Waits up to milliseconds for the render to end; true when it has ended (or never began).
    bool wait(unsigned milliseconds) const;

    bool running() const;         // started and not yet ended
    bool finished() const;        // ended, whole or cancelled
    bool cancelled() const;       // ended by cancel() before the last row
    int progressPercent() const;  // rows done of the height, 0..100
    double seconds() const;       // the render's time so far, or in all once it has ended
    int width() const;
    int height() const;

    // The image, top row first, three bytes a pixel (red, green, blue); rows not rendered yet
    // are dark grey. Empty before the first start.
    std::vector<uint8_t> rgb() const;
    // Draws the image, scaled, into rect of dc.
    void draw(HDC dc, const RECT& rect) const;
    // Writes the image as a PNG file. False while the render runs, before the first start, or
    // when the file cannot be written.
    bool savePng(const std::wstring& path) const;

    // Posts message to window when the render ends, wParam 1 when it was cancelled.
    void notifyWhenDone(HWND window, UINT message);

private:
    struct State;
    std::unique_ptr<State> state_;
};

// Opens a window that raytraces the document's view at width x height pixels, with a progress
// bar, Cancel and "Save PNG..." once done. A raytrace window of owner that is open already
// renders the new view instead. Returns null (and opens nothing) when the render cannot start.
HWND openRaytraceWindow(HWND owner, const Document& document, const Camera& camera, int width,
                        int height);
// Stops the renders of owner's raytrace windows and waits for them; the windows stay open with
// what they have. Call it before the document they render is disposed of.
void stopRaytraceWindows(HWND owner);
