#include <gtest/gtest.h>

#include "core/message_box.h"
#include "support/box_watch.h"

namespace {
std::vector<ShownBox>* recording = nullptr;

int32_t record(void* owner, const char* text, const char* caption, uint32_t style) {
    // Every box of the library has no owner; the kinematic ones carry the exclamation icon.
    EXPECT_EQ(owner, nullptr);
    EXPECT_EQ(style, orv::kMbIconExclamation);
    recording->push_back({caption, text});
    return orv::kIdOk;
}
}  // namespace

struct BoxWatch::Impl {
    std::vector<ShownBox> boxes;
    orv::MessageBoxFn saved = nullptr;
};

BoxWatch::BoxWatch() : impl_(new Impl) {
    recording = &impl_->boxes;
    impl_->saved = orv::setMessageBoxHandler(record);
}

BoxWatch::~BoxWatch() {
    stop();
    delete impl_;
}

std::vector<ShownBox> BoxWatch::stop() {
    if (recording == &impl_->boxes) {
        orv::setMessageBoxHandler(impl_->saved);
        recording = nullptr;
    }
    return impl_->boxes;
}
