/* viewer_demo - a host's OpenGL viewer that lets OrvantaDLL define its materials, lights and
 * environment. Draws a small scene off-screen (OSMesa) and writes it as a PPM image.
 *
 *   viewer_demo [output.ppm]
 *
 * Uses only the public header: the records are filled the way a host fills them from its
 * documents, then ViewerDefineEnv, ViewerDefineLgts and ViewerDefineMat set the OpenGL state
 * before each body is drawn. */
#include <GL/osmesa.h>

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "orvanta.h"

enum { kWidth = 800, kHeight = 500 };

static OrvVec3 vec(double x, double y, double z) {
    OrvVec3 v = {x, y, z};
    return v;
}

static void plainMaterial(Mat* mat, OrvVec3 diffuse, double shininess, double opacity) {
    memset(mat, 0, sizeof *mat);
    mat->ambient = diffuse;
    mat->diffuse = diffuse;
    mat->specular = vec(0.7, 0.7, 0.7);
    mat->shininess = shininess;
    mat->opacity = opacity;
    mat->refraction = 1.0;
}

/* A checker image in the surface slot, as the texture loader would leave one: RGBA, bottom
 * row first, a power of two on the edge. */
static unsigned char* giveChecker(Mat* mat, uint32_t side) {
    unsigned char* pixels = malloc(4u * side * side);
    for (uint32_t y = 0; y < side; ++y) {
        for (uint32_t x = 0; x < side; ++x) {
            unsigned char* p = pixels + 4u * (y * side + x);
            const int light = ((x / (side / 8)) + (y / (side / 8))) % 2;
            p[0] = light ? 250 : 30;
            p[1] = light ? 210 : 60;
            p[2] = light ? 80 : 140;
            p[3] = 255;
        }
    }
    OrvTextureSlot* slot = &mat->slots[0];
    slot->source = 1;
    slot->side = side;
    slot->pixelBytes = 4u * side * side;
    slot->pixels = pixels;
    slot->tileX = slot->tileY = 1;
    slot->mode = 0; /* mix: the texture modulates the lit colour */
    return pixels;
}

/* A sphere as quad strips with normals and longitude/latitude texture coordinates. */
static void drawSphere(double cx, double cy, double cz, double r) {
    const int slices = 48, stacks = 24;
    for (int i = 0; i < stacks; ++i) {
        const double a0 = M_PI * ((double)i / stacks - 0.5), a1 = M_PI * ((double)(i + 1) / stacks - 0.5);
        glBegin(GL_QUAD_STRIP);
        for (int j = 0; j <= slices; ++j) {
            const double b = 2.0 * M_PI * j / slices;
            for (int k = 1; k >= 0; --k) {
                const double a = k ? a1 : a0;
                const double nx = cos(a) * cos(b), ny = sin(a), nz = cos(a) * sin(b);
                glNormal3d(nx, ny, nz);
                glTexCoord2d(2.0 * j / slices, (double)(i + k) / stacks);
                glVertex3d(cx + r * nx, cy + r * ny, cz + r * nz);
            }
        }
        glEnd();
    }
}

static void drawFloor(void) {
    glNormal3d(0, 1, 0);
    glBegin(GL_QUADS);
    for (int x = -10; x < 10; ++x) {
        for (int z = -10; z < 10; ++z) {
            glVertex3d(x, 0, z);
            glVertex3d(x, 0, z + 1);
            glVertex3d(x + 1, 0, z + 1);
            glVertex3d(x + 1, 0, z);
        }
    }
    glEnd();
}

static int writePpm(const char* path, const unsigned char* rgba) {
    FILE* f = fopen(path, "wb");
    if (!f) return 0;
    fprintf(f, "P6\n%d %d\n255\n", kWidth, kHeight);
    for (int y = kHeight - 1; y >= 0; --y) /* OpenGL's first row is the bottom one */
        for (int x = 0; x < kWidth; ++x) fwrite(rgba + 4 * (y * kWidth + x), 1, 3, f);
    return fclose(f) == 0;
}

