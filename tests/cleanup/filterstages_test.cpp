// Hum and rumble, equaliser and Denoise as they stand in the chain.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <numbers>
#include <random>
#include <vector>

#include "analog_biquad.h"
#include "audiosignals.h"
#include "cleanup/edit/undo_corrections.h"
#include "cleanup/filter/denoise.h"
#include "cleanup/filter/equaliser.h"
#include "cleanup/filter/filterchain.h"
#include "cleanup/filter/humrumblefilter.h"
#include "cleanup/filter/recordeq.h"
#include "filtered_recording.h"
#include "repairs.h"

using namespace Tesslib;

namespace Orvane {
namespace {

using Recording = Testing::FilteredRecording;

constexpr int kRate = 44100;

std::vector<float> Noise(int64_t n_pairs, double level, uint64_t seed) {
    return OrvaneTest::NormalNoise(static_cast<size_t>(2 * n_pairs), level, seed);
}

double RmsDb(const std::vector<float>& pairs, int64_t from, int64_t to) {
    double sum = 0;
    for (int64_t i = 2 * from; i < 2 * to; i++) sum += double(pairs[i]) * pairs[i];
    return 10 * std::log10(sum / double(2 * (to - from)));
}

const FilterValues kHumAndRumble{
    .hum_mode = FILTER_ON, .mains_frequency = 60, .rumble_mode = FILTER_ON, .dc_offset_only = 0, .filter_harmonics = 1};
const FilterValues kEqualiser{
    .eq_mode = FILTER_ON, .preamp_left = -30, .preamp_right = 15, .bands = {4, -3, 0, 12, -12, 2, 0, 5, -6, 7}};

// Settings of every kind that begin and end at odd places, and a noise stretch.
void AddEverything(Recording& recording) {
    recording.entry.decided.noise_stretch.start = 1000, recording.entry.decided.noise_stretch.end = 30000;
    recording.AddFilter() = kHumAndRumble;
    recording.AddFilter(20011, 90007) = kEqualiser;
    recording.AddFilter(40961, 110000) = {.hiss_mode = FILTER_ON, .hiss_reduction = 8};
    recording.AddCurve({{50, 6}, {1000, 0}, {8000, -8}}, 55555, 100001);
}

struct Section {
    int type;
    double frequency, bandwidth;
    int count = 1;
    double gain = 0;
};

// The chain's measured response is that of the sections.
void ExpectResponse(const FilterValues& values, const std::vector<Section>& sections, int64_t length) {
    std::vector<float> impulse(static_cast<size_t>(2 * length));
    impulse[0] = 1.f;
    Recording recording(impulse);
    recording.AddFilter() = values;
    std::vector<float> response;
    for (const std::vector<float> pairs = recording.ReadAll(); response.size() < pairs.size() / 2;) {
        response.push_back(pairs[2 * response.size()]);
    }
    for (double f : {16.0, 47.0, 59.0, 61.5, 121.0, 245.0, 1000.0, 3000.0, 8000.0, 12000.0, 18000.0}) {
        double expected = 0;
        for (const Section& s : sections) {
            expected += s.count * Oracle::AnalogBiQuadDb(s.type, s.gain, s.frequency, kRate, s.bandwidth, f);
        }
        EXPECT_NEAR(Oracle::ImpulseResponseDb<float>(response, f, kRate), expected, 0.05) << f;
    }
}

TEST(HumRumbleFilter, ResponseIsThatOfItsFormulas) {
    FilterValues values{.hum_mode = FILTER_ON, .mains_frequency = 60, .filter_harmonics = 1};
    ExpectResponse(values, {{kNotch, 60, 0.05, 2}, {kNotch, 120, 0.05}, {kNotch, 240, 0.05}, {kNotch, 360, 0.05}},
                   300000);
    values = {.hum_mode = FILTER_ON, .mains_frequency = 50, .rumble_mode = FILTER_ON, .filter_harmonics = 0};
    ExpectResponse(values, {{kNotch, 50, 0.05, 2}, {kHighPass, 16, 1.5, 5}}, 300000);
    ExpectResponse({.rumble_mode = FILTER_ON, .dc_offset_only = 1}, {{kHighPass, 16, 2.0}}, 300000);
}

TEST(Equaliser, EachBandHasTheResponseOfItsFormula) {
    for (int band = 0; band < kEqBands; band++) {
        for (int steps : {12, -7}) {
            SCOPED_TRACE(band);
            FilterValues values{.eq_mode = FILTER_ON};
            values.bands[band] = steps;
            const int type = band == 0 ? kLowShelf : band == 9 ? kHighShelf : kPeaking;
            const double gain = steps * (type == kPeaking ? 11.0 : 14.0) / 12.0;
            ExpectResponse(values, {{type, double(kEqFrequencies[band]), 1.4, 1, gain}}, 60000);
        }
    }
    FilterValues all{.eq_mode = FILTER_ON};
    all.bands.fill(1);
    for (auto [rate, n_bands] : {std::pair{44100, 10}, {24001, 9}, {24000, 9}, {8000, 7}}) {
        EXPECT_EQ(BuildEqualiserChain(all, rate).GetCount(), n_bands) << "below half the rate " << rate;
    }
}

TEST(Equaliser, PreampIsTenthsOfADecibelPerChannelUnlessForbidden) {
    const std::vector<float> audio = Noise(5000, 0.2f, 2);
    Recording recording(audio);
    FilterValues& values = recording.AddFilter() = {.eq_mode = FILTER_ON, .preamp_left = -60, .preamp_right = 25};
    const std::vector<float> louder = recording.ReadAll();
    for (size_t i = 0; i < audio.size(); i++) {
        ASSERT_NEAR(louder[i], audio[i] * std::pow(10.0, (i % 2 ? 2.5 : -6.0) / 20), 1e-6) << i;
    }
    EXPECT_EQ(recording.ReadAll(PCM_NO_PREAMP), audio);
    EXPECT_FALSE(recording.stack.AltersAudio(0, 10, PCM_NO_PREAMP));
    EXPECT_EQ(recording.ReadAll(PCM_NO_EQUALISER), audio);

    // The normalisation gain stands in the preamp's place, whatever the equaliser's mode.
    recording.entry.decided.normalise_gain = -40;
    for (const int mode : {FILTER_ON, FILTER_OFF}) {
        values.eq_mode = mode;
        recording.Read(5000, 1);  // a jump back to the start looks the settings up again
        const std::vector<float> normalised = recording.ReadAll(PCM_NORMALISE);
        for (size_t i = 0; i < audio.size(); i++) {
            ASSERT_NEAR(normalised[i], audio[i] * std::pow(10.0, -4.0 / 20), 1e-6) << mode << " " << i;
        }
        EXPECT_TRUE(recording.stack.AltersAudio(0, 10, PCM_NORMALISE));
    }
}

TEST(FilterStages, SettingsActOnExactlyTheirSamples) {
    const int64_t start = 30001, end = 50003, total = 80000;
    const std::vector<float> audio = Noise(total, 0.3f, 3);
    const std::function<void(Recording&)> stages[] = {
        [&](Recording& r) { r.AddFilter(start, end) = kHumAndRumble; },
        [&](Recording& r) { r.AddFilter(start, end) = kEqualiser; },
        [&](Recording& r) {
            r.AddCurve({{50, 6}, {5000, -6}}, start, end);
        },
    };
    for (const auto& add : stages) {
        SCOPED_TRACE(&add - stages);
        Recording ranged(audio);
        add(ranged);
        const std::vector<float> output = ranged.ReadAll();
        ASSERT_EQ(output.size(), audio.size());
        for (int64_t i = 0; i < 2 * total; i++) {
            const bool covered = i >= 2 * start && i < 2 * end;
            ASSERT_TRUE(covered || output[i] == audio[i]) << i;
        }
        // The equaliser's sections take their time to come in.
        EXPECT_NE(output[2 * (start + BiQuadEngine::kChangeOver)], audio[2 * (start + BiQuadEngine::kChangeOver)]);
        EXPECT_NE(output[2 * end - 2], audio[2 * end - 2]);
        EXPECT_FALSE(ranged.stack.AltersAudio(start - 1, 10, 0) || ranged.stack.AltersAudio(end, 10, 0));
        EXPECT_TRUE(ranged.stack.AltersAudio(start, 10, 0));
    }
}

TEST(FilterStages, AnyDivisionIntoReadsGivesTheSameBits) {
    const int64_t total = 130000;
    Recording straight(Noise(total, 0.1f, 4));
    AddEverything(straight);
    const std::vector<float> expected = straight.ReadAll();
    ASSERT_EQ(expected.size(), 2 * total);
    for (unsigned seed : {1u, 2u, 3u}) {
        Recording recording(straight.source.pairs);
        AddEverything(recording);
        std::mt19937 generator(seed);
        std::vector<float> pieces;
        while (pieces.size() < expected.size()) {
            const int32_t n = 1 + int32_t(generator() % (seed == 1 ? 60 : 20000));
            const std::vector<float> piece = recording.Read(int64_t(pieces.size() / 2), n);
            ASSERT_FALSE(piece.empty());
            pieces.insert(pieces.end(), piece.begin(), piece.end());
        }
        EXPECT_TRUE(pieces == expected) << "seed " << seed;
    }
}

TEST(FilterStages, ReadingAfterAJumpAgreesWithAStraightRun) {
    Recording recording(Noise(400000, 0.1f, 5));
    AddEverything(recording);
    const std::vector<float> straight = recording.ReadAll();
    for (int64_t position : {350007, 105000, 80000, 399000, 8192, 4095, 0}) {
        const std::vector<float> once = recording.Read(position, 1000), again = recording.Read(position, 1000);
        EXPECT_EQ(once, again) << position;
        for (size_t i = 0; i < once.size(); i++) {
            ASSERT_NEAR(once[i], straight[2 * position + i], 1e-5) << position << " + " << i / 2;
        }
    }
}

// A while after a change the running chain gives what a chain gives that is made now.
TEST(FilterStages, AChangeIsHeardWhilePlayingAsItWillBeSaved) {
    constexpr int64_t kChangeAt = 3 * kRate, kTotal = 8 * kRate;
    constexpr int32_t kBlock = 2205;
    std::vector<float> audio = Noise(kTotal, 0.01, 7);
    for (int64_t i = 0; i < kTotal; i++) {
        const auto hum = float(0.05 * std::sin(2 * std::numbers::pi * 60 * double(i) / kRate));
        const auto music = i < kChangeAt ? 0.f : float(0.2 * std::sin(2 * std::numbers::pi * 75 * double(i) / kRate));
        for (int channel : {0, 1}) audio[2 * i + channel] += hum + music;
    }
    const std::function<void(Recording&)> hiss = [](Recording& r) {
        r.entry.decided.noise_stretch.end = 2 * kRate;
        r.AddFilter() = {.hiss_mode = FILTER_ON, .hiss_reduction = 8};
    };
    const std::function<void(Recording&)> hum = [](Recording& r) { r.AddFilter() = kHumAndRumble; };
    const std::function<void(Recording&)> equaliser = [](Recording& r) { r.AddFilter() = kEqualiser; };
    const std::function<void(Recording&)> curve = [](Recording& r) { r.AddCurve({{50, 6}, {1000, 0}, {8000, -8}}); };
    const std::function<void(Recording&)> no_hum = [](Recording& r) { r.AddFilter().hum_mode = FILTER_OFF; };
    const std::function<void(Recording&)> no_curve = [](Recording& r) { r.AddCurve({}, 0, 0, CURVE_OFF); };
    const std::function<void(Recording&)> noise_elsewhere = [](Recording& r) {
        const ListChange change(&r.entry.decided.filters);
        SetNoiseSample(r.entry, {kRate, 2 * kRate});
    };
    const std::function<void(Recording&)> repaired = [](Recording& r) {
        const ListChange change(&r.entry.click_repairs[0]);
        r.entry.click_repairs[0].Append(
            OrvaneTest::MakeRepair(REPAIR_PATCH, kRate, std::vector<int16_t>(kRate / 4, 20000)).release());
    };
    struct Case {
        const char* name;
        std::vector<std::function<void(Recording&)>> before;
        std::function<void(Recording&)> change;
    };
    for (const Case& c : {Case{"hum on", {equaliser}, hum},
                          {"hum off", {hum}, no_hum},
                          {"equaliser on", {hum}, equaliser},
                          {"curve on", {}, curve},
                          {"hiss on", {hum}, hiss},
                          {"hum on under hiss", {hiss}, hum},
                          {"hum off under hiss", {hum, hiss}, no_hum},
                          {"another noise sample", {hum, hiss}, noise_elsewhere},
                          {"a repair in the noise sample", {hiss}, repaired},
                          {"curve off under repaired noise", {repaired, hiss, curve}, no_curve}}) {
        SCOPED_TRACE(c.name);
        Recording playing(audio, kRate, PCM_NO_FADERS), saved(audio, kRate, PCM_NO_FADERS);
        for (Recording* r : {&playing, &saved}) {
            for (const auto& set : c.before) set(*r);
        }
        c.change(saved);
        for (int64_t at = 0; at < kTotal - kBlock; at += kBlock) {
            if (at == kChangeAt) c.change(playing);
            // What is read first without repairs must not stay in the noise sample.
            const std::vector<float> heard = playing.Read(at, kBlock, at == 0 ? PCM_NO_CLICK_REPAIR : 0u);
            if (at < kTotal - 4 * kBlock) continue;
            const std::vector<float> expected = saved.Read(at, kBlock);
            for (size_t i = 0; i < heard.size(); i++) ASSERT_NEAR(heard[i], expected[i], 1e-5) << at + int64_t(i / 2);
        }
    }
}

TEST(FilterStages, HumStaysOutWhereAnotherFilterBegins) {
    std::vector<float> hum(2 * 9 * kRate);
    for (size_t i = 0; i < hum.size(); i++) {
        hum[i] = float(0.1 * std::sin(2 * std::numbers::pi * 50 * double(i / 2) / kRate));
    }
    Recording recording(hum);
    recording.AddFilter() = {.hum_mode = FILTER_ON, .mains_frequency = 50};
    recording.AddFilter(4 * kRate, 5 * kRate) = kEqualiser;
    recording.AddCurve({{50, 6}, {1000, 0}, {8000, -8}}, 6 * kRate, 7 * kRate);
    EXPECT_LT(RmsDb(recording.ReadAll(), 3 * kRate, 9 * kRate), -120);
}

TEST(Denoise, ACurveIsHeardBehindAHighPass) {
    const int64_t total = 100000;
    for (int bin : {0, 4, 10, 186, 1000}) {
        const double frequency = double(bin) * kRate / 8192;
        std::vector<float> tone(2 * total);
        for (size_t i = 0; i < tone.size(); i++) {
            tone[i] = 0.1f * float(std::cos(2 * std::numbers::pi * bin * double(i / 2) / 8192));
        }
        Recording recording(tone);
        recording.AddCurve(BuildCurve(RecordEq(), 33, 33, SpeedMode::Same)->points);
        const double level = RmsDb(recording.ReadAll(), 32768, 32768 + 8 * 4096);
        if (bin == 0) {
            EXPECT_LT(level, -100);
            continue;
        }
        CurveGains gains(kRate, 8192);
        const FFTCurve* curves[] = {&recording.entry.decided.fft_eqs.First()->curve};
        gains.SetCurves(curves, 0);
        EXPECT_NEAR(
            level - RmsDb(tone, 32768, 32768 + 8 * 4096),
            20 * std::log10(gains.GetGains()[bin]) + Oracle::AnalogBiQuadDb(kHighPass, 0, 20, kRate, 2.0, frequency),
            0.05)
            << frequency;
    }
}

TEST(Denoise, LowersTheNoiseOfItsSampleAndKeepsTheTone) {
    const int64_t total = 400000, tone_from = 200000;
    std::vector<float> audio = Noise(total, 0.003f, 8);
    for (int64_t i = tone_from; i < total; i++) {
        for (int channel : {0, 1}) audio[2 * i + channel] += 0.3f * float(std::sin(0.07 * double(i)));
    }
    double last = 0;
    for (int reduction : {0, 4, 8}) {
        Recording recording(audio);
        recording.entry.decided.noise_stretch.start = 10000, recording.entry.decided.noise_stretch.end = 190000;
        recording.AddFilter() = {.hiss_mode = FILTER_ON, .hiss_reduction = reduction};
        const std::vector<float> output = recording.ReadAll();
        const double noise_down = RmsDb(audio, 20000, 180000) - RmsDb(output, 20000, 180000);
        EXPECT_GT(noise_down, last + 1.0) << reduction;
        EXPECT_NEAR(RmsDb(output, 220000, 380000), RmsDb(audio, 220000, 380000), 0.05) << reduction;
        // No delay, from the first sample to the last.
        ASSERT_EQ(output.size(), audio.size());
        for (int64_t i = 220000; i < total - 100; i++) ASSERT_NEAR(output[2 * i], audio[2 * i], 0.019) << i;
        EXPECT_EQ(recording.Read(total - 10, 100).size(), 20u);
        last = noise_down;
    }
    EXPECT_GT(last, 7.0);
}

TEST(Denoise, WithoutANoiseSampleAudioPassesUntouchedAndWithoutItsFileFails) {
    const std::vector<float> audio = Noise(60000, 0.1f, 9);
    for (int64_t end : {0, 8191}) {
        Recording recording(audio);
        recording.entry.decided.noise_stretch.end = end;
        recording.AddFilter().hiss_mode = FILTER_ON;
        EXPECT_EQ(recording.ReadAll(), audio) << "noise stretch of " << end;
        EXPECT_TRUE(LacksNoiseSample(recording.entry));
    }
    Recording missing(audio);
    missing.AddFilter().hiss_mode = FILTER_ON;
    missing.entry.decided.filters.First()->extra = "/none/none.vns";
    EXPECT_TRUE(missing.Read(0, 1000).empty());
    EXPECT_LT(missing.n_read, 0);
}

// Filters mode by mode, curves as a whole.
TEST(FilterSettings, LaterOnesGoOverEarlierOnes) {
    Recording recording(std::vector<float>{});
    recording.AddFilter() = {.hum_mode = FILTER_ON, .eq_mode = FILTER_ON, .bands = {0, 0, 0, 5}};
    recording.AddFilter(100, 300).hum_mode = FILTER_OFF;
    // Its bands stay out: their mode says no change.
    recording.AddFilter(200, 500) = {.hiss_mode = FILTER_ON, .bands = {0, 0, 0, -9}};
    recording.entry.decided.filters.Last()->extra = "a.vns";
    const FFTEq* first = &recording.AddCurve({}, 0, 0, CURVE_ON);
    const FFTEq* added = &recording.AddCurve({}, 100, 500, CURVE_ADD);
    recording.AddCurve({}, 200, 300, CURVE_OFF);
    const FFTEq* last = &recording.AddCurve({}, 400, 500, CURVE_ON);
    for (FFTEq& curve : recording.entry.decided.fft_eqs) curve.gain = 24;
    struct Case {
        int64_t position;
        int hum_mode, hiss_mode;
        int64_t next_filter;
        std::vector<const FFTEq*> curves;
        int64_t next_curve;
    };
    for (const Case& c : {Case{0, FILTER_ON, FILTER_NO_CHANGE, 100, {first}, 100},
                          {100, FILTER_OFF, FILTER_NO_CHANGE, 200, {first, added}, 200},
                          {200, FILTER_OFF, FILTER_ON, 300, {}, 300},
                          {400, FILTER_ON, FILTER_ON, 500, {last}, 500},
                          {500, FILTER_ON, FILTER_NO_CHANGE, kNoChange, {first}, kNoChange}}) {
        SCOPED_TRACE(c.position);
        const SettingsAt settings = GetSettingsAt(recording.entry.decided.filters, c.position, 0);
        EXPECT_EQ(settings.values.hum_mode, c.hum_mode);
        EXPECT_EQ(settings.values.hiss_mode, c.hiss_mode);
        EXPECT_EQ(settings.next_change, c.next_filter);
        EXPECT_EQ(settings.values.bands[3], 5);
        EXPECT_EQ(settings.noise_file, c.hiss_mode == FILTER_ON ? "a.vns" : "");
        const CurvesAt curves = GetCurvesAt(recording.entry.decided.fft_eqs, c.position, 0);
        EXPECT_EQ(curves.curves, c.curves);
        EXPECT_DOUBLE_EQ(curves.Level(), 10.0 * double(c.curves.size()));
        EXPECT_EQ(curves.next_change, c.next_curve);
    }
}

std::vector<BiQuadFilter> Sections(int n) {
    std::vector<BiQuadFilter> sections(n);
    for (int i = 0; i < n; i++) {
        ComputeBiQuad(sections[i], i % 7, 3.0 * i - 7, i < 5 ? 60.0 * (i + 1) : 16.0 * i, 44100, i < 5 ? 0.05 : 1.5);
    }
    return sections;
}

std::vector<float> Plain(std::vector<BiQuadFilter> sections, std::vector<float> audio) {
    for (float& sample : audio) {
        double x = sample;
        for (BiQuadFilter& section : sections) x = section.Process(x);
        sample = float(x);
    }
    return audio;
}

TEST(FilterChain, SameBitsAsSectionBySectionAtEveryWidthCountAndChunking) {
    const std::vector<float> left = OrvaneTest::NormalNoise(3000, 0.4, 1),
                             right = OrvaneTest::NormalNoise(3000, 0.4, 2);
    for (VectorWidth width : {VectorWidth::Two, VectorWidth::Four, VectorWidth::Eight}) {
        if (width > BestVectorWidth()) continue;
        for (int n_sections = 0; n_sections <= FilterChain::kMostSections; n_sections++) {
            SCOPED_TRACE(n_sections);
            const std::vector<BiQuadFilter> sections = Sections(n_sections);
            FilterChain chain;
            for (const BiQuadFilter& section : sections) chain.Append(section);
            std::vector<float> l = left, r = right;
            std::mt19937 generator(n_sections);
            for (size_t done = 0; done < l.size();) {
                const size_t n = std::min<size_t>(l.size() - done, generator() % (done < 300 ? 15 : 700));
                chain.Process(std::span(l).subspan(done, n), std::span(r).subspan(done, n), width);
                done += n;
            }
            const std::vector<float> plain_l = Plain(sections, left), plain_r = Plain(sections, right);
            EXPECT_EQ(std::memcmp(l.data(), plain_l.data(), l.size() * sizeof(float)), 0);
            EXPECT_EQ(std::memcmp(r.data(), plain_r.data(), r.size() * sizeof(float)), 0);
        }
    }
}

}  // namespace
}  // namespace Orvane
