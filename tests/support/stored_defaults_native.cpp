#include <cstdio>
#include <cstdlib>
#include <string>

#include <unistd.h>

#include "settings/settings.h"
#include "support/stored_defaults.h"

namespace {
std::string& settingsPath() {
    static std::string path = "/tmp/orvanta-test-settings-" + std::to_string(getpid());
    return path;
}
}  // namespace

void isolateSettings() {
    static const bool once = [] {
        std::atexit([] { std::remove(settingsPath().c_str()); });
        return true;
    }();
    (void)once;
    std::remove(settingsPath().c_str());
    setenv("ORVANTA_SETTINGS_FILE", settingsPath().c_str(), 1);
}

void storeDefault(const char* valueName, const void* data, uint32_t size) {
    orv::settings::writeBinary(orv::settings::kUserHive, orv::settings::kLibrarySubkey, valueName,
                               data, size);
}

void removeDefault(const char* valueName) {
    orv::settings::deleteValue(orv::settings::kUserHive, orv::settings::kLibrarySubkey, valueName);
}
