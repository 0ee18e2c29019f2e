// The link tool: one page (dialog 258) per selected link, titled with its name. Each axis has
// its switch, its limits and step, its current value as slider and number, and its drive; the
// page also holds the coupling with its ratio, the follower and collision switches and the
// reset. Every change writes the live link and tells the host with reason 1, so a host that
// animates on it moves the body with the slider.
#include <windows.h>

#include <commctrl.h>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <iterator>

#include "core/checked_alloc.h"
#include "core/message_box.h"
#include "core/process_lock.h"
#include "core/record_lifecycle.h"
#include "core/records.h"
#include "i18n/localise.h"
#include "link_page_ids.h"
#include "pages/drive_dialog_win32.h"
#include "pages/page_values.h"
#include "pages/pages.h"
#include "tools/dialog_controls_win32.h"
#include "tools/tool_family.h"
#include "tools/tool_page_win32.h"

namespace orv {

namespace {

// The fields of one axis in the record (packed: read and written through copies) and the
// controls' ids, the linear ones plus delta for the rotational axis.
struct Axis {
    int delta;
    size_t use, low, high, current, step, drive;
    bool rotational;
    int control(int linearId) const { return linearId + delta; }
};

constexpr Axis kAxes[] = {
    {0, offsetof(Lnk, lin), offsetof(Lnk, linMin), offsetof(Lnk, linMax), offsetof(Lnk, linCur),
     offsetof(Lnk, linStep), offsetof(Lnk, linDrive), false},
    {IDC_LNK_ROT_DELTA, offsetof(Lnk, rot), offsetof(Lnk, rotMin), offsetof(Lnk, rotMax),
     offsetof(Lnk, rotCur), offsetof(Lnk, rotStep), offsetof(Lnk, rotDrive), true},
};

// The controls that an axis's switch enables.
constexpr int kAxisControls[] = {IDC_LNK_LIN_MIN,    IDC_LNK_LIN_MAX, IDC_LNK_LIN_STEP,
                                 IDC_LNK_LIN_SLIDER, IDC_LNK_LIN_CUR, IDC_LNK_LIN_DRIVE};

template <typename T>
T get(const void* record, size_t offset) {
    T value;
    std::memcpy(&value, static_cast<const char*>(record) + offset, sizeof value);
    return value;
}
template <typename T>
void put(void* record, size_t offset, T value) {
    std::memcpy(static_cast<char*>(record) + offset, &value, sizeof value);
}

constexpr int32_t kCaption = 75;  // "Verbindungswerkzeug": the messages' title

class LinkPage final : public ToolPage {
public:
    explicit LinkPage(ToolBlock& tool) : ToolPage(tool) {}

private:
    void fill() override {
        void* link = record();
        for (const Axis& axis : kAxes) {
            setCheck(window(), axis.control(IDC_LNK_LIN), get<int32_t>(link, axis.use));
            showNumber(axis.control(IDC_LNK_LIN_MIN), get<double>(link, axis.low),
                       NumberFormat::general);
            showNumber(axis.control(IDC_LNK_LIN_MAX), get<double>(link, axis.high),
                       NumberFormat::general);
            showNumber(axis.control(IDC_LNK_LIN_STEP), get<double>(link, axis.step),
                       NumberFormat::general);
            showCurrent(link, axis);
            enableAxis(link, axis);
        }
        setCheck(window(), IDC_LNK_COUPLED, get<int32_t>(link, offsetof(Lnk, coupled)));
        showNumber(IDC_LNK_RATIO, get<double>(link, offsetof(Lnk, ratio)), NumberFormat::general);
        setCheck(window(), IDC_LNK_FOLLOW, get<int32_t>(link, offsetof(Lnk, follow)));
        setCheck(window(), IDC_LNK_COLLCHECK, get<int32_t>(link, offsetof(Lnk, collCheck)));
    }

