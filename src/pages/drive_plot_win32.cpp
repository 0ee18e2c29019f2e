#include "pages/drive_plot_win32.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "i18n/localise.h"
#include "kinematics/drive_editing.h"

namespace orv {

namespace {

void text(HDC dc, int x, int y, UINT align, const char* s) {
    SetTextAlign(dc, align);
    TextOutA(dc, x, y, s, int(std::strlen(s)));
}

void number(HDC dc, int x, int y, UINT align, double value) {
    char s[32];
    std::snprintf(s, sizeof s, "%.4G", std::fabs(value) < 1e-12 ? 0.0 : value);
    text(dc, x, y, align, s);
}

void line(HDC dc, int x0, int y0, int x1, int y1) {
    MoveToEx(dc, x0, y0, nullptr);
    LineTo(dc, x1, y1);
}

}  // namespace

void drawDrivePlot(const DRAWITEMSTRUCT& item, const OrvDrive& drive, bool rotational) {
    HDC dc = item.hDC;
    const RECT all = item.rcItem;
    FillRect(dc, &all, GetSysColorBrush(COLOR_WINDOW));
    FrameRect(dc, &all, GetSysColorBrush(COLOR_BTNSHADOW));
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, GetSysColor(COLOR_WINDOWTEXT));
    HGDIOBJ oldFont =
        SelectObject(dc, reinterpret_cast<HFONT>(SendMessageA(item.hwndItem, WM_GETFONT, 0, 0)));
    TEXTMETRICA metrics;
    GetTextMetricsA(dc, &metrics);
    const int lineHeight = metrics.tmHeight;

    // The plotting area: room for the numbers at the left and below, the titles above.
    const RECT area = {all.left + 7 * metrics.tmAveCharWidth, all.top + lineHeight + 4,
                       all.right - 2 * metrics.tmAveCharWidth, all.bottom - lineHeight - 4};
    const int width = area.right - area.left, height = area.bottom - area.top;
    if (width < 4 || height < 4) return;

    const double cycle = driveCycle(drive);
    const double until = cycle > 0 ? 2 * cycle : 1;
    std::vector<double> values(size_t(width) + 1);
    sampleDrive(drive, until, int(values.size()), values.data());
    double low = 0, high = 0;
    for (double v : values) low = std::min(low, v), high = std::max(high, v);
    if (high - low < 1e-12) high = low + 1;
    const auto yOf = [&](double v) { return area.bottom - int((v - low) / (high - low) * height); };
    const auto xOf = [&](double t) { return area.left + int(t / until * width); };

    // Axes, the zero line and the end of the first cycle.
    HPEN axisPen = CreatePen(PS_SOLID, 1, GetSysColor(COLOR_BTNSHADOW));
    HPEN dotPen = CreatePen(PS_DOT, 1, GetSysColor(COLOR_BTNSHADOW));
    HGDIOBJ oldPen = SelectObject(dc, axisPen);
    line(dc, area.left, area.top, area.left, area.bottom);
    line(dc, area.left, area.bottom, area.right, area.bottom);
    SelectObject(dc, dotPen);
    line(dc, area.left, yOf(0), area.right, yOf(0));
    if (cycle > 0) line(dc, xOf(cycle), area.top, xOf(cycle), area.bottom);

    // The motion; grey while the drive is switched off.
    const bool on = drive.on != 0;
    HPEN curvePen = CreatePen(PS_SOLID, 2, on ? RGB(0, 64, 192) : GetSysColor(COLOR_GRAYTEXT));
    SelectObject(dc, curvePen);
    for (int x = 0; x <= width; ++x) {
        const int y = yOf(values[size_t(x)]);
        if (x == 0)
            MoveToEx(dc, area.left, y, nullptr);
        else
            LineTo(dc, area.left + x, y);
    }
    SelectObject(dc, oldPen);
    DeleteObject(curvePen);
    DeleteObject(dotPen);
    DeleteObject(axisPen);

    // Numbers on the axes and their titles.
    const int gap = metrics.tmAveCharWidth / 2;
    number(dc, area.left - gap, area.top - lineHeight / 2, TA_RIGHT | TA_TOP, high);
    number(dc, area.left - gap, area.bottom - lineHeight / 2, TA_RIGHT | TA_TOP, low);
    if (low < 0 && high > 0) number(dc, area.left - gap, yOf(0) - lineHeight / 2, TA_RIGHT, 0);
    number(dc, area.left, area.bottom + 2, TA_LEFT | TA_TOP, 0);
    if (cycle > 0) {
        number(dc, xOf(cycle), area.bottom + 2, TA_CENTER | TA_TOP, cycle);
        number(dc, area.right, area.bottom + 2, TA_RIGHT | TA_TOP, until);
    }
    char title[kLocalisedMax];
    loadLocalisedString(rotational ? 285 : 284, title);  // "Winkel (Grad)" or "Weg"
    text(dc, area.left + gap, all.top + 2, TA_LEFT | TA_TOP, title);
    loadLocalisedString(283, title);  // "Zeit", between the numbers below
    text(dc, area.left + width / 4, area.bottom + 2, TA_CENTER | TA_TOP, title);
    SelectObject(dc, oldFont);
}

}  // namespace orv
