// Localised strings and messages: string-table texts looked up under "$000.<id>" first.
#include <cstdio>
#include <cstring>
#include <string>

#include "core/message_box.h"
#include "i18n/localise.h"
#include "i18n/string_resource.h"

namespace orv {

namespace {

// The conversion specifications of a format ("%i", "%.3f", ...), "%%" left out.
std::string conversions(const char* format) {
    std::string specs;
    for (const char* p = std::strchr(format, '%'); p; p = std::strchr(p, '%')) {
        size_t length = 1 + std::strspn(p + 1, "-+ #0123456789.*hljztL");
        if (p[length]) ++length;  // the conversion character
        if (length != 2 || p[1] != '%') specs.append(p, length).push_back('|');
        p += length;
    }
    return specs;
}

}  // namespace

void loadLocalisedString(int32_t id, char* out) {
    char tag[16];
    std::snprintf(tag, sizeof tag, "$000.%03i", int(id));
    if (!lookupTranslation(tag, out)) loadResourceString(id, out);
}

void loadLocalisedFormat(int32_t id, char* out) {
    loadLocalisedString(id, out);
    // A translation is a format only when it asks for the same arguments as the built-in text;
    // any other translation file could make the formatting read what was never passed.
    char builtIn[kLocalisedMax];
    loadResourceString(id, builtIn);
    if (conversions(out) != conversions(builtIn)) std::memcpy(out, builtIn, kLocalisedMax);
}

int32_t showLocalisedMessage(void* owner, int32_t textId, int32_t captionId, intptr_t argument,
                             uint32_t style) {
    char text[kLocalisedMax], caption[kLocalisedMax];
    loadLocalisedString(captionId, caption);
    if (argument == 0) {
        loadLocalisedString(textId, text);
        return showMessageBox(owner, text, caption, style);
    }
    loadLocalisedFormat(textId, text);
    char formatted[kLocalisedMax];
    std::snprintf(formatted, sizeof formatted, text, argument);
    return showMessageBox(owner, formatted, caption, style);
}

}  // namespace orv
