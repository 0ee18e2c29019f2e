#include "core/checked_alloc.h"

#include <cstdlib>

#include "core/message_box.h"
#include "core/process_exit.h"
#include "i18n/localise.h"

namespace orv {

void* checkedAlloc(size_t bytes) {
    void* p = std::calloc(1, bytes ? bytes : 1);
    if (p) return p;
    // 156: "Es konnte kein freier Arbeitsspeicher zugeordnet werden. ..." under 155
    // "Speicherüberlauf"; task-modal with the stop icon, no owner.
    showLocalisedMessage(nullptr, 156, 155, 0, kMbTaskModal | kMbIconStop);
    endProcess(0);
}

void checkedFree(void* p) { std::free(p); }

}  // namespace orv
