// The translation file beside the library, the string loader and localised messages.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "core/library_module.h"
#include "i18n/localise.h"
#include "support/box_recorder.h"

namespace {

using orv::kLocalisedMax;

class LocalisedStrings : public ::testing::Test {
protected:
    void SetUp() override {
        savedModule_ = orv::libraryModule();
        orv::setLibraryModule(stringTableModule());
    }
    void TearDown() override {
        orv::freeTranslationTable();
        orv::setLibraryModule(savedModule_);
    }
    // A library file name in the temporary folder, with its translation file beside it.
    std::string libraryBeside(const std::string& translations) {
        folder_.write("Orvanta.ltx", translations);
        return folder_.file("Orvanta.dll");
    }
    TempFolder folder_;

private:
    void* savedModule_ = nullptr;
};

TEST_F(LocalisedStrings, BuiltInGermanInTheSingleByteCodePage) {
    const struct {
        int32_t id;
        const char* text;
    } cases[] = {
        {106, "Szene"},
        {155,
         "Speicher\xFC"
         "berlauf"},
        {119,
         "Das Bild ist nicht quadratisch.\nSoll auf quadratisches Format aufgef\xFCllt werden\n"
         "(andernfalls wird das Bild abgeschnitten)?"},
        {9999, ""},
        {-1, ""},
    };
    for (int pass = 0; pass < 2; ++pass) {  // without a table, then with one lacking the ids
        for (const auto& c : cases) EXPECT_EQ(localisedText(c.id), c.text) << "id " << c.id;
        orv::loadTranslationTable(libraryBeside("$000.107 Unused\n").c_str());
    }
}

TEST_F(LocalisedStrings, TranslationBesideTheLibraryComesFirst) {
    orv::loadTranslationTable(
        libraryBeside("$000.106 Scene\\tA\\B\r\n$000.155 Out of memory\r\n").c_str());
    EXPECT_EQ(localisedText(106), "Scene\tAB");
    EXPECT_EQ(localisedText(155), "Out of memory");
    EXPECT_EQ(localisedText(124), "Glanz");

    char caption[kLocalisedMax] = "Typ $000.155 MB";
    EXPECT_EQ(orv::localiseInPlace(caption), 1);
    EXPECT_STREQ(caption, "Out of memory MB");

    orv::freeTranslationTable();
    EXPECT_EQ(localisedText(106), "Szene");
}

// A library name without extension gets one; a missing file leaves the built-in text; with
// none beside the library the file name is looked for in the current folder.
TEST_F(LocalisedStrings, FileBesideTheLibraryOrInTheCurrentFolder) {
    folder_.write("Orvanta.ltx", "$000.106 Scene");
    orv::loadTranslationTable(folder_.file("Orvanta").c_str());
    EXPECT_EQ(localisedText(106), "Scene");
    orv::loadTranslationTable(folder_.file("Missing.dll").c_str());
    EXPECT_EQ(localisedText(106), "Szene");

    const std::filesystem::path savedCurrent = std::filesystem::current_path();
    std::filesystem::current_path(folder_.path());
#ifdef _WIN32
    orv::loadTranslationTable("C:\\no such folder\\Orvanta.dll");
#else
    orv::loadTranslationTable("/no such folder/Orvanta.dll");
#endif
    const std::string fromCurrentFolder = localisedText(106);
    orv::loadTranslationTable("Q:Orvanta.dll");  // a drive-relative name: the part behind ":"
    const std::string behindColon = localisedText(106);
    std::filesystem::current_path(savedCurrent);
    EXPECT_EQ(fromCurrentFolder, "Scene");
    EXPECT_EQ(behindColon, "Scene");
}

TEST_F(LocalisedStrings, MessageBoxGetsLocalisedTextAndCaption) {
    int owner = 0;
    const uint32_t style = orv::kMbYesNoCancel | orv::kMbIconQuestion;
    const struct {
        const char* translations;
        intptr_t argument;
        const char* text;
        const char* caption;
    } cases[] = {
        {"", 0, "Rekursive Verbindung definiert.",
         "Konsistenzpr\xFC"
         "fung"},
        {"$000.265 100%% looped\n$000.266 Check\n", 0, "100%% looped", "Check"},
        {"$000.265 100%% looped\n$000.266 Check\n", 7, "100% looped", "Check"},
        // A format the built-in text does not have is never used: the argument would not fit.
        {"$000.265 %s%s%s\n", 7, "Rekursive Verbindung definiert.",
         "Konsistenzpr\xFC"
         "fung"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.translations << " argument " << c.argument);
        orv::loadTranslationTable(libraryBeside(c.translations).c_str());
        const BoxRecorder boxes(orv::kIdNo);
        EXPECT_EQ(orv::showLocalisedMessage(&owner, 265, 266, c.argument, style), orv::kIdNo);
        ASSERT_EQ(BoxRecorder::shown().size(), 1u);
        const ShownMessage& box = BoxRecorder::shown()[0];
        EXPECT_EQ(box.text, c.text);
        EXPECT_EQ(box.caption, c.caption);
        EXPECT_EQ(box.owner, &owner);
        EXPECT_EQ(box.style, style);
    }
}

}  // namespace
