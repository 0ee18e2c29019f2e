// Sections: the window's state; the lists and their thumbnails; the commands; the library
// file; the window procedure and its loop.
#include "matlib/library_window_win32.h"

#include <commctrl.h>
#include <commdlg.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "core/library_module.h"
#include "core/message_box.h"
#include "core/record_lifecycle.h"
#include "i18n/localise.h"
#include "i18n/localise_win32.h"
#include "library_window_ids.h"
#include "matlib/library_store.h"
#include "matlib/material_list.h"
#include "matlib/thumbnail_worker_win32.h"
#include "preview/preview.h"
#include "settings/settings.h"
#include "tools/dialog_list_win32.h"

namespace orv {

namespace {

// ---- the window's state --------------------------------------------------------------------

enum { kScene = 0, kLibrary = 1 };
enum Reason { kAdded = 0, kDeleting = 1, kRenamed = 2, kAssign = 3, kClosing = 4 };
constexpr const char* kClassName = "OrvantaDLL:MatLibMain";
constexpr int kListIds[2] = {IDC_LIB_SCENE, IDC_LIB_LIBRARY};

struct Library {
    LibraryRequest request;
    HWND window = nullptr;
    MaterialList lists[2];
    HIMAGELIST images[2] = {};
    uint64_t shownKey[2][MaterialList::kMost] = {};  // what each slot's thumbnail shows
    HANDLE file = INVALID_HANDLE_VALUE;
    char path[MAX_PATH] = "";
    bool thumbnails = true;
    ThumbnailWorker* worker = nullptr;
    SIZE minimum{};  // the window's size as designed: it shrinks no further
    bool done = false;

