// The editors of the record families, as the tool framework and the exports know them.
#pragma once

#include "tools/tool_family.h"

namespace orv {

extern const ToolFamily kTransmissionTool;
extern const ToolFamily kLightTool;
extern const ToolFamily kEnvironmentTool;
extern const ToolFamily kMaterialTool;
extern const ToolFamily kLinkTool;

}  // namespace orv
