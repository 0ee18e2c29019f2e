// The texture page of one of a material's four slots (dialog 110).
#pragma once

namespace orv {

struct ToolBlock;
class ToolPage;

ToolPage* makeTexturePage(ToolBlock& tool, int slot);

}  // namespace orv
