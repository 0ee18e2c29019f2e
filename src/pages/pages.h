// The editors of the record families, as the tool framework and the exports know them.
#pragma once

#include "tools/tool_family.h"

namespace orv {

extern const ToolFamily kTransmissionTool;

}  // namespace orv
