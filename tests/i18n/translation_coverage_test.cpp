// translations/en.ltx translates every tag the resources carry: the string table's ids and
// the $ppp.iii tags of the dialogs and menus in every resource script.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "i18n/localise.h"

namespace {

std::string readAll(const char* path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

std::set<std::string> tagsInResources() {
    std::set<std::string> tags;
    const std::string strings = readAll(ORVANTA_STRINGS_INC);
    const std::regex stringId(R"(ORV_STRING\(\s*(\d+)\s*,)");
    for (std::sregex_iterator m(strings.begin(), strings.end(), stringId), end; m != end; ++m) {
        char tag[16];
        std::snprintf(tag, sizeof tag, "$000.%03i", std::stoi((*m)[1]));
        tags.insert(tag);
    }
    // Every resource script: OrvantaDLL.rc, the page scripts it includes and the control lists
    // (.inc) the pages include.
    const std::regex resourceTag(R"(\$\d{3}\.\d{3})");
    for (const auto& entry : std::filesystem::directory_iterator(ORVANTA_RESOURCE_DIR)) {
        const auto extension = entry.path().extension();
        if (extension != ".rc" && extension != ".inc") continue;
        const std::string script = readAll(entry.path().string().c_str());
        for (std::sregex_iterator m(script.begin(), script.end(), resourceTag), end; m != end;
             ++m)
            tags.insert(m->str());
    }
    return tags;
}

TEST(EnglishTranslation, HasALineForEveryTagInTheResources) {
    const std::string english = readAll(ORVANTA_ENGLISH_LTX);
    const std::set<std::string> tags = tagsInResources();
    ASSERT_GT(tags.size(), 30u) << "no tags read from " << ORVANTA_STRINGS_INC;
    for (const std::string& tag : tags) {
        char text[orv::kLocalisedMax] = {};
        EXPECT_TRUE(orv::lookupTag(english.data(), english.size(), tag.c_str(), text) && *text)
            << tag << " has no English text in " << ORVANTA_ENGLISH_LTX;
    }
}

}  // namespace
