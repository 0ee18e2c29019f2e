#include "kinematics/host_callbacks.h"

namespace orv {

namespace {
HostCallbacks installed{};
}

void setHostCallbacks(const HostCallbacks& callbacks) {
    installed = callbacks;
}

const HostCallbacks& hostCallbacks() {
    return installed;
}

}  // namespace orv
