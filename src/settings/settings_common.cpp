// The parts of the settings store that are the same for every backend.
#include "settings/settings.h"

namespace orv::settings {

uint32_t readNumberOrZero(int32_t hive, const char* subkey, const char* name) {
    uint32_t value;
    return readNumber(hive, subkey, name, &value) ? value : 0;
}

}  // namespace orv::settings
