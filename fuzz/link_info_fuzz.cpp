// Arbitrary texts (to the first zero byte, at most the literal reader's 32,767 characters) against
// the one-pass link and transmission readers, byte for byte with the literal per-key readers on
// random-looking records; the text written back fits the size reported for it.
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "core/info_text.h"
#include "core/literal_info_reader.h"
#include "fuzz_check.h"

namespace {

template <typename Record>
std::unique_ptr<Record> filledRecord(uint8_t seed) {
    std::unique_ptr<Record> record(new Record);
    auto* bytes = reinterpret_cast<uint8_t*>(record.get());
    for (size_t i = 0; i < sizeof(Record); ++i) bytes[i] = uint8_t(seed + i * 131);
    return record;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 32767) size = 32767;
    const std::string text(reinterpret_cast<const char*>(data),
                           strnlen(reinterpret_cast<const char*>(data), size));
    const uint8_t seed = size ? data[0] : 0;

    auto fast = filledRecord<Lnk>(seed), literal = filledRecord<Lnk>(seed);
    const int32_t a = orv::putLnkInfo(*fast, text.c_str());
    const int32_t b = literalPutLnkInfo(*literal, text.c_str(), libraryNumbers());
    check(a == b);
    check(std::memcmp(fast.get(), literal.get(), sizeof(Lnk)) == 0);

    // The text of what was read, in a heap buffer of exactly the reported size.
    const uint32_t length = orv::lnkInfoSize(*fast);
    const std::unique_ptr<char[]> out(new char[length]);
    orv::getLnkInfo(*fast, out.get());
    check(std::strlen(out.get()) + 1 == length);

    auto fastTrn = filledRecord<Trn>(seed), literalTrn = filledRecord<Trn>(seed);
    check(orv::putTrnInfo(*fastTrn, text.c_str()) ==
          literalPutTrnInfo(*literalTrn, text.c_str(), libraryNumbers()));
    check(std::memcmp(fastTrn.get(), literalTrn.get(), sizeof(Trn)) == 0);
    return 0;
}
