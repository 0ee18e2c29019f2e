#include "pages/preview_page_win32.h"

#include <commctrl.h>

#include "core/record_lifecycle.h"
#include "tools/dialog_controls_win32.h"

namespace orv {

PreviewPage::PreviewPage(ToolBlock& tool, Edited edited, const SliderField* sliders, size_t count)
    : ToolPage(tool), edited_(edited), sliders_(sliders), count_(count) {
    // Lights and environments have no material of their own: they light a default one.
    if (edited != Edited::material) standIn_ = createMat(nullptr);
}

PreviewPage::~PreviewPage() {
    if (standIn_) disposeMat(standIn_);
}

void PreviewPage::created() {
    createPreview(window());
    for (const SliderField* f = sliders_; f != sliders_ + count_; ++f)
        setupSlider(window(), f->slider, f->ticStep, f->scale.low, f->scale.high);
}

void PreviewPage::showSlider(const SliderField& field, const void* record) {
    setSliderPosition(window(), field.slider, field.scale.position(field.read(record)));
    showValue(field, record);
}

void PreviewPage::showValue(const SliderField& field, const void* record) {
    if (!field.display) return;
    const double value = field.shown ? field.shown(record) : field.read(record);
    showNumber(field.display, value * field.shownFactor, field.format);
}

void PreviewPage::fill() {
    void* r = record();
    for (const SliderField* f = sliders_; f != sliders_ + count_; ++f) showSlider(*f, r);
    fillControls(r);
    setPreviewButtons(window(), settings_);
    refreshPreview();
}

void PreviewPage::clicked(int id) {
    if (previewButtonClicked(window(), settings_, id)) {
        refreshPreview();
        return;
    }
    controlClicked(record(), id);
}

void PreviewPage::scrolled(int id, int code) {
    if (code != TB_THUMBTRACK && code != TB_THUMBPOSITION && code != TB_ENDTRACK) return;
    void* r = record();
    if (!r) return;
    stopPreviewRaytrace(window());
    sliderMoved(r, id, code == TB_THUMBTRACK);
}

void PreviewPage::sliderMoved(void* record, int id, bool dragging) {
    for (const SliderField* f = sliders_; f != sliders_ + count_; ++f) {
        if (f->slider != id) continue;
        f->write(record, f->scale.value(sliderPosition(window(), id)));
        showValue(*f, record);
        changed(dragging);
    }
}

void PreviewPage::deactivated() { stopPreviewRaytrace(window()); }

void PreviewPage::changed(bool dragging) {
    if (!dragging || settings_.showActive) notifyHost(1);
    refreshPreview();
}

Vec3 PreviewPage::shownColour(const void* record) const {
    switch (edited_) {
    case Edited::light: return static_cast<const Lgt*>(record)->color;
    case Edited::environment: return static_cast<const Env*>(record)->ambient;
    default: return static_cast<const Mat*>(record)->diffuse;
    }
}

void PreviewPage::refreshPreview() {
    const void* r = record();
    if (!r) return;
    PreviewSubject subject;
    subject.colour = shownColour(r);
    switch (edited_) {
    case Edited::light:
        lights_[0] = static_cast<Lgt*>(const_cast<void*>(r));
        subject.lights = lights_;
        subject.material = standIn_;
        subject.localLightSource = lights_[0];
        break;
    case Edited::environment:
        subject.env = static_cast<const Env*>(r);
        subject.material = standIn_;
        subject.localEnvSource = subject.env;
        break;
    case Edited::material:
        subject.material = previewMaterial(r);
        subject.textureSlot = previewSlot();
        break;
    }
    updatePreview(window(), subject, settings_);
}

}  // namespace orv
