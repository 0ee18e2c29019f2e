// The Linux library's counterpart of the DLL's process attach and detach: the translation
// table beside liborvanta.so is loaded when the library is loaded and freed when it is
// unloaded. Only the shared library holds this file; programs that link the core statically
// load their table themselves.
#include <dlfcn.h>

#include "i18n/localise.h"

namespace {

const char anchor = 0;  // any address inside the library names its file

__attribute__((constructor)) void loadTranslationsBesideLibrary() {
    Dl_info info = {};
    if (dladdr(&anchor, &info) && info.dli_fname) orv::loadTranslationTable(info.dli_fname);
}

__attribute__((destructor)) void freeTranslations() {
    orv::freeTranslationTable();
}

}  // namespace