    HWND list(int which) const { return GetDlgItem(window, kListIds[which]); }
    int32_t tell(int32_t reason, Mat* mat) const {
        return request.callback ? request.callback(reason, mat, request.data) : 1;
    }
};

Library* libraryOf(HWND window) {
    return reinterpret_cast<Library*>(GetWindowLongPtrA(window, DWLP_USER));
}

void message(const Library& lib, int32_t textId) {
    showLocalisedMessage(lib.window, textId, 109, 0, kMbOk | kMbIconExclamation);
}

// ---- the lists and their thumbnails --------------------------------------------------------

// A 64 x 64 picture of mat for an image list: the flat square until the traced one comes.
HBITMAP flatPicture(const Mat& mat) {
    HDC screen = GetDC(nullptr);
    HDC dc = CreateCompatibleDC(screen);
    HBITMAP bitmap = CreateCompatibleBitmap(screen, kThumbnailSide, kThumbnailSide);
    HGDIOBJ old = SelectObject(dc, bitmap);
    drawMaterialThumbnail(mat, 0, 0, kThumbnailSide, dc);
    SelectObject(dc, old);
    DeleteDC(dc);
    ReleaseDC(nullptr, screen);
    return bitmap;
}

HBITMAP tracedPicture(const std::vector<uint32_t>& pixels) {
    BITMAPINFO info{};
    info.bmiHeader = {
        sizeof(BITMAPINFOHEADER), kThumbnailSide, -kThumbnailSide, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    std::vector<uint32_t> bgr(pixels.size());  // 0x00BBGGRR to the bitmap's 0x00RRGGBB
    for (size_t i = 0; i < pixels.size(); ++i) {
        const uint32_t p = pixels[i];
        bgr[i] = (p & 0xFF00) | (p & 0xFF) << 16 | (p >> 16 & 0xFF);
    }
    HDC screen = GetDC(nullptr);
    HBITMAP bitmap =
        CreateDIBitmap(screen, &info.bmiHeader, CBM_INIT, bgr.data(), &info, DIB_RGB_COLORS);
    ReleaseDC(nullptr, screen);
    return bitmap;
}

void queueThumbnail(Library& lib, int which, int slot) {
    const Mat* mat = lib.lists[which].at(slot);
    if (!mat || !lib.thumbnails || !lib.worker) return;
    const uint64_t key = appearanceKey(*mat);
    if (lib.shownKey[which][slot] == key) return;
    lib.shownKey[which][slot] = key;
    if (ImageList_GetImageCount(lib.images[which]) <= slot)
        ImageList_SetImageCount(lib.images[which], slot + 1);
    HBITMAP flat = flatPicture(*mat);
    ImageList_Replace(lib.images[which], slot, flat, nullptr);
    DeleteObject(flat);
    lib.worker->queue(new ThumbnailJob{which, slot, key, copyMaterial(*mat), {}});
}

// A traced picture arrived: shown when its slot still holds what it was traced from.
void takeThumbnail(Library& lib, ThumbnailJob* job) {
    if (lib.lists[job->list].at(job->slot) && lib.shownKey[job->list][job->slot] == job->key) {
        HBITMAP traced = tracedPicture(job->pixels);
        ImageList_Replace(lib.images[job->list], job->slot, traced, nullptr);
        DeleteObject(traced);
        InvalidateRect(lib.list(job->list), nullptr, FALSE);
    }
    ThumbnailWorker::finish(job);
}

std::string nameOf(const Mat& mat) {
    char name[kHandleNameMost + 1];
    getHandleName(&mat, name);
    return std::string(name, strnlen(name, 64));
}

// Every material of a list as an item (text its name, image and parameter its slot), sorted by
// the control; selects the item of slot select.
void fillList(Library& lib, int which, int select = -1) {
    HWND list = lib.list(which);
    SendMessageA(list, WM_SETREDRAW, FALSE, 0);
    ListView_DeleteAllItems(list);
    for (size_t slot = 0; slot < lib.lists[which].used(); ++slot) {
        const Mat* mat = lib.lists[which].at(int(slot));
        if (!mat) continue;
        queueThumbnail(lib, which, int(slot));
        std::string name = nameOf(*mat);
        LVITEMA item{};
        item.mask = LVIF_TEXT | LVIF_PARAM | LVIF_IMAGE;
        item.iItem = int(slot);
        item.pszText = name.data();
        item.iImage = int(slot);
        item.lParam = LPARAM(slot);
        const int at = int(SendMessageA(list, LVM_INSERTITEMA, 0, reinterpret_cast<LPARAM>(&item)));
        if (int(slot) == select) {
            ListView_SetItemState(list, at, LVIS_SELECTED | LVIS_FOCUSED,
                                  LVIS_SELECTED | LVIS_FOCUSED);
            ListView_EnsureVisible(list, at, FALSE);
        }
    }
    SendMessageA(list, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(list, nullptr, TRUE);
}

// The list view's style for the thumbnails switch: big icons with the pictures, else a plain
// list of names.
void showThumbnails(Library& lib, bool on) {
    lib.thumbnails = on;
    for (int which = 0; which < 2; ++which) {
        HWND list = lib.list(which);
        LONG style = GetWindowLongA(list, GWL_STYLE) & ~LVS_TYPEMASK;
        SetWindowLongA(list, GWL_STYLE, style | (on ? LVS_ICON : LVS_LIST));
        ListView_SetImageList(list, on ? lib.images[which] : nullptr, LVSIL_NORMAL);
        fillList(lib, which);
    }
    CheckDlgButton(lib.window, IDC_LIB_THUMBNAILS, on ? BST_CHECKED : BST_UNCHECKED);
    CheckMenuItem(GetMenu(lib.window), IDC_LIB_THUMBNAILS, on ? MF_CHECKED : MF_UNCHECKED);
}

// The slot of a list's selected item, or -1.
int selectedSlot(HWND list) {
    const int item = ListView_GetNextItem(list, -1, LVNI_SELECTED);
    if (item < 0) return -1;
    LVITEMA data{};
    data.mask = LVIF_PARAM;
    data.iItem = item;
    SendMessageA(list, LVM_GETITEMA, 0, reinterpret_cast<LPARAM>(&data));
    return int(data.lParam);
}

// The list with a selection (the scene's first) and the selected slot, or false.
bool selection(const Library& lib, int& which, int& slot) {
    for (which = 0; which < 2; ++which) {
        slot = selectedSlot(lib.list(which));
        if (slot >= 0) return lib.lists[which].at(slot) != nullptr;
    }
    return false;
}

// ---- the commands --------------------------------------------------------------------------

// Puts mat into a list; a full list refuses it with a message and disposes of it.
int place(Library& lib, int which, Mat* mat) {
    const int slot = lib.lists[which].insert(mat);
    if (slot < 0) {
        message(lib, 269);  // "Die Liste ist voll: ..."
        disposeMat(mat);
        return -1;
    }
    lib.shownKey[which][slot] = 0;
    return slot;
}

void newMaterial(Library& lib) {
    char name[kLocalisedMax];
    loadLocalisedString(89, name);  // "Material"
    Mat* mat = createMat(name);
    const int slot = place(lib, kScene, mat);
    if (slot < 0) return;
    lib.tell(kAdded, mat);
    fillList(lib, kScene, slot);
}

void deleteMaterial(Library& lib) {
    int which, slot;
    if (!selection(lib, which, slot)) return;
    if (which == kScene && !lib.tell(kDeleting, lib.lists[which].at(slot))) return;
    disposeMat(lib.lists[which].take(slot));
    SetDlgItemTextA(lib.window, IDC_LIB_NAME, "");
    fillList(lib, which);
}

void renameMaterial(Library& lib) {
    int which, slot;
    if (!selection(lib, which, slot)) return;
    char name[65] = "";
    GetDlgItemTextA(lib.window, IDC_LIB_NAME, name, sizeof name);
    Mat* mat = lib.lists[which].at(slot);
    std::memset(mat->name, 0, sizeof mat->name);
    std::memcpy(mat->name, name, strnlen(name, sizeof mat->name));
    if (which == kScene) lib.tell(kRenamed, mat);
    fillList(lib, which, slot);
}

// The source list's selection into the other list, unless that list holds an equal material.
void copyAcross(Library& lib, int to) {
    const int from = 1 - to;
    const Mat* mat = lib.lists[from].at(selectedSlot(lib.list(from)));
    if (!mat) return;
    if (lib.lists[to].holdsEqual(*mat)) {
        message(lib, 268);  // "Material existiert bereits."
        return;
    }
    Mat* copy = copyMaterial(*mat);
    const int placed = place(lib, to, copy);
    if (placed < 0) return;
    if (to == kScene) lib.tell(kAdded, copy);
    fillList(lib, to, placed);
}

void assign(Library& lib) {
    int which, slot;
    if (selection(lib, which, slot) && which == kScene)
        lib.tell(kAssign, lib.lists[kScene].at(slot));
}

// ---- the library file ----------------------------------------------------------------------

void writeLibrary(Library& lib) {
    if (lib.file == INVALID_HANDLE_VALUE) return;
    std::vector<const Mat*> mats;
    for (size_t slot = 0; slot < lib.lists[kLibrary].used(); ++slot)
        if (const Mat* mat = lib.lists[kLibrary].at(int(slot))) mats.push_back(mat);
    const std::vector<uint8_t> bytes = libraryBytes(mats.data(), mats.size());
    // From the start, not truncated: a shorter library leaves the end of the earlier one.
    SetFilePointer(lib.file, 0, nullptr, FILE_BEGIN);
    DWORD written = 0;
    if (!bytes.empty()) WriteFile(lib.file, bytes.data(), DWORD(bytes.size()), &written, nullptr);
}

void loadLibraryFile(Library& lib) {
    lib.lists[kLibrary].clear(true);
    LARGE_INTEGER size{};
    if (GetFileSizeEx(lib.file, &size) && size.QuadPart > 0 && size.QuadPart < (1ll << 31)) {
        std::vector<uint8_t> bytes(size_t(size.QuadPart));
        DWORD read = 0;
        SetFilePointer(lib.file, 0, nullptr, FILE_BEGIN);
        if (ReadFile(lib.file, bytes.data(), DWORD(bytes.size()), &read, nullptr)) {
            std::vector<Mat*> mats(MaterialList::kMost);
            const size_t n = loadLibrary(bytes.data(), read, mats.data(), mats.size());
            for (size_t i = 0; i < n; ++i) lib.lists[kLibrary].insert(mats[i]);
        }
    }
    for (uint64_t& key : lib.shownKey[kLibrary]) key = 0;
    fillList(lib, kLibrary);
}

HANDLE openLibraryFile(const char* path, DWORD creation) {
    return CreateFileA(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, creation,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

void closeLibraryFile(Library& lib) {
    if (lib.file == INVALID_HANDLE_VALUE) return;
    writeLibrary(lib);
    CloseHandle(lib.file);
    lib.file = INVALID_HANDLE_VALUE;
}

void takeFile(Library& lib, HANDLE file, const char* path) {
    closeLibraryFile(lib);
    lib.file = file;
    std::snprintf(lib.path, sizeof lib.path, "%s", path);
    SetDlgItemTextA(lib.window, IDC_LIB_FILE_SHOWN, path);
    loadLibraryFile(lib);
}

void chooseFile(Library& lib) {
    char filter[kLocalisedMax + 2] = {}, title[kLocalisedMax], folder[settings::kStringBytes];
    loadLocalisedString(104, filter);  // "Materialbibliothek (*.msl):*.msl"
    for (char& c : filter) c = c == ':' ? '\0' : c;
    loadLocalisedString(105, title);
    char path[MAX_PATH] = "";
    OPENFILENAMEA dialog{};
    dialog.lStructSize = sizeof dialog;
    dialog.hwndOwner = lib.window;
    dialog.lpstrFilter = filter;
    dialog.lpstrFile = path;
    dialog.nMaxFile = sizeof path;
    dialog.lpstrTitle = title;
    dialog.lpstrDefExt = "msl";
    if (settings::readString(settings::kUserHive, settings::kLibrarySubkey, "LibDir", folder))
        dialog.lpstrInitialDir = folder;
    dialog.Flags = OFN_EXPLORER | OFN_HIDEREADONLY;
    if (!GetOpenFileNameA(&dialog)) return;
    char current[settings::kStringBytes] = "";
    if (GetCurrentDirectoryA(sizeof current, current))
        settings::writeString(settings::kUserHive, settings::kLibrarySubkey, "LibDir", current);
    if (std::strcmp(path, lib.path) == 0) return;  // open already
    HANDLE file = openLibraryFile(path, OPEN_ALWAYS);
    if (file == INVALID_HANDLE_VALUE) {
        message(lib, 108);  // "Die Datei kann nicht erstellt werden."
        return;
    }
    settings::writeString(settings::kUserHive, settings::kLibrarySubkey, "LibName", path);
    takeFile(lib, file, path);
}

// ---- the window procedure and its loop -----------------------------------------------------

void close(Library& lib) {
    lib.tell(kClosing, nullptr);
    delete lib.worker;  // stops tracing before the materials go
    lib.worker = nullptr;
    MSG msg;  // pictures posted but not taken
    while (PeekMessageA(&msg, lib.window, ThumbnailWorker::message(), ThumbnailWorker::message(),
                        PM_REMOVE))
        ThumbnailWorker::finish(reinterpret_cast<ThumbnailJob*>(msg.lParam));
    closeLibraryFile(lib);
    lib.lists[kLibrary].clear(true);
    lib.lists[kScene].clear(false);  // the host's
    removeDialog(lib.window);
    DestroyWindow(lib.window);
    lib.done = true;
    // Closed by a message sent from another thread, the loop's wait would not return for it.
    PostThreadMessageA(GetCurrentThreadId(), WM_NULL, 0, 0);
}

// The controls below and right of the lists keep their distance to the window's edges; the
// lists share the width that grows.
void layOut(Library& lib, int width, int height) {
    RECT designed{0, 0, 372, 236};
    MapDialogRect(lib.window, &designed);
    const int dx = width - designed.right, dy = height - designed.bottom;
    const auto move = [&](int id, int x, int y, int w, int h) {
        RECT r{x, y, x + w, y + h};
        MapDialogRect(lib.window, &r);
        SetWindowPos(GetDlgItem(lib.window, id), nullptr, r.left, r.top, r.right - r.left,
                     r.bottom - r.top, SWP_NOZORDER | SWP_NOACTIVATE);
    };
    RECT unit{0, 0, 4, 8};
    MapDialogRect(lib.window, &unit);
    const int ddx = dx * 4 / unit.right, ddy = dy * 8 / unit.bottom;  // in dialog units
    const int half = ddx / 2;
    move(IDC_LIB_SCENE, 7, 17, 150 + half, 160 + ddy);
    move(IDC_LIB_TO_LIBRARY, 163 + half, 70 + ddy / 2, 40, 14);
    move(IDC_LIB_TO_SCENE, 163 + half, 90 + ddy / 2, 40, 14);
    move(IDC_LIB_LIBRARY_TITLE, 209 + half, 7, 156 + ddx - half, 8);
    move(IDC_LIB_LIBRARY, 209 + half, 17, 156 + ddx - half, 160 + ddy);
    move(IDC_LIB_FILE_SHOWN, 209 + half, 180 + ddy, 156 + ddx - half, 8);
    move(IDC_LIB_NAME_TITLE, 7, 194 + ddy, 30, 8);
    move(IDC_LIB_NAME, 38, 192 + ddy, 119 + half, 12);
    move(IDC_LIB_RENAME, 163 + half, 191 + ddy, 60, 14);
    move(IDC_LIB_THUMBNAILS, 229 + half, 193 + ddy, 136, 10);
    const int buttons[][2] = {{IDC_LIB_NEW, 7}, {IDC_LIB_DELETE, 61}, {IDC_LIB_ASSIGN, 115}};
    for (const auto& b : buttons) move(b[0], b[1], 215 + ddy, 50, 14);
    move(IDC_LIB_FILE, 169, 215 + ddy, 60, 14);
    move(IDC_LIB_CLOSE, 315 + ddx, 215 + ddy, 50, 14);
    InvalidateRect(lib.window, nullptr, TRUE);
}

void command(Library& lib, int id) {
    switch (id) {
        case IDC_LIB_NEW: newMaterial(lib); break;
        case IDC_LIB_DELETE: deleteMaterial(lib); break;
        case IDC_LIB_RENAME: renameMaterial(lib); break;
        case IDC_LIB_TO_LIBRARY: copyAcross(lib, kLibrary); break;
        case IDC_LIB_TO_SCENE: copyAcross(lib, kScene); break;
        case IDC_LIB_ASSIGN: assign(lib); break;
        case IDC_LIB_FILE: chooseFile(lib); break;
        case IDC_LIB_THUMBNAILS:
            showThumbnails(lib, !lib.thumbnails);
            settings::writeNumber(settings::kUserHive, settings::kLibrarySubkey,
                                  "LibShowThumbnails", lib.thumbnails);
            break;
        case IDOK:  // Enter: renames from the name field, else assigns
            if (GetFocus() == GetDlgItem(lib.window, IDC_LIB_NAME))
                renameMaterial(lib);
            else
                assign(lib);
            break;
        case IDCANCEL:
        case IDC_LIB_CLOSE: close(lib); break;
    }
}

// A list's selection shows its name in the name field; F2 moves there, Delete deletes, Enter
// and a double click assign.
void notified(Library& lib, const NMHDR& header) {
    if (header.idFrom != IDC_LIB_SCENE && header.idFrom != IDC_LIB_LIBRARY) return;
    const int which = header.idFrom == IDC_LIB_SCENE ? kScene : kLibrary;
    switch (header.code) {
        case LVN_ITEMCHANGED: {
            const auto& change = reinterpret_cast<const NMLISTVIEW&>(header);
            if (!(change.uNewState & LVIS_SELECTED)) break;
            if (const Mat* mat = lib.lists[which].at(int(change.lParam)))
                SetDlgItemTextA(lib.window, IDC_LIB_NAME, nameOf(*mat).c_str());
            // One selection at a time across both lists: the commands take the first they find.
            ListView_SetItemState(lib.list(1 - which), -1, 0, LVIS_SELECTED);
            break;
        }
        case LVN_KEYDOWN: {
            const WORD key = reinterpret_cast<const NMLVKEYDOWN&>(header).wVKey;
            if (key == VK_DELETE) deleteMaterial(lib);
            if (key == VK_F2) {
                HWND name = GetDlgItem(lib.window, IDC_LIB_NAME);
                SetFocus(name);
                SendMessageA(name, EM_SETSEL, 0, -1);
            }
            break;
        }
        case NM_DBLCLK:
        case NM_RETURN: assign(lib); break;
    }
}

INT_PTR CALLBACK procedure(HWND window, UINT msg, WPARAM wParam, LPARAM lParam) {
    if (msg == WM_INITDIALOG) {
        SetWindowLongPtrA(window, DWLP_USER, lParam);
        return TRUE;
    }
    Library* lib = libraryOf(window);
    if (!lib) return FALSE;
    if (msg == ThumbnailWorker::message()) {
        takeThumbnail(*lib, reinterpret_cast<ThumbnailJob*>(lParam));
        return TRUE;
    }
    if (msg == libraryRefreshMessage()) {
        for (int which = 0; which < 2; ++which) fillList(*lib, which);
        return TRUE;
    }
    switch (msg) {
        case WM_COMMAND: command(*lib, LOWORD(wParam)); return TRUE;
        case WM_NOTIFY: notified(*lib, *reinterpret_cast<const NMHDR*>(lParam)); return TRUE;
        case WM_SIZE:
            if (wParam != SIZE_MINIMIZED) layOut(*lib, LOWORD(lParam), HIWORD(lParam));
            return TRUE;
        case WM_GETMINMAXINFO:
            reinterpret_cast<MINMAXINFO*>(lParam)->ptMinTrackSize = {lib->minimum.cx,
                                                                     lib->minimum.cy};
            return TRUE;
        case WM_CLOSE: close(*lib); return TRUE;
    }
    return FALSE;
}

bool registerClass() {
    WNDCLASSA dialogClass{};
    if (!GetClassInfoA(nullptr, "#32770", &dialogClass)) return false;
    WNDCLASSA wc = dialogClass;
    wc.hInstance = static_cast<HINSTANCE>(libraryModule());
    wc.lpszClassName = kClassName;
    wc.hIcon = LoadIconA(wc.hInstance, MAKEINTRESOURCEA(165));
    return RegisterClassA(&wc) || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
}

}  // namespace

UINT libraryRefreshMessage() {
    static const UINT id = RegisterWindowMessageA("OrvantaDLL:MatLibRefresh");
    return id;
}

int32_t runLibraryWindow(const LibraryRequest& request) {
    libraryRefreshMessage();
    INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_WIN95_CLASSES};
    InitCommonControlsEx(&controls);
    if (!registerClass()) return 0;
    auto* lib = new Library;
    lib->request = request;
    HINSTANCE module = static_cast<HINSTANCE>(libraryModule());
    lib->window = createLocalisedDialog(module, IDD_LIBRARY, request.owner, procedure,
                                        reinterpret_cast<LPARAM>(lib));
    if (!lib->window) {
        delete lib;
        return 0;
    }
    SetMenu(lib->window, loadLocalisedMenu(module, IDM_LIBRARY));
    RECT r;
    GetWindowRect(lib->window, &r);
    lib->minimum = {r.right - r.left, r.bottom - r.top};
    for (int which = 0; which < 2; ++which) {
        lib->images[which] = ImageList_Create(kThumbnailSide, kThumbnailSide, ILC_COLOR32, 0, 16);
    }
    lib->worker = new ThumbnailWorker(lib->window);
    uint32_t show = 1;
    if (!settings::readNumber(settings::kUserHive, settings::kLibrarySubkey, "LibShowThumbnails",
                              &show))
        show = 1;
    char path[settings::kStringBytes] = "";
    if (settings::readString(settings::kUserHive, settings::kLibrarySubkey, "LibName", path) &&
        path[0]) {
        HANDLE file = openLibraryFile(path, OPEN_EXISTING);
        if (file != INVALID_HANDLE_VALUE) takeFile(*lib, file, path);  // else skipped silently
    }
    showThumbnails(*lib, show != 0);
    addDialog(lib->window);
    ShowWindow(lib->window, SW_SHOW);
    MSG msg;
    while (!lib->done && GetMessageA(&msg, nullptr, 0, 0) > 0) {
        if (!takenAsDialogMessage(msg)) {
            TranslateMessage(&msg);
            DispatchMessageA(&msg);
        }
    }
    if (!lib->done) close(*lib);  // a quit message: close as the user would
    for (HIMAGELIST images : lib->images) ImageList_Destroy(images);
    delete lib;
    return 1;
}

}  // namespace orv
