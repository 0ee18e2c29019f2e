// Thumbnails traced on a thread of their own for a window: each job a copy of a material, each
// finished picture posted back to the window as the thumbnail message.
#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

#include "orvanta.h"

namespace orv {

struct ThumbnailJob {
    int list, slot;
    uint64_t key;                  // what the picture shows: the material's appearance
    Mat* copy;                     // owned by the job
    std::vector<uint32_t> pixels;  // 0x00BBGGRR, top row first, once traced
};

// The edge of a library thumbnail in pixels.
constexpr int kThumbnailSide = 64;

class ThumbnailWorker {
public:
    explicit ThumbnailWorker(HWND window);
    ~ThumbnailWorker();  // stops the thread and drops the jobs not yet posted
    ThumbnailWorker(const ThumbnailWorker&) = delete;
    ThumbnailWorker& operator=(const ThumbnailWorker&) = delete;

    // Takes the job; the window receives it back as message() with the job in lParam and must
    // end it with finish().
    void queue(ThumbnailJob* job);
    static UINT message();
    static void finish(ThumbnailJob* job);

private:
    static DWORD WINAPI run(void* self);

    HWND window_;
    CRITICAL_SECTION lock_;
    HANDLE wake_;
    HANDLE thread_ = nullptr;
    bool stopping_ = false;
    std::vector<ThumbnailJob*> jobs_;
};

// A key that changes when anything of the material's appearance (its block behind the name)
// changes.
uint64_t appearanceKey(const Mat& mat);

}  // namespace orv
