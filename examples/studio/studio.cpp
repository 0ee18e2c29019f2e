// Orvanta Studio - a small design application over OrvantaDLL: a scene of bodies seen through
// an OpenGL viewport, looking as the library's materials, lights and environment define them
// and moving as its links and transmissions drive them, with the library's tools to edit it all.
//
//   studio [scene.ovs] [model.obj ...]
//   studio --script <folder> [--mechanism <mechanism.txt>]     (script.h: the scripted session)
//
// Without models the studio opens its default scene: a slider crank and a four-bar linkage
// geared to each other, and a block that slides into a cylinder now and then.
#include <windows.h>

#include <commctrl.h>
#include <commdlg.h>
#include <shellapi.h>
#include <windowsx.h>

#include <algorithm>
#include <cmath>
#include <cwchar>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "document_file.h"
#include "editors.h"
#include "messages.h"
#include "orvanta.h"
#include "raytrace_window.h"
#include "scene.h"
#include "scene_tree.h"
#include "script.h"
#include "text.h"
#include "viewport.h"

namespace {

// ---- Command line ----------------------------------------------------------------------------

struct Options {
    std::vector<std::wstring> models;  // OBJ files, loaded as bodies
    std::wstring scene;                // a scene file (*.ovs) to open; the models join it
    std::wstring scriptFolder;         // run the scripted session, writing here
    std::wstring mechanismFile;        // the mechanism's printout the session compares with
};

const wchar_t kUsage[] =
    L"Usage: studio [scene.ovs] [model.obj ...]\n"
    L"       studio --script <folder> [--mechanism <file>]";

bool hasExtension(const std::wstring& path, const wchar_t* extension) {
    const size_t length = std::wcslen(extension);
    return path.size() >= length && _wcsicmp(path.c_str() + path.size() - length, extension) == 0;
}

// Arguments are a scene file and model files; flags start with "--" and each gets its branch
// here.
bool parseCommandLine(Options& options, std::wstring& error) {
    int argc = 0;
    wchar_t** argv = CommandLineToArgvW(GetCommandLineW(), &argc);
    if (!argv) return true;
    bool ok = true;
    for (int i = 1; i < argc && ok; ++i) {
        const std::wstring arg = argv[i];
        if ((arg == L"--script" || arg == L"--mechanism") && i + 1 < argc) {
            (arg == L"--script" ? options.scriptFolder : options.mechanismFile) = argv[++i];
        } else if (arg.rfind(L"--", 0) == 0) {
            error = L"Unknown option " + arg + L"\n\n" + kUsage;
            ok = false;
        } else if (hasExtension(arg, L".ovs")) {
            if (!options.scene.empty()) {
                error = L"Only one scene file can be opened.\n\n" + std::wstring(kUsage);
                ok = false;
            }
            options.scene = arg;
        } else {
            options.models.push_back(arg);
        }
    }
    LocalFree(argv);
    return ok;
}

// ---- Commands --------------------------------------------------------------------------------

enum Command : WORD {
    CmdImport = 100,
    CmdExit,
    CmdDeselect,
    CmdResetLinks,
    CmdFitAll,
    CmdMaterialTool,
    CmdLightTool,
    CmdSceneTool,
    CmdLinkTool,
    CmdTransmissionTool,
    CmdMaterialLibrary,
    CmdPlay,
    CmdPause,
    CmdPlayPause,  // Space: an accelerator of a greyed menu item would not fire
    CmdRewind,
    CmdCollisionCheck,
    CmdAbout,
    CmdNew = 200,
    CmdOpen,
    CmdSave,
    CmdSaveAs,
    CmdRaytrace,
};

enum Child { IdToolbar = 1, IdTree, IdViewport, IdStatus };
enum StatusField { FieldMessage, FieldMotion, FieldTime, FieldSelection, FieldCount };

constexpr UINT_PTR kAnimationTimer = 1;
constexpr UINT kFrameMilliseconds = 16;
constexpr double kTimeUnitsPerSecond = 0.5;  // the crank turns once in two seconds
constexpr int kSplitter = 5;

HMENU buildMenu() {
    HMENU file = CreatePopupMenu();
    AppendMenuW(file, MF_STRING, CmdNew, L"&New\tCtrl+N");
    AppendMenuW(file, MF_STRING, CmdOpen, L"&Open...\tCtrl+O");
    AppendMenuW(file, MF_STRING, CmdSave, L"&Save\tCtrl+S");
    AppendMenuW(file, MF_STRING, CmdSaveAs, L"Save &As...");
    AppendMenuW(file, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(file, MF_STRING, CmdImport, L"&Import OBJ...\tCtrl+I");
    AppendMenuW(file, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(file, MF_STRING, CmdExit, L"E&xit");

    HMENU edit = CreatePopupMenu();
    AppendMenuW(edit, MF_STRING, CmdDeselect, L"&Deselect\tEsc");
    AppendMenuW(edit, MF_STRING, CmdResetLinks, L"&Reset Links");

    HMENU view = CreatePopupMenu();
    AppendMenuW(view, MF_STRING, CmdFitAll, L"&Fit All\tHome");

    HMENU tools = CreatePopupMenu();
    AppendMenuW(tools, MF_STRING, CmdMaterialTool, L"&Material...\tCtrl+M");
    AppendMenuW(tools, MF_STRING, CmdLightTool, L"&Light...\tCtrl+L");
    AppendMenuW(tools, MF_STRING, CmdSceneTool, L"&Scene...\tCtrl+E");
    AppendMenuW(tools, MF_STRING, CmdLinkTool, L"Lin&ks...\tCtrl+K");
    AppendMenuW(tools, MF_STRING, CmdTransmissionTool, L"&Transmission...\tCtrl+T");
    AppendMenuW(tools, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(tools, MF_STRING, CmdMaterialLibrary, L"Material Li&brary...\tCtrl+B");

    HMENU animation = CreatePopupMenu();
    AppendMenuW(animation, MF_STRING, CmdPlay, L"&Play\tSpace");
    AppendMenuW(animation, MF_STRING, CmdPause, L"P&ause\tSpace");
    AppendMenuW(animation, MF_STRING, CmdRewind, L"&Rewind\tCtrl+Home");
    AppendMenuW(animation, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(animation, MF_STRING, CmdCollisionCheck, L"&Collision Check");

    HMENU render = CreatePopupMenu();
    AppendMenuW(render, MF_STRING, CmdRaytrace, L"&Raytrace\tF5");

    HMENU help = CreatePopupMenu();
    AppendMenuW(help, MF_STRING, CmdAbout, L"&About Orvanta Studio");

    HMENU bar = CreateMenu();
    AppendMenuW(bar, MF_POPUP, UINT_PTR(file), L"&File");
    AppendMenuW(bar, MF_POPUP, UINT_PTR(edit), L"&Edit");
    AppendMenuW(bar, MF_POPUP, UINT_PTR(view), L"&View");
    AppendMenuW(bar, MF_POPUP, UINT_PTR(tools), L"&Tools");
    AppendMenuW(bar, MF_POPUP, UINT_PTR(animation), L"&Animation");
    AppendMenuW(bar, MF_POPUP, UINT_PTR(render), L"&Render");
    AppendMenuW(bar, MF_POPUP, UINT_PTR(help), L"&Help");
    return bar;
}

HACCEL buildAccelerators() {
    ACCEL keys[] = {
        {FVIRTKEY | FCONTROL, 'N', CmdNew},
        {FVIRTKEY | FCONTROL, 'O', CmdOpen},
        {FVIRTKEY | FCONTROL, 'S', CmdSave},
        {FVIRTKEY | FCONTROL, 'I', CmdImport},
        {FVIRTKEY, VK_F5, CmdRaytrace},
        {FVIRTKEY, VK_ESCAPE, CmdDeselect},
        {FVIRTKEY, VK_HOME, CmdFitAll},
        {FVIRTKEY | FCONTROL, 'M', CmdMaterialTool},
        {FVIRTKEY | FCONTROL, 'L', CmdLightTool},
        {FVIRTKEY | FCONTROL, 'E', CmdSceneTool},
        {FVIRTKEY | FCONTROL, 'K', CmdLinkTool},
        {FVIRTKEY | FCONTROL, 'T', CmdTransmissionTool},
        {FVIRTKEY | FCONTROL, 'B', CmdMaterialLibrary},
        {FVIRTKEY, VK_SPACE, CmdPlayPause},
        {FVIRTKEY | FCONTROL, VK_HOME, CmdRewind},
    };
    return CreateAcceleratorTableW(keys, int(std::size(keys)));
}

// ---- Main window -----------------------------------------------------------------------------

class StudioWindow final : public ScriptHost {
public:
    ~StudioWindow() {
        if (accelerators_) DestroyAcceleratorTable(accelerators_);
    }
    bool create(HINSTANCE instance, const Options& options);
    HWND hwnd() const { return hwnd_; }
    HACCEL accelerators() const { return accelerators_; }

    // What the scripted session drives beyond the menu and the tree.
    HWND mainWindow() const override { return hwnd_; }
    Document& currentDocument() override { return *document_; }
    Viewport& currentViewport() override { return viewport_; }
    void animateTo(double time) override { moveTo(time); }
    void showDocument(std::unique_ptr<Document> document, const std::wstring& path) override {
        replaceDocument(std::move(document), path);
    }

private:
    static LRESULT CALLBACK windowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT handle(UINT message, WPARAM wParam, LPARAM lParam);

    bool onCreate();
    void onDestroy();
    void layout();
    void onCommand(WORD command);
    LRESULT onNotify(const NMHDR& header);
    bool onSplitterMouse(UINT message, LPARAM lParam);

    void loadDocument(const Options& options);
    void documentChanged();
    void importModel();
    // The document shown is replaced whole; the old one is disposed of with its tools.
    void replaceDocument(std::unique_ptr<Document> document, const std::wstring& path);
    void openScene();
    bool saveScene(bool choosePath);
    void showTitle() const;
    void raytrace();

    void editSelection();
    void openMaterialTool();
    void openLinkTool();
    Lgt* selectedLight() const;
    Trn* selectedTransmission() const;

    void play();
    void pause();
    void tick();
    void moveTo(double time);

    void setSelection(Selection selection);
    void setStatus(StatusField field, const std::wstring& text) const;
    void showTime() const;
    void showSelection() const;
    void updateCommands() const;

    HWND hwnd_ = nullptr;
    HWND toolbar_ = nullptr;
    HWND status_ = nullptr;
    HACCEL accelerators_ = nullptr;
    SceneTree tree_;
    Viewport viewport_;
    Options options_;
    std::unique_ptr<Document> document_;
    std::wstring documentPath_;  // its scene file; empty until it has one
    std::unique_ptr<MaterialLibrary> library_;
    Selection selection_;
    int treeWidth_ = 240;
    bool draggingSplitter_ = false;

    // The animation clock, in the drives' time units.
    bool kinematics_ = false;
    bool playing_ = false;
    bool checkCollisions_ = true;
    double time_ = 0;
    double playStartTime_ = 0;
    ULONGLONG playStartTick_ = 0;
};

constexpr wchar_t kClassName[] = L"OrvantaStudioMain";

bool StudioWindow::create(HINSTANCE instance, const Options& options) {
    WNDCLASSEXW wc{};
    wc.cbSize = sizeof wc;
    wc.lpfnWndProc = windowProc;
    wc.hInstance = instance;
    wc.hIcon = LoadIconW(nullptr, IDI_APPLICATION);
    wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    wc.hbrBackground = GetSysColorBrush(COLOR_3DFACE);
    wc.lpszClassName = kClassName;
    if (!RegisterClassExW(&wc) || !Viewport::registerClass(instance)) return false;

    options_ = options;
    accelerators_ = buildAccelerators();
    return CreateWindowExW(0, kClassName, L"Orvanta Studio", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN,
                           CW_USEDEFAULT, CW_USEDEFAULT, 1200, 800, nullptr, buildMenu(), instance,
                           this) != nullptr;
}

LRESULT CALLBACK StudioWindow::windowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        auto* self =
            static_cast<StudioWindow*>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams);
        self->hwnd_ = hwnd;
        SetWindowLongPtrW(hwnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    }
    auto* self = reinterpret_cast<StudioWindow*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
    return self ? self->handle(message, wParam, lParam)
                : DefWindowProcW(hwnd, message, wParam, lParam);
}

LRESULT StudioWindow::handle(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_CREATE: return onCreate() ? 0 : -1;
        case WM_DESTROY: onDestroy(); return 0;
        case WM_SIZE: layout(); return 0;
        case WM_COMMAND: onCommand(LOWORD(wParam)); return 0;
        case WM_NOTIFY: return onNotify(*reinterpret_cast<const NMHDR*>(lParam));
        case WM_TIMER:
            if (wParam == kAnimationTimer) tick();
            return 0;
        case WM_SETCURSOR:
            if (LOWORD(lParam) == HTCLIENT && reinterpret_cast<HWND>(wParam) == hwnd_) {
                SetCursor(LoadCursorW(nullptr, IDC_SIZEWE));  // only the splitter shows through
                return TRUE;
            }
            break;
        case WM_LBUTTONDOWN:
        case WM_MOUSEMOVE:
        case WM_LBUTTONUP:
            if (onSplitterMouse(message, lParam)) return 0;
            break;

        case WM_STUDIO_APPEARANCE_CHANGED: viewport_.redraw(); return 0;
        case WM_STUDIO_LINKS_CHANGED:
            // While playing the next frame takes the change up anyway.
            if (document_ && !playing_) moveTo(time_);
            if (document_ && lParam) tree_.fill(*document_);  // the tool may have made followers
            return 0;
        case WM_STUDIO_LIBRARY_MATERIAL: {
            std::unique_ptr<std::vector<uint8_t>> block(
                reinterpret_cast<std::vector<uint8_t>*>(lParam));
            if (!document_) return 0;
            if (!selection_.is(ItemKind::Body)) {
                setStatus(FieldMessage, L"Select a body to assign library materials to.");
                return 0;
            }
            Body& body = document_->bodies()[selection_.index];
            body.material = document_->addMaterialBlock(*block);
            tree_.fill(*document_);
            viewport_.redraw();
            setStatus(FieldMessage,
                      recordName(body.material) + L" assigned to " + widen(body.name) + L".");
            return 0;
        }
        case WM_STUDIO_LIBRARY_CLOSED:
            if (library_) library_->closed();
            return 0;
        case WM_STUDIO_BODY_PICKED: {
            const int body = int(wParam);
            tree_.select(body >= 0 ? Selection{ItemKind::Body, size_t(body)} : Selection{});
            return 0;
        }
    }
    return DefWindowProcW(hwnd_, message, wParam, lParam);
}

bool StudioWindow::onCreate() {
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_BAR_CLASSES | ICC_TREEVIEW_CLASSES};
    InitCommonControlsEx(&controls);
    const HINSTANCE instance = GetModuleHandleW(nullptr);

    // Text buttons: the commands that one uses while looking at the scene.
    toolbar_ = CreateWindowExW(0, TOOLBARCLASSNAMEW, nullptr,
                               WS_CHILD | WS_VISIBLE | TBSTYLE_FLAT | TBSTYLE_LIST | CCS_TOP, 0, 0,
                               0, 0, hwnd_, reinterpret_cast<HMENU>(IdToolbar), instance, nullptr);
    SendMessageW(toolbar_, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
    SendMessageW(toolbar_, TB_SETBITMAPSIZE, 0, MAKELPARAM(0, 0));
    struct {
        WORD command;
        const wchar_t* text;
    } buttons[] = {
        {CmdPlay, L"Play"},
        {CmdPause, L"Pause"},
        {CmdRewind, L"Rewind"},
        {0, nullptr},
        {CmdMaterialTool, L"Material"},
        {CmdLightTool, L"Light"},
        {CmdSceneTool, L"Scene"},
        {CmdLinkTool, L"Links"},
        {CmdTransmissionTool, L"Transmission"},
        {CmdMaterialLibrary, L"Library"},
        {0, nullptr},
        {CmdFitAll, L"Fit All"},
    };
    for (const auto& b : buttons) {
        TBBUTTON button{};
        button.iBitmap = b.text ? I_IMAGENONE : 6;  // a separator's width
        button.idCommand = b.command;
        button.fsState = TBSTATE_ENABLED;
        button.fsStyle = b.text ? BTNS_BUTTON | BTNS_AUTOSIZE | BTNS_SHOWTEXT : BTNS_SEP;
        button.iString = reinterpret_cast<INT_PTR>(b.text);
        SendMessageW(toolbar_, TB_ADDBUTTONSW, 1, reinterpret_cast<LPARAM>(&button));
    }
    SendMessageW(toolbar_, TB_AUTOSIZE, 0, 0);

    status_ =
        CreateWindowExW(0, STATUSCLASSNAMEW, nullptr, WS_CHILD | WS_VISIBLE | SBARS_SIZEGRIP, 0, 0,
                        0, 0, hwnd_, reinterpret_cast<HMENU>(IdStatus), instance, nullptr);
    if (!tree_.create(hwnd_, IdTree) || !viewport_.create(hwnd_, IdViewport)) {
        MessageBoxW(hwnd_, L"The OpenGL viewport cannot be made.", L"Orvanta Studio", MB_ICONERROR);
        return false;
    }
    library_ = std::make_unique<MaterialLibrary>(hwnd_);

    layout();  // the status bar's fields exist before the document fills them
    loadDocument(options_);
    setStatus(FieldMessage,
              L"Left drag orbits, right drag pans, the wheel zooms, a click picks a body.");
    return true;
}

void StudioWindow::onDestroy() {
    KillTimer(hwnd_, kAnimationTimer);
    library_.reset();
    // Disposing of the records closes their tools and waits for them; renders end before.
    stopRaytraceWindows(hwnd_);
    viewport_.setDocument(nullptr);
    document_.reset();
    PostQuitMessage(0);
}

void StudioWindow::layout() {
    RECT client;
    GetClientRect(hwnd_, &client);
    SendMessageW(toolbar_, TB_AUTOSIZE, 0, 0);
    SendMessageW(status_, WM_SIZE, 0, 0);
    RECT bar, status;
    GetWindowRect(toolbar_, &bar);
    GetWindowRect(status_, &status);
    const int top = bar.bottom - bar.top, bottom = client.bottom - (status.bottom - status.top);
    const int height = std::max(0, bottom - top);
    treeWidth_ = std::clamp(treeWidth_, 120, std::max(120, int(client.right) - 200));
    MoveWindow(tree_.hwnd(), 0, top, treeWidth_, height, TRUE);
    MoveWindow(viewport_.hwnd(), treeWidth_ + kSplitter, top,
               std::max(0, int(client.right) - treeWidth_ - kSplitter), height, TRUE);

    const int width = client.right;
    const int edges[FieldCount] = {std::max(100, width - 620), std::max(300, width - 390),
                                  std::max(420, width - 240), -1};
    SendMessageW(status_, SB_SETPARTS, FieldCount, reinterpret_cast<LPARAM>(edges));
}

// The gap between the tree and the viewport moves the border between them.
bool StudioWindow::onSplitterMouse(UINT message, LPARAM lParam) {
    const int x = GET_X_LPARAM(lParam);
    switch (message) {
        case WM_LBUTTONDOWN:
            if (x < treeWidth_ || x > treeWidth_ + kSplitter) return false;
            draggingSplitter_ = true;
            SetCapture(hwnd_);
            return true;
        case WM_MOUSEMOVE:
            if (!draggingSplitter_) return false;
            treeWidth_ = x;
            layout();
            return true;
        case WM_LBUTTONUP:
            if (!draggingSplitter_) return false;
            draggingSplitter_ = false;
            ReleaseCapture();
            return true;
    }
    return false;
}

// ---- Document --------------------------------------------------------------------------------

void StudioWindow::loadDocument(const Options& options) {
    std::unique_ptr<Document> document;
    if (!options.scene.empty()) {
        std::string error;
        document = openDocument(options.scene, error);
        if (document) {
            documentPath_ = options.scene;
        } else {
            MessageBoxW(hwnd_, (options.scene + L":\n" + widen(error)).c_str(), L"Orvanta Studio",
                        MB_ICONWARNING);
        }
    }
    const bool opened = document != nullptr;
    if (!opened) document = std::make_unique<Document>();
    if (!opened && options.models.empty()) {
        buildDefaultScene(*document);
    } else {
        for (const std::wstring& path : options.models) {
            std::string error;
            if (!importObj(*document, path, error))
                MessageBoxW(hwnd_, (path + L":\n" + widen(error)).c_str(), L"Orvanta Studio",
                            MB_ICONWARNING);
        }
        if (!opened) addFloor(*document);
    }
    document_ = std::move(document);
    documentChanged();
    viewport_.setDocument(document_.get());
    showTitle();
}

// After bodies or links came or went: the kinematics and the tree start over.
void StudioWindow::documentChanged() {
    kinematics_ = document_->attachKinematics();
    if (kinematics_) moveTo(time_);
    tree_.fill(*document_);
    setSelection(tree_.selection());
    updateCommands();
}

void StudioWindow::importModel() {
    wchar_t path[MAX_PATH] = L"";
    OPENFILENAMEW dialog{};
    dialog.lStructSize = sizeof dialog;
    dialog.hwndOwner = hwnd_;
    dialog.lpstrFilter = L"Wavefront OBJ (*.obj)\0*.obj\0All files\0*.*\0";
    dialog.lpstrFile = path;
    dialog.nMaxFile = MAX_PATH;
    dialog.Flags = OFN_FILEMUSTEXIST | OFN_PATHMUSTEXIST | OFN_NOCHANGEDIR;
    if (!GetOpenFileNameW(&dialog)) return;
    std::string error;
    if (!importObj(*document_, path, error)) {
        MessageBoxW(hwnd_, (std::wstring(path) + L":\n" + widen(error)).c_str(), L"Orvanta Studio",
                    MB_ICONWARNING);
        return;
    }
    documentChanged();
    viewport_.fitAll();
    setStatus(FieldMessage, std::wstring(L"Imported ") + path);
}

// ---- Scene files -----------------------------------------------------------------------------

constexpr wchar_t kSceneFilter[] = L"Orvanta Studio scene (*.ovs)\0*.ovs\0All files\0*.*\0";

void StudioWindow::replaceDocument(std::unique_ptr<Document> document, const std::wstring& path) {
    // Renders read the old records and the clock moves them: both stop first. Messages that
    // arrive while its tools close find no document.
    stopRaytraceWindows(hwnd_);
    pause();
    kinematics_ = false;
    viewport_.setDocument(nullptr);
    document_.reset();
    document_ = std::move(document);
    documentPath_ = path;
    time_ = playStartTime_ = 0;
    documentChanged();
    viewport_.setDocument(document_.get());
    showTitle();
}

void StudioWindow::openScene() {
    wchar_t path[MAX_PATH] = L"";
    OPENFILENAMEW dialog{};
    dialog.lStructSize = sizeof dialog;
    dialog.hwndOwner = hwnd_;
    dialog.lpstrFilter = kSceneFilter;
    dialog.lpstrFile = path;
    dialog.nMaxFile = MAX_PATH;
    dialog.Flags = OFN_FILEMUSTEXIST | OFN_PATHMUSTEXIST | OFN_NOCHANGEDIR;
    if (!GetOpenFileNameW(&dialog)) return;
    std::string error;
    std::unique_ptr<Document> document = openDocument(path, error);
    if (!document) {
        MessageBoxW(hwnd_, (std::wstring(path) + L":\n" + widen(error)).c_str(), L"Orvanta Studio",
                    MB_ICONWARNING);
        return;
    }
    replaceDocument(std::move(document), path);
    setStatus(FieldMessage, std::wstring(L"Opened ") + path);
}

bool StudioWindow::saveScene(bool choosePath) {
    std::wstring path = documentPath_;
    if (choosePath || path.empty()) {
        wchar_t chosen[MAX_PATH] = L"Untitled.ovs";
        if (!path.empty()) wcsncpy(chosen, path.c_str(), MAX_PATH - 1);
        OPENFILENAMEW dialog{};
        dialog.lStructSize = sizeof dialog;
        dialog.hwndOwner = hwnd_;
        dialog.lpstrFilter = kSceneFilter;
        dialog.lpstrFile = chosen;
        dialog.nMaxFile = MAX_PATH;
        dialog.lpstrDefExt = L"ovs";
        dialog.Flags = OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST | OFN_NOCHANGEDIR;
        if (!GetSaveFileNameW(&dialog)) return false;
        path = chosen;
    }
    std::string error;
    if (!saveDocument(*document_, path, error)) {
        MessageBoxW(hwnd_, (path + L":\n" + widen(error)).c_str(), L"Orvanta Studio",
                    MB_ICONWARNING);
        return false;
    }
    documentPath_ = path;
    showTitle();
    setStatus(FieldMessage, L"Saved " + path);
    return true;
}

void StudioWindow::showTitle() const {
    const std::wstring name = documentPath_.empty()
                                  ? L"Untitled"
                                  : documentPath_.substr(documentPath_.find_last_of(L"\\/") + 1);
    SetWindowTextW(hwnd_, (name + L" - Orvanta Studio").c_str());
}

// The view as the viewport shows it, at the viewport's size.
void StudioWindow::raytrace() {
    RECT client;
    GetClientRect(viewport_.hwnd(), &client);
    if (client.right <= 0 || client.bottom <= 0) return;
    if (openRaytraceWindow(hwnd_, *document_, viewport_.camera(), client.right, client.bottom))
        setStatus(FieldMessage, L"Raytracing the view.");
    else
        setStatus(FieldMessage, L"The raytrace cannot start while another render runs.");
}

// ---- Commands --------------------------------------------------------------------------------

void StudioWindow::onCommand(WORD command) {
    if (!document_) return;
    switch (command) {
        case CmdNew:
            replaceDocument(std::make_unique<Document>(), L"");
            setStatus(FieldMessage, L"A new, empty scene: File > Import OBJ adds models.");
            break;
        case CmdOpen: openScene(); break;
        case CmdSave: saveScene(false); break;
        case CmdSaveAs: saveScene(true); break;
        case CmdRaytrace: raytrace(); break;
        case CmdImport: importModel(); break;
        case CmdExit: DestroyWindow(hwnd_); break;
        case CmdDeselect: tree_.select({}); break;
        case CmdResetLinks:
            for (Lnk* link : document_->links())
                if (!LnkIsFollower(link)) ResetLnk(link);
            moveTo(time_);
            setStatus(FieldMessage, L"Every driving link is back at 0.");
            break;
        case CmdFitAll: viewport_.fitAll(); break;
        case CmdMaterialTool: openMaterialTool(); break;
        case CmdLightTool:
            setStatus(FieldMessage, editors::editLight(hwnd_, selectedLight()));
            break;
        case CmdSceneTool:
            setStatus(FieldMessage, editors::editEnvironment(hwnd_, document_->environment()));
            break;
        case CmdLinkTool: openLinkTool(); break;
        case CmdTransmissionTool:
            setStatus(FieldMessage, editors::editTransmission(hwnd_, selectedTransmission()));
            break;
        case CmdMaterialLibrary: setStatus(FieldMessage, library_->open()); break;
        case CmdPlay: play(); break;
        case CmdPause: pause(); break;
        case CmdPlayPause: playing_ ? pause() : play(); break;
        case CmdRewind:
            time_ = playStartTime_ = 0;
            playStartTick_ = GetTickCount64();
            moveTo(0);
            break;
        case CmdCollisionCheck:
            checkCollisions_ = !checkCollisions_;
            moveTo(time_);
            updateCommands();
            break;
        case CmdAbout:
            MessageBoxW(
                hwnd_,
                L"Orvanta Studio\n\nA host of OrvantaDLL: the library defines how the scene "
                L"looks and how its links move it; the studio owns the geometry and draws it.",
                L"About Orvanta Studio", MB_ICONINFORMATION);
            break;
    }
}

void StudioWindow::openMaterialTool() {
    Mat* mat = nullptr;
    uint64_t body = 0;
    if (selection_.is(ItemKind::Body)) {
        mat = document_->bodies()[selection_.index].material;
        body = Document::bodyObject(selection_.index);
    } else if (selection_.is(ItemKind::Material)) {
        mat = document_->materials()[selection_.index];
    }
    setStatus(FieldMessage, editors::editMaterial(hwnd_, mat, body));
}

// The selected link; the driving links of the selected body; or every driving link.
void StudioWindow::openLinkTool() {
    if (selection_.is(ItemKind::Link)) {
        setStatus(FieldMessage,
                  editors::editLinks(hwnd_, {document_->links()[selection_.index]}, false));
        return;
    }
    std::vector<Lnk*> links = selection_.is(ItemKind::Body)
                                  ? document_->linksMoving(selection_.index)
                                  : document_->links();
    std::vector<Lnk*> driving;
    for (Lnk* link : links)
        if (!LnkIsFollower(link)) driving.push_back(link);
    if (!links.empty() && driving.empty()) {
        setStatus(FieldMessage,
                  L"Only follower links move this body: the loops they close set them. "
                  L"Select a link to edit it anyway.");
        return;
    }
    setStatus(FieldMessage, editors::editLinks(hwnd_, driving, true));
}

void StudioWindow::editSelection() {
    switch (selection_.kind) {
        case ItemKind::Environment: onCommand(CmdSceneTool); break;
        case ItemKind::Light: onCommand(CmdLightTool); break;
        case ItemKind::Body:
        case ItemKind::Material: onCommand(CmdMaterialTool); break;
        case ItemKind::Link: onCommand(CmdLinkTool); break;
        case ItemKind::Transmission: onCommand(CmdTransmissionTool); break;
        case ItemKind::None: break;
    }
}

Lgt* StudioWindow::selectedLight() const {
    if (selection_.is(ItemKind::Light)) return document_->light(selection_.index);
    return document_->lightCount() ? document_->light(0) : nullptr;
}

Trn* StudioWindow::selectedTransmission() const {
    const auto& all = document_->transmissions();
    if (selection_.is(ItemKind::Transmission)) return all[selection_.index];
    return all.empty() ? nullptr : all.front();
}

LRESULT StudioWindow::onNotify(const NMHDR& header) {
    if (header.idFrom != IdTree || !document_) return 0;
    switch (header.code) {
        case TVN_SELCHANGEDW:
            setSelection(
                tree_.selectionOf(reinterpret_cast<const NMTREEVIEWW&>(header).itemNew.hItem));
            return 0;
        case NM_DBLCLK:
        case NM_RETURN:
            if (selection_.is(ItemKind::None)) return 0;  // groups fold and unfold
            editSelection();
            return 1;
    }
    return 0;
}

// ---- Animation -------------------------------------------------------------------------------

void StudioWindow::play() {
    if (!kinematics_ || playing_) return;
    playing_ = true;
    playStartTime_ = time_;
    playStartTick_ = GetTickCount64();
    SetTimer(hwnd_, kAnimationTimer, kFrameMilliseconds, nullptr);
    updateCommands();
}

void StudioWindow::pause() {
    if (!playing_) return;
    tick();
    playing_ = false;
    KillTimer(hwnd_, kAnimationTimer);
    updateCommands();
}

void StudioWindow::tick() {
    const double seconds = double(GetTickCount64() - playStartTick_) / 1000.0;
    moveTo(playStartTime_ + seconds * kTimeUnitsPerSecond);
}

// Moves every linked body to time; the link tools' values count on top of the drives.
void StudioWindow::moveTo(double time) {
    time_ = time;
    if (kinematics_) {
        const Motion motion = document_->animate(time, checkCollisions_);
        switch (motion.result) {
            case Motion::Collision:
                setStatus(FieldMotion, L"Collision: " + widen(motion.firstCollision));
                break;
            case Motion::LoopOpen: setStatus(FieldMotion, L"A follower loop stays open"); break;
            case Motion::Moved: setStatus(FieldMotion, L""); break;
        }
    }
    showTime();
    viewport_.redraw();
}

// ---- Status ----------------------------------------------------------------------------------

void StudioWindow::setSelection(Selection selection) {
    selection_ = selection;
    viewport_.setSelectedBody(selection.is(ItemKind::Body) ? int(selection.index) : -1);
    showSelection();
}

void StudioWindow::setStatus(StatusField field, const std::wstring& text) const {
    SendMessageW(status_, SB_SETTEXTW, field, reinterpret_cast<LPARAM>(text.c_str()));
}

void StudioWindow::showTime() const {
    wchar_t text[64];
    swprintf(text, 64, L"%ls  t = %.2f", playing_ ? L"Playing" : L"Paused", time_);
    setStatus(FieldTime, text);
}

void StudioWindow::showSelection() const {
    std::wstring text;
    if (document_ && selection_.is(ItemKind::Body)) {
        const Body& body = document_->bodies()[selection_.index];
        text = widen(body.name);
        if (body.material) text += L": " + recordName(body.material);
    }
    setStatus(FieldSelection, text);
}

void StudioWindow::updateCommands() const {
    HMENU menu = GetMenu(hwnd_);
    EnableMenuItem(menu, CmdPlay,
                   MF_BYCOMMAND | (kinematics_ && !playing_ ? MF_ENABLED : MF_GRAYED));
    EnableMenuItem(menu, CmdPause, MF_BYCOMMAND | (playing_ ? MF_ENABLED : MF_GRAYED));
    CheckMenuItem(menu, CmdCollisionCheck,
                  MF_BYCOMMAND | (checkCollisions_ ? MF_CHECKED : MF_UNCHECKED));
    SendMessageW(toolbar_, TB_ENABLEBUTTON, CmdPlay, kinematics_ && !playing_);
    SendMessageW(toolbar_, TB_ENABLEBUTTON, CmdPause, playing_);
    showTime();
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int show) {
    Options options;
    std::wstring error;
    if (!parseCommandLine(options, error)) {
        MessageBoxW(nullptr, error.c_str(), L"Orvanta Studio", MB_ICONERROR);
        return 2;
    }
    StudioWindow window;
    if (!window.create(instance, options)) return 1;
    ShowWindow(window.hwnd(), show);
    UpdateWindow(window.hwnd());
    std::unique_ptr<ScriptSession> script;
    if (!options.scriptFolder.empty()) {
        script = std::make_unique<ScriptSession>(window, options.scriptFolder,
                                                 options.mechanismFile);
        script->start();
    }

    MSG msg;
    while (GetMessageW(&msg, nullptr, 0, 0) > 0) {
        if (TranslateAcceleratorW(window.hwnd(), window.accelerators(), &msg)) continue;
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
    }
    return script ? script->failures() : int(msg.wParam);
}