    StepSlider slider(const void* link, const Axis& axis) const {
        return {get<double>(link, axis.low), get<double>(link, axis.high),
                get<double>(link, axis.step)};
    }

    // The slider's range and position and the number, from the record.
    void showCurrent(const void* link, const Axis& axis) {
        const StepSlider s = slider(link, axis);
        const double current = get<double>(link, axis.current);
        HWND bar = GetDlgItem(window(), axis.control(IDC_LNK_LIN_SLIDER));
        const int positions = s.positions();
        SendMessageA(bar, TBM_SETRANGEMIN, FALSE, 0);
        SendMessageA(bar, TBM_SETRANGEMAX, FALSE, positions);
        SendMessageA(bar, TBM_SETPAGESIZE, 0, positions >= 10 ? positions / 10 : 1);
        SendMessageA(bar, TBM_SETTICFREQ, positions >= 20 ? positions / 10 : 1, 0);
        SendMessageA(bar, TBM_SETPOS, TRUE, s.position(current));
        showNumber(axis.control(IDC_LNK_LIN_CUR), current, NumberFormat::general);
    }

    void enableAxis(const void* link, const Axis& axis) {
        const bool on = get<int32_t>(link, axis.use) != 0;
        for (int id : kAxisControls) EnableWindow(GetDlgItem(window(), axis.control(id)), on);
    }

    void changed() { notifyHost(1); }

    void refuse(int32_t messageId, int id, double shown) {
        showLocalisedMessage(GetParent(window()), messageId, kCaption, 0,
                             kMbOk | kMbIconExclamation);
        showNumber(id, shown, NumberFormat::general);
    }

    void numberEntered(int id) override {
        void* link = record();
        if (id == IDC_LNK_RATIO) {
            put(link, offsetof(Lnk, ratio), readEditNumber(window(), id));
            showNumber(id, get<double>(link, offsetof(Lnk, ratio)), NumberFormat::general);
            changed();
            return;
        }
        for (const Axis& axis : kAxes) {
            const int field = id - axis.delta;
            if (field < IDC_LNK_LIN_MIN || field > IDC_LNK_LIN_CUR || field == IDC_LNK_LIN_SLIDER)
                continue;
            const double typed = readEditNumber(window(), id);
            double low = get<double>(link, axis.low), high = get<double>(link, axis.high);
            switch (field) {
                case IDC_LNK_LIN_MIN:
                case IDC_LNK_LIN_MAX: {
                    (field == IDC_LNK_LIN_MIN ? low : high) = typed;
                    if (!std::isfinite(typed) || low > high) {
                        refuse(270, id,
                               get<double>(link, field == IDC_LNK_LIN_MIN ? axis.low : axis.high));
                        return;
                    }
                    put(link, axis.low, low);
                    put(link, axis.high, high);
                    showNumber(id, typed, NumberFormat::general);
                    break;
                }
                case IDC_LNK_LIN_STEP:
                    if (!(typed > 0) || !std::isfinite(typed)) {
                        refuse(271, id, get<double>(link, axis.step));
                        return;
                    }
                    put(link, axis.step, typed);
                    showNumber(id, typed, NumberFormat::general);
                    break;
                case IDC_LNK_LIN_CUR: put(link, axis.current, typed); break;
            }
            // Limits narrowed past the value, or a value typed beyond them, come back inside.
            put(link, axis.current, clampToLimits(get<double>(link, axis.current), low, high));
            showCurrent(link, axis);
            changed();
            return;
        }
    }

    void scrolled(int id, int code) override {
        if (code == TB_ENDTRACK) return;
        void* link = record();
        for (const Axis& axis : kAxes) {
            if (id != axis.control(IDC_LNK_LIN_SLIDER)) continue;
            const int position = int(SendMessageA(GetDlgItem(window(), id), TBM_GETPOS, 0, 0));
            const double value = slider(link, axis).value(position);
            if (value == get<double>(link, axis.current)) return;
            put(link, axis.current, value);
            showNumber(axis.control(IDC_LNK_LIN_CUR), value, NumberFormat::general);
            changed();
        }
    }

