// The shaded picture: the control's own OpenGL context with the software renderer's pixel
// format, a palette where the format needs one, and two display lists, the scene (state,
// projection, lights and material) and the shape (the cube or the sphere).
#include <windows.h>

#include <initializer_list>

#include <GL/gl.h>
#include <GL/glu.h>

#include <utility>
#include <vector>

#include "appearance/texture_mapping.h"
#include "appearance/viewer.h"
#include "core/process_lock.h"
#include "math/mat4.h"
#include "preview/preview_state_win32.h"

namespace orv {

namespace {

// The first double-buffered RGBA window format of the device's colour depth with a depth
// buffer; generic (software, not accelerated) unless acceptWhatever.
int searchPixelFormat(HDC dc, int depth, bool genericOnly) {
    PIXELFORMATDESCRIPTOR pfd{};
    const int count = DescribePixelFormat(dc, 1, sizeof pfd, &pfd);
    const DWORD wanted = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
    for (int i = 1; i <= count; ++i) {
        if (!DescribePixelFormat(dc, i, sizeof pfd, &pfd)) continue;
        const bool generic =
            (pfd.dwFlags & PFD_GENERIC_FORMAT) && !(pfd.dwFlags & PFD_GENERIC_ACCELERATED);
        if ((pfd.dwFlags & wanted) == wanted && pfd.iPixelType == PFD_TYPE_RGBA &&
            pfd.cColorBits == depth && pfd.cDepthBits >= 16 && (generic || !genericOnly)) {
            return i;
        }
    }
    return 0;
}

bool canShow(HDC dc, int format) {
    PIXELFORMATDESCRIPTOR pfd{};
    return format && DescribePixelFormat(dc, format, sizeof pfd, &pfd) &&
           (pfd.dwFlags & PFD_DOUBLEBUFFER) && pfd.cDepthBits >= 16;
}

// The software renderer's format; else what the system chooses for the same wish. Some
// systems have no generic format and answer the wish with one that has neither a back nor a
// depth buffer: the first suitable format of any renderer is taken then.
int choosePixelFormat(HDC dc) {
    const int depth = GetDeviceCaps(dc, BITSPIXEL) * GetDeviceCaps(dc, PLANES);
    if (const int generic = searchPixelFormat(dc, depth, true)) return generic;
    PIXELFORMATDESCRIPTOR pfd{};
    pfd.nSize = 40;
    pfd.nVersion = 1;
    pfd.dwFlags = PFD_DRAW_TO_WINDOW | PFD_DRAW_TO_BITMAP | PFD_DOUBLEBUFFER | PFD_SUPPORT_OPENGL;
    pfd.cColorBits = static_cast<BYTE>(depth);
    pfd.cDepthBits = 16;
    const int chosen = ChoosePixelFormat(dc, &pfd);
    if (canShow(dc, chosen)) return chosen;
    const int any = searchPixelFormat(dc, depth, false);
    return any ? any : chosen;
}

// A logical palette of every colour the format can show: 2^bits entries, each channel taken
// from the index through the format's bit counts and shifts.
HPALETTE makePalette(const PIXELFORMATDESCRIPTOR& pfd) {
    const int entries = 1 << pfd.cColorBits;
    std::vector<char> memory(sizeof(LOGPALETTE) + entries * sizeof(PALETTEENTRY));
    auto* palette = reinterpret_cast<LOGPALETTE*>(memory.data());
    palette->palVersion = 0x300;
    palette->palNumEntries = static_cast<WORD>(entries);
    auto channel = [](int index, int bits, int shift) {
        const int most = (1 << bits) - 1;
        return static_cast<BYTE>(most ? ((index >> shift) & most) * 255 / most : 0);
    };
    for (int i = 0; i < entries; ++i) {
        palette->palPalEntry[i] = PALETTEENTRY{channel(i, pfd.cRedBits, pfd.cRedShift),
                                               channel(i, pfd.cGreenBits, pfd.cGreenShift),
                                               channel(i, pfd.cBlueBits, pfd.cBlueShift), 0};
    }
    return CreatePalette(palette);
}

void setRenderState() {
    for (GLenum off : {GL_SCISSOR_TEST, GL_ALPHA_TEST, GL_STENCIL_TEST, GL_LOGIC_OP,
                       GL_POLYGON_STIPPLE, GL_POLYGON_SMOOTH}) {
        glDisable(off);
    }
    glEnable(GL_DITHER);
    glEnable(GL_NORMALIZE);
    glCullFace(GL_BACK);
    glEnable(GL_CULL_FACE);
    glColor3d(0, 0, 0);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_LIGHTING);
    glPolygonMode(GL_FRONT, GL_FILL);
    glShadeModel(GL_SMOOTH);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
}

void makeCurrent(const PreviewState& state) { wglMakeCurrent(state.dc, state.gl); }

// The cube's faces with texture coordinates from the surface slot's projection alone: no
// placement, tile size or box, so the picture shows the kind of projection only.
void drawCube(const Mat& mat) {
    glRotated(20, 1, 0, 0);
    glRotated(-20, 0, 1, 0);
    glTranslated(0.05, 0.05, 0);
    Mat4 identityTransform;
    identity(identityTransform);
    ProcessLockScope lock;  // the slot's pixels may change under a texture page
    Mat unsized = mat;
    unsized.slots[0].size = 0;
    for (const auto& face : kCubeCorners) {
        Vec3 normal;
        triangleNormal(normal, face[0], face[1], face[2]);
        double uv[8];
        const bool textured =
            mapTexture(unsized, 0, identityTransform, face, 4, normal, uv, nullptr, nullptr, nullptr);
        glBegin(GL_QUADS);
        glNormal3d(normal.x, normal.y, normal.z);
        for (int i = 0; i < 4; ++i) {
            if (textured) glTexCoord2d(uv[2 * i], uv[2 * i + 1]);
            glVertex3d(face[i].x, face[i].y, face[i].z);
        }
        glEnd();
    }
}

void drawSphere() {
    glRotated(-90, 1, 0, 0);
    GLUquadric* quadric = gluNewQuadric();
    if (!quadric) return;
    gluQuadricTexture(quadric, GL_TRUE);
    gluSphere(quadric, kSphereRadius, 50, 50);
    gluDeleteQuadric(quadric);
}

}  // namespace

