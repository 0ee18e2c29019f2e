// Sections: scene collection, the worker and its row sweep, start and end of a render, the
// thread count.
#include "raytrace/render_driver.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "core/checked_alloc.h"
#include "core/process_lock.h"
#include "raytrace/scene.h"
#include "raytrace/trace_row.h"

namespace orv {

namespace {

constexpr int32_t kMaxThreads = 64;
std::atomic<int32_t> threadSetting{2};

}  // namespace

// One render, shared by its workers.
struct RenderJob {
    RowSink* sink = nullptr;
    bool antialias = true;
    bool meeting = false;  // two workers from the top and the bottom
    int32_t bandRows = 0;  // otherwise: bands of rows taken in turn
    std::atomic<int32_t> nextBand{0};
    int32_t workerCount = 0;
    int32_t ended = 0;  // under the process-wide lock
    RenderWorker* workers = nullptr;
};

struct RenderWorker {
    RenderJob* job = nullptr;
    RenderContext ctx;                 // a copy per worker: shared scene, own shadow cache
    int32_t direction = 0;             // meeting mode: 0 from the top, 1 from the bottom
    std::atomic<int32_t> lastRow{-1};  // the last row delivered (meeting mode)
    RenderWorker* sibling = nullptr;
};

namespace {

// ---- Scene collection ----

Vec3 vecOf(const double v[3]) {
    return Vec3{v[0], v[1], v[2]};
}

// Calls the host's geometry callback until it returns 0, one triangle per call.
void collectScene(RenderContext& ctx, const RaytraceRequest& request) {
    for (;;) {
        GeometryItem item;
        int32_t more = 0;
        if (request.geometry2) {
            double boxMin[3] = {-0.5, -0.5, -0.5}, boxMax[3] = {0.5, 0.5, 0.5}, origin[3] = {};
            more = request.geometry2(&item.newBody, &item.material, &item.colour, &item.opacity,
                                     &item.twoSided, item.corners, item.cornerNormals,
                                     item.faceNormal, boxMin, boxMax, origin, request.geometryUser);
            item.boxMin = vecOf(boxMin);
            item.boxMax = vecOf(boxMax);
            item.origin = vecOf(origin);
        } else if (request.geometry) {
            more = request.geometry(&item.newBody, &item.material, &item.colour, &item.opacity,
                                    &item.twoSided, item.corners, item.cornerNormals,
                                    item.faceNormal, request.geometryUser);
        }
        if (!more) break;
        addTriangle(ctx, item);
    }
    finishScene(ctx, raytraceThreadCount());
}

// ---- The worker ----

bool sinkCancels(void* sink) {
    return static_cast<RowSink*>(sink)->cancelRequested();
}

// Three traced rows (row - step, row, row + step) and the row being delivered, width + 2
// pixels each.
struct RowBuffers {
    explicit RowBuffers(int32_t width) : size(static_cast<size_t>(width) + 2) {
        for (uint32_t*& b : buffers) b = static_cast<uint32_t*>(checkedAlloc(size * 4));
    }
    ~RowBuffers() {
        for (uint32_t* b : buffers) checkedFree(b);
    }
    RowBuffers(const RowBuffers&) = delete;
    RowBuffers& operator=(const RowBuffers&) = delete;

    void rotate() { std::rotate(buffers, buffers + 1, buffers + 3); }
    uint32_t*& older() { return buffers[0]; }
    uint32_t*& middle() { return buffers[1]; }
    uint32_t*& newer() { return buffers[2]; }
    uint32_t* out() { return buffers[3]; }

