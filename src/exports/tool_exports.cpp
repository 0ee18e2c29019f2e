// Exports of the editors: open a record's tool, wait for it to close.
#include "orvanta.h"
#include "pages/pages.h"
#include "tools/tool_framework.h"

extern "C" {

ORVANTA_API int32_t OpenTrnTool(void* owner, Trn* trn, OrvApplyCallback callback, void* data) {
    orv::ToolRequest request;
    request.owner = owner;
    request.callback = reinterpret_cast<orv::ApplyCallback>(callback);
    request.data = data;
    return orv::openTool(orv::kTransmissionTool, trn, request);
}

ORVANTA_API int32_t WaitTrnTool(Trn* trn) { return orv::waitTool(orv::kTransmissionTool, trn); }

}  // extern "C"
