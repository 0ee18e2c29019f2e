// The registry backend seen from the registry: values put there by another program are read by
// the helpers, and the helpers' values have the types and sizes such a program expects.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "settings/settings.h"

namespace {

using namespace orv::settings;

struct RawValue {
    DWORD type = REG_NONE;
    std::vector<uint8_t> bytes;
};

class SettingsRegistry : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "Software\\OrvantaDLL", 0, nullptr, 0,
                                  KEY_ALL_ACCESS, nullptr, &key, nullptr),
                  ERROR_SUCCESS);
    }
    void TearDown() override {
        for (const char* name : {"TestRawNumber", "TestRawString", "TestRawBinary"})
            RegDeleteValueA(key, name);
        RegCloseKey(key);
    }
    void set(const char* name, DWORD type, const void* data, DWORD size) {
        ASSERT_EQ(RegSetValueExA(key, name, 0, type, static_cast<const BYTE*>(data), size),
                  ERROR_SUCCESS);
    }
    RawValue query(const char* name) {
        RawValue value;
        DWORD size = 0;
        if (RegQueryValueExA(key, name, nullptr, &value.type, nullptr, &size) != ERROR_SUCCESS)
            return {};
        value.bytes.resize(size);
        RegQueryValueExA(key, name, nullptr, &value.type, value.bytes.data(), &size);
        value.bytes.resize(size);
        return value;
    }
    HKEY key = nullptr;
};

std::vector<uint8_t> pattern(size_t size) {
    std::vector<uint8_t> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = uint8_t(i * 13 + 5);
    return bytes;
}

// Each value as another program writes it (type and bytes) and as the helpers read and write
// it: a number is a REG_DWORD, a string the whole zero-filled 256-byte buffer, a binary its
// bytes. Another program's string may be shorter than the buffer.
TEST_F(SettingsRegistry, HelpersAndOtherProgramsAgreeOnTypesAndSizes) {
    std::vector<uint8_t> text(kStringBytes, 0);
    std::memcpy(text.data(), "D:\\Bilder", 9);
    const std::vector<uint8_t> block = pattern(324);
    const struct {
        const char* name;
        DWORD type;
        std::vector<uint8_t> bytes;
    } cases[] = {
        {"TestRawNumber", REG_DWORD, {0x0D, 0xF0, 0xFE, 0xCA}},
        {"TestRawString", REG_SZ, std::vector<uint8_t>(text.begin(), text.begin() + 10)},
        {"TestRawBinary", REG_BINARY, block},
    };
    for (const auto& c : cases) set(c.name, c.type, c.bytes.data(), DWORD(c.bytes.size()));
    EXPECT_EQ(readNumberOrZero(kUserHive, kLibrarySubkey, "TestRawNumber"), 0xCAFEF00Du);
    char read[kStringBytes] = "old";
    EXPECT_TRUE(readString(kUserHive, kLibrarySubkey, "TestRawString", read));
    EXPECT_STREQ(read, "D:\\Bilder");
    std::vector<uint8_t> out(324);
    EXPECT_TRUE(readBinary(kUserHive, kLibrarySubkey, "TestRawBinary", out.data(), 324));
    EXPECT_EQ(out, block);
    EXPECT_FALSE(readBinary(kUserHive, kLibrarySubkey, "TestRawBinary", out.data(), 323));

    ASSERT_TRUE(writeNumber(kUserHive, kLibrarySubkey, "TestRawNumber", 0xCAFEF00D));
    ASSERT_TRUE(writeString(kUserHive, kLibrarySubkey, "TestRawString", "D:\\Bilder"));
    ASSERT_TRUE(writeBinary(kUserHive, kLibrarySubkey, "TestRawBinary", block.data(), 248));
    const std::vector<uint8_t> written[] = {cases[0].bytes, text, pattern(248)};
    for (int i = 0; i < 3; ++i) {
        const RawValue value = query(cases[i].name);
        EXPECT_EQ(value.type, cases[i].type) << cases[i].name;
        EXPECT_EQ(value.bytes, written[i]) << cases[i].name;
    }
}

}  // namespace
