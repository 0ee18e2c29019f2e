// The settings file of builds without a registry: where it lives, its lines, and that a damaged
// file costs only its damaged lines.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "settings/settings.h"
#include "support/temp_folder.h"

namespace {

using namespace orv::settings;
namespace fs = std::filesystem;

const char* const kEnvironment[] = {"ORVANTA_SETTINGS_FILE", "XDG_CONFIG_HOME", "HOME"};

class SettingsFile : public ::testing::Test {
protected:
    void SetUp() override {
        for (int i = 0; i < 3; ++i) {
            const char* value = std::getenv(kEnvironment[i]);
            saved[i] = value ? value : "";
            wasSet[i] = value != nullptr;
        }
        setenv("ORVANTA_SETTINGS_FILE", file.c_str(), 1);
    }
    void TearDown() override {
        for (int i = 0; i < 3; ++i)
            wasSet[i] ? setenv(kEnvironment[i], saved[i].c_str(), 1) : unsetenv(kEnvironment[i]);
    }
    std::string contents() const {
        std::ifstream in(file, std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }
    void put(const std::string& text) const { folder.write("settings", text); }

    TempFolder folder;
    const fs::path dir = folder.path(), file = dir / "settings";
    std::string saved[3];
    bool wasSet[3];
};

const std::string kGood = "HKCU\\Software\\OrvantaDLL\\TestGood=number:2a000000";

TEST_F(SettingsFile, OneLinePerValue) {
    ASSERT_TRUE(writeNumber(kUserHive, kLibrarySubkey, "LibShowThumbnails", 1));
    ASSERT_TRUE(writeBinary(kMachineHive, kLibrarySubkey, "Test=%\\\n", "\x01\xff", 2));
    ASSERT_TRUE(writeString(kUserHive, "OrvantaDLL\\Sub", "TexDir", "ab"));
    const std::string text = contents();
    const std::string lines[] = {
        "HKCU\\Software\\OrvantaDLL\\LibShowThumbnails=number:01000000",
        "HKLM\\SOFTWARE\\OrvantaDLL\\Test%3d%25%5c%0a=binary:01ff",
        "HKCU\\Software\\OrvantaDLL\\Sub\\TexDir=string:6162" + std::string(508, '0'),
    };
    for (const std::string& line : lines)
        EXPECT_NE(text.find("\n" + line + "\n"), std::string::npos) << line;
    uint8_t bytes[2] = {};
    EXPECT_TRUE(readBinary(kMachineHive, kLibrarySubkey, "Test=%\\\n", bytes, 2));
    EXPECT_EQ(bytes[1], 0xFF);
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 1)
        << "a temporary file was left";
}

TEST_F(SettingsFile, DamagedLinesAreSkippedAndDropped) {
    const std::string bad[] = {
        "HKCU\\Software\\OrvantaDLL\\TestBad=number:0100000",  // odd digit count
        "HKCU\\Software\\OrvantaDLL\\TestBad=number:01zz0000",
        "HKCU\\Software\\OrvantaDLL\\TestBad=number:01" + std::string(6, '\0'),
        "HKCU\\Software\\OrvantaDLL\\TestBad=dword:01000000",
        "HKCU\\Software\\OrvantaDLL\\TestBad=number",
        "HKCU\\Software\\OrvantaDLL\\TestBad number:01000000",
        "HKXX\\Software\\OrvantaDLL\\TestBad=number:01000000",
        "TestBad=number:01000000",
        "HKCU\\Software\\OrvantaDLL\\TestBad%4=number:01000000",  // cut escape
        "HKCU\\Software\\OrvantaDLL\\TestBad%=number:01000000",
        "HKCU\\Software\\OrvantaDLL\\Test%zzBad=number:01000000",
        "HKCU\\Software\\OrvantaDLL\\TestBad=:",
        "\\=:",
        std::string(200000, '%'),
        std::string("\xff\xfe\0\x01\\=", 6),
    };
    std::string all;
    for (const std::string& line : bad) {
        SCOPED_TRACE(line.substr(0, 80));
        all += line + "\n";
        put(line + "\n" + kGood + "\r\n");
        uint32_t value = 0;
        EXPECT_FALSE(readNumber(kUserHive, kLibrarySubkey, "TestBad", &value));
        EXPECT_EQ(readNumberOrZero(kUserHive, kLibrarySubkey, "TestGood"), 42u);
    }
    put(all + kGood);  // no newline at the end
    ASSERT_TRUE(writeNumber(kUserHive, kLibrarySubkey, "TestNew", 7));
    EXPECT_EQ(readNumberOrZero(kUserHive, kLibrarySubkey, "TestGood"), 42u);
    EXPECT_EQ(contents().find("TestBad"), std::string::npos);
}

TEST_F(SettingsFile, Location) {
    const struct {
        const char *xdg, *home;
        fs::path expected;
    } cases[] = {
        {"xdg", "home", "xdg/OrvantaDLL/settings"},
        {nullptr, "home", "home/.config/OrvantaDLL/settings"},
        {"", "home", "home/.config/OrvantaDLL/settings"},
    };
    unsetenv("ORVANTA_SETTINGS_FILE");
    for (const auto& c : cases) {
        const std::string xdg = c.xdg && *c.xdg ? (dir / c.xdg).string() : "";
        c.xdg ? setenv("XDG_CONFIG_HOME", xdg.c_str(), 1) : unsetenv("XDG_CONFIG_HOME");
        setenv("HOME", (dir / c.home).c_str(), 1);
        ASSERT_TRUE(writeNumber(kUserHive, kLibrarySubkey, "TestNumber", 3));
        EXPECT_TRUE(fs::exists(dir / c.expected)) << c.expected;
        EXPECT_EQ(readNumberOrZero(kUserHive, kLibrarySubkey, "TestNumber"), 3u);
        fs::remove_all(dir / c.expected.begin()->string());
    }
    unsetenv("XDG_CONFIG_HOME");
    unsetenv("HOME");
    EXPECT_FALSE(writeNumber(kUserHive, kLibrarySubkey, "TestNumber", 3)) << "nowhere to write";
    put("");
    setenv("ORVANTA_SETTINGS_FILE", (file / "settings").c_str(), 1);  // below a plain file
    EXPECT_FALSE(writeNumber(kUserHive, kLibrarySubkey, "TestNumber", 3));
    EXPECT_EQ(readNumberOrZero(kUserHive, kLibrarySubkey, "TestNumber"), 0u);
}

}  // namespace
