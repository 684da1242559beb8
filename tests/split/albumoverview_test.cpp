#include "split/albumoverview.h"

#include <gtest/gtest.h>

#include "waveform_sides.h"

namespace Orvane {
namespace {

TEST(AlbumOverview, WaveformFilesGiveWhatTheAudioGives) {
    OrvaneTest::WaveformSides sides;
    for (const int frames : {50000, 60000}) sides.AddSide(OrvaneTest::NoisePairs(frames));
    WaveformOverview from_audio, from_files, spoilt;
    ASSERT_TRUE(ReadAlbumOverview(*sides.album, from_audio));
    for (FileHistoryEntry* entry : sides.album->Recordings()) RequestWaveformData(*entry);
    OrvaneTest::WaveformSides::Wait();
    ASSERT_TRUE(ReadAlbumOverview(*sides.album, from_files));
    EXPECT_EQ(from_files.bytes, from_audio.bytes);
    EXPECT_EQ(from_files.total_samples, 110000);
    sides.folder.Write("orvfiles/side1.wav.wft", std::string(43, '\1'));
    ASSERT_TRUE(ReadAlbumOverview(*sides.album, spoilt));
    EXPECT_EQ(spoilt.bytes[5], 1);
}

}  // namespace
}  // namespace Orvane
