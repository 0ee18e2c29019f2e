// The editors' mechanism, shared by every record family:
//   lock      - who holds an editor: the record's tool pointer, under the framework's lock
//   block     - the host's callback, Cancel's restore
//   thread    - the sheet, its message loop and the clean-up
//   host side - Open, Wait, and Dispose's close
#include <windows.h>

#include <commctrl.h>
#include <prsht.h>

#include <cstdio>
#include <cstring>
#include <new>

#include "core/checked_alloc.h"
#include "core/library_module.h"
#include "i18n/localise.h"
#include "tools/dialog_list_win32.h"
#include "tools/tool_close.h"
#include "tools/tool_family.h"
#include "tools/tool_framework.h"
#include "tools/tool_page_win32.h"

namespace orv {

namespace {

// ---- lock ----------------------------------------------------------------------------------

// Guards every record's tool pointer and a block's thread handle, sheet and record, so that a
// block is never freed while the host's thread reads it. Held only for a few stores.
SRWLOCK toolsLock = SRWLOCK_INIT;

struct ToolsLock {
    ToolsLock() { AcquireSRWLockExclusive(&toolsLock); }
    ~ToolsLock() { ReleaseSRWLockExclusive(&toolsLock); }
};

// Removes and dispatches every message waiting for the calling thread.
void dispatchWaitingMessages() {
    MSG msg;
    while (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&msg);
        DispatchMessageA(&msg);
    }
}

void* loadToolPointer(void** toolPointer) {
    return __atomic_load_n(toolPointer, __ATOMIC_ACQUIRE);
}
void storeToolPointer(void** toolPointer, void* value) {
    __atomic_store_n(toolPointer, value, __ATOMIC_RELEASE);
}

// The open tools, newest first, under the lock.
ToolBlock* openTools = nullptr;

void forgetOpenTool(ToolBlock& tool) {
    for (ToolBlock** at = &openTools; *at; at = &(*at)->nextOpen) {
        if (*at != &tool) continue;
        *at = tool.nextOpen;
        return;
    }
}

// A block with its record arrays: one record in the block itself, several in one allocation
// behind it.
ToolBlock* newToolBlock(size_t recordCount) {
    const size_t arrays = recordCount > 1 ? 2 * recordCount * sizeof(void*) : 0;
    void* memory = checkedAlloc(sizeof(ToolBlock) + arrays);
    ToolBlock* tool = new (memory) ToolBlock;
    if (arrays) {
        void** behind = reinterpret_cast<void**>(tool + 1);
        for (size_t i = 0; i < 2 * recordCount; ++i) behind[i] = nullptr;
        tool->records = behind;
        tool->snapshots = behind + recordCount;
        tool->recordCount = recordCount;
    }
    return tool;
}

void freeToolBlock(ToolBlock* tool) {
    tool->~ToolBlock();
    checkedFree(tool);
}

}  // namespace

// ---- block ---------------------------------------------------------------------------------

void ToolBlock::notifyHost(int32_t reason, void* edited) {
    if (callback && edited && !disposing) callback(owner, edited, data, reason);
}

void ToolBlock::cancel() {
    if (restored || disposing) return;
    restored = true;
    for (size_t i = 0; i < recordCount; ++i) {
        if (!records[i]) continue;
        family->restoreSnapshot(records[i], snapshots[i]);
        if (family->callbackAfterCancel) notifyHost(1, records[i]);
    }
}

namespace {

// ---- thread --------------------------------------------------------------------------------

// The pages of one sheet, with what PropertySheet needs of them.
struct SheetPages {
    static constexpr size_t kMost = 64;
    ToolPage* page[kMost] = {};
    PROPSHEETPAGEA sheetPage[kMost] = {};
    char title[kMost][kLocalisedMax] = {};
    size_t count = 0;

