// script.cpp - the scripted session.
//
// Every step runs on the main window's thread from a timer and returns at once: the tools live
// on threads of their own, so the session posts them what a user's mouse would send and looks
// again on the next tick. The few questions a tool's window must answer (a slider's range, a
// tab's text) are sent with a time limit.
#include "script.h"

#include <commctrl.h>
#include <prsht.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

#include "capture.h"
#include "document_file.h"
#include "orvanta.h"
#include "raytrace_window.h"
#include "scene.h"
#include "text.h"
#include "viewport.h"

namespace {

constexpr UINT_PTR kScriptTimer = 0x5C41;
constexpr UINT kTickMs = 40;
constexpr UINT kAskTimeoutMs = 2000;
constexpr double kPi = 3.14159265358979323846;

ScriptSession* running = nullptr;

// ---- Windows ------------------------------------------------------------------------------------

std::wstring className(HWND hwnd) {
    wchar_t name[128] = L"";
    GetClassNameW(hwnd, name, 128);
    return name;
}

// Asks a window that may belong to a tool's thread; 0 when it does not answer in time.
LRESULT ask(HWND hwnd, UINT message, WPARAM wParam = 0, LPARAM lParam = 0) {
    DWORD_PTR result = 0;
    if (!SendMessageTimeoutW(hwnd, message, wParam, lParam, SMTO_NORMAL, kAskTimeoutMs, &result))
        return 0;
    return LRESULT(result);
}

// Room for what a list or tab control reads from the asker or writes back.
struct Exchange {
    LVITEMW item{};
    TCITEMW tab{};
    wchar_t text[128] = L"";
};

// Asks with memory of the session's: fill points the message at it, read takes the answer. A
// window that answers after the time limit still finds the memory, which is then left to it.
template <typename Fill, typename Read>
LRESULT askWith(HWND hwnd, UINT message, WPARAM wParam, Fill fill, Read read) {
    auto* exchange = new Exchange;
    const LPARAM lParam = fill(*exchange);
    DWORD_PTR result = 0;
    if (!SendMessageTimeoutW(hwnd, message, wParam, lParam, SMTO_NORMAL, kAskTimeoutMs, &result))
        return 0;
    read(*exchange);
    delete exchange;
    return LRESULT(result);
}

std::vector<HWND> descendants(HWND parent) {
    std::vector<HWND> all;
    EnumChildWindows(
        parent,
        [](HWND hwnd, LPARAM list) -> BOOL {
            reinterpret_cast<std::vector<HWND>*>(list)->push_back(hwnd);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&all));
    return all;
}

// The visible top-level windows of a class that owner owns.
std::vector<HWND> ownedWindows(HWND owner, const wchar_t* wantedClass) {
    struct Search {
        HWND owner;
        const wchar_t* wantedClass;
        std::vector<HWND> found;
    } search{owner, wantedClass, {}};
    EnumWindows(
        [](HWND hwnd, LPARAM param) -> BOOL {
            auto* s = reinterpret_cast<Search*>(param);
            if (GetWindow(hwnd, GW_OWNER) == s->owner && IsWindowVisible(hwnd) &&
                className(hwnd) == s->wantedClass)
                s->found.push_back(hwnd);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.found;
}

// A property sheet of owner's that is not among those known before.
HWND newSheet(HWND owner, const std::vector<HWND>& known) {
    for (HWND sheet : ownedWindows(owner, L"#32770"))
        if (std::find(known.begin(), known.end(), sheet) == known.end()) return sheet;
    return nullptr;
}

// The visible page of a property sheet.
HWND currentPage(HWND sheet) {
    for (HWND child = GetWindow(sheet, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
        if (IsWindowVisible(child) && className(child) == L"#32770") return child;
    return nullptr;
}

std::vector<HWND> visibleOfClass(HWND parent, const wchar_t* wantedClass) {
    std::vector<HWND> found;
    for (HWND hwnd : descendants(parent))
        if (IsWindowVisible(hwnd) && className(hwnd) == wantedClass) found.push_back(hwnd);
    return found;
}

RECT screenRect(HWND hwnd) {
    RECT r{};
    GetWindowRect(hwnd, &r);
    return r;
}

std::vector<HWND> sortedByLeft(std::vector<HWND> windows) {
    std::sort(windows.begin(), windows.end(),
              [](HWND a, HWND b) { return screenRect(a).left < screenRect(b).left; });
    return windows;
}

std::vector<HWND> pushButtons(HWND parent) {
    std::vector<HWND> buttons;
    for (HWND button : visibleOfClass(parent, WC_BUTTONW)) {
        const LONG kind = GetWindowLongW(button, GWL_STYLE) & BS_TYPEMASK;
        if (kind == BS_PUSHBUTTON || kind == BS_DEFPUSHBUTTON) buttons.push_back(button);
    }
    return buttons;
}

// The index of the list view's item labelled text, or -1.
int findItem(HWND list, const wchar_t* text) {
    for (int i = 0, n = int(ask(list, LVM_GETITEMCOUNT)); i < n; ++i) {
        std::wstring label;
        askWith(
            list, LVM_GETITEMTEXTW, WPARAM(i),
            [](Exchange& e) {
                e.item.pszText = e.text;
                e.item.cchTextMax = 128;
                return reinterpret_cast<LPARAM>(&e.item);
            },
            [&label](const Exchange& e) { label = e.text; });
        if (label == text) return i;
    }
    return -1;
}

// Selects the item as a click does; the list tells its parent.
void selectItem(HWND list, int index) {
    askWith(
        list, LVM_SETITEMSTATE, WPARAM(index),
        [](Exchange& e) {
            e.item.stateMask = e.item.state = LVIS_SELECTED | LVIS_FOCUSED;
            return reinterpret_cast<LPARAM>(&e.item);
        },
        [](const Exchange&) {});
}

// The text of the selected tab of the sheet's tab control.
std::wstring selectedTab(HWND sheet) {
    std::wstring text;
    for (HWND tabs : visibleOfClass(sheet, WC_TABCONTROLW)) {
        askWith(
            tabs, TCM_GETITEMW, WPARAM(ask(tabs, TCM_GETCURSEL)),
            [](Exchange& e) {
                e.tab.mask = TCIF_TEXT;
                e.tab.pszText = e.text;
                e.tab.cchTextMax = 128;
                return reinterpret_cast<LPARAM>(&e.tab);
            },
            [&text](const Exchange& e) { text = e.text; });
    }
    return text;
}

// A user's drag of a slider's thumb, ended at position: the thumb moves, then the slider
// reports the position and the end of the drag to its parent.
void dragSlider(HWND slider, int position) {
    const bool vertical = (GetWindowLongW(slider, GWL_STYLE) & TBS_VERT) != 0;
    const UINT scroll = vertical ? WM_VSCROLL : WM_HSCROLL;
    HWND parent = GetParent(slider);
    PostMessageW(slider, TBM_SETPOS, TRUE, position);
    PostMessageW(parent, scroll, MAKEWPARAM(TB_THUMBPOSITION, position), LPARAM(slider));
    PostMessageW(parent, scroll, MAKEWPARAM(TB_ENDTRACK, 0), LPARAM(slider));
}

// The menu command whose label (without "&" and shortcut) is label, or 0.
UINT menuCommand(HMENU menu, const std::wstring& label) {
    for (int i = 0, n = GetMenuItemCount(menu); i < n; ++i) {
        if (HMENU sub = GetSubMenu(menu, i)) {
            if (UINT id = menuCommand(sub, label)) return id;
            continue;
        }
        wchar_t text[128] = L"";
        GetMenuStringW(menu, UINT(i), text, 128, MF_BYPOSITION);
        std::wstring plain;
        for (const wchar_t* c = text; *c && *c != L'\t'; ++c)
            if (*c != L'&') plain += *c;
        if (plain == label) return GetMenuItemID(menu, i);
    }
    return 0;
}

// ---- Scene --------------------------------------------------------------------------------------

int bodyIndex(const Document& document, const std::string& name) {
    const auto& bodies = document.bodies();
    for (size_t i = 0; i < bodies.size(); ++i)
        if (bodies[i].name == name) return int(i);
    return -1;
}

Lnk* linkNamed(const Document& document, const char* name) {
    for (Lnk* link : document.links())
        if (std::strcmp(link->name, name) == 0) return link;
    return nullptr;
}

std::vector<uint8_t> matBlock(Mat* mat) {
    uint32_t size = 0;
    GetMat(mat, nullptr, &size);
    std::vector<uint8_t> block(size);
    GetMat(mat, block.data(), &size);
    return block;
}

// Selects the tree item showing name (a body's text goes on with its material), as a click.
bool selectInTree(HWND tree, const std::wstring& name) {
    std::vector<HTREEITEM> pending{TreeView_GetRoot(tree)};
    while (!pending.empty()) {
        HTREEITEM item = pending.back();
        pending.pop_back();
        for (; item; item = TreeView_GetNextSibling(tree, item)) {
            wchar_t text[256] = L"";
            TVITEMW data{};
            data.mask = TVIF_TEXT;
            data.hItem = item;
            data.pszText = text;
            data.cchTextMax = 256;
            TreeView_GetItem(tree, &data);
            const std::wstring shown = text;
            if (shown == name || shown.rfind(name + L"  (", 0) == 0) {
                TreeView_SelectItem(tree, item);
                return true;
            }
            if (HTREEITEM child = TreeView_GetChild(tree, item)) pending.push_back(child);
        }
    }
    return false;
}

// Where the body's centre lies in the viewport's pixels (x right, y up from the bottom row).
bool projectBody(const Body& body, const Camera& camera, int width, int height, int& x, int& y) {
    const Vec3 d = body.worldBounds().centre() - camera.eye();
    const double depth = dot(d, camera.forward());
    if (depth <= 0 || width <= 0 || height <= 0) return false;
    const double tanHalf = std::tan(camera.fovY / 2 * kPi / 180);
    const double sx = dot(d, camera.right()) / depth / (tanHalf * width / height);
    const double sy = dot(d, camera.up()) / depth / tanHalf;
    x = int((sx + 1) / 2 * width);
    y = int((sy + 1) / 2 * height);
    return x >= 0 && x < width && y >= 0 && y < height;
}

struct Colour {
    double r = 0, g = 0, b = 0;
};

// The mean colour of the square of edge 2 radius + 1 around (x, y) of bottom-up RGB rows.
Colour meanAround(const std::vector<uint8_t>& rgb, int width, int height, int x, int y,
                  int radius) {
    Colour sum;
    int count = 0;
    for (int j = std::max(0, y - radius); j <= std::min(height - 1, y + radius); ++j) {
        for (int i = std::max(0, x - radius); i <= std::min(width - 1, x + radius); ++i) {
            const uint8_t* p = &rgb[(size_t(j) * size_t(width) + size_t(i)) * 3];
            sum.r += p[0], sum.g += p[1], sum.b += p[2];
            ++count;
        }
    }
    if (count) sum.r /= count, sum.g /= count, sum.b /= count;
    return sum;
}

std::string describe(Colour c) {
    char text[64];
    std::snprintf(text, sizeof text, "(%.0f, %.0f, %.0f)", c.r, c.g, c.b);
    return text;
}

double difference(Colour a, Colour b) {
    return std::max({std::fabs(a.r - b.r), std::fabs(a.g - b.g), std::fabs(a.b - b.b)});
}

std::string number(double v) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6f", v);
    return text;
}

// ---- The mechanism's printout -------------------------------------------------------------------

// The mechanism's bodies are the studio's, under German names; each with its marked point.
struct Mark {
    const char* studioName;
    const char* printedName;
    Vec3 point;
};
const Mark kMarks[] = {
    {"Crank", "Kurbel", {1, 0, 0}},     {"Slider", "Schieber", {4, 0.25, 0}},
    {"Rod", "Pleuel", {2.5, 0.125, 0}}, {"Drive crank", "Antrieb", {11, 0, 0}},
    {"Rocker", "Schwinge", {14, 3, 0}}, {"Coupler", "Koppel", {12.5, 1.5, 0}},
};

struct PrintedStep {
    double time = 0;
    std::vector<std::pair<std::string, Vec3>> points;  // x and y
};

// Lines "t=0.041667 result=0 Kurbel 0.991 0.131 Schieber ...".
std::vector<PrintedStep> readPrintout(const std::wstring& path) {
    std::vector<PrintedStep> steps;
    std::ifstream in(narrow(path), std::ios::binary);
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        std::string word;
        PrintedStep step;
        if (!(words >> word) || word.rfind("t=", 0) != 0) continue;
        step.time = std::atof(word.c_str() + 2);
        words >> word;  // result=
        std::string name;
        double x = 0, y = 0;
        while (words >> name >> x >> y) step.points.push_back({name, {x, y, 0}});
        steps.push_back(step);
    }
    return steps;
}

// Every record of the document with its block, less what is only true in this process (the
// addresses of its tool, images and path arrays).
std::vector<std::pair<std::string, std::vector<uint8_t>>> recordsOf(const Document& document) {
    std::vector<std::pair<std::string, std::vector<uint8_t>>> records;
    const auto add = [&](const char* family, RecordKind kind, auto* record) {
        records.push_back(
            {std::string(family) + " " + record->name, portableBlock(kind, recordBlock(record))});
    };
    add("Environment", RecordKind::Environment, document.environment());
    for (size_t i = 0; i < document.lightCount(); ++i)
        add("Light", RecordKind::Light, document.light(i));
    for (Mat* mat : document.materials()) add("Material", RecordKind::Material, mat);
    for (Lnk* link : document.links()) add("Link", RecordKind::Link, link);
    for (Trn* trn : document.transmissions()) add("Transmission", RecordKind::Transmission, trn);
    return records;
}

// ---- The library file chosen --------------------------------------------------------------------

constexpr char kLibraryMaterial[] = "Studio Violet";
constexpr wchar_t kLibraryMaterialW[] = L"Studio Violet";

// The library window opens the file chosen last, the setting LibName; the session's choice is
// taken back afterwards.
struct LibraryChoice {
    bool chosen = false;
    bool hadOld = false;
    std::string old;
};

void chooseLibrary(LibraryChoice& choice, const std::wstring& path) {
    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\OrvantaDLL", 0, nullptr, 0,
                        KEY_READ | KEY_WRITE, nullptr, &key, nullptr) != ERROR_SUCCESS)
        return;
    char old[MAX_PATH] = "";
    DWORD size = sizeof old - 1;
    choice.hadOld = RegQueryValueExA(key, "LibName", nullptr, nullptr, reinterpret_cast<BYTE*>(old),
                                     &size) == ERROR_SUCCESS;
    choice.old = old;
    const std::string ansi = narrow(path);
    choice.chosen =
        RegSetValueExA(key, "LibName", 0, REG_SZ, reinterpret_cast<const BYTE*>(ansi.c_str()),
                       DWORD(ansi.size() + 1)) == ERROR_SUCCESS;
    RegCloseKey(key);
}

void restoreLibraryChoice(LibraryChoice& choice) {
    if (!choice.chosen) return;
    choice.chosen = false;
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\OrvantaDLL", 0, KEY_WRITE, &key) !=
        ERROR_SUCCESS)
        return;
    if (choice.hadOld)
        RegSetValueExA(key, "LibName", 0, REG_SZ, reinterpret_cast<const BYTE*>(choice.old.c_str()),
                       DWORD(choice.old.size() + 1));
    else
        RegDeleteValueA(key, "LibName");
    RegCloseKey(key);
}

}  // namespace

