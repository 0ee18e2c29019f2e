// Exports of the editors: open a record's tool, wait for it to close; the flat thumbnail.
#include <windows.h>

#include "matlib/library_window_win32.h"
#include "orvanta.h"
#include "pages/pages.h"
#include "preview/preview.h"
#include "tools/tool_framework.h"

namespace {

orv::ToolRequest request(void* owner, OrvApplyCallback callback, void* data, uint64_t host1 = 0,
                         uint64_t host2 = 0, int32_t flag = 0) {
    orv::ToolRequest r;
    r.owner = owner;
    r.callback = reinterpret_cast<orv::ApplyCallback>(callback);
    r.data = data;
    r.hostValues[0] = host1;
    r.hostValues[1] = host2;
    r.flag = flag;
    return r;
}

}  // namespace

extern "C" {

ORVANTA_API int32_t OpenTrnTool(void* owner, Trn* trn, OrvApplyCallback callback, void* data) {
    return orv::openTool(orv::kTransmissionTool, trn, request(owner, callback, data));
}

ORVANTA_API int32_t WaitTrnTool(Trn* trn) {
    return orv::waitTool(orv::kTransmissionTool, trn);
}

ORVANTA_API int32_t OpenLgtTool(void* owner, Lgt* lgt, uint64_t host1, uint64_t host2,
                                OrvApplyCallback callback, void* data) {
    return orv::openTool(orv::kLightTool, lgt, request(owner, callback, data, host1, host2));
}

ORVANTA_API int32_t WaitLgtTool(Lgt* lgt) {
    return orv::waitTool(orv::kLightTool, lgt);
}

ORVANTA_API int32_t OpenEnvTool(void* owner, Env* env, uint64_t host, OrvApplyCallback callback,
                                void* data) {
    return orv::openTool(orv::kEnvironmentTool, env, request(owner, callback, data, host, 0, 1));
}

ORVANTA_API int32_t OpenEnvTool1(void* owner, Env* env, uint64_t host, OrvApplyCallback callback,
                                 void* data) {
    return orv::openTool(orv::kEnvironmentTool, env, request(owner, callback, data, host, 0, 0));
}

ORVANTA_API int32_t WaitEnvTool(Env* env) {
    return orv::waitTool(orv::kEnvironmentTool, env);
}

ORVANTA_API int32_t OpenMatTool(void* owner, Mat* mat, uint64_t host1, uint64_t host2,
                                OrvApplyCallback callback, void* data) {
    return orv::openTool(orv::kMaterialTool, mat, request(owner, callback, data, host1, host2));
}

ORVANTA_API int32_t WaitMatTool(Mat* mat) {
    return orv::waitTool(orv::kMaterialTool, mat);
}

ORVANTA_API int32_t OpenLnkTool(void* owner, Lnk** links, int32_t count, int32_t skipFollowers,
                                int32_t closeNotifyOff, OrvApplyCallback callback, void* data,
                                uint64_t host1, uint64_t host2, uint64_t host3, uint64_t host4) {
    if (!links || count <= 0) return 0;
    orv::ToolRequest r = request(owner, callback, data, host1, host2);
    r.hostValues[2] = host3;
    r.hostValues[3] = host4;
    r.notifyOnClose = closeNotifyOff == 0;
    const auto notFollower = [](const void* link) {
        return !static_cast<const Lnk*>(link)->follow;
    };
    return orv::openToolOnSelection(orv::kLinkTool, reinterpret_cast<void* const*>(links),
                                    size_t(count), skipFollowers ? +notFollower : nullptr, r);
}

ORVANTA_API int32_t WaitLnkTool(Lnk* lnk) {
    return orv::waitTool(orv::kLinkTool, lnk);
}

ORVANTA_API int32_t ObjInLnkTool(uint64_t object) {
    const auto touches = [](const void* record, uint64_t o) {
        const Lnk& link = *static_cast<const Lnk*>(record);
        return link.linkObject == o || link.sourceBody == o || link.targetBody == o;
    };
    return object && orv::openToolEdits(orv::kLinkTool, touches, object) ? 1 : 0;
}

ORVANTA_API int32_t OpenMatLib(void* owner, uint64_t host1, int32_t host2, uint64_t host3,
                               uint64_t host4, OrvMatLibCallback callback, void* data) {
    orv::LibraryRequest request;
    request.owner = static_cast<HWND>(owner);
    request.hostValues[0] = host1;
    request.hostValues[1] = uint64_t(int64_t(host2));
    request.hostValues[2] = host3;
    request.hostValues[3] = host4;
    request.callback = callback;
    request.data = data;
    return orv::runLibraryWindow(request);
}

ORVANTA_API int32_t MatPreview(const Mat* mat, uint32_t x, uint32_t y, int32_t size, void* dc) {
    orv::drawMaterialThumbnail(*mat, int(x), int(y), size, static_cast<HDC>(dc));
    return 1;
}

}  // extern "C"
