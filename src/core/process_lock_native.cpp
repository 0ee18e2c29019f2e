// The process-wide lock for the native build.
#include <mutex>

#include "core/process_lock.h"

namespace orv {

namespace {
std::recursive_mutex& mutex() {
    static auto* created = new std::recursive_mutex;  // never destroyed, like the Win32 one
    return *created;
}
}  // namespace

void enterProcessLock() { mutex().lock(); }
void leaveProcessLock() { mutex().unlock(); }

}  // namespace orv
