// Built-in defaults of every record family: the values a record holds after creation when no
// stored default replaces them. Kept in one place so that creation, the viewer's temporary
// records and the tests agree.
#include <cstring>

#include "core/records.h"

namespace orv {

namespace {
constexpr OrvVec3 grey(double v) { return {v, v, v}; }
}  // namespace

void setBuiltInDefaults(Env& env) {
    std::memset(&env, 0, sizeof env);
    env.reservedA = grey(0.0);
    env.reservedB = grey(1.0);
    env.standardLights = 129;  // use the standard lights: the camera's head light only
    env.brightness = 0.8;
    env.ambient = grey(0.18);
    env.background = grey(1.0);
    env.fogFar = 10.0;
}

void setBuiltInDefaults(Lgt& lgt) {
    std::memset(&lgt, 0, sizeof lgt);
    lgt.color = grey(1.0);
    lgt.position = grey(1.0);  // a new light shines from (1, 1, 1) at the origin
    lgt.type = 0;
    lgt.gloss = 0.5;
    lgt.angle = 30.0;
    lgt.shadow = 1;
}

void setBuiltInDefaults(Mat& mat) {
    std::memset(&mat, 0, sizeof mat);
    for (int k = 0; k < 4; ++k) {
        OrvTextureSlot& slot = mat.slots[k];
        slot.projection = 1;  // box
        slot.textBackground = 0xFFFFFF;
        slot.textSize = 256;
        slot.tileX = 1;
        slot.tileY = 1;
        slot.intensity = 1.0;
        slot.size = 1.0;
        // Reflection, transparency and structure are weights and heights, not colours.
        slot.grey = k == 0 ? 0 : 1;
    }
    mat.ambient = grey(1.0);
    mat.diffuse = grey(0.8);
    mat.specular = grey(0.6);
    mat.emission = grey(0.0);
    mat.shininess = 10.0;
    mat.opacity = 1.0;
    mat.reflection = 0.0;
    mat.refraction = 1.0;
    mat.castShadow = 1;
    mat.receiveShadow = 1;
}

void setBuiltInDefaults(Lnk& lnk) {
    std::memset(&lnk, 0, sizeof lnk);
    lnk.lin = 1;
    lnk.rot = 1;
    lnk.rotMin = -180.0;
    lnk.rotMax = 180.0;
    lnk.linMin = 0.0;
    lnk.linMax = 1.0;
    lnk.linStep = 1.0;
    lnk.rotStep = 1.0;
    lnk.axisA = {0.0, 1.0, 0.0};
    lnk.axisB = {0.0, 0.0, 0.0};
    lnk.linDrive.on = 1;
    lnk.linDrive.cyclic = 1;
    lnk.rotDrive.on = 1;
    lnk.rotDrive.cyclic = 1;
}

void setBuiltInDefaults(Trn& trn) {
    std::memset(&trn, 0, sizeof trn);
    trn.active = 1;
    trn.rotRot = 1.0;
    trn.rotLin = 1.0;
    trn.linLin = 1.0;
    trn.linRot = 1.0;
}

}  // namespace orv