// ---- Session ------------------------------------------------------------------------------------

struct ScriptSession::State {
    HWND main = nullptr;
    HWND tree = nullptr;
    HWND view = nullptr;
    HWND sheet = nullptr;           // the tool sheet of the stage under way
    std::vector<HWND> knownSheets;  // sheets open before it

    // Material tool
    int block = -1;
    Mat* blockMaterial = nullptr;
    OrvVec3 diffuseBefore{};
    Colour pixelsBefore;
    int pixelX = 0, pixelY = 0;
    DWORD changedAt = 0;

    // Material library
    std::vector<uint8_t> libraryBlock;
    LibraryChoice libraryChoice;
    HWND library = nullptr;
    Mat* materialBefore = nullptr;

    // Animation
    std::vector<PrintedStep> printout;
    int frame = 0;
    int mismatches = 0;
    std::string firstMismatch;

    // Link tool
    Lnk* crankshaft = nullptr;
    int crank = -1;
    Matrix crankBefore;
    double angleBefore = 0;

    // Raytracing
    std::unique_ptr<RaytraceJob> raytrace;

    // Documents
    std::vector<uint8_t> pictureBefore;
    int pictureWidth = 0, pictureHeight = 0;
};

ScriptSession::ScriptSession(ScriptHost& host, std::wstring folder, std::wstring mechanismFile)
    : host_(host),
      folder_(std::move(folder)),
      mechanismFile_(std::move(mechanismFile)),
      state_(std::make_unique<State>()) {
    wchar_t full[MAX_PATH];
    if (GetFullPathNameW(folder_.c_str(), MAX_PATH, full, nullptr)) folder_ = full;
    CreateDirectoryW(folder_.c_str(), nullptr);
}

