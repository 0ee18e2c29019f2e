// The raytrace driver's portable part: collecting the host's scene through its geometry
// callback, and the worker loop that traces rows, antialiases them and hands them on. The
// platform supplies where rows go (a RowSink) and how workers start (a ThreadStarter):
// render_driver_win32.cpp sends rows to a hidden window, render_driver_native.cpp queues them
// for the caller's thread.
//
// Workers: by default two, one from the top and one from the bottom, until they meet; with
// any other count the image is cut into bands of rows that the workers take in turn. A row is
// antialiased against the traced (not yet antialiased) rows above and below it, so its pixels
// depend on three traced rows only and the image is the same for every number of workers.
#pragma once

#include <cstdint>

#include "orvanta.h"
#include "raytrace/render_context.h"

namespace orv {

// Everything RaytraceToDevice and RaytraceToDevice2 are given.
struct RaytraceRequest {
    void* deviceContext = nullptr;  // Win32 HDC; null hands RGB rows to the row callback
    CameraSetup camera{};
    int32_t x0 = 0, y0 = 0;  // where pixel (0, 0) goes in the device context
    const Env* env = nullptr;
    uint32_t background = 0;  // 0x00BBGGRR, used when env is null
    Lgt* const* lights = nullptr;
    bool quick = false;
    bool antialias = true;
    // The long form is used when set, else the short form with the default placement box.
    OrvGeometryCallback geometry = nullptr;
    OrvGeometryCallback2 geometry2 = nullptr;
    void* geometryUser = nullptr;
    OrvRowCallback rowCallback = nullptr;
    void* rowUser = nullptr;
    // The preview object's material, or null for none: a sphere of radius 0.7 about the world
    // origin, in front of every body in every search. Only read; it must outlive the render.
    const Mat* previewSphere = nullptr;
    double lightGain = 1.5;  // factor on every light's colour
    int32_t maxDepth = 10;   // reflections and refractions followed one after another; 0 none
};

// Where the workers' rows go. Called on the worker threads; must outlive them.
class RowSink {
public:
    // Once per worker thread before it traces anything.
    virtual void workerStarted() {}
    // One finished row of width packed pixels (0x00BBGGRR); false cancels this worker.
    virtual bool deliver(int32_t row, const uint32_t* pixels, int32_t width) = 0;
    // Asked after every traced pixel; true cancels this worker.
    virtual bool cancelRequested() = 0;

protected:
    ~RowSink() = default;
};

struct RenderWorker;

// Runs runWorker(worker) on a new thread; false when no thread could be started.
class ThreadStarter {
public:
    virtual bool start(RenderWorker* worker) = 0;

protected:
    ~ThreadStarter() = default;
};

// The thread body of one worker. The last worker of a render to end frees the scene, the
// environment it made and the workers, under the process-wide lock.
void runWorker(RenderWorker* worker);

// The largest width and height: a row message carries both in 16 bits.
constexpr int32_t kMaxImageSide = 65535;

// Sets up the camera and environment, builds the scene from the geometry callback on the
// caller's thread and starts the workers. False (and nothing started, the geometry callback
// not called) when the image is empty or larger than kMaxImageSide in either direction.
bool startRender(const RaytraceRequest& request, RowSink& sink, ThreadStarter& starter);

// The workers a render starts: n from SetRaytraceThreads, one per core for 0 (default 2).
void setRaytraceThreads(int32_t n);
int32_t raytraceThreadCount();

// The platform's whole call: set-up, workers, delivery until every worker has ended.
// Returns what RaytraceToDevice returns.
int32_t raytraceToDevice(const RaytraceRequest& request);

}  // namespace orv
