// Exports of the raytrace driver: the two render calls, which differ only in the form of the
// geometry callback, and the number of worker threads.
#include "orvanta.h"
#include "raytrace/render_driver.h"

namespace {

orv::Vec3 toVec3(const double* v) {
    return v ? orv::Vec3{v[0], v[1], v[2]} : orv::Vec3{};
}

orv::RaytraceRequest makeRequest(void* dc, const double eye[3], const double target[3],
                                 const double up[3], double fov, double aspect, double shiftX,
                                 double shiftY, double zoom, int32_t x0, int32_t y0, int32_t width,
                                 int32_t height, const Env* env, OrvColorRef background,
                                 Lgt* const* lights, int32_t quick, void* user,
                                 OrvRowCallback rowCallback, void* rowUser) {
    orv::RaytraceRequest request;
    request.deviceContext = dc;
    request.camera = orv::CameraSetup{toVec3(eye), toVec3(target), toVec3(up), fov,   aspect,
                                      shiftX,      shiftY,         zoom,       width, height};
    request.x0 = x0;
    request.y0 = y0;
    request.env = env;
    request.background = background;
    request.lights = lights;
    request.quick = quick != 0;
    request.geometryUser = user;
    request.rowCallback = rowCallback;
    request.rowUser = rowUser;
    return request;
}

}  // namespace

extern "C" {

ORVANTA_API int32_t RaytraceToDevice(void* dc, const double eye[3], const double target[3],
                                     const double up[3], double fov, double aspect, double shiftX,
                                     double shiftY, double zoom, int32_t x0, int32_t y0,
                                     int32_t width, int32_t height, const Env* env,
                                     OrvColorRef background, Lgt* const* lights, int32_t quick,
                                     int32_t /*unused*/, OrvGeometryCallback geometry, void* user,
                                     OrvRowCallback rowCallback, void* rowUser) {
    orv::RaytraceRequest request =
        makeRequest(dc, eye, target, up, fov, aspect, shiftX, shiftY, zoom, x0, y0, width, height,
                    env, background, lights, quick, user, rowCallback, rowUser);
    request.geometry = geometry;
    return orv::raytraceToDevice(request);
}

ORVANTA_API int32_t RaytraceToDevice2(void* dc, const double eye[3], const double target[3],
                                      const double up[3], double fov, double aspect, double shiftX,
                                      double shiftY, double zoom, int32_t x0, int32_t y0,
                                      int32_t width, int32_t height, const Env* env,
                                      OrvColorRef background, Lgt* const* lights, int32_t quick,
                                      int32_t /*unused*/, OrvGeometryCallback2 geometry, void* user,
                                      OrvRowCallback rowCallback, void* rowUser) {
    orv::RaytraceRequest request =
        makeRequest(dc, eye, target, up, fov, aspect, shiftX, shiftY, zoom, x0, y0, width, height,
                    env, background, lights, quick, user, rowCallback, rowUser);
    request.geometry2 = geometry;
    return orv::raytraceToDevice(request);
}

ORVANTA_API int32_t SetRaytraceThreads(int32_t n) {
    orv::setRaytraceThreads(n);
    return 1;
}

}  // extern "C"
