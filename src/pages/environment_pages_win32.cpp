// The environment tool: "Lichtquellen" (dialog 249: the standard lights and the brightness)
// and "Ambient" (214: the colour page); the full sheet adds "Hintergrund" (the background
// colour), "Nebel 1" (192: the fog) and "Nebel 2" (the fog colour).
#include <windows.h>

#include <cstddef>
#include <initializer_list>
#include <iterator>

#include "colour_page_ids.h"
#include "core/records.h"
#include "environment_page_ids.h"
#include "pages/colour_page.h"
#include "pages/pages.h"
#include "tools/dialog_controls_win32.h"
#include "tools/record_snapshot.h"
#include "tools/tool_block.h"

namespace orv {

namespace {

Env& environment(void* record) { return *static_cast<Env*>(record); }
const Env& environment(const void* record) { return *static_cast<const Env*>(record); }

// ---- "Lichtquellen" ------------------------------------------------------------------------

constexpr SliderField kLightsSliders[] = {
    {IDC_ENV_BRIGHTNESS, IDC_ENV_BRIGHTNESS_SHOWN, kBrightnessSlider, 10, NumberFormat::percent,
     1, [](const void* r) { return environment(r).brightness; },
     [](void* r, double v) { environment(r).brightness = v; }, nullptr},
};

// The check box of each bit of standardLights, bit 0 first.
constexpr int kLightBoxes[kStandardLightBits] = {IDC_ENV_STANDARD, IDC_ENV_FRONT, IDC_ENV_BACK,
                                                 IDC_ENV_LEFT,     IDC_ENV_RIGHT, IDC_ENV_TOP,
                                                 IDC_ENV_BOTTOM,   IDC_ENV_CAMERA};

class LightsPage final : public PreviewPage {
public:
    explicit LightsPage(ToolBlock& tool)
        : PreviewPage(tool, Edited::environment, kLightsSliders, std::size(kLightsSliders)) {}

private:
    // The boxes of the seven lights (and their group) are usable only with the standard lights
    // on; switched off they keep their bits.
    void fillControls(void* record) override {
        const uint32_t bits = environment(record).standardLights;
        for (int bit = 0; bit < kStandardLightBits; ++bit)
            setCheck(window(), kLightBoxes[bit], (bits >> bit) & 1);
        const bool on = bits & 1;
        for (int bit = 1; bit < kStandardLightBits; ++bit)
            EnableWindow(GetDlgItem(window(), kLightBoxes[bit]), on);
        EnableWindow(GetDlgItem(window(), IDC_ENV_LIGHTS_GROUP), on);
    }

    void controlClicked(void* record, int id) override {
        bool ours = false;
        for (int box : kLightBoxes) ours = ours || box == id;
        if (!ours || !record) return;
        uint32_t bits = 0;
        for (int bit = 0; bit < kStandardLightBits; ++bit)
            bits |= uint32_t(readCheck(window(), kLightBoxes[bit])) << bit;
        environment(record).standardLights = bits;
        fillControls(record);
        stopPreviewRaytrace(window());
        changed(false);
    }
};

// ---- "Nebel 1": the fog --------------------------------------------------------------------

constexpr SliderField kFogSliders[] = {
    {IDC_FOG_DENSITY, IDC_FOG_DENSITY_SHOWN, kPercentSlider, 10, NumberFormat::percent, 1,
     [](const void* r) { return environment(r).fogDensity; },
     [](void* r, double v) { environment(r).fogDensity = v; }, nullptr},
};

// "Nah" and "Fern": a slider for the fraction of the distance and buttons for its whole part,
// which the page keeps, so that the slider's top (a fraction of 1) gives the same distance
// however often the slider reports it.
struct FogDistance {
    int slider, display, less, more;
    double Env::*field;
};
constexpr FogDistance kFogDistances[] = {
    {IDC_FOG_NEAR, IDC_FOG_NEAR_SHOWN, IDC_FOG_NEAR_LESS, IDC_FOG_NEAR_MORE, &Env::fogNear},
    {IDC_FOG_FAR, IDC_FOG_FAR_SHOWN, IDC_FOG_FAR_LESS, IDC_FOG_FAR_MORE, &Env::fogFar},
};

class FogPage final : public PreviewPage {
public:
    explicit FogPage(ToolBlock& tool)
        : PreviewPage(tool, Edited::environment, kFogSliders, std::size(kFogSliders)) {}

private:
    static constexpr int kTypeButtons[] = {IDC_FOG_LINEAR, IDC_FOG_EXP, IDC_FOG_EXP2};