bool setUpPreviewGl(PreviewState& state) {
    const int format = choosePixelFormat(state.dc);
    PIXELFORMATDESCRIPTOR pfd{};
    if (!format || !DescribePixelFormat(state.dc, format, sizeof pfd, &pfd) ||
        !SetPixelFormat(state.dc, format, &pfd)) {
        return false;
    }
    if (pfd.dwFlags & PFD_NEED_PALETTE) {
        state.palette = makePalette(pfd);
        SelectPalette(state.dc, state.palette, FALSE);
        RealizePalette(state.dc);
    }
    state.gl = wglCreateContext(state.dc);
    if (!state.gl) return false;
    makeCurrent(state);
    state.sceneList = glGenLists(2);
    state.shapeList = state.sceneList + 1;
    setRenderState();
    buildSceneList(state);
    buildShapeList(state);
    return true;
}

void releasePreviewGl(PreviewState& state) {
    if (state.gl) {
        makeCurrent(state);
        if (state.sceneList) glDeleteLists(state.sceneList, 2);
        wglMakeCurrent(nullptr, nullptr);
        wglDeleteContext(state.gl);
        state.gl = nullptr;
    }
}

void buildSceneList(PreviewState& state) {
    if (!state.gl) return;
    makeCurrent(state);
    const Env* env = state.sceneEnv();
    const Mat* mat = state.subject.material;
    glNewList(state.sceneList, GL_COMPILE);
    if (env && env->fogDensity > 0)
        viewerDefineEnv(env, 0, false);
    else
        glDisable(GL_FOG);
    if (mat && mat->opacity < 1)
        glEnable(GL_BLEND);
    else
        glDisable(GL_BLEND);
    const Vec3 clear = mat && env ? env->background : Vec3{1, 1, 1};
    glClearColor(GLclampf(clear.x), GLclampf(clear.y), GLclampf(clear.z), 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(kPreviewFov, double(state.width) / (state.height ? state.height : 1), 0.1, 100);
    glViewport(0, 0, state.width, state.height);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    gluLookAt(0, 0, kPreviewEyeZ, 0, 0, 0, 0, 1, 0);
    if (mat) {
        viewerDefineLgts(env, 0, state.sceneLights(), &state.lightsOn, nullptr, nullptr);
        viewerDefineMat(mat, 0, 1.0, true);
        glMatrixMode(GL_TEXTURE);
        glLoadIdentity();
        glMatrixMode(GL_MODELVIEW);
    }
    glEndList();
}

void buildShapeList(PreviewState& state) {
    if (!state.gl) return;
    makeCurrent(state);
    glNewList(state.shapeList, GL_COMPILE);
    if (const Mat* mat = state.subject.material) {
        if (state.settings.previewShape == 1)
            drawCube(*mat);
        else
            drawSphere();
    }
    glEndList();
    state.shapeBuilt = true;
}

void paintShaded(PreviewState& state) {
    if (!state.gl) return;
    makeCurrent(state);
    glCallList(state.sceneList);
    glCallList(state.shapeList);
    glFlush();
    SwapBuffers(state.dc);
}

void printShaded(PreviewState& state, HDC dc) {
    if (!state.gl || state.width <= 0 || state.height <= 0) return;
    makeCurrent(state);
    glCallList(state.sceneList);
    glCallList(state.shapeList);
    glFinish();
    std::vector<uint8_t> rgba(size_t(state.width) * state.height * 4);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadBuffer(GL_BACK);
    glReadPixels(0, 0, state.width, state.height, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
    for (size_t i = 0; i < rgba.size(); i += 4) std::swap(rgba[i], rgba[i + 2]);  // to BGRA
    BITMAPINFO info{};
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), state.width, state.height, 1, 32, BI_RGB,
                      0, 0, 0, 0, 0};
    SetDIBitsToDevice(dc, 0, 0, DWORD(state.width), DWORD(state.height), 0, 0, 0,
                      UINT(state.height), rgba.data(), &info, DIB_RGB_COLORS);
}

bool realisePreviewPalette(PreviewState& state) {
    if (!state.palette) return false;
    UnrealizeObject(state.palette);
    SelectPalette(state.dc, state.palette, FALSE);
    return RealizePalette(state.dc) != 0;
}

}  // namespace orv
