// Arbitrary translation files against the tag lookup and the localisation of a caption: a caption
// up to the first line feed, then the table, unterminated; outputs in heap buffers of their size.
#include <cstdint>
#include <cstring>
#include <memory>

#include "fuzz_check.h"
#include "i18n/localise.h"

namespace {

using orv::kLocalisedMax;

void lookUp(const char* table, size_t size, const char* tag) {
    const std::unique_ptr<char[]> out(new char[kLocalisedMax]);
    std::memset(out.get(), 'u', kLocalisedMax);
    if (orv::lookupTag(table, size, tag, out.get())) {
        check(std::memchr(out.get(), '\0', kLocalisedMax) != nullptr);
        check(std::strchr(out.get(), '\\') == nullptr);  // escapes are replaced to the end
    } else {
        check(out[0] == 'u' && out[kLocalisedMax - 1] == 'u');  // untouched
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const char* bytes = reinterpret_cast<const char*>(data);
    const void* lineFeed = std::memchr(bytes, '\n', size < kLocalisedMax ? size : kLocalisedMax);
    const size_t captionSize = lineFeed ? size_t(static_cast<const char*>(lineFeed) - bytes) : 0;
    const char* table = bytes + (lineFeed ? captionSize + 1 : 0);
    const size_t tableSize = size - (lineFeed ? captionSize + 1 : 0);

    // The caption fills its buffer; at full size it has no terminator of its own.
    const std::unique_ptr<char[]> text(new char[kLocalisedMax]);
    std::memset(text.get(), 0, kLocalisedMax);
    std::memcpy(text.get(), bytes, captionSize);
    char before[kLocalisedMax];
    std::memcpy(before, text.get(), kLocalisedMax);
    const int32_t tagged = orv::localiseInPlace(text.get(), table, tableSize);
    check(tagged == 0 || tagged == 1);
    check(std::memchr(text.get(), '\0', kLocalisedMax) != nullptr);
    if (!tagged) check(std::strcmp(text.get(), before) == 0);

    lookUp(table, tableSize, "$000.106");
    if (captionSize >= 8) {  // the caption's first 8 bytes as a tag of the table's own making
        char tag[9] = {};
        std::memcpy(tag, bytes, 8);
        lookUp(table, tableSize, tag);
    }
    return 0;
}
