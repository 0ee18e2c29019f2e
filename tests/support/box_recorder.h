// Records the message boxes that the library's core shows while it lives (the core linked
// into the test program, natively and under Wine), answering each with one given button.
// The built-in string table is reachable meanwhile, so the texts are the real ones.
#pragma once

#include <string>
#include <vector>

#include "core/library_module.h"
#include "core/message_box.h"
#include "i18n/i18n_test_support.h"
#include "i18n/localise.h"

struct ShownMessage {
    void* owner;
    std::string caption, text;
    uint32_t style;
};

// The text of a string-table id as the library loads it.
inline std::string localisedText(int32_t id) {
    char out[orv::kLocalisedMax];
    orv::loadLocalisedString(id, out);
    return out;
}

class BoxRecorder {
public:
    explicit BoxRecorder(int32_t reply) {
        shown().clear();
        answer() = reply;
        savedModule_ = orv::libraryModule();
        orv::setLibraryModule(stringTableModule());
        saved_ = orv::setMessageBoxHandler(
            [](void* owner, const char* text, const char* caption, uint32_t style) {
                shown().push_back({owner, caption, text, style});
                return answer();
            });
    }
    ~BoxRecorder() {
        orv::setMessageBoxHandler(saved_);
        orv::setLibraryModule(savedModule_);
    }
    BoxRecorder(const BoxRecorder&) = delete;
    BoxRecorder& operator=(const BoxRecorder&) = delete;

    static std::vector<ShownMessage>& shown() {
        static std::vector<ShownMessage> boxes;
        return boxes;
    }

private:
    static int32_t& answer() {
        static int32_t reply = 0;
        return reply;
    }
    orv::MessageBoxFn saved_ = nullptr;
    void* savedModule_ = nullptr;
};
