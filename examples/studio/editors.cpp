// editors.cpp - the tools and the material library.
#include "editors.h"

#include <cstring>

#include "messages.h"
#include "text.h"

namespace {

// ---- Callbacks, on the tools' threads: post, never touch the windows ----------------------------

int32_t appearanceChanged(void* owner, void*, void*, int32_t reason) {
    PostMessageW(static_cast<HWND>(owner), WM_STUDIO_APPEARANCE_CHANGED, WPARAM(reason), 0);
    return 0;
}

// Without a record the link tool has closed.
int32_t linksChanged(void* owner, void* record, void*, int32_t reason) {
    PostMessageW(static_cast<HWND>(owner), WM_STUDIO_LINKS_CHANGED, WPARAM(reason), record ? 0 : 1);
    return 0;
}

std::wstring alreadyOpen(const wchar_t* tool, const void* record) {
    return std::wstring(L"The ") + tool + L" is open already for " + recordName(record) + L".";
}

}  // namespace

namespace editors {

std::wstring editMaterial(HWND owner, Mat* mat, uint64_t body) {
    if (!mat) return L"Select a body or a material to edit its material.";
    if (!OpenMatTool(owner, mat, body, 0, appearanceChanged, nullptr))
        return alreadyOpen(L"material tool", mat);
    return L"Material tool: " + recordName(mat);
}

std::wstring editLight(HWND owner, Lgt* light) {
    if (!light) return L"The scene has no light.";
    if (!OpenLgtTool(owner, light, 0, 0, appearanceChanged, nullptr))
        return alreadyOpen(L"light tool", light);
    return L"Light tool: " + recordName(light);
}

std::wstring editEnvironment(HWND owner, Env* env) {
    if (!OpenEnvTool(owner, env, 0, appearanceChanged, nullptr))
        return alreadyOpen(L"scene tool", env);
    return L"Scene tool: " + recordName(env);
}

std::wstring editLinks(HWND owner, std::vector<Lnk*> links, bool skipFollowers) {
    if (links.empty()) return L"Select a link, or a body that a link moves.";
    if (!OpenLnkTool(owner, links.data(), int32_t(links.size()), skipFollowers ? 1 : 0, 0,
                     linksChanged, nullptr, 0, 0, 0, 0))
        return L"The link tool is open already for these links.";
    return links.size() == 1 ? L"Link tool: " + recordName(links[0]) : L"Link tool";
}

std::wstring editTransmission(HWND owner, Trn* trn) {
    if (!trn) return L"The scene has no transmission.";
    if (!OpenTrnTool(owner, trn, linksChanged, nullptr))
        return alreadyOpen(L"transmission tool", trn);
    return L"Transmission tool: " + recordName(trn);
}

}  // namespace editors

// ---- Material library ------------------------------------------------------------------------

namespace {

constexpr wchar_t kLibraryClass[] = L"OrvantaDLL:MatLibMain";

// Calls what on each library window of the thread.
template <typename What>
void forLibraryWindows(DWORD threadId, What what) {
    EnumThreadWindows(
        threadId,
        [](HWND hwnd, LPARAM param) -> BOOL {
            wchar_t name[64];
            if (GetClassNameW(hwnd, name, 64) && std::wcscmp(name, kLibraryClass) == 0)
                (*reinterpret_cast<What*>(param))(hwnd);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&what));
}

}  // namespace

std::wstring MaterialLibrary::open() {
    if (open_) {
        forLibraryWindows(threadId_, [](HWND hwnd) { SetForegroundWindow(hwnd); });
        return L"The material library is open already.";
    }
    closed();
    open_ = true;
    thread_ = CreateThread(nullptr, 0, run, this, 0, &threadId_);
    if (!thread_) {
        open_ = false;
        return L"The material library cannot be opened.";
    }
    return L"Material library: choose a material and assign it to the selected body.";
}

DWORD WINAPI MaterialLibrary::run(void* self) {
    auto* library = static_cast<MaterialLibrary*>(self);
    OpenMatLib(library->owner_, 0, 0, 0, 0, callback, library);
    library->open_ = false;
    PostMessageW(library->owner_, WM_STUDIO_LIBRARY_CLOSED, 0, 0);
    return 0;
}

// On the library's thread. The chosen material belongs to the window, so the main window gets
// a copy of its block.
int32_t MaterialLibrary::callback(int32_t reason, Mat* material, void* self) {
    if (reason == 3 && material) {
        uint32_t size = 0;
        GetMat(material, nullptr, &size);
        auto* block = new std::vector<uint8_t>(size);
        GetMat(material, block->data(), &size);
        if (!PostMessageW(static_cast<MaterialLibrary*>(self)->owner_, WM_STUDIO_LIBRARY_MATERIAL,
                          0, reinterpret_cast<LPARAM>(block)))
            delete block;
    }
    return 1;  // every addition, deletion and rename in the window's own list is fine
}

void MaterialLibrary::close() {
    if (!thread_) return;
    // The window talks to its owner while it closes, so this thread keeps answering. A window
    // still being made when the first request went out is asked again.
    DWORD woken = WAIT_TIMEOUT;
    while (woken != WAIT_OBJECT_0 && woken != WAIT_FAILED) {
        if (woken == WAIT_TIMEOUT)
            forLibraryWindows(threadId_, [](HWND hwnd) { PostMessageW(hwnd, WM_CLOSE, 0, 0); });
        woken = MsgWaitForMultipleObjects(1, &thread_, FALSE, 200, QS_ALLINPUT);
        MSG msg;
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&msg);
            DispatchMessageW(&msg);
        }
    }
    closed();
}

// A window opened again before the last one's message arrived keeps its thread.
void MaterialLibrary::closed() {
    if (!thread_ || open_) return;
    WaitForSingleObject(thread_, INFINITE);
    CloseHandle(thread_);
    thread_ = nullptr;
    threadId_ = 0;
}
