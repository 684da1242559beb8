#include "tesslib/samples.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "plain_samples.h"

namespace Tesslib {
namespace {

struct Format {
    int bits;
    bool big_endian;
    bool int32;
};
const Format kFormats[] = {{16, false, false}, {16, true, false}, {24, false, false}, {24, true, false},
                           {32, false, true},  {32, true, true},  {32, false, false}, {32, true, false}};

std::string Name(const Format& f) {
    return std::to_string(f.bits) + (f.int32 ? " int" : "") + (f.big_endian ? " big-endian" : "");
}

// Values of every size, beyond full scale, at the limits, and next to and on the halves between two integers.
std::vector<float> TryingValues() {
    std::mt19937 random(7);
    const float infinity = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    std::vector<float> values = {0.0f,  -0.0f,  1.0f,     -1.0f,     1.5f, -3e38f, 0.5f,
                                 -0.5f, 1e-40f, infinity, -infinity, nan,  -nan};
    for (float limit : {1.0f, -1.0f}) values.push_back(std::nextafter(limit, 0.0f));
    for (int i = 0; i < 20000; ++i) {
        for (double scale : {32767.0, 524287.0, 8388607.0, 2147483647.0}) {
            double half = static_cast<double>(static_cast<int32_t>(random()) % static_cast<int64_t>(scale)) + 0.5;
            float tie = static_cast<float>(half / scale);
            values.insert(values.end(), {tie, std::nextafter(tie, 2.0f), std::nextafter(tie, -2.0f)});
        }
        values.push_back(std::bit_cast<float>(static_cast<uint32_t>(random())));
    }
    return values;
}

TEST(SampleEncoder, AgreesWithOneValueAtATime) {
    const std::vector<float> in = TryingValues();
    const int n = static_cast<int>(in.size());
    for (const Format& f : kFormats) {
        const int bytes = f.bits / 8;
        std::vector<uint8_t> expected(in.size() * static_cast<size_t>(bytes)), out(expected.size() + 1, 0xAA);
        for (int i = 0; i < n; ++i) OrvaneTest::PlainEncode(in[i], f.bits, f.big_endian, f.int32, &expected[i * bytes]);
        SampleEncoder encoder(f.bits, false, f.big_endian, f.int32);
        ASSERT_EQ(encoder.Encode(in.data(), n, out.data()), n * bytes);
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), out.begin())) << Name(f);
        // Any count, from any address, without touching what lies behind.
        for (int count = 0; count < 70; ++count) {
            std::fill(out.begin(), out.end(), 0xAA);
            encoder.Encode(in.data() + count, count, out.data() + 1);
            ASSERT_TRUE(std::equal(&out[1], &out[1] + count * bytes, &expected[count * bytes])) << Name(f) << count;
            ASSERT_EQ(out[count * bytes + 1], 0xAA) << Name(f) << count;
        }
    }
    for (int bits : {16, 20, 24}) {
        std::vector<int32_t> out(in.size());
        FloatsToInts(in.data(), n, bits, out.data());
        for (int i = 0; i < n; ++i) ASSERT_EQ(out[i], OrvaneTest::PlainInteger(in[i], bits)) << bits << " of " << in[i];
    }
}

TEST(SampleDecoder, AgreesWithOneValueAtATimeAlsoInPlace) {
    std::mt19937 random(8);
    for (const Format& f : kFormats) {
        for (size_t n : {0, 1, 15, 16, 17, 31, 33, 4099}) {
            const size_t bytes = static_cast<size_t>(f.bits / 8);
            std::vector<uint8_t> in(n * bytes);
            for (uint8_t& byte : in) byte = static_cast<uint8_t>(random());
            std::vector<float> expected(n + 1, 7.0f), out = expected, same = expected;
            for (size_t i = 0; i < n; ++i)
                expected[i] = OrvaneTest::PlainDecode(&in[i * bytes], f.bits, f.big_endian, f.int32);
            SampleDecoder decoder(f.bits, f.big_endian, f.int32);
            decoder.Decode(in.data(), static_cast<int32_t>(n), out.data());
            std::copy(in.begin(), in.end(), reinterpret_cast<uint8_t*>(same.data()));
            decoder.Decode(reinterpret_cast<uint8_t*>(same.data()), static_cast<int32_t>(n), same.data());
            // Compared as bytes: a float file may hold NaN.
            ASSERT_EQ(std::memcmp(out.data(), expected.data(), (n + 1) * 4), 0) << Name(f) << " " << n;
            ASSERT_EQ(std::memcmp(same.data(), expected.data(), n * 4), 0) << Name(f) << " in place " << n;
        }
    }
}

}  // namespace
}  // namespace Tesslib
