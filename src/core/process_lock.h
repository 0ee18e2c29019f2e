// The library's one process-wide lock. It guards texture pixel buffers and the material data
// that tool threads, the viewer definitions, previews and raytrace workers share. Created on
// first use and never destroyed, so it stays valid while any thread of the process runs.
// Recursive, like a Win32 critical section.
#pragma once

namespace orv {

void enterProcessLock();
void leaveProcessLock();

// Holds the process-wide lock for one scope.
class ProcessLockScope {
public:
    ProcessLockScope() { enterProcessLock(); }
    ~ProcessLockScope() { leaveProcessLock(); }
    ProcessLockScope(const ProcessLockScope&) = delete;
    ProcessLockScope& operator=(const ProcessLockScope&) = delete;
};

}  // namespace orv
