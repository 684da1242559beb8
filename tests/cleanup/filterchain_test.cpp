#include "cleanup/filterchain.h"

#include <gtest/gtest.h>

#include <bit>
#include <random>
#include <vector>

#include "audiosignals.h"

namespace Orvane {
namespace {

std::vector<BiQuadFilter> Sections(int n) {
    std::vector<BiQuadFilter> sections(n);
    for (int i = 0; i < n; i++) {
        ComputeBiQuad(sections[i], i % 7, 3.0 * i - 7, i < 5 ? 60.0 * (i + 1) : 16.0 * i, 44100, i < 5 ? 0.05 : 1.5);
    }
    return sections;
}

FilterChain ChainOf(const std::vector<BiQuadFilter>& sections) {
    FilterChain chain;
    for (const BiQuadFilter& section : sections) chain.Append(section);
    return chain;
}

std::vector<float> Plain(std::vector<BiQuadFilter> sections, std::vector<float> audio) {
    for (float& sample : audio) {
        double x = sample;
        for (BiQuadFilter& section : sections) x = section.Process(x);
        sample = float(x);
    }
    return audio;
}

void ExpectSameBits(const std::vector<float>& a, const std::vector<float>& b) {
    ASSERT_EQ(a.size(), b.size());
    for (size_t i = 0; i < a.size(); i++) ASSERT_EQ(std::bit_cast<uint32_t>(a[i]), std::bit_cast<uint32_t>(b[i])) << i;
}

TEST(FilterChain, SameBitsAsSectionBySectionAtEveryWidthCountAndChunking) {
    const std::vector<float> left = OrvaneTest::NormalNoise(3000, 0.4, 1),
                             right = OrvaneTest::NormalNoise(3000, 0.4, 2);
    for (VectorWidth width : {VectorWidth::Two, VectorWidth::Four, VectorWidth::Eight}) {
        if (width > BestVectorWidth()) continue;
        for (int n_sections = 0; n_sections <= FilterChain::kMostSections; n_sections++) {
            SCOPED_TRACE(n_sections);
            const std::vector<BiQuadFilter> sections = Sections(n_sections);
            FilterChain chain = ChainOf(sections);
            std::vector<float> l = left, r = right;
            std::mt19937 generator(n_sections);
            for (size_t done = 0; done < l.size();) {
                const size_t n = std::min<size_t>(l.size() - done, generator() % (done < 300 ? 15 : 700));
                chain.Process(std::span(l).subspan(done, n), std::span(r).subspan(done, n), width);
                done += n;
            }
            ExpectSameBits(l, Plain(sections, left));
            ExpectSameBits(r, Plain(sections, right));
        }
    }
}

}  // namespace
}  // namespace Orvane
