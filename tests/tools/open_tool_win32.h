// What the tests of the record tools share: a record with its tool open over a host window,
// the sheet's caption, and a table of slider moves with the values and displays they give.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>
#include <prsht.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "tools/editor_harness_win32.h"

inline bool german() {
    return shownLanguage() == "de";
}

// One record with its tool open over a host window; the tool is cancelled and waited for at
// the end unless a test closed it.
template <typename Record>
struct OpenTool {
    EditorHost host;
    Record* record;
    SheetDriver sheet{nullptr};
    std::function<int32_t(Record*)> wait;
    std::function<void(Record*)> dispose;

    ~OpenTool() {
        if (record->tool) sheet.press(PSBTN_CANCEL);
        host.waitUntil([this] { return !record->tool; });
        wait(record);
        dispose(record);
    }
    bool closed() {
        return host.waitUntil([this] { return !record->tool; }) && wait(record) == 1;
    }
    int reasons(int32_t reason) const {
        int n = 0;
        for (const ApplyCall& c : host.calls()) n += c.reason == reason && c.record == record;
        return n;
    }
};

inline std::string caption(HWND window) {
    char text[256] = "";
    GetWindowTextA(window, text, sizeof text);
    return text;
}

// A slider case's value left unchecked.
constexpr double kUnchecked = std::numeric_limits<double>::quiet_NaN();

struct SliderCase {
    int page, slider, position;
    double expected;    // or kUnchecked
    const char* shown;  // the display's text, or null
    int display;
};

template <typename Tool, typename Record>
inline void slideAll(Tool& tool, const std::vector<SliderCase>& cases,
                     const std::function<double(const Record&, const SliderCase&)>& value) {
    for (const SliderCase& c : cases) {
        SCOPED_TRACE(testing::Message() << "slider " << c.slider << " at " << c.position);
        tool.sheet.selectPage(c.page);
        tool.sheet.slide(c.slider, c.position);
        if (!std::isnan(c.expected)) {
            EXPECT_NEAR(value(*tool.record, c), c.expected, 1e-12);
        }
        if (c.shown) {
            EXPECT_EQ(tool.sheet.text(c.display), c.shown);
        }
    }
}