    size_t size;
    uint32_t* buffers[4];
};

// Delivers rows first, first + step, ... while mayDeliver(row) allows; false when cancelled.
template <typename MayDeliver>
bool sweep(RenderWorker& w, RowBuffers& b, int32_t first, int32_t step, MayDeliver mayDeliver) {
    RenderContext& ctx = w.ctx;
    RowSink& sink = *w.job->sink;
    if (!mayDeliver(first)) return true;
    if (!traceRow(ctx, first - step, b.older(), sinkCancels, &sink)) return false;
    if (!traceRow(ctx, first, b.middle(), sinkCancels, &sink)) return false;
    for (int32_t row = first;; row += step) {
        if (!traceRow(ctx, row + step, b.newer(), sinkCancels, &sink)) return false;
        // The traced middle row stays as it is: it is the next row's unrefined neighbour.
        std::memcpy(b.out(), b.middle(), b.size * 4);
        if (w.job->antialias) antialiasRow(ctx, row, b.older(), b.out(), b.newer());
        if (!sink.deliver(row, b.out() + 1, ctx.width)) return false;
        w.lastRow.store(row);
        if (!mayDeliver(row + step)) return true;
        b.rotate();
    }
}

// Two workers: each goes on while the sibling has not delivered its next row, so every row
// is delivered, one near the middle possibly by both.
void sweepFromEdge(RenderWorker& w, RowBuffers& b) {
    const int32_t height = w.ctx.height;
    const RenderWorker& sibling = *w.sibling;
    if (w.direction == 0) {
        sweep(w, b, 0, 1, [&](int32_t row) { return row < height && row < sibling.lastRow; });
    } else {
        sweep(w, b, height - 1, -1, [&](int32_t row) { return row >= 0 && row > sibling.lastRow; });
    }
}

void sweepBands(RenderWorker& w, RowBuffers& b) {
    RenderJob& job = *w.job;
    const int32_t height = w.ctx.height;
    for (;;) {
        const int32_t first = job.nextBand.fetch_add(1) * job.bandRows;
        if (first >= height) return;
        const int32_t end = std::min(height, first + job.bandRows);
        if (!sweep(w, b, first, 1, [end](int32_t row) { return row < end; })) return;
    }
}

// ---- End of a render ----

void endWorker(RenderWorker& w) {
    RenderJob* job = w.job;
    ProcessLockScope lock;
    if (++job->ended < job->workerCount) return;
    // The last worker: the contexts share one scene and one environment.
    RenderContext& first = job->workers[0].ctx;
    freeScene(first.scene);
    releaseEnvironment(first);
    delete[] job->workers;
    delete job;
}

}  // namespace

void runWorker(RenderWorker* worker) {
    RenderWorker& w = *worker;
    w.job->sink->workerStarted();
    {
        RowBuffers buffers(w.ctx.width);
        if (w.job->meeting) {
            sweepFromEdge(w, buffers);
        } else {
            sweepBands(w, buffers);
        }
    }
    endWorker(w);
}

// ---- Start of a render ----

bool startRender(const RaytraceRequest& request, RowSink& sink, ThreadStarter& starter) {
    const CameraSetup& camera = request.camera;
    if (camera.width <= 0 || camera.height <= 0 || camera.width > kMaxImageSide ||
        camera.height > kMaxImageSide) {
        return false;
    }

    RenderJob* job = new RenderJob;
    const int32_t count = raytraceThreadCount();
    job->sink = &sink;
    job->antialias = request.antialias;
    job->meeting = count == 2;
    // Bands: a few per worker so that they finish together; each costs two extra rows.
    job->bandRows =
        count == 1 ? camera.height : std::max(4, (camera.height + 4 * count - 1) / (4 * count));
    job->workerCount = count;
    job->workers = new RenderWorker[count];

    RenderContext& ctx = job->workers[0].ctx;
    setUpCamera(ctx, camera);
    setEnvironment(ctx, request.env, request.background);
    ctx.lights = request.lights;
    ctx.quick = request.quick;
    ctx.lightGain = request.lightGain;
    ctx.maxDepth = request.maxDepth;
    if (request.previewSphere) setPreviewObject(ctx, *request.previewSphere);
    collectScene(ctx, request);

    for (int32_t i = 0; i < count; ++i) {
        RenderWorker& w = job->workers[i];
        if (i > 0) w.ctx = ctx;
        w.job = job;
        w.direction = i;
        w.lastRow = i == 0 ? -1 : camera.height;
        w.sibling = &job->workers[(i + 1) % count];
    }
    // Collected first: once the last worker has started, the job may be gone at any time.
    std::vector<RenderWorker*> workers(static_cast<size_t>(count));
    for (int32_t i = 0; i < count; ++i) workers[static_cast<size_t>(i)] = &job->workers[i];
    for (RenderWorker* w : workers) {
        if (!starter.start(w)) endWorker(*w);
    }
    return true;
}

// ---- Thread count ----

void setRaytraceThreads(int32_t n) {
    threadSetting.store(std::clamp(n, 0, kMaxThreads));
}

int32_t raytraceThreadCount() {
    const int32_t n = threadSetting.load();
    if (n > 0) return n;
    const auto cores = static_cast<int32_t>(std::thread::hardware_concurrency());
    return std::clamp(cores, 1, kMaxThreads);
}

}  // namespace orv
