// The string table from the library's resources. The resources hold UTF-16; LoadStringA
// converts to the single-byte code page.
#include <windows.h>

#include "core/library_module.h"
#include "i18n/localise.h"
#include "i18n/string_resource.h"

namespace orv {

void loadResourceString(int32_t id, char* out) {
    out[0] = '\0';
    if (id < 0) return;
    const HINSTANCE module = static_cast<HINSTANCE>(libraryModule());
    if (LoadStringA(module, UINT(id), out, int(kLocalisedMax)) <= 0) out[0] = '\0';
}

}  // namespace orv
