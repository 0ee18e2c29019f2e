// The colour page (dialogs 182, 185 and 214): one colour of the record on six sliders in step,
// red, green and blue beside hue, saturation and value; "Auswahl" opens the system's colour
// dialog, "Kopie Diffus" (material pages after the first) copies the diffuse colour.
#include <windows.h>

#include <commdlg.h>

#include "colour_page_ids.h"
#include "core/colour.h"
#include "pages/colour_page.h"
#include "pages/preview_page_win32.h"
#include "tools/dialog_controls_win32.h"

namespace orv {

namespace {

// The sixteen custom colours of the colour dialog: one set for the light and environment
// pages, another for the material pages, each for the whole process.
COLORREF sceneCustomColours[16];
COLORREF materialCustomColours[16];

struct ColourSlider {
    int slider, display;
    SliderScale scale;
    int ticStep;
    NumberFormat format;
    double shownFactor;
};

enum { kRed, kGreen, kBlue, kHue, kSaturation, kValue };
constexpr ColourSlider kColourSliders[] = {
    {IDC_COLOUR_RED, IDC_COLOUR_RED_SHOWN, kPercentSlider, 10, NumberFormat::percent, 1},
    {IDC_COLOUR_GREEN, IDC_COLOUR_GREEN_SHOWN, kPercentSlider, 10, NumberFormat::percent, 1},
    {IDC_COLOUR_BLUE, IDC_COLOUR_BLUE_SHOWN, kPercentSlider, 10, NumberFormat::percent, 1},
    {IDC_COLOUR_HUE, IDC_COLOUR_HUE_SHOWN, kHueSlider, 15, NumberFormat::whole, 360},
    {IDC_COLOUR_SATURATION, IDC_COLOUR_SATURATION_SHOWN, kPercentSlider, 10,
     NumberFormat::percent, 1},
    {IDC_COLOUR_VALUE, IDC_COLOUR_VALUE_SHOWN, kPercentSlider, 10, NumberFormat::percent, 1},
};

class ColourPage final : public PreviewPage {
public:
    ColourPage(ToolBlock& tool, const ColourDesign& design)
        : PreviewPage(tool, design.edited), design_(design) {}

private:
    Vec3& colour(void* record) const {
        return *reinterpret_cast<Vec3*>(static_cast<char*>(record) + design_.colourOffset);
    }
    COLORREF* customColours() const {
        return design_.edited == Edited::material ? materialCustomColours : sceneCustomColours;
    }

    void created() override {
        PreviewPage::created();
        for (const ColourSlider& s : kColourSliders)
            setupSlider(window(), s.slider, s.ticStep, s.scale.low, s.scale.high);
        ShowWindow(GetDlgItem(window(), IDC_COLOUR_COPY_DIFFUSE),
                   design_.copyDiffuse ? SW_SHOW : SW_HIDE);
        if (design_.materialPage >= 0 && design_.materialPage < 16 && record())
            materialCustomColours[design_.materialPage] = colourToRef(colour(record()));
    }

    void fillControls(void* record) override { show(colour(record)); }

    Vec3 shownColour(const void* record) const override {
        return colour(const_cast<void*>(record));
    }

    // Every slider and display from rgb; hue and saturation from a fresh conversion, so a grey
    // snaps both to 0.
    void show(const Vec3& rgb) {
        const Hsv hsv = rgbToHsv(rgb);
        const double values[] = {rgb.x, rgb.y, rgb.z, hsv.h, hsv.s, hsv.v};
        for (int i = 0; i < 6; ++i) {
            const ColourSlider& s = kColourSliders[i];
            setSliderPosition(window(), s.slider, s.scale.position(values[i]));
            showNumber(s.display, values[i] * s.shownFactor, s.format);
        }
    }

    void store(void* record, const Vec3& rgb, bool dragging) {
        show(rgb);
        colour(record) = rgb;
        changed(dragging);
    }

    void sliderMoved(void* r, int id, bool dragging) override {
        int moved = -1;
        for (int i = 0; i < 6; ++i) moved = kColourSliders[i].slider == id ? i : moved;
        if (moved < 0) return;
        Vec3 rgb = colour(r);
        Hsv hsv = rgbToHsv(rgb);
        const double value = kColourSliders[moved].scale.value(sliderPosition(window(), id));
        switch (moved) {
        case kRed: rgb.x = value; break;
        case kGreen: rgb.y = value; break;
        case kBlue: rgb.z = value; break;
        case kHue: hsv.h = value; break;
        case kSaturation: hsv.s = value; break;
        default: hsv.v = value; break;
        }
        if (moved >= kHue) hsvToRgb(hsv, rgb);
        store(r, rgb, dragging);
    }

    void controlClicked(void* record, int id) override {
        if (!record) return;
        if (id == IDC_COLOUR_COPY_DIFFUSE && design_.edited == Edited::material) {
            stopPreviewRaytrace(window());
            store(record, static_cast<Mat*>(record)->diffuse, false);
        } else if (id == IDC_COLOUR_CHOOSE) {
            choose(record);
        }
    }

    void choose(void* record) {
        CHOOSECOLORA dialog{};
        dialog.lStructSize = sizeof dialog;
        dialog.hwndOwner = window();
        dialog.rgbResult = colourToRef(colour(record));
        dialog.lpCustColors = customColours();
        dialog.Flags = CC_FULLOPEN | CC_RGBINIT;
        if (!ChooseColorA(&dialog) || !storing()) return;
        stopPreviewRaytrace(window());
        const COLORREF c = dialog.rgbResult;
        store(record, Vec3{GetRValue(c) / 255.0, GetGValue(c) / 255.0, GetBValue(c) / 255.0},
              false);
    }

    const ColourDesign& design_;
};

}  // namespace

ToolPage* makeColourPage(ToolBlock& tool, const ColourDesign& design) {
    return new ColourPage(tool, design);
}

}  // namespace orv
