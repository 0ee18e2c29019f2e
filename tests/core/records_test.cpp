// Built-in defaults of the five record families, checked byte by byte: every named field has
// its value, and every other byte (reserved space, tool pointers, names) is zero, even when the
// storage held garbage before.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <vector>

#include "core/records.h"

namespace {

// A field's expected bytes at an offset; everything not listed must be zero.
struct Expect {
    size_t offset;
    std::vector<uint8_t> bytes;
};

template <typename T>
Expect field(size_t offset, T value) {
    std::vector<uint8_t> b(sizeof value);
    std::memcpy(b.data(), &value, sizeof value);
    return {offset, b};
}

Expect triple(size_t offset, double x, double y, double z) {
    const double v[3] = {x, y, z};
    std::vector<uint8_t> b(sizeof v);
    std::memcpy(b.data(), v, sizeof v);
    return {offset, b};
}

template <typename Record>
void expectRecordBytes(const std::vector<Expect>& expects) {
    std::vector<uint8_t> storage(sizeof(Record), 0xAB);  // garbage first
    Record* record = reinterpret_cast<Record*>(storage.data());
    orv::setBuiltInDefaults(*record);

    std::vector<uint8_t> want(sizeof(Record), 0);
    for (const Expect& e : expects) {
        ASSERT_LE(e.offset + e.bytes.size(), want.size());
        std::memcpy(want.data() + e.offset, e.bytes.data(), e.bytes.size());
    }
    for (size_t i = 0; i < want.size(); ++i)
        ASSERT_EQ(storage[i], want[i]) << "byte " << i << " of a " << sizeof(Record)
                                       << "-byte record";
}

TEST(RecordDefaults, Environment) {
    expectRecordBytes<Env>({
        triple(64, 0, 0, 0), triple(88, 1, 1, 1), field<uint32_t>(112, 129),
        field(116, 0.8), triple(124, 0.18, 0.18, 0.18), triple(148, 1, 1, 1),
        field(212, 10.0),
    });
}

TEST(RecordDefaults, Light) {
    expectRecordBytes<Lgt>({
        triple(64, 1, 1, 1), triple(88, 1, 1, 1), field<int32_t>(136, 0), field(140, 0.5),
        field(148, 30.0), field<uint32_t>(172, 1),
    });
}

TEST(RecordDefaults, MaterialWithItsFourSlots) {
    std::vector<Expect> e = {
        triple(64, 1, 1, 1), triple(88, 0.8, 0.8, 0.8), triple(112, 0.6, 0.6, 0.6),
        field(160, 10.0), field(168, 1.0), field(184, 1.0), field<uint32_t>(192, 1),
        field<uint32_t>(196, 1),
    };
    for (size_t k = 0; k < 4; ++k) {
        const size_t slot = 200 + 1496 * k;
        e.push_back(field<uint32_t>(slot + 0, 1));         // box projection
        e.push_back(field<uint32_t>(slot + 1292, 0xFFFFFF));  // white text background
        e.push_back(field<uint32_t>(slot + 1356, 256));    // text image edge
        e.push_back(field<uint32_t>(slot + 1376, k == 0 ? 0 : 1));  // grey except surface
        e.push_back(field<uint32_t>(slot + 1384, 1));      // tile x
        e.push_back(field<uint32_t>(slot + 1388, 1));      // tile y
        e.push_back(field(slot + 1404, 1.0));              // intensity
        e.push_back(field(slot + 1412, 1.0));              // size
    }
    expectRecordBytes<Mat>(e);
}

TEST(RecordDefaults, Link) {
    expectRecordBytes<Lnk>({
        field<int32_t>(64, 1), field<int32_t>(68, 1), field(92, 1.0), field(116, -180.0),
        field(124, 180.0), field(156, 1.0), field(164, 1.0), triple(176, 0, 1, 0),
        field<int32_t>(9588, 1), field<int32_t>(9596, 1),     // linear drive on, cyclic
        field<int32_t>(18896, 1), field<int32_t>(18904, 1),   // rotational drive on, cyclic
    });
}

TEST(RecordDefaults, Transmission) {
    expectRecordBytes<Trn>({
        field<int32_t>(64, 1), field(72, 1.0), field(80, 1.0), field(88, 1.0), field(96, 1.0),
    });
}

}  // namespace
