// The registry backend seen from the registry: values put there by another program are read by
// the helpers, and the helpers' values have the types and sizes such a program expects.
#include <gtest/gtest.h>
#include <windows.h>

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

TEST_F(SettingsRegistry, HelpersReadValuesOfAnotherProgram) {
    const DWORD number = 0xCAFEF00D;
    const char text[] = "D:\\Bilder";  // 10 bytes, not a 256-byte buffer
    const std::vector<uint8_t> block = pattern(324);
    set("TestRawNumber", REG_DWORD, &number, sizeof number);
    set("TestRawString", REG_SZ, text, sizeof text);
    set("TestRawBinary", REG_BINARY, block.data(), DWORD(block.size()));

    EXPECT_EQ(readNumberOrZero(kUserHive, kLibrarySubkey, "TestRawNumber"), 0xCAFEF00Du);
    char read[kStringBytes] = "old";
    EXPECT_TRUE(readString(kUserHive, kLibrarySubkey, "TestRawString", read));
    EXPECT_STREQ(read, text);
    std::vector<uint8_t> out(324);
    EXPECT_TRUE(readBinary(kUserHive, kLibrarySubkey, "TestRawBinary", out.data(), 324));
    EXPECT_EQ(out, block);
    EXPECT_FALSE(readBinary(kUserHive, kLibrarySubkey, "TestRawBinary", out.data(), 323));
}

TEST_F(SettingsRegistry, HelpersWriteRegistryTypes) {
    const std::vector<uint8_t> block = pattern(248);
    ASSERT_TRUE(writeNumber(kUserHive, kLibrarySubkey, "TestRawNumber", 0x01020304));
    ASSERT_TRUE(writeString(kUserHive, kLibrarySubkey, "TestRawString", "D:\\Bilder"));
    ASSERT_TRUE(writeBinary(kUserHive, kLibrarySubkey, "TestRawBinary", block.data(), 248));

    std::vector<uint8_t> text(kStringBytes, 0);
    std::memcpy(text.data(), "D:\\Bilder", 9);
    const struct {
        const char* name;
        DWORD type;
        std::vector<uint8_t> bytes;
    } cases[] = {
        {"TestRawNumber", REG_DWORD, {4, 3, 2, 1}},
        {"TestRawString", REG_SZ, text},
        {"TestRawBinary", REG_BINARY, block},
    };
    for (const auto& c : cases) {
        const RawValue value = query(c.name);
        EXPECT_EQ(value.type, c.type) << c.name;
        EXPECT_EQ(value.bytes.size(), c.bytes.size()) << c.name;
        EXPECT_EQ(value.bytes, c.bytes) << c.name;
    }
}

}  // namespace
