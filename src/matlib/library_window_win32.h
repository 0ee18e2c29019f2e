// The material library's window (class "OrvantaDLL:MatLibMain"): the scene's materials and a
// library file's side by side, with thumbnails traced in the background.
#pragma once

#include <windows.h>

#include <cstdint>

#include "orvanta.h"

namespace orv {

using LibraryCallback = int32_t (*)(int32_t reason, Mat* material, void* data);

struct LibraryRequest {
    HWND owner = nullptr;
    uint64_t hostValues[4] = {};
    LibraryCallback callback = nullptr;
    void* data = nullptr;
};

// Builds the window and serves its messages on the calling thread until it closes; returns 1,
// or 0 when the window could not be made.
int32_t runLibraryWindow(const LibraryRequest& request);

// The registered message that makes every open library window redraw.
UINT libraryRefreshMessage();

}  // namespace orv
