// Viewer definitions.
//
//   material  - colours, blending, surface texture upload (under the process-wide lock)
//   environment - clear colour and fog
//   lights    - light model, scene lights or standard lights, switching off unused lights
#include "appearance/viewer.h"

#include <cstring>

#include "appearance/gl.h"
#include "core/colour.h"
#include "core/process_lock.h"
#include "core/records.h"
#include "math/vec3.h"

namespace orv {

namespace {

// OpenGL takes colours and positions as four floats.
struct Rgba {
    GLfloat v[4];
};

Rgba rgba(const Vec3& c, double a) {
    return {{GLfloat(c.x), GLfloat(c.y), GLfloat(c.z), GLfloat(a)}};
}

Vec3 vec3(const double* p) { return {p[0], p[1], p[2]}; }

void setMaterialColour(GLenum which, const Rgba& colour) {
    glMaterialfv(GL_FRONT_AND_BACK, which, colour.v);
}

// Uploads the surface slot's image when there is one to show; otherwise texturing is off.
// The caller holds the process-wide lock: a tool thread may be replacing the pixels.
void defineSurfaceTexture(const Mat& mat, bool withTexture, Rgba emission) {
    const OrvTextureSlot& slot = mat.slots[0];
    if (!withTexture || slot.source == 0 || slot.pixels == nullptr) {
        glDisable(GL_TEXTURE_2D);
        return;
    }
    const bool cover = slot.mode == 1;
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, cover ? GL_DECAL : GL_MODULATE);
    emission.v[3] = cover ? 0.5f : 1.0f;
    glTexEnvfv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_COLOR, emission.v);

    const GLint filter = slot.filter == 1 ? GL_NEAREST : GL_LINEAR;
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, slot.tileX ? GL_REPEAT : GL_CLAMP);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, slot.tileY ? GL_REPEAT : GL_CLAMP);
    // Uploaded anew on every call, so the viewer always shows the current pixels.
    glTexImage2D(GL_TEXTURE_2D, 0, 4, GLsizei(slot.side), GLsizei(slot.side), 0, GL_RGBA,
                 GL_UNSIGNED_BYTE, slot.pixels);
    glEnable(GL_TEXTURE_2D);
}

// A plain material of the host colour, for bodies without a material record.
void makePlainMaterial(Mat& mat, uint32_t colour) {
    std::memset(&mat, 0, sizeof mat);
    const Vec3 c = colourFromRef(colour);
    mat.ambient = c;
    mat.diffuse = c * 0.8;
    mat.specular = {0.6, 0.6, 0.6};
    mat.emission = {0.0, 0.0, 0.0};
    mat.shininess = 10.0;
}

// The environment to use: the host's, or the built-in one with the host colour as background.
const Env& environmentOrDefault(const Env* env, uint32_t colour, Env& scratch) {
    if (env) return *env;
    setBuiltInDefaults(scratch);
    scratch.background = colourFromRef(colour);
    return scratch;
}

void setLight(GLenum light, GLenum which, const Rgba& value) { glLightfv(light, which, value.v); }

// The next OpenGL light to use and how many are on.
struct LightCursor {
    int32_t used = 0;
    GLenum next() { return GLenum(GL_LIGHT0 + used++); }
};

void defineSceneLight(GLenum light, const Lgt& lgt, double brightness) {
    setLight(light, GL_DIFFUSE, rgba(lgt.color * ((1.0 - lgt.gloss) * brightness), 1.0));
    setLight(light, GL_SPECULAR, rgba(lgt.color * (lgt.gloss * brightness), 1.0));
    setLight(light, GL_AMBIENT, rgba({0, 0, 0}, 0.0));
    switch (lgt.type) {
    case 0: {  // parallel: a direction towards the light
        Vec3 direction = lgt.position - lgt.target;
        normalise(direction);
        setLight(light, GL_POSITION, rgba(direction, 0.0));
        glLightf(light, GL_SPOT_CUTOFF, 180.0f);
        break;
    }
    case 1: {  // spot
        Vec3 direction = lgt.target - lgt.position;
        normalise(direction);
        setLight(light, GL_POSITION, rgba(lgt.position, 1.0));
        const Rgba spot = rgba(direction, 0.0);
        glLightfv(light, GL_SPOT_DIRECTION, spot.v);
        glLightf(light, GL_SPOT_CUTOFF, GLfloat(lgt.angle));
        glLightf(light, GL_SPOT_EXPONENT, GLfloat(lgt.sharpness));
        // Divided by the normalised direction's length: the falloff itself, and a division
        // by zero for a spot aimed at its own position.
        glLightf(light, GL_QUADRATIC_ATTENUATION, GLfloat(lgt.falloff / length(direction)));
        break;
    }
    case 2:  // point
        setLight(light, GL_POSITION, rgba(lgt.position, 1.0));
        glLightf(light, GL_SPOT_CUTOFF, 180.0f);
        break;
    default:  // unknown type: no position
        break;
    }
    glEnable(light);
}

void defineSceneLights(const Env& env, Lgt* const* lights, LightCursor& cursor) {
    const Vec3& a = env.ambient;
    if (a.x != 0.0 || a.y != 0.0 || a.z != 0.0) {
        const GLenum light = cursor.next();
        setLight(light, GL_AMBIENT, rgba(a * env.brightness, 1.0));
        setLight(light, GL_DIFFUSE, rgba({0, 0, 0}, 0.0));
        setLight(light, GL_SPECULAR, rgba({0, 0, 0}, 0.0));
        glEnable(light);
    }
    // The array runs to its null entry: the host passes no more lights than OpenGL has.
    for (Lgt* const* p = lights; p && *p; ++p) defineSceneLight(cursor.next(), **p, env.brightness);
}

