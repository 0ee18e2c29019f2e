#include "matlib/thumbnail.h"

#include <cstring>
#include <thread>
#include <vector>

#include "preview/preview_scene.h"
#include "raytrace/render_driver.h"

namespace orv {

namespace {

// Rows into the caller's picture; the workers run on threads joined before it is read.
class PictureSink final : public RowSink, public ThreadStarter {
public:
    PictureSink(uint32_t* pixels, int size) : pixels_(pixels), size_(size) {}
    ~PictureSink() { join(); }

    bool deliver(int32_t row, const uint32_t* pixels, int32_t width) override {
        if (row >= 0 && row < size_ && width == size_)
            std::memcpy(pixels_ + size_t(row) * size_, pixels, sizeof(uint32_t) * size_);
        return true;
    }
    bool cancelRequested() override { return false; }
    bool start(RenderWorker* worker) override {
        threads_.emplace_back(runWorker, worker);
        return true;
    }
    void join() {
        for (std::thread& t : threads_) t.join();
        threads_.clear();
    }

private:
    uint32_t* pixels_;
    int size_;
    std::vector<std::thread> threads_;
};

int32_t noBodies(int64_t*, Mat**, OrvColorRef*, double*, int32_t*, double*, double*, double*,
                 void*) {
    return 0;
}

}  // namespace

void renderThumbnail(const Mat& mat, int size, uint32_t* pixels) {
    PreviewLocals locals;
    makePreviewLocals(locals, nullptr, nullptr);
    RaytraceRequest request;
    request.camera = CameraSetup{
        {0, 0, kPreviewEyeZ}, {0, 0, 0}, {0, 1, 0}, kPreviewFov, 1.0, 0, 0, 1.0, size, size};
    request.env = locals.env;
    request.background = 0xFFFFFF;
    request.lights = locals.lights;
    request.lightGain = 1.5;
    request.maxDepth = 5;
    request.geometry = noBodies;
    request.previewSphere = &mat;
    {
        PictureSink sink(pixels, size);
        if (!startRender(request, sink, sink)) std::memset(pixels, 0xFF, 4 * size_t(size) * size);
    }
    freePreviewLocals(locals);
}

}  // namespace orv