    SheetPages(ToolBlock& tool) {
        const PageDesign* designs = nullptr;
        count = tool.family->pages(tool, &designs);
        const bool perRecord = tool.family->pagePerRecord;
        if (perRecord) count = count ? tool.recordCount : 0;
        if (count > kMost) count = kMost;
        for (size_t i = 0; i < count; ++i) {
            const PageDesign& d = designs[perRecord ? 0 : i];
            page[i] = d.make(tool, d);
            if (perRecord) page[i]->editRecord(i);
            if (d.titleId) {
                loadLocalisedString(d.titleId, title[i]);
            } else {
                // a 64-character name has no terminator
                std::memcpy(title[i], tool.records[perRecord ? i : 0], 64);
                if (!title[i][0]) loadLocalisedString(tool.family->captionId, title[i]);
            }
            PROPSHEETPAGEA& p = sheetPage[i];
            p.dwSize = sizeof p;
            p.dwFlags = PSP_USETITLE;
            p.hInstance = static_cast<HINSTANCE>(libraryModule());
            p.pszTemplate = MAKEINTRESOURCEA(d.templateId);
            p.pfnDlgProc = ToolPage::procedure;
            p.pszTitle = title[i];
            p.lParam = reinterpret_cast<LPARAM>(page[i]);
        }
    }
    // The page windows forget their objects before these go.
    void release(HWND sheet) {
        for (size_t i = 0; sheet && i < count; ++i) {
            HWND window = reinterpret_cast<HWND>(SendMessageA(sheet, PSM_INDEXTOHWND, i, 0));
            if (window) SetWindowLongPtrA(window, DWLP_USER, 0);
        }
        for (size_t i = 0; i < count; ++i) delete page[i];
        count = 0;
    }
};

// The sheet's own buttons in the library's language rather than the system's.
void localiseSheetButtons(HWND sheet) {
    const struct {
        int id;
        int32_t text;
    } buttons[] = {{IDOK, 300}, {IDCANCEL, 301}};
    for (const auto& b : buttons) {
        char text[kLocalisedMax];
        loadLocalisedString(b.text, text);
        SetDlgItemTextA(sheet, b.id, text);
    }
}

// icon: the sheet's own copy of the family's icon, which the thread destroys after the sheet.
// A sheet given the icon's resource id loads a copy that nobody destroys; one copy shared by
// the sheets of several threads would be drawn by them at the same time.
HWND createSheet(ToolBlock& tool, SheetPages& pages, HICON icon) {
    PROPSHEETHEADERA header = {};
    header.dwSize = sizeof header;
    header.dwFlags = PSH_MODELESS | PSH_NOAPPLYNOW | PSH_PROPSHEETPAGE | PSH_USEHICON;
    header.hwndParent = static_cast<HWND>(tool.owner);
    header.hInstance = static_cast<HINSTANCE>(libraryModule());
    header.hIcon = icon;
    header.pszCaption = tool.caption;
    header.nPages = UINT(pages.count);
    header.nStartPage = 0;
    header.ppsp = pages.sheetPage;
    return reinterpret_cast<HWND>(PropertySheetA(&header));
}

// Runs until the sheet has no current page (OK or Cancel) or is sent a close message; false
// when a quit message ended it.
bool runSheet(HWND sheet) {
    MSG msg;
    for (;;) {
        if (GetMessageA(&msg, nullptr, 0, 0) <= 0) return false;
        if (!takenAsDialogMessage(msg)) {
            TranslateMessage(&msg);
            DispatchMessageA(&msg);
        }
        if (!SendMessageA(sheet, PSM_GETCURRENTPAGEHWND, 0, 0)) return true;
        if (msg.message == WM_CLOSE && msg.hwnd == sheet) return true;
    }
}

// Tool threads build their sheets one at a time: the common controls' start-up and a sheet's
// creation are not safe against the same work on another thread (heap damage under Wine when
// several tools open at once). Only tool threads take this lock.
SRWLOCK sheetBuildLock = SRWLOCK_INIT;

DWORD WINAPI toolThread(void* parameter) {
    ToolBlock& tool = *static_cast<ToolBlock*>(parameter);
    for (size_t i = 0; i < tool.recordCount; ++i)
        tool.snapshots[i] = tool.family->takeSnapshot(tool.records[i]);
    SheetPages& pages = *new (checkedAlloc(sizeof(SheetPages))) SheetPages(tool);

    AcquireSRWLockExclusive(&sheetBuildLock);
    INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_WIN95_CLASSES};
    InitCommonControlsEx(&controls);
    HICON icon = static_cast<HICON>(LoadImageA(static_cast<HINSTANCE>(libraryModule()),
                                               MAKEINTRESOURCEA(tool.family->iconId), IMAGE_ICON, 0,
                                               0, LR_DEFAULTSIZE));
    HWND sheet = pages.count ? createSheet(tool, pages, icon) : nullptr;
    ReleaseSRWLockExclusive(&sheetBuildLock);
    bool disposing;
    {
        ToolsLock lock;
        tool.sheet = sheet;
        disposing = tool.disposing;
    }
    bool cleanUp = true;
    if (sheet) {
        SetWindowLongPtrA(sheet, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&tool));
        localiseSheetButtons(sheet);
        SendMessageA(sheet, PSM_SETCURSEL, 0, 0);
        SetWindowPos(sheet, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
        // Dispose came before the sheet existed: it closes at once.
        if (disposing) PostMessageA(sheet, WM_CLOSE, 0, 0);
        addDialog(sheet);
        cleanUp = runSheet(sheet);
        removeDialog(sheet);
        if (cleanUp && tool.disposing) EndDialog(sheet, 0);
        if (cleanUp) DestroyWindow(sheet);
        if (cleanUp && tool.notifyOnClose && tool.callback && !tool.disposing)
            tool.callback(tool.owner, nullptr, tool.data, 0);
    }
    // After a quit message the sheet outlives the loop until the thread ends: keep its icon.
    if (icon && (cleanUp || !sheet)) DestroyIcon(icon);
    pages.release(cleanUp ? nullptr : sheet);
    pages.~SheetPages();
    checkedFree(&pages);
    freeDialogList();

