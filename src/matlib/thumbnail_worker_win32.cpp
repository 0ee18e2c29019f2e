#include "matlib/thumbnail_worker_win32.h"

#include <vector>

#include "core/record_lifecycle.h"
#include "matlib/thumbnail.h"

namespace orv {

ThumbnailWorker::ThumbnailWorker(HWND window)
    : window_(window), wake_(CreateEventA(nullptr, FALSE, FALSE, nullptr)) {
    InitializeCriticalSection(&lock_);
    thread_ = CreateThread(nullptr, 0, run, this, 0, nullptr);
}

ThumbnailWorker::~ThumbnailWorker() {
    EnterCriticalSection(&lock_);
    stopping_ = true;
    LeaveCriticalSection(&lock_);
    SetEvent(wake_);
    if (thread_) {
        WaitForSingleObject(thread_, INFINITE);
        CloseHandle(thread_);
    }
    for (ThumbnailJob* job : jobs_) finish(job);
    CloseHandle(wake_);
    DeleteCriticalSection(&lock_);
}

UINT ThumbnailWorker::message() {
    static const UINT id = RegisterWindowMessageA("OrvantaDLL:MatLibThumbnail");
    return id;
}

void ThumbnailWorker::queue(ThumbnailJob* job) {
    EnterCriticalSection(&lock_);
    jobs_.push_back(job);
    LeaveCriticalSection(&lock_);
    SetEvent(wake_);
}

void ThumbnailWorker::finish(ThumbnailJob* job) {
    disposeMat(job->copy);
    delete job;
}

DWORD WINAPI ThumbnailWorker::run(void* self) {
    auto& worker = *static_cast<ThumbnailWorker*>(self);
    for (;;) {
        EnterCriticalSection(&worker.lock_);
        ThumbnailJob* job = nullptr;
        if (!worker.stopping_ && !worker.jobs_.empty()) {
            job = worker.jobs_.front();
            worker.jobs_.erase(worker.jobs_.begin());
        }
        const bool stopping = worker.stopping_;
        LeaveCriticalSection(&worker.lock_);
        if (stopping) return 0;
        if (!job) {
            WaitForSingleObject(worker.wake_, INFINITE);
            continue;
        }
        job->pixels.resize(size_t(kThumbnailSide) * kThumbnailSide);
        renderThumbnail(*job->copy, kThumbnailSide, job->pixels.data());
        if (!PostMessageA(worker.window_, message(), 0, reinterpret_cast<LPARAM>(job))) finish(job);
    }
}

uint64_t appearanceKey(const Mat& mat) {
    std::vector<unsigned char> block(getMat(mat, nullptr));
    getMat(mat, block.data());
    uint64_t hash = 14695981039346656037ull;  // FNV-1a over everything behind the name
    const size_t toolAt = offsetof(Mat, tool);
    for (size_t i = sizeof mat.name; i < block.size(); ++i) {
        if (i >= toolAt && i < toolAt + sizeof(void*)) continue;
        if (i >= offsetof(Mat, slots) && i < offsetof(Mat, texturePosition)) {
            const size_t inSlot = (i - offsetof(Mat, slots)) % sizeof(OrvTextureSlot);
            const size_t at = offsetof(OrvTextureSlot, pixels);
            if (inSlot >= at && inSlot < at + sizeof(void*)) continue;  // a buffer's address
        }
        hash = (hash ^ block[i]) * 1099511628211ull;
    }
    return hash;
}

}  // namespace orv
