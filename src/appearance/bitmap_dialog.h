// Choose bitmap file: the open-file dialog of the texture page's image button (Windows only).
#pragma once

#include <cstdint>

namespace orv {

constexpr int32_t kBitmapPreviewTemplate = 242;  // the dialog's extra template
constexpr int32_t kBitmapPreviewBox = 1094;      // its 70 x 70 preview box
constexpr uint32_t kBitmapPathChars = 256;

// Shows the dialog over owner (may be null), starting from the file in path (kBitmapPathChars
// bytes), in the folder stored as "TexDir" when there is one. The filter is string 112, the
// title string 113; while a file is selected the preview box shows its top-left square. On OK
// path holds the chosen file and the process's current folder is stored as "TexDir" (the
// dialog does not change it, so it is the folder that was current before). Returns true on OK.
bool chooseBitmapFile(void* owner, char* path);

}  // namespace orv