// A standard light shining from distance d along direction D towards the origin.
void defineAxisLight(GLenum light, const Vec3& D, double d, double intensity, const Vec3& ambient) {
    const Vec3 i = {intensity, intensity, intensity};
    setLight(light, GL_DIFFUSE, rgba(i, 1.0));
    setLight(light, GL_SPECULAR, rgba(i, 1.0));
    setLight(light, GL_AMBIENT, rgba(ambient * intensity, 1.0));
    setLight(light, GL_POSITION, rgba(D * d, 1.0));
    const Rgba spot = rgba(-D, 0.0);
    glLightfv(light, GL_SPOT_DIRECTION, spot.v);
    glLightf(light, GL_SPOT_CUTOFF, 90.0f);
    glEnable(light);
}

void defineStandardLights(const Env& env, const double* eye, const double* view,
                          LightCursor& cursor) {
    static const Vec3 kAxes[6] = {{0, 0, 1}, {0, 0, -1}, {-1, 0, 0},
                                  {1, 0, 0}, {0, 1, 0},  {0, -1, 0}};
    int bits = 0;
    for (int n = 1; n <= 7; ++n) bits += (env.standardLights >> n) & 1;
    const double divisor = 0.5 * bits < 1.0 ? 1.0 : 0.5 * bits;
    const double intensity = env.brightness / divisor;
    const bool haveCamera = eye && view;
    const double distance = haveCamera ? length(vec3(view) - vec3(eye)) : 1000.0;

    for (int n = 1; n <= 6; ++n) {
        if (env.standardLights & (1u << n))
            defineAxisLight(cursor.next(), kAxes[n - 1], distance, intensity, env.ambient);
    }
    if (!(env.standardLights & 0x80)) return;
    if (!haveCamera) {  // the head light falls back to the front light
        defineAxisLight(cursor.next(), kAxes[0], distance, intensity, env.ambient);
        return;
    }
    // Head light: a direction from above the eye, a quarter of the viewing distance up.
    const Vec3 e = vec3(eye), t = vec3(view), u = vec3(view + 3);
    Vec3 direction = e + u * (length(t - e) / 4.0) - t;
    normalise(direction);
    const GLenum light = cursor.next();
    const Vec3 i = {intensity, intensity, intensity};
    setLight(light, GL_POSITION, rgba(direction, 0.0));
    setLight(light, GL_DIFFUSE, rgba(i, 1.0));
    setLight(light, GL_SPECULAR, rgba(i, 1.0));
    setLight(light, GL_AMBIENT, rgba(env.ambient * intensity, 1.0));
    glLightf(light, GL_SPOT_CUTOFF, 180.0f);
    glEnable(light);
}

}  // namespace

void viewerDefineMat(const Mat* mat, uint32_t colour, double alpha, bool withTexture) {
    Mat plain;
    if (mat == nullptr) {
        makePlainMaterial(plain, colour);
        mat = &plain;
        withTexture = false;
    } else if (alpha >= mat->opacity) {
        alpha = mat->opacity;
    }

    if (alpha >= 1.0)
        glDisable(GL_BLEND);
    else
        glEnable(GL_BLEND);  // the blend function is the host's

    const Rgba emission = rgba(mat->emission, alpha);
    setMaterialColour(GL_AMBIENT, rgba(mat->ambient, alpha));
    setMaterialColour(GL_DIFFUSE, rgba(mat->diffuse, alpha));
    setMaterialColour(GL_SPECULAR, rgba(mat->specular, alpha));
    setMaterialColour(GL_EMISSION, emission);
    glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, GLfloat(mat->shininess));

    ProcessLockScope lock;
    defineSurfaceTexture(*mat, withTexture, emission);
}

void viewerDefineEnv(const Env* env, uint32_t colour, bool setClearColour) {
    Env scratch;
    const Env& e = environmentOrDefault(env, colour, scratch);
    if (setClearColour)
        glClearColor(GLclampf(e.background.x), GLclampf(e.background.y),
                     GLclampf(e.background.z), 1.0f);
    if (!(e.fogDensity > 0.0)) {
        glDisable(GL_FOG);
        return;
    }
    switch (e.fogType) {  // another value leaves the mode as it was
    case 0: glFogi(GL_FOG_MODE, GL_LINEAR); break;
    case 1: glFogi(GL_FOG_MODE, GL_EXP); break;
    case 2: glFogi(GL_FOG_MODE, GL_EXP2); break;
    default: break;
    }
    glFogf(GL_FOG_DENSITY, GLfloat(e.fogDensity));
    glFogf(GL_FOG_START, GLfloat(e.fogNear));
    glFogf(GL_FOG_END, GLfloat(e.fogFar));
    const Rgba fog = rgba(e.fogColor, 1.0);
    glFogfv(GL_FOG_COLOR, fog.v);
    glEnable(GL_FOG);
}

void viewerDefineLgts(const Env* env, uint32_t colour, Lgt* const* lights, int32_t* lightsOn,
                      const double* eye, const double* view) {
    Env scratch;
    const Env& e = environmentOrDefault(env, colour, scratch);
    glPushMatrix();
    glLightModeli(GL_LIGHT_MODEL_LOCAL_VIEWER, 1);
    glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 1);

    LightCursor cursor;
    if (e.standardLights & 1)
        defineStandardLights(e, eye, view, cursor);
    else
        defineSceneLights(e, lights, cursor);

    for (int32_t i = cursor.used; i < *lightsOn; ++i) glDisable(GLenum(GL_LIGHT0 + i));
    *lightsOn = cursor.used;
    glPopMatrix();
}

double matAlpha(const Mat& mat) { return mat.opacity; }

int32_t isMatTexture(const Mat& mat) { return int32_t(mat.slots[0].source); }

}  // namespace orv
