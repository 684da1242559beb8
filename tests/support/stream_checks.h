// What every file class must keep, whatever its format.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <thread>
#include <vector>

#include "audio_tools.h"
#include "tesslib/filestream.h"

// Skips a test, visibly, on a machine without the programs it compares with.
#define NEED_TOOLS(...) \
    if (!OrvaneTest::HaveTools({__VA_ARGS__})) GTEST_SKIP() << "missing one of " #__VA_ARGS__

namespace OrvaneTest {

struct AudioForm {
    int bits;
    int rate;
    int channels;
};

// Makes the file `path` of the pairs, handed over in blocks of `block`. `out` keeps its other choices.
inline void WriteFile(Tesslib::FileStream& out, const std::string& path, const AudioForm& form,
                      const std::vector<float>& pairs, int32_t block = 16384, int64_t estimate = 0) {
    ASSERT_EQ(out.SetSBC(form.rate, form.bits, form.channels), 0);
    ASSERT_EQ(out.Open(path, Tesslib::OM_CREATE, 0, 0, estimate), 0);
    const int64_t total = static_cast<int64_t>(pairs.size() / 2);
    for (int64_t done = 0; done < total; done += block) {
        const int32_t n = static_cast<int32_t>(std::min<int64_t>(block, total - done));
        ASSERT_GE(out.Write(pairs.data() + 2 * done, n), 0);
    }
    EXPECT_EQ(out.GetTotalSamples(0), total);
    ASSERT_TRUE(out.Close());
}

// The whole of an open file, which must end well.
inline std::vector<float> ReadWhole(Tesslib::FileStream& file, int32_t block = 4096) {
    int result = -1;
    std::vector<float> pairs = PullAll(file, block, result);
    EXPECT_EQ(result, 0) << file.Filename();
    EXPECT_EQ(static_cast<int64_t>(pairs.size() / 2), file.GetTotalSamples(0)) << file.Filename();
    return pairs;
}

// Positions at random, around the ends of blocks, and in the last 2048 give what reading straight through gave.
inline void ExpectSeekEqualsRead(Tesslib::PCMStream& stream, const std::vector<float>& straight, int n_tries,
                                 uint32_t seed) {
    std::mt19937 random(seed);
    const int64_t total = static_cast<int64_t>(straight.size() / 2);
    std::vector<int64_t> positions = {0, 1, 4095, 4096, 4097, total - 1, total, total + 1, int64_t{1} << 40};
    for (int64_t back : {2, 3, 100, 2047, 2048, 2049}) positions.push_back(total - back);
    for (int i = 0; i < n_tries; ++i) positions.push_back(static_cast<int64_t>(random()) % total);
    std::shuffle(positions.begin(), positions.end(), random);
    std::vector<float> buffer;
    for (int64_t position : positions) {
        if (position < 0) continue;
        const int32_t wanted = 1 + static_cast<int32_t>(random() % (random() % 8 == 0 ? 20000 : 700));
        buffer.assign(2 * static_cast<size_t>(wanted) + 2, -7.0f);
        const int32_t expected = static_cast<int32_t>(std::clamp<int64_t>(total - position, 0, wanted));
        ASSERT_EQ(stream.Read(position, buffer.data(), wanted, 0), expected) << "at " << position;
        ASSERT_TRUE(
            std::equal(buffer.begin(), buffer.begin() + 2 * expected, straight.begin() + 2 * std::min(position, total)))
            << expected << " from " << position << " of " << total;
        ASSERT_EQ(buffer[2 * static_cast<size_t>(wanted)], -7.0f) << "written past the buffer";
    }
}

inline void ExpectAnyBlockSize(Tesslib::PCMStream& stream, const std::vector<float>& straight) {
    for (int32_t block : {1, 7, 1000, 4096, 100000}) {
        if (block < 10 && straight.size() > 100000) continue;
        int result = 0;
        ASSERT_EQ(PullAll(stream, block, result), straight) << "blocks of " << block;
        ASSERT_EQ(result, 0);
    }
}

// Several threads read one object, each at places of its own, while another lets go of its resources.
inline void ExpectSafeFromThreads(Tesslib::PCMStream& stream, const std::vector<float>& straight) {
    std::vector<std::thread> threads;
    for (uint32_t k = 0; k < 3; ++k) {
        threads.emplace_back([&, k] { ExpectSeekEqualsRead(stream, straight, 40, 100 + k); });
    }
    threads.emplace_back([&] {
        for (int i = 0; i < 10; ++i) stream.ReleaseResources();
    });
    for (std::thread& thread : threads) thread.join();
}

}  // namespace OrvaneTest