    Vec3 shownColour(const void* record) const override { return environment(record).fogColor; }

    void created() override {
        PreviewPage::created();
        for (const FogDistance& d : kFogDistances)
            setupSlider(window(), d.slider, 10, kPercentSlider.low, kPercentSlider.high);
    }

    void fillControls(void* record) override {
        const Env& env = environment(record);
        for (size_t i = 0; i < std::size(kFogDistances); ++i) {
            const FogDistance& d = kFogDistances[i];
            whole_[i] = wholePart(env.*d.field);
            setSliderPosition(window(), d.slider, kPercentSlider.position(env.*d.field - whole_[i]));
            showDistance(d, env);
            for (int id : {d.slider, d.display, d.less, d.more})
                EnableWindow(GetDlgItem(window(), id), env.fogType == 0);
        }
        for (int type = 0; type < 3; ++type)
            setCheck(window(), kTypeButtons[type], env.fogType == type);
    }

    void showDistance(const FogDistance& d, const Env& env) {
        showNumber(d.display, env.*d.field, NumberFormat::twoDecimals);
    }

    void sliderMoved(void* r, int id, bool dragging) override {
        PreviewPage::sliderMoved(r, id, dragging);
        for (size_t i = 0; i < std::size(kFogDistances); ++i) {
            const FogDistance& d = kFogDistances[i];
            if (d.slider != id) continue;
            environment(r).*d.field = whole_[i] + kPercentSlider.value(sliderPosition(window(), id));
            showDistance(d, environment(r));
            changed(dragging);
        }
    }

    void controlClicked(void* record, int id) override {
        if (!record) return;
        Env& env = environment(record);
        bool ours = true;
        switch (id) {
        case IDC_FOG_LINEAR: env.fogType = 0; break;
        case IDC_FOG_EXP: env.fogType = 1; break;
        case IDC_FOG_EXP2: env.fogType = 2; break;
        default: ours = false; break;
        }
        for (const FogDistance& d : kFogDistances) {
            if (id == d.less || id == d.more) {
                env.*d.field = wholeStep(env.*d.field, id == d.less ? -1 : +1);
                ours = true;
            }
        }
        if (!ours) return;
        fillControls(record);
        stopPreviewRaytrace(window());
        changed(false);
    }

    double whole_[2] = {};
};

// ---- the sheet -----------------------------------------------------------------------------

constexpr ColourDesign kAmbient{offsetof(Env, ambient), Edited::environment, -1, false};
constexpr ColourDesign kBackground{offsetof(Env, background), Edited::environment, -1, false};
constexpr ColourDesign kFogColour{offsetof(Env, fogColor), Edited::environment, -1, false};

template <const ColourDesign& design>
ToolPage* makeColour(ToolBlock& tool, const PageDesign&) {
    return makeColourPage(tool, design);
}

constexpr PageDesign kEnvironmentPages[] = {
    {IDD_ENV_LIGHTS, 264,  // "Lichtquellen"
     [](ToolBlock& tool, const PageDesign&) -> ToolPage* { return new LightsPage(tool); }},
    {IDD_COLOUR_AMBIENT, 260, makeColour<kAmbient>},     // "Ambient"
    {IDD_COLOUR_AMBIENT, 261, makeColour<kBackground>},  // "Hintergrund"
    {IDD_FOG, 262,                                       // "Nebel 1"
     [](ToolBlock& tool, const PageDesign&) -> ToolPage* { return new FogPage(tool); }},
    {IDD_COLOUR_AMBIENT, 263, makeColour<kFogColour>},   // "Nebel 2"
};

// What Cancel restores: the standard lights, brightness, colours and fog.
constexpr size_t kSnapshotFrom = offsetof(Env, standardLights);
constexpr size_t kSnapshotTo = offsetof(Env, reserved1);

}  // namespace

// OpenEnvTool (flag 1) shows every page, OpenEnvTool1 (flag 0) the first two.
extern const ToolFamily kEnvironmentTool = {
    103,  // "Szenenwerkzeug"
    167,  // the sheet's icon
    true,
    true,
    false,  // one record
    [](const ToolBlock& tool, const PageDesign** out) {
        *out = kEnvironmentPages;
        return tool.flag ? size_t(std::size(kEnvironmentPages)) : size_t(2);
    },
    [](void* record) { return &static_cast<Env*>(record)->tool; },
    RecordBytes<kSnapshotFrom, kSnapshotTo>::take,
    RecordBytes<kSnapshotFrom, kSnapshotTo>::restore,
    freeRecordBytes,
};

}  // namespace orv