    {
        ToolsLock lock;
        tool.sheet = nullptr;
        for (size_t i = 0; i < tool.recordCount; ++i) {
            if (tool.records[i])
                storeToolPointer(tool.family->toolPointer(tool.records[i]), nullptr);
        }
        forgetOpenTool(tool);
        CloseHandle(tool.thread);
    }
    for (size_t i = 0; i < tool.recordCount; ++i) tool.family->freeSnapshot(tool.snapshots[i]);
    freeToolBlock(&tool);
    return 0;
}

}  // namespace

// ---- host side -----------------------------------------------------------------------------

int32_t openTool(const ToolFamily& family, void* record, const ToolRequest& request) {
    return openToolOnSelection(family, &record, 1, nullptr, request);
}

int32_t openToolOnSelection(const ToolFamily& family, void* const* records, size_t count,
                            bool (*wanted)(const void* record), const ToolRequest& request) {
    ToolsLock lock;
    void* chosen[kToolRecordsMost];
    size_t chosenCount = 0;
    for (size_t i = 0; i < count && chosenCount < kToolRecordsMost; ++i) {
        void* record = records[i];
        if (!record || loadToolPointer(family.toolPointer(record))) continue;
        if (wanted && !wanted(record)) continue;
        bool twice = false;
        for (size_t k = 0; k < chosenCount; ++k) twice = twice || chosen[k] == record;
        if (!twice) chosen[chosenCount++] = record;
    }
    if (!chosenCount) return 0;

    ToolBlock* tool = newToolBlock(chosenCount);
    for (size_t i = 0; i < chosenCount; ++i) tool->records[i] = chosen[i];
    loadLocalisedString(family.captionId, tool->caption);
    if (family.nameInCaption) {  // a 64-character name has no terminator in the record
        const size_t at = std::strlen(tool->caption);
        std::snprintf(tool->caption + at, kLocalisedMax - at, " %.64s",
                      static_cast<const char*>(chosen[0]));
    }
    tool->owner = request.owner;
    tool->callback = request.callback;
    tool->data = request.data;
    std::memcpy(tool->hostValues, request.hostValues, sizeof tool->hostValues);
    tool->flag = request.flag;
    tool->notifyOnClose = request.notifyOnClose;
    tool->family = &family;
    for (size_t i = 0; i < chosenCount; ++i) storeToolPointer(family.toolPointer(chosen[i]), tool);
    // The lock is held until the handle is stored: the thread closes it when it ends.
    DWORD id = 0;
    tool->thread = CreateThread(nullptr, 0, toolThread, tool, 0, &id);
    tool->threadId = id;
    if (!tool->thread) {
        for (size_t i = 0; i < chosenCount; ++i)
            storeToolPointer(family.toolPointer(chosen[i]), nullptr);
        freeToolBlock(tool);
        return 0;
    }
    tool->nextOpen = openTools;
    openTools = tool;
    return 1;
}

bool openToolEdits(const ToolFamily& family, bool (*matches)(const void* record, uint64_t value),
                   uint64_t value) {
    ToolsLock lock;
    for (const ToolBlock* tool = openTools; tool; tool = tool->nextOpen) {
        if (tool->family != &family) continue;
        for (size_t i = 0; i < tool->recordCount; ++i) {
            if (tool->records[i] && matches(tool->records[i], value)) return true;
        }
    }
    return false;
}

int32_t waitTool(const ToolFamily& family, void* record) {
    void** toolPointer = family.toolPointer(record);
    while (loadToolPointer(toolPointer)) dispatchWaitingMessages();
    return 1;
}

void closeTool(void** toolPointer) {
    HWND sheet = nullptr;
    HANDLE thread = nullptr;
    {
        ToolsLock lock;
        ToolBlock* tool = static_cast<ToolBlock*>(loadToolPointer(toolPointer));
        if (!tool) return;
        tool->disposing = true;
        sheet = static_cast<HWND>(tool->sheet);
        if (tool->threadId == GetCurrentThreadId()) {
            // Disposed of from the editor's own thread (inside a callback): the record leaves
            // the editor now, and the thread's clean-up finds nothing to clear.
            for (size_t i = 0; i < tool->recordCount; ++i) {
                if (tool->records[i] && tool->family->toolPointer(tool->records[i]) == toolPointer)
                    tool->records[i] = nullptr;
            }
            storeToolPointer(toolPointer, nullptr);
        } else {
            DuplicateHandle(GetCurrentProcess(), tool->thread, GetCurrentProcess(), &thread,
                            SYNCHRONIZE, FALSE, 0);
        }
    }
    // The sheet ends as a dialog (result 0) on its own thread, once the close message has been
    // handled: ending it from here would race with that thread destroying it.
    if (sheet) SendMessageA(sheet, WM_CLOSE, 0, 0);
    if (!thread) return;
    // Serve the caller's windows while the editor thread finishes: it may send to them.
    while (MsgWaitForMultipleObjects(1, &thread, FALSE, INFINITE, QS_ALLINPUT) != WAIT_OBJECT_0)
        dispatchWaitingMessages();
    CloseHandle(thread);
}

}  // namespace orv