ScriptSession::~ScriptSession() {
    if (running == this) running = nullptr;
    restoreLibraryChoice(state_->libraryChoice);
}

void ScriptSession::start() {
    State& s = *state_;
    s.main = host_.mainWindow();
    s.view = host_.currentViewport().hwnd();
    for (HWND child = GetWindow(s.main, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
        if (className(child) == WC_TREEVIEWW) s.tree = child;
    addMaterialToolSteps();
    addLibrarySteps();
    addAnimationSteps();
    addLinkToolSteps();
    addRaytraceSteps();
    addDocumentSteps();
    running = this;
    stepStarted_ = GetTickCount();
    SetTimer(s.main, kScriptTimer, kTickMs, onTimer);
}

void CALLBACK ScriptSession::onTimer(HWND, UINT, UINT_PTR, DWORD) {
    if (running) running->tick();
}

// Steps may serve messages (closing a window waits for its thread), so a tick can arrive
// inside another: it then does nothing.
void ScriptSession::tick() {
    if (busy_ || done_) return;
    busy_ = true;
    if (current_ < steps_.size()) {
        const Step& step = steps_[current_];
        Next next = step.run();
        if (next == Next::Again && GetTickCount() - stepStarted_ > step.timeoutMs) {
            check(step.check, false,
                  "nothing within " + std::to_string(step.timeoutMs / 1000) + " s");
            next = Next::Abandon;
        }
        if (next == Next::Abandon) abandonStage();
        if (next != Next::Again) {
            ++current_;
            stepStarted_ = GetTickCount();
        }
    }
    if (current_ >= steps_.size()) finish();
    busy_ = false;
}

// Skips the rest of the stage and closes what it left open, so the next stage starts clean.
void ScriptSession::abandonStage() {
    State& s = *state_;
    const std::string stage = steps_[current_].stage;
    while (current_ + 1 < steps_.size() && stage == steps_[current_ + 1].stage) ++current_;
    if (s.sheet && IsWindow(s.sheet)) PostMessageW(s.sheet, PSM_PRESSBUTTON, PSBTN_CANCEL, 0);
    if (s.library && IsWindow(s.library)) PostMessageW(s.library, WM_CLOSE, 0, 0);
    s.sheet = s.library = nullptr;
    if (s.raytrace) s.raytrace->cancel();
    s.raytrace.reset();
}

void ScriptSession::check(const std::string& name, bool ok, const std::string& detail) {
    if (!ok) ++failures_;
    report_.push_back(ok ? "ok " + name : "FAIL " + name + ": " + detail);
}

void ScriptSession::finish() {
    done_ = true;
    KillTimer(state_->main, kScriptTimer);
    state_->raytrace.reset();  // a render reads the document, which goes with the window
    std::ofstream out(narrow(folder_ + L"\\report.txt"), std::ios::binary);
    for (const std::string& line : report_) out << line << "\n";
    out.close();
    DestroyWindow(state_->main);
}

bool ScriptSession::menu(const wchar_t* label) const {
    const UINT id = menuCommand(GetMenu(state_->main), label);
    if (id) PostMessageW(state_->main, WM_COMMAND, MAKEWPARAM(id, 0), 0);
    return id != 0;
}

void ScriptSession::add(const char* stage, const char* check, DWORD timeoutMs,
                        std::function<Next()> run) {
    steps_.push_back({stage, check, timeoutMs, std::move(run)});
}

void ScriptSession::wait(const char* stage, DWORD ms) {
    add(stage, "wait", ms + 1000,
        [this, ms] { return GetTickCount() - stepStarted_ >= ms ? Next::Step : Next::Again; });
}

// ---- The material tool on the block: a colour slider, the viewport, the picture -----------------

void ScriptSession::addMaterialToolSteps() {
    State& s = *state_;
    const char* stage = "material tool";
    wait(stage, 500);  // the first frames drawn
    add(stage, "material tool opens on Block", 1000, [this, &s] {
        Document& document = host_.currentDocument();
        s.block = bodyIndex(document, "Block");
        if (s.block < 0) {
            check("material tool opens on Block", false, "the scene has no body \"Block\"");
            return Next::Abandon;
        }
        s.blockMaterial = document.bodies()[size_t(s.block)].material;
        s.diffuseBefore = s.blockMaterial->diffuse;
        s.knownSheets = ownedWindows(s.main, L"#32770");
        if (!selectInTree(s.tree, L"Block") || !menu(L"Material...")) {
            check("material tool opens on Block", false, "no tree item or menu command");
            return Next::Abandon;
        }
        return Next::Step;
    });
    add(stage, "material tool opens on Block", 20000, [this, &s] {
        s.sheet = newSheet(s.main, s.knownSheets);
        if (!s.sheet || !s.blockMaterial->tool || !currentPage(s.sheet)) return Next::Again;
        // The block's pixels before the change.
        int width = 0, height = 0;
        const std::vector<uint8_t> rgb = host_.currentViewport().readPixels(width, height);
        const Body& body = host_.currentDocument().bodies()[size_t(s.block)];
        if (rgb.empty() || !projectBody(body, host_.currentViewport().camera(), width, height,
                                        s.pixelX, s.pixelY)) {
            check("material tool opens on Block", false,
                  rgb.empty() ? "the viewport has no pixels" : "the block is not in the view");
            return Next::Abandon;
        }
        s.pixelsBefore = meanAround(rgb, width, height, s.pixelX, s.pixelY, 4);
        check("material tool opens on Block", true);
        return Next::Step;
    });
    add(stage, "Diffus slider changes the material", 5000, [this, &s] {
        const std::wstring tab = selectedTab(s.sheet);
        if (tab != L"Diffus" && tab != L"Diffuse") {
            check("Diffus slider changes the material", false,
                  "the sheet opened on \"" + narrow(tab) + "\"");
            return Next::Abandon;
        }
        // The colour sliders stand upright side by side: red, green, blue, hue, saturation and
        // value. Blue goes to the end farther away, a change that no rounding hides.
        std::vector<HWND> sliders;
        for (HWND slider : visibleOfClass(currentPage(s.sheet), TRACKBAR_CLASSW))
            if (GetWindowLongW(slider, GWL_STYLE) & TBS_VERT) sliders.push_back(slider);
        if (sliders.size() < 3) {
            check("Diffus slider changes the material", false,
                  std::to_string(sliders.size()) + " upright sliders on the page");
            return Next::Abandon;
        }
        HWND blue = sortedByLeft(sliders)[2];
        const int low = int(ask(blue, TBM_GETRANGEMIN)), high = int(ask(blue, TBM_GETRANGEMAX));
        const int now = int(ask(blue, TBM_GETPOS));
        dragSlider(blue, now - low > high - now ? low : high);
        return Next::Step;
    });
    add(stage, "Diffus slider changes the material", 10000, [this, &s] {
        const OrvVec3 now = s.blockMaterial->diffuse;
        if (std::memcmp(&now, &s.diffuseBefore, sizeof now) == 0) return Next::Again;
        check("Diffus slider changes the material", true);
        s.changedAt = GetTickCount();
        return Next::Step;
    });
    add(stage, "viewport shows the new colour", 5000, [this, &s] {
        if (GetTickCount() - s.changedAt < 300) return Next::Again;  // the tool's redraw
        int width = 0, height = 0;
        const std::vector<uint8_t> rgb = host_.currentViewport().readPixels(width, height);
        const Colour after = meanAround(rgb, width, height, s.pixelX, s.pixelY, 4);
        check("viewport shows the new colour", difference(after, s.pixelsBefore) > 10,
              describe(s.pixelsBefore) + " stayed " + describe(after));
        // The sheet to the viewport's top right, where the picture shows it beside the block.
        const RECT view = screenRect(s.view), sheet = screenRect(s.sheet);
        SetWindowPos(s.sheet, nullptr, view.right - (sheet.right - sheet.left) - 12, view.top + 12,
                     0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_ASYNCWINDOWPOS);
        return Next::Step;
    });
    wait(stage, 800);  // the sheet drawn where it stands now
    add(stage, "studio.png", 5000, [this, &s] {
        // The main window's and the sheet's copies, with the viewport's own pixels.
        int width = 0, height = 0;
        const std::vector<uint8_t> rgb = host_.currentViewport().readPixels(width, height);
        Image picture = captureWindow(s.main, s.view);
        const RECT frame = screenRect(s.main), sheet = screenRect(s.sheet);
        POINT view{0, 0};
        ClientToScreen(s.view, &view);
        paste(picture, imageFromBottomUp(rgb, width, height), view.x - frame.left,
              view.y - frame.top);
        paste(picture, captureWindow(s.sheet), sheet.left - frame.left, sheet.top - frame.top);
        check("studio.png", writePng(picture, folder_ + L"\\studio.png"), "cannot write it");
        PostMessageW(s.sheet, PSM_PRESSBUTTON, PSBTN_OK, 0);
        return Next::Step;
    });
    add(stage, "OK closes the material tool and keeps the colour", 10000, [this, &s] {
        if (s.blockMaterial->tool || IsWindow(s.sheet)) return Next::Again;
        s.sheet = nullptr;
        const OrvVec3 now = s.blockMaterial->diffuse;
        check("OK closes the material tool and keeps the colour",
              std::memcmp(&now, &s.diffuseBefore, sizeof now) != 0, "the colour went back");
        return Next::Step;
    });
}

// ---- The material library: a file of one material, assigned to the block ------------------------

void ScriptSession::addLibrarySteps() {
    State& s = *state_;
    const char* stage = "material library";
    add(stage, "library file written", 5000, [this, &s] {
        if (s.block < 0) {
            check("library file written", false, "no block to assign its material to");
            return Next::Abandon;
        }
        // The file: each material's block behind its 32-bit size.
        Mat* mat = CreateMat(kLibraryMaterial);
        mat->ambient = mat->diffuse = {0.42, 0.22, 0.66};
        mat->specular = {0.9, 0.9, 0.9};
        mat->shininess = 70;
        s.libraryBlock = matBlock(mat);
        DisposeMat(mat);
        const std::wstring path = folder_ + L"\\studio.msl";
        std::ofstream out(narrow(path), std::ios::binary);
        const uint32_t size = uint32_t(s.libraryBlock.size());
        out.write(reinterpret_cast<const char*>(&size), sizeof size);
        out.write(reinterpret_cast<const char*>(s.libraryBlock.data()), std::streamsize(size));
        out.close();
        check("library file written", bool(out), "cannot write " + narrow(path));
        if (!out) return Next::Abandon;
        chooseLibrary(s.libraryChoice, path);
        s.materialBefore = host_.currentDocument().bodies()[size_t(s.block)].material;
        selectInTree(s.tree, L"Block");
        menu(L"Material Library...");
        return Next::Step;
    });
    add(stage, "material library opens", 20000, [this, &s] {
        s.library = FindWindowW(L"OrvantaDLL:MatLibMain", nullptr);
        if (!s.library || !IsWindowVisible(s.library)) return Next::Again;
        check("material library opens", true);
        return Next::Step;
    });
    // From the library's list at the right into the scene's at the left with "<<", the lower
    // of the two buttons between the lists.
    add(stage, "library material copied to the scene list", 20000, [this, &s] {
        const std::vector<HWND> lists = sortedByLeft(visibleOfClass(s.library, WC_LISTVIEWW));
        const int found = lists.size() < 2 ? -1 : findItem(lists.back(), kLibraryMaterialW);
        if (found < 0) return Next::Again;
        selectItem(lists.back(), found);
        std::vector<HWND> between;
        const LONG left = screenRect(lists.front()).right, right = screenRect(lists.back()).left;
        for (HWND button : pushButtons(s.library)) {
            const RECT r = screenRect(button);
            if (r.left >= left && r.right <= right) between.push_back(button);
        }
        std::sort(between.begin(), between.end(),
                  [](HWND a, HWND b) { return screenRect(a).top < screenRect(b).top; });
        if (between.size() != 2) {
            check("library material copied to the scene list", false,
                  std::to_string(between.size()) + " buttons between the lists");
            return Next::Abandon;
        }
        PostMessageW(between[1], BM_CLICK, 0, 0);
        return Next::Step;
    });
    // Chosen there for assignment with "Zuweisen", the third of the bottom row of buttons
    // (new, delete, assign, file, close).
    add(stage, "library material copied to the scene list", 10000, [this, &s] {
        const std::vector<HWND> lists = sortedByLeft(visibleOfClass(s.library, WC_LISTVIEWW));
        const int found = lists.empty() ? -1 : findItem(lists.front(), kLibraryMaterialW);
        if (found < 0) return Next::Again;
        check("library material copied to the scene list", true);
        selectItem(lists.front(), found);
        std::vector<HWND> row;
        LONG bottom = LONG_MIN;
        for (HWND button : pushButtons(s.library)) {
            const LONG top = screenRect(button).top;
            if (top > bottom) row.clear(), bottom = top;
            if (top == bottom) row.push_back(button);
        }
        if (row.size() < 3) {
            check("library material assigned to Block", false, "no row of buttons");
            return Next::Abandon;
        }
        PostMessageW(sortedByLeft(row)[2], BM_CLICK, 0, 0);
        return Next::Step;
    });
    add(stage, "library material assigned to Block", 10000, [this, &s] {
        Mat* mat = host_.currentDocument().bodies()[size_t(s.block)].material;
        if (mat == s.materialBefore) return Next::Again;
        const std::vector<uint8_t> block = matBlock(mat);
        const auto differs =
            std::mismatch(block.begin(), block.end(), s.libraryBlock.begin(), s.libraryBlock.end());
        check("library material assigned to Block",
              differs.first == block.end() && differs.second == s.libraryBlock.end(),
              "its block of " + std::to_string(block.size()) + " bytes differs from the file's (" +
                  std::to_string(s.libraryBlock.size()) + ") at byte " +
                  std::to_string(differs.first - block.begin()));
        PostMessageW(s.library, WM_CLOSE, 0, 0);
        return Next::Step;
    });
    add(stage, "material library closes", 10000, [this, &s] {
        if (IsWindow(s.library)) return Next::Again;
        s.library = nullptr;
        restoreLibraryChoice(s.libraryChoice);
        check("material library closes", true);
        return Next::Step;
    });
}

// ---- Animation: the studio's own path, against the mechanism's printout -------------------------

void ScriptSession::addAnimationSteps() {
    State& s = *state_;
    const char* stage = "animation";
    const char* name = "animation matches the mechanism";
    add(stage, name, 20000, [this, &s, name] {
        if (mechanismFile_.empty()) {
            check(name, false, "no --mechanism printout given");
            return Next::Abandon;
        }
        if (s.frame == 0) s.printout = readPrintout(mechanismFile_);
        if (s.printout.size() != 25) {
            check(name, false,
                  "the printout has " + std::to_string(s.printout.size()) + " steps, not 25");
            return Next::Abandon;
        }
        // One step a tick, so that the viewport shows the turn.
        const int k = s.frame++;
        const double time = k / 24.0;
        host_.animateTo(time);
        const Document& document = host_.currentDocument();
        const PrintedStep& printed = s.printout[size_t(k)];
        const auto mismatch = [&s](const std::string& what) {
            if (s.mismatches++ == 0) s.firstMismatch = what;
        };
        if (std::fabs(printed.time - time) > 1e-6)
            mismatch("line " + std::to_string(k + 1) + " is for t = " + number(printed.time));
        for (const Mark& mark : kMarks) {
            const int body = bodyIndex(document, mark.studioName);
            const auto line =
                std::find_if(printed.points.begin(), printed.points.end(),
                             [&](const auto& point) { return point.first == mark.printedName; });
            if (body < 0 || line == printed.points.end()) {
                mismatch(std::string("no ") + mark.studioName + " or no " + mark.printedName);
                continue;
            }
            const Vec3 p = document.bodies()[size_t(body)].motion.point(mark.point);
            if (std::max(std::fabs(p.x - line->second.x), std::fabs(p.y - line->second.y)) > 1e-6)
                mismatch(std::string(mark.studioName) + " at t = " + number(time) + " stands at " +
                         number(p.x) + " " + number(p.y) + ", printed " + number(line->second.x) +
                         " " + number(line->second.y));
        }
        if (s.frame <= 24) return Next::Again;
        check(name, s.mismatches == 0,
              std::to_string(s.mismatches) + " differences; the first: " + s.firstMismatch);
        return Next::Step;
    });
}

// ---- The link tool on the crank, paused: its angle slider turns the crank -----------------------

void ScriptSession::addLinkToolSteps() {
    State& s = *state_;
    const char* stage = "link tool";
    add(stage, "link tool opens on Crankshaft", 1000, [this, &s] {
        Document& document = host_.currentDocument();
        s.crankshaft = linkNamed(document, "Crankshaft");
        s.crank = bodyIndex(document, "Crank");
        s.knownSheets = ownedWindows(s.main, L"#32770");
        if (!s.crankshaft || s.crank < 0 || !selectInTree(s.tree, L"Crankshaft") ||
            !menu(L"Links...")) {
            check("link tool opens on Crankshaft", false, "no crank, link, tree item or command");
            return Next::Abandon;
        }
        s.crankBefore = document.bodies()[size_t(s.crank)].motion;
        s.angleBefore = s.crankshaft->rotCur;
        return Next::Step;
    });
    add(stage, "link tool opens on Crankshaft", 20000, [this, &s] {
        s.sheet = newSheet(s.main, s.knownSheets);
        if (!s.sheet || !s.crankshaft->tool || !currentPage(s.sheet)) return Next::Again;
        check("link tool opens on Crankshaft", true);
        return Next::Step;
    });
    add(stage, "angle slider turns the crank", 5000, [this, &s] {
        // Each axis has a slider over its range in its steps; the angle's spans 360 degrees.
        const Lnk& link = *s.crankshaft;
        const int span = int(std::lround((link.rotMax - link.rotMin) / link.rotStep));
        for (HWND slider : visibleOfClass(currentPage(s.sheet), TRACKBAR_CLASSW)) {
            const int low = int(ask(slider, TBM_GETRANGEMIN));
            const int high = int(ask(slider, TBM_GETRANGEMAX));
            if (high - low != span) continue;
            const int quarter = int(std::lround(90 / link.rotStep));
            const int now = int(ask(slider, TBM_GETPOS));
            dragSlider(slider, now + quarter <= high ? now + quarter : now - quarter);
            return Next::Step;
        }
        check("angle slider turns the crank", false,
              "no slider spans " + std::to_string(span) + " steps");
        return Next::Abandon;
    });
    add(stage, "angle slider turns the crank", 10000, [this, &s] {
        const Matrix& now = host_.currentDocument().bodies()[size_t(s.crank)].motion;
        if (std::memcmp(now.m, s.crankBefore.m, sizeof now.m) == 0) return Next::Again;
        const double turned = std::fabs(s.crankshaft->rotCur - s.angleBefore);
        check("angle slider turns the crank", std::fabs(turned - 90) < 1e-9,
              "the angle changed by " + number(turned) + " degrees");
        PostMessageW(s.sheet, PSM_PRESSBUTTON, PSBTN_OK, 0);
        return Next::Step;
    });
    add(stage, "OK closes the link tool", 10000, [this, &s] {
        if (s.crankshaft->tool || IsWindow(s.sheet)) return Next::Again;
        s.sheet = nullptr;
        check("OK closes the link tool", true);
        return Next::Step;
    });
}

// ---- Raytracing the view: once to the end, once cancelled midway --------------------------------

void ScriptSession::addRaytraceSteps() {
    State& s = *state_;
    const char* stage = "raytrace";
    const auto start = [this, &s] {
        RECT client;
        GetClientRect(s.view, &client);
        return s.raytrace->start(host_.currentDocument(), host_.currentViewport().camera(),
                                 client.right, client.bottom);
    };
    add(stage, "raytrace finishes", 5000, [this, &s, start] {
        s.raytrace = std::make_unique<RaytraceJob>();
        if (start()) return Next::Step;
        check("raytrace finishes", false, "the render did not start");
        return Next::Abandon;
    });
    add(stage, "raytrace finishes", 240000, [this, &s] {
        if (!s.raytrace->finished()) return Next::Again;
        const int done = s.raytrace->progressPercent();
        check("raytrace finishes", !s.raytrace->cancelled() && done == 100,
              std::to_string(done) + "% done" + (s.raytrace->cancelled() ? ", cancelled" : ""));
        check("studio-raytrace.png", s.raytrace->savePng(folder_ + L"\\studio-raytrace.png"),
              "cannot write it");
        return Next::Step;
    });
    add(stage, "raytrace cancelled midway", 5000, [this, start] {
        if (start()) return Next::Step;
        check("raytrace cancelled midway", false, "the second render did not start");
        return Next::Abandon;
    });
    add(stage, "raytrace cancelled midway", 240000, [this, &s] {
        // Cancelled once the first rows are in, so that even a fast machine is still midway.
        if (s.raytrace->progressPercent() == 0 && !s.raytrace->finished()) return Next::Again;
        s.raytrace->cancel();
        const int done = s.raytrace->progressPercent();
        check("raytrace cancelled midway",
              s.raytrace->finished() && s.raytrace->cancelled() && done < 100,
              std::to_string(done) + "% done" + (s.raytrace->cancelled() ? "" : ", not cancelled"));
        s.raytrace.reset();
        return Next::Step;
    });
}

// ---- Documents: saved, opened anew, the same records and the same picture -----------------------

void ScriptSession::addDocumentSteps() {
    State& s = *state_;
    const char* stage = "documents";
    add(stage, "document saved", 1000, [this, &s] {
        TreeView_SelectItem(s.tree, nullptr);  // no selection box in either picture
        host_.animateTo(0);                    // where an opened document starts
        return Next::Step;
    });
    add(stage, "document saved", 10000, [this, &s] {
        s.pictureBefore = host_.currentViewport().readPixels(s.pictureWidth, s.pictureHeight);
        const std::wstring path = folder_ + L"\\scene.ovs";
        std::string error;
        const bool saved = saveDocument(host_.currentDocument(), path, error);
        check("document saved", saved, error);
        if (!saved) return Next::Abandon;
        std::unique_ptr<Document> opened = openDocument(path, error);
        check("document opens", opened != nullptr, error);
        if (!opened) return Next::Abandon;
        const auto before = recordsOf(host_.currentDocument()), after = recordsOf(*opened);
        std::string difference;
        if (before.size() != after.size())
            difference = std::to_string(before.size()) + " records saved, " +
                         std::to_string(after.size()) + " opened";
        for (size_t i = 0; i < before.size() && difference.empty(); ++i) {
            if (before[i].first != after[i].first || before[i].second != after[i].second)
                difference = before[i].first + " opened as " + after[i].first +
                             (before[i].second != after[i].second ? " with another block" : "");
        }
        check(
            "every record's block opens unchanged (" + std::to_string(before.size()) + " records)",
            difference.empty(), difference);
        host_.showDocument(std::move(opened), path);
        return Next::Step;
    });
    add(stage, "opened document shows the same pixels", 5000, [this, &s] {
        int width = 0, height = 0;
        const std::vector<uint8_t> after = host_.currentViewport().readPixels(width, height);
        size_t differing = 0;
        if (after.size() == s.pictureBefore.size()) {
            for (size_t i = 0; i + 2 < after.size(); i += 3)
                differing += std::memcmp(&after[i], &s.pictureBefore[i], 3) != 0;
        }
        check("opened document shows the same pixels",
              !after.empty() && after.size() == s.pictureBefore.size() && differing == 0,
              std::to_string(differing) + " of " + std::to_string(after.size() / 3) +
                  " pixels differ");
        return Next::Step;
    });
    wait(stage, 300);  // the opened document shown a moment before the window closes
}
