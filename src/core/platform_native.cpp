// Native side of the core: no user interface, so messages go to stderr.
#include <cstdio>
#include <cstdlib>

#include "core/library_module.h"
#include "core/message_box.h"
#include "core/process_exit.h"

namespace orv {

namespace {
void* module = nullptr;
}

int32_t platformMessageBox(void*, const char* text, const char* caption, uint32_t) {
    std::fprintf(stderr, "%s: %s\n", caption ? caption : "", text ? text : "");
    return kIdOk;
}

void endProcess(uint32_t exitCode) { std::_Exit(int(exitCode)); }

void* libraryModule() { return module; }
void setLibraryModule(void* instance) { module = instance; }

}  // namespace orv
