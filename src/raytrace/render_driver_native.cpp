// The raytrace driver without a window system: the workers are std::threads, each finished
// row waits in a small queue until the caller's thread has handed it to the row callback.
// There is no device context; rows always reach the callback as RGB bytes.
#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "raytrace/render_driver.h"

namespace orv {

namespace {

// Rows cross from the workers to the caller's thread; a worker waits until its row is served.
class QueuedRowSink final : public RowSink, public ThreadStarter {
public:
    QueuedRowSink(OrvRowCallback callback, void* user) : callback_(callback), user_(user) {}

    bool deliver(int32_t row, const uint32_t* pixels, int32_t width) override {
        Pending pending{row, pixels, width};
        std::unique_lock<std::mutex> lock(mutex_);
        if (cancelled_) return false;
        queue_.push_back(&pending);
        changed_.notify_all();
        changed_.wait(lock, [&] { return pending.served; });
        return !cancelled_;
    }

    bool cancelRequested() override { return cancelled_.load(std::memory_order_relaxed); }

    bool start(RenderWorker* worker) override {
        std::lock_guard<std::mutex> lock(mutex_);
        try {
            threads_.emplace_back([this, worker] {
                runWorker(worker);
                std::lock_guard<std::mutex> ended(mutex_);
                --running_;
                changed_.notify_all();
            });
        } catch (const std::system_error&) {
            return false;
        }
        ++running_;
        return true;
    }

    // On the caller's thread: serves rows until every worker has ended.
    void serveRows() {
        std::vector<uint8_t> rgb;
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            changed_.wait(lock, [&] { return !queue_.empty() || running_ == 0; });
            if (queue_.empty()) break;
            Pending* pending = queue_.front();
            queue_.pop_front();
            if (!cancelled_ && callback_) {
                rgb.resize(static_cast<size_t>(pending->width) * 3);
                for (int32_t i = 0; i < pending->width; ++i) {
                    const uint32_t p = pending->pixels[i];
                    for (int k = 0; k < 3; ++k) rgb[3 * i + k] = static_cast<uint8_t>(p >> (8 * k));
                }
                lock.unlock();
                const bool goOn = callback_(rgb.data(), pending->width, pending->row, user_) != 0;
                lock.lock();
                if (!goOn) cancelled_ = true;
            }
            pending->served = true;
            changed_.notify_all();
        }
        lock.unlock();
        for (std::thread& t : threads_) t.join();
    }

private:
    struct Pending {
        int32_t row;
        const uint32_t* pixels;  // the worker's buffer, valid while it waits
        int32_t width;
        bool served = false;
    };

    OrvRowCallback callback_;
    void* user_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Pending*> queue_;
    std::atomic<bool> cancelled_{false};  // written under mutex_
    int32_t running_ = 0;
    std::vector<std::thread> threads_;
};

}  // namespace

int32_t raytraceToDevice(const RaytraceRequest& request) {
    QueuedRowSink sink(request.rowCallback, request.rowUser);
    if (startRender(request, sink, sink)) sink.serveRows();
    return 1;
}

}  // namespace orv