    void clicked(int id) override {
        void* link = record();
        constexpr struct {
            int id;
            size_t offset;
        } kSwitches[] = {
            {IDC_LNK_LIN, offsetof(Lnk, lin)},
            {IDC_LNK_ROT, offsetof(Lnk, rot)},
            {IDC_LNK_COUPLED, offsetof(Lnk, coupled)},
            {IDC_LNK_FOLLOW, offsetof(Lnk, follow)},
            {IDC_LNK_COLLCHECK, offsetof(Lnk, collCheck)},
        };
        for (const auto& s : kSwitches) {
            if (s.id != id) continue;
            put(link, s.offset, readCheck(window(), id));
            for (const Axis& axis : kAxes) enableAxis(link, axis);
            changed();
            return;
        }
        if (id == IDC_LNK_RESET) {
            resetLnk(*static_cast<Lnk*>(link));
            for (const Axis& axis : kAxes) showCurrent(link, axis);
            changed();
            return;
        }
        for (const Axis& axis : kAxes) {
            if (id == axis.control(IDC_LNK_LIN_DRIVE)) editDrive(axis);
        }
    }

    // The drive dialog works on a copy; OK writes it under the library's lock, since the
    // host may be evaluating the drive on its own thread.
    void editDrive(const Axis& axis) {
        OrvDrive drive;
        std::memcpy(&drive, static_cast<char*>(record()) + axis.drive, sizeof drive);
        char name[65] = {};
        std::memcpy(name, record(), 64);
        if (!drives_.run(GetParent(window()), drive, name, axis.rotational) || !storing()) return;
        {
            ProcessLockScope lock;
            std::memcpy(static_cast<char*>(record()) + axis.drive, &drive, sizeof drive);
        }
        changed();
    }

    void deactivated() override { drives_.cancel(); }

    DriveDialog drives_;
};

// What Cancel restores: the page's fields, but not the drive offsets, which the animation
// owns.
constexpr struct {
    size_t from, to;
} kRestored[] = {
    {offsetof(Lnk, lin), offsetof(Lnk, linOffset)},
    {offsetof(Lnk, rotMin), offsetof(Lnk, rotOffset)},
    {offsetof(Lnk, ratio), offsetof(Lnk, pathCount)},
    {offsetof(Lnk, linDrive), offsetof(Lnk, sourceBody)},
};

void* takeLinkSnapshot(const void* record) {
    void* copy = checkedAlloc(sizeof(Lnk));
    std::memcpy(copy, record, sizeof(Lnk));
    return copy;
}

void restoreLinkSnapshot(void* record, const void* snapshot) {
    ProcessLockScope lock;
    for (const auto& range : kRestored) {
        std::memcpy(static_cast<char*>(record) + range.from,
                    static_cast<const char*>(snapshot) + range.from, range.to - range.from);
    }
}

void freeLinkSnapshot(void* snapshot) {
    checkedFree(snapshot);
}

constexpr PageDesign kLinkPage[] = {
    {IDD_LINK_PAGE, 0,
     [](ToolBlock& tool, const PageDesign&) -> ToolPage* { return new LinkPage(tool); }}};

}  // namespace

extern const ToolFamily kLinkTool = {
    75,   // "Verbindungswerkzeug"
    166,  // the sheet's icon
    false,
    true,  // the restored values reach the host's animation
    true,  // a page per selected link
    [](const ToolBlock&, const PageDesign** out) {
        *out = kLinkPage;
        return size_t(1);
    },
    [](void* record) { return &static_cast<Lnk*>(record)->tool; },
    takeLinkSnapshot,
    restoreLinkSnapshot,
    freeLinkSnapshot,
};

}  // namespace orv
