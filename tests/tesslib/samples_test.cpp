#include "tesslib/samples.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
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
    std::vector<float> values = {0.0f, -0.0f, 1.0f, -1.0f, 1.5f, -3e38f, 3e38f, 0.5f, -0.5f, 1e-40f, -1e-40f};
    values.push_back(std::numeric_limits<float>::infinity());
    values.push_back(-std::numeric_limits<float>::infinity());
    values.push_back(std::numeric_limits<float>::quiet_NaN());
    values.push_back(-std::numeric_limits<float>::quiet_NaN());
    values.push_back(std::nextafter(1.0f, 0.0f));
    values.push_back(std::nextafter(-1.0f, 0.0f));
    for (int i = 0; i < 20000; ++i) {
        for (double scale : {32767.0, 8388607.0, 2147483647.0}) {
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
        ASSERT_EQ(out.back(), 0xAA);
        for (int i = 0; i < n * bytes; ++i) ASSERT_EQ(out[i], expected[i]) << Name(f) << " of " << in[i / bytes];
        // Any count, from any address, without touching what lies behind.
        for (int count = 0; count < 70; ++count) {
            std::fill(out.begin(), out.end(), 0xAA);
            encoder.Encode(in.data() + count, count, out.data() + 1);
            ASSERT_TRUE(std::equal(&out[1], &out[1] + count * bytes, &expected[count * bytes])) << Name(f) << count;
            ASSERT_EQ(out[count * bytes + 1], 0xAA) << Name(f) << count;
        }
    }
}

TEST(SampleDecoder, AgreesWithOneValueAtATimeAlsoInPlace) {
    std::mt19937 random(8);
    for (const Format& f : kFormats) {
        const int bytes = f.bits / 8;
        for (int n : {1, 2, 15, 16, 17, 31, 32, 33, 1000, 4099}) {
            std::vector<uint8_t> in(static_cast<size_t>(n * bytes));
            for (uint8_t& byte : in) byte = static_cast<uint8_t>(random());
            std::vector<float> expected(static_cast<size_t>(n)), out(expected.size() + 1, 7.0f);
            for (int i = 0; i < n; ++i)
                expected[i] = OrvaneTest::PlainDecode(&in[i * bytes], f.bits, f.big_endian, f.int32);
            SampleDecoder decoder(f.bits, f.big_endian, f.int32);
            decoder.Decode(in.data(), n, out.data());
            // Compared as bytes: a float file may hold NaN.
            ASSERT_EQ(std::memcmp(out.data(), expected.data(), expected.size() * 4), 0) << Name(f) << " " << n;
            ASSERT_EQ(out.back(), 7.0f);

            std::vector<float> same(static_cast<size_t>(n) + 1);
            std::copy(in.begin(), in.end(), reinterpret_cast<uint8_t*>(same.data()));
            decoder.Decode(reinterpret_cast<uint8_t*>(same.data()), n, same.data());
            ASSERT_EQ(std::memcmp(same.data(), expected.data(), expected.size() * 4), 0)
                << Name(f) << " in place " << n;
        }
    }
}

TEST(SampleConverters, EveryCodeComesBackButTheMostNegative) {
    for (int bits : {16, 24}) {
        const int32_t most = (1 << (bits - 1)) - 1;
        const int bytes = bits / 8;
        std::vector<uint8_t> codes, back;
        for (int32_t code = -most - 1; code <= most; ++code) {
            for (int k = 0; k < bytes; ++k) codes.push_back(static_cast<uint8_t>(code >> (8 * k)));
        }
        const int n = static_cast<int>(codes.size()) / bytes;
        std::vector<float> values(static_cast<size_t>(n));
        back.resize(codes.size());
        SampleDecoder(bits, false, false).Decode(codes.data(), n, values.data());
        SampleEncoder(bits, false, false, false).Encode(values.data(), n, back.data());
        EXPECT_LT(values[0], -1.0f);
        EXPECT_EQ(values[1], -1.0f);
        EXPECT_EQ(values.back(), 1.0f);
        // The most negative code is written as its neighbour.
        EXPECT_TRUE(std::equal(back.begin(), back.begin() + bytes, codes.begin() + bytes));
        EXPECT_TRUE(std::equal(back.begin() + bytes, back.end(), codes.begin() + bytes)) << bits;
    }
}

TEST(SampleConverters, NothingIsConvertedToNothing) {
    for (const Format& f : kFormats) {
        SampleDecoder(f.bits, f.big_endian, f.int32).Decode(nullptr, 0, nullptr);
        EXPECT_EQ(SampleEncoder(f.bits, false, f.big_endian, f.int32).Encode(nullptr, 0, nullptr), 0);
    }
}

TEST(SampleConverters, OtherDepthsAreAFaultOfOurs) {
    EXPECT_DEATH(SampleEncoder(20, false, false, false), "is_convertible_bit_depth");
    EXPECT_DEATH(SampleDecoder(8, false, false), "is_convertible_bit_depth");
}

TEST(Mono, ExpandsInPlaceAndMixesToTheMean) {
    std::vector<float> buffer = {1, 2, 3, 0, 0, 0};
    ExpandMono(buffer.data(), 3);
    EXPECT_EQ(buffer, (std::vector<float>{1, 1, 2, 2, 3, 3}));

    std::vector<float> pairs = {0.5f, -0.25f, 1.0f, 1.0f};
    MixToMono(pairs.data(), 2, pairs.data());
    EXPECT_EQ(pairs, (std::vector<float>{0.125f, 0.125f, 1.0f, 1.0f}));

    std::vector<int16_t> integers = {3, 4, -3, -4, -32768, -32768, 32767, 32767};
    MixToMono(integers.data(), 4, integers.data());
    EXPECT_EQ(integers, (std::vector<int16_t>{3, 3, -3, -3, -32767, -32767, 32767, 32767}));
}

}  // namespace
}  // namespace Tesslib
