// The settings store as its callers see it, on both backends: round trips, the exact-size rule
// for binaries, missing keys and values, stored sizes. Values are named "Test..." and removed.
#include "settings/settings.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/stored_defaults.h"

namespace {

using namespace orv::settings;
constexpr const char* kKey = kLibrarySubkey;

class SettingsStore : public ::testing::Test {
protected:
    void SetUp() override { isolateSettings(); }
    void TearDown() override {
        for (const char* name : {"TestNumber", "TestString", "TestBinary"}) {
            deleteValue(kUserHive, kKey, name);
            deleteValue(kMachineHive, kKey, name);
        }
    }
};

std::vector<uint8_t> pattern(size_t size) {
    std::vector<uint8_t> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = uint8_t(i * 31 + 7);
    return bytes;
}

TEST_F(SettingsStore, NumbersRoundTrip) {
    for (const uint32_t value : {0u, 0x80000000u, 0xFFFFFFFFu}) {
        ASSERT_TRUE(writeNumber(kUserHive, kKey, "TestNumber", value));
        uint32_t read = 99;
        EXPECT_TRUE(readNumber(kUserHive, kKey, "TestNumber", &read));
        EXPECT_EQ(read, value);
        EXPECT_EQ(readNumberOrZero(kUserHive, kKey, "TestNumber"), value);
    }
}

// Reads "TestString" into a buffer with a guard byte behind its 256 bytes.
std::string readBackString() {
    char read[kStringBytes + 1];
    std::memset(read, '#', sizeof read);
    EXPECT_TRUE(readString(kUserHive, kKey, "TestString", read));
    EXPECT_EQ(read[kStringBytes], '#') << "wrote past the 256 bytes";
    return std::string(read, strnlen(read, kStringBytes));
}

TEST_F(SettingsStore, StringsRoundTripAndLongOnesAreCut) {
    const std::string longest(255, 'x'), tooLong = std::string(250, 'y') + "0123456789";
    const std::string cases[][2] = {
        {"", ""},
        {"C:\\Texturen\\Holz", "C:\\Texturen\\Holz"},
        {"Ma\xDFstab", "Ma\xDFstab"},  // a Windows-1252 byte
        {longest, longest},
        {tooLong, tooLong.substr(0, 255)},
    };
    for (const auto& c : cases) {
        ASSERT_TRUE(writeString(kUserHive, kKey, "TestString", c[0].c_str()));
        EXPECT_EQ(readBackString(), c[1]);
    }
    // 256 stored bytes without a terminator: the last one gives way to it.
    const std::vector<uint8_t> unterminated(kStringBytes, 'z');
    ASSERT_TRUE(writeBinary(kUserHive, kKey, "TestString", unterminated.data(), kStringBytes));
    EXPECT_EQ(readBackString(), std::string(255, 'z'));
}

TEST_F(SettingsStore, BinaryOnlyOfTheExpectedSize) {
    const std::vector<uint8_t> record = pattern(6300);
    ASSERT_TRUE(writeBinary(kUserHive, kKey, "TestBinary", record.data(), 6300));
    std::vector<uint8_t> read(6300, 0xCD);
    EXPECT_TRUE(readBinary(kUserHive, kKey, "TestBinary", read.data(), 6300));
    EXPECT_EQ(read, record);

    for (const uint32_t stored : {6299u, 6301u, 0u}) {
        const std::vector<uint8_t> other = pattern(stored);
        ASSERT_TRUE(writeBinary(kUserHive, kKey, "TestBinary", other.data(), stored));
        std::vector<uint8_t> untouched(6300, 0xCD);
        SCOPED_TRACE(stored);
        EXPECT_FALSE(readBinary(kUserHive, kKey, "TestBinary", untouched.data(), 6300));
        EXPECT_EQ(untouched, std::vector<uint8_t>(6300, 0xCD));
    }
}

TEST_F(SettingsStore, MissingKeyOrValueFailsAndResetsOutputs) {
    ASSERT_TRUE(writeNumber(kUserHive, kKey, "TestNumber", 5));  // the key exists
    const struct {
        const char *subkey, *name;
    } cases[] = {{kKey, "TestNoSuchValue"}, {"OrvantaDLL\\TestNoSuchKey", "TestNumber"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.subkey) + "\\" + c.name);
        uint32_t number = 0xDEADBEEF;
        EXPECT_FALSE(readNumber(kUserHive, c.subkey, c.name, &number));
        EXPECT_EQ(number, 0u);
        EXPECT_EQ(readNumberOrZero(kUserHive, c.subkey, c.name), 0u);
        char text[kStringBytes] = "old";
        EXPECT_FALSE(readString(kUserHive, c.subkey, c.name, text));
        EXPECT_STREQ(text, "");
        uint8_t block[4] = {1, 2, 3, 4};
        EXPECT_FALSE(readBinary(kUserHive, c.subkey, c.name, block, 4));
        EXPECT_EQ(std::vector<uint8_t>(block, block + 4), (std::vector<uint8_t>{1, 2, 3, 4}));
        EXPECT_FALSE(deleteValue(kUserHive, c.subkey, c.name));
    }
}

// A number is stored as 4 little-endian bytes, a string as the whole zero-filled 256 bytes.
TEST_F(SettingsStore, StoredSizes) {
    ASSERT_TRUE(writeNumber(kUserHive, kKey, "TestNumber", 0x0A0B0C0D));
    uint8_t number[4] = {};
    EXPECT_TRUE(readBinary(kUserHive, kKey, "TestNumber", number, 4));
    EXPECT_EQ(std::vector<uint8_t>(number, number + 4), (std::vector<uint8_t>{13, 12, 11, 10}));

    ASSERT_TRUE(writeString(kUserHive, kKey, "TestString", "abc"));
    std::vector<uint8_t> buffer(kStringBytes, 0xCD), want(kStringBytes, 0);
    std::memcpy(want.data(), "abc", 3);
    EXPECT_FALSE(readBinary(kUserHive, kKey, "TestString", buffer.data(), 255));
    EXPECT_TRUE(readBinary(kUserHive, kKey, "TestString", buffer.data(), kStringBytes));
    EXPECT_EQ(buffer, want);
    uint32_t tooBig = 1;
    EXPECT_FALSE(readNumber(kUserHive, kKey, "TestString", &tooBig)) << "256 bytes in 4";
}

TEST_F(SettingsStore, OverwriteDeleteHivesAndCase) {
    ASSERT_TRUE(writeNumber(kUserHive, kKey, "TestNumber", 1));
    ASSERT_TRUE(writeNumber(kMachineHive, kKey, "TestNumber", 2));
    EXPECT_EQ(readNumberOrZero(kUserHive, kKey, "TestNumber"), 1u);
    EXPECT_EQ(readNumberOrZero(kMachineHive, kKey, "TestNumber"), 2u);
    EXPECT_EQ(readNumberOrZero(kUserHive, "orvantadll", "TESTNUMBER"), 1u) << "names ignore case";

    ASSERT_TRUE(writeNumber(kUserHive, kKey, "testnumber", 3));  // the same value
    EXPECT_EQ(readNumberOrZero(kUserHive, kKey, "TestNumber"), 3u);
    EXPECT_TRUE(deleteValue(kUserHive, kKey, "TestNumber"));
    EXPECT_FALSE(deleteValue(kUserHive, kKey, "TestNumber"));
    uint32_t gone = 7;
    EXPECT_FALSE(readNumber(kUserHive, kKey, "TestNumber", &gone));
    EXPECT_EQ(readNumberOrZero(kMachineHive, kKey, "TestNumber"), 2u) << "other hive kept";
}

}  // namespace
