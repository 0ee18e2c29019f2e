// The library's own module (the DLL's HINSTANCE on Windows), set when the library is attached
// to a process. Resources and the translation file are found through it; null means the
// calling program itself.
#pragma once

namespace orv {

void* libraryModule();
void setLibraryModule(void* instance);

}  // namespace orv
