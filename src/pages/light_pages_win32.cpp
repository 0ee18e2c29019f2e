// The light tool: "Typ" (dialog 108: type, gloss, shadow), "Spot" (183: distance, cone angle,
// sharpness, falloff) and "Farbe" (182: the colour page). Every page writes the live light and
// shows it in its preview, from +z at its own distance with "lok. Licht".
#include <cstddef>
#include <iterator>

#include "colour_page_ids.h"
#include "core/records.h"
#include "light_page_ids.h"
#include "pages/colour_page.h"
#include "pages/pages.h"
#include "tools/dialog_controls_win32.h"
#include "tools/record_snapshot.h"

namespace orv {

namespace {

Lgt& light(void* record) {
    return *static_cast<Lgt*>(record);
}
const Lgt& light(const void* record) {
    return *static_cast<const Lgt*>(record);
}

constexpr SliderField kTypeSliders[] = {
    {IDC_LIGHT_GLOSS, 0, kPercentSlider, 10, NumberFormat::percent, 1,
     [](const void* r) { return light(r).gloss; }, [](void* r, double v) { light(r).gloss = v; },
     nullptr},
};

class LightTypePage final : public PreviewPage {
public:
    explicit LightTypePage(ToolBlock& tool)
        : PreviewPage(tool, Edited::light, kTypeSliders, std::size(kTypeSliders)) {}

private:
    static constexpr int kTypeButtons[] = {IDC_LIGHT_PARALLEL, IDC_LIGHT_SPOT, IDC_LIGHT_POINT};

    void fillControls(void* record) override {
        for (int type = 0; type < 3; ++type)
            setCheck(window(), kTypeButtons[type], light(record).type == type);
        setCheck(window(), IDC_LIGHT_SHADOW, int32_t(light(record).shadow));
    }

    void controlClicked(void* record, int id) override {
        if (!record) return;
        if (id == IDC_LIGHT_SHADOW) {
            light(record).shadow = uint32_t(readCheck(window(), id));
        } else {
            int type = 0;
            while (type < 3 && kTypeButtons[type] != id) ++type;
            if (type == 3) return;
            light(record).type = type;
        }
        stopPreviewRaytrace(window());
        changed(false);
    }
};

constexpr SliderField kSpotSliders[] = {
    {IDC_SPOT_DISTANCE, IDC_SPOT_DISTANCE_SHOWN, kDistanceSlider, 10, NumberFormat::oneDecimal, 1,
     [](const void* r) { return length(light(r).position - light(r).target); },
     [](void* r, double d) { setLightDistance(light(r).position, light(r).target, d); }, nullptr},
    {IDC_SPOT_ANGLE, IDC_SPOT_ANGLE_SHOWN, kAngleSlider, 15, NumberFormat::whole, 1,
     [](const void* r) { return light(r).angle; }, [](void* r, double v) { light(r).angle = v; },
     nullptr},
    {IDC_SPOT_SHARPNESS, IDC_SPOT_SHARPNESS_SHOWN, kSharpnessSlider, 16, NumberFormat::percent,
     0.0078125, [](const void* r) { return light(r).sharpness; },
     [](void* r, double v) { light(r).sharpness = v; }, nullptr},
    {IDC_SPOT_FALLOFF, IDC_SPOT_FALLOFF_SHOWN, kPercentSlider, 10, NumberFormat::percent, 1,
     [](const void* r) { return light(r).falloff; },
     [](void* r, double v) { light(r).falloff = v; }, nullptr},
};

constexpr ColourDesign kLightColour{offsetof(Lgt, color), Edited::light, -1, false};

constexpr PageDesign kLightPages[] = {
    {IDD_LIGHT_TYPE, 74,  // "Typ"
     [](ToolBlock& tool, const PageDesign&) -> ToolPage* { return new LightTypePage(tool); }},
    {IDD_LIGHT_SPOT, 73,  // "Spot"
     [](ToolBlock& tool, const PageDesign&) -> ToolPage* {
         return new PreviewPage(tool, Edited::light, kSpotSliders, std::size(kSpotSliders));
     }},
    {IDD_COLOUR_LIGHT, 72,  // "Farbe"
     [](ToolBlock& tool, const PageDesign&) { return makeColourPage(tool, kLightColour); }},
};

// What Cancel restores: everything from the colour to the shadow switch.
constexpr size_t kSnapshotFrom = offsetof(Lgt, color), kSnapshotTo = offsetof(Lgt, tool);

}  // namespace

extern const ToolFamily kLightTool = {
    84,   // "Lichtquellenwerkzeug"
    238,  // the sheet's icon
    false,
    true,
    false,  // one record
    [](const ToolBlock&, const PageDesign** out) {
        *out = kLightPages;
        return size_t(std::size(kLightPages));
    },
    [](void* record) { return &static_cast<Lgt*>(record)->tool; },
    RecordBytes<kSnapshotFrom, kSnapshotTo>::take,
    RecordBytes<kSnapshotFrom, kSnapshotTo>::restore,
    freeRecordBytes,
};

}  // namespace orv