int main(int argc, char** argv) {
    const char* output = argc > 1 ? argv[1] : "viewer_demo.ppm";
    unsigned char* frame = malloc(4u * kWidth * kHeight);
    OSMesaContext context = OSMesaCreateContextExt(OSMESA_RGBA, 24, 0, 0, NULL);
    if (!frame || !context || !OSMesaMakeCurrent(context, frame, GL_UNSIGNED_BYTE, kWidth, kHeight)) {
        fprintf(stderr, "viewer_demo: no off-screen OpenGL context\n");
        return 1;
    }

    /* The scene environment: scene lights, a soft ambient, light fog into a pale sky. */
    Env env;
    memset(&env, 0, sizeof env);
    env.standardLights = 0;
    env.brightness = 1.0;
    env.ambient = vec(0.25, 0.25, 0.3);
    env.background = vec(0.80, 0.86, 0.95);
    env.fogColor = env.background;
    env.fogDensity = 1.0;
    env.fogNear = 9.0;
    env.fogFar = 26.0;
    env.fogType = 0;

    Lgt sun, spot;
    memset(&sun, 0, sizeof sun);
    sun.type = 0;
    sun.color = vec(1.0, 0.95, 0.85);
    sun.gloss = 0.4;
    sun.position = vec(4, 8, 6);
    memset(&spot, 0, sizeof spot);
    spot.type = 1;
    spot.color = vec(0.6, 0.7, 1.0);
    spot.gloss = 0.5;
    spot.position = vec(-3, 6, 2);
    spot.target = vec(-1.5, 0, 0);
    spot.angle = 25;
    spot.sharpness = 8;
    Lgt* lights[] = {&sun, &spot, NULL};

    Mat floor, red, gold, glass, checker;
    plainMaterial(&floor, vec(0.55, 0.55, 0.5), 5, 1.0);
    plainMaterial(&red, vec(0.8, 0.1, 0.08), 80, 1.0);
    plainMaterial(&gold, vec(0.85, 0.62, 0.2), 30, 1.0);
    gold.specular = vec(1.0, 0.85, 0.5);
    plainMaterial(&glass, vec(0.2, 0.45, 0.9), 100, 0.45);
    plainMaterial(&checker, vec(1, 1, 1), 20, 1.0);
    unsigned char* checkerPixels = giveChecker(&checker, 64);

    glViewport(0, 0, kWidth, kHeight);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glFrustum(-0.16, 0.16, -0.1, 0.1, 0.25, 60.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glRotated(18, 1, 0, 0);
    glTranslated(0, -2.6, -8.5);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_LIGHTING);
    glEnable(GL_NORMALIZE);
    glShadeModel(GL_SMOOTH);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);

    int32_t lightsOn = 0;
    ViewerDefineEnv(&env, 0, 1);
    ViewerDefineLgts(&env, 0, lights, &lightsOn, NULL, NULL);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);

    ViewerDefineMat(&floor, 0, 1.0, 1);
    drawFloor();
    ViewerDefineMat(&checker, 0, 1.0, 1);
    drawSphere(-2.4, 1.0, 0.0, 1.0);
    ViewerDefineMat(&red, 0, 1.0, 1);
    drawSphere(0.0, 1.0, -1.0, 1.0);
    ViewerDefineMat(&gold, 0, 1.0, 1);
    drawSphere(2.5, 0.8, 0.3, 0.8);
    ViewerDefineMat(NULL, 0x00A0C040, 1.0, 1); /* a body without a material: the host colour */
    drawSphere(0.9, 0.45, 1.6, 0.45);
    glDepthMask(GL_FALSE); /* transparent bodies last */
    ViewerDefineMat(&glass, 0, 1.0, 1);
    drawSphere(-0.6, 0.7, 2.0, 0.7);
    glDepthMask(GL_TRUE);
    glFinish();

    const int ok = writePpm(output, frame);
    printf(ok ? "viewer_demo: wrote %s (%d x %d), %d OpenGL lights on\n"
              : "viewer_demo: cannot write %s\n",
           output, kWidth, kHeight, lightsOn);
    OSMesaDestroyContext(context);
    free(checkerPixels);
    free(frame);
    return ok ? 0 : 1;
}
