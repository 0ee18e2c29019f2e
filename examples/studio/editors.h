// editors.h - opening the library's tools over the document's records.
//
// Each tool runs on a thread of its own and calls back there, so the callbacks only post a
// message (messages.h) to the main window, which redraws or moves the scene on its own thread.
// Every function returns the text for the status bar.
#pragma once

#include <windows.h>

#include <atomic>
#include <string>
#include <vector>

#include "orvanta.h"

namespace editors {

std::wstring editMaterial(HWND owner, Mat* mat, uint64_t body);
std::wstring editLight(HWND owner, Lgt* light);
std::wstring editEnvironment(HWND owner, Env* env);
std::wstring editLinks(HWND owner, std::vector<Lnk*> links, bool skipFollowers);
std::wstring editTransmission(HWND owner, Trn* trn);

}  // namespace editors

// The material library window. OpenMatLib keeps the thread that opens it until the window
// closes, so it gets a thread of its own and the studio stays live meanwhile.
class MaterialLibrary {
public:
    explicit MaterialLibrary(HWND owner) : owner_(owner) {}
    ~MaterialLibrary() { close(); }
    MaterialLibrary(const MaterialLibrary&) = delete;
    MaterialLibrary& operator=(const MaterialLibrary&) = delete;

    std::wstring open();
    // Closes the window and waits for its thread, serving this thread's messages meanwhile.
    void close();
    // Takes the thread back once its window has closed.
    void closed();

private:
    static DWORD WINAPI run(void* self);
    static int32_t callback(int32_t reason, Mat* material, void* self);

    HWND owner_;
    HANDLE thread_ = nullptr;
    DWORD threadId_ = 0;
    std::atomic<bool> open_{false};
};
