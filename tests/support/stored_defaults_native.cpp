#include <cstdio>
#include <cstdlib>
#include <string>

#include <unistd.h>

#include "settings/settings.h"
#include "support/stored_defaults.h"

void isolateSettings() {
    const std::string path = "/tmp/orvanta-test-settings-" + std::to_string(getpid());
    std::remove(path.c_str());
    setenv("ORVANTA_SETTINGS_FILE", path.c_str(), 1);
}

void storeDefault(const char* valueName, const void* data, uint32_t size) {
    orv::settings::writeBinary(orv::settings::kUserHive, orv::settings::kLibrarySubkey, valueName,
                               data, size);
}

void removeDefault(const char* valueName) {
    orv::settings::deleteValue(orv::settings::kUserHive, orv::settings::kLibrarySubkey, valueName);
}
