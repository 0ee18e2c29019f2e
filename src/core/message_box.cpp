#include "core/message_box.h"

#include <atomic>

namespace orv {

namespace {
std::atomic<MessageBoxFn> handler{nullptr};
}

int32_t showMessageBox(void* owner, const char* text, const char* caption, uint32_t style) {
    const MessageBoxFn h = handler.load();
    return h ? h(owner, text, caption, style) : platformMessageBox(owner, text, caption, style);
}

MessageBoxFn setMessageBoxHandler(MessageBoxFn h) { return handler.exchange(h); }

}  // namespace orv
