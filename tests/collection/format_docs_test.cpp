// The examples printed in the descriptions of our file formats, read and written.
#include <gtest/gtest.h>

#include "collection/crd_file.h"
#include "collections.h"
#include "foundation/text.h"
#include "temp_folder.h"

namespace Orvane {
namespace {

// The last code block of a page.
std::string Example(const std::string& page) {
    const std::string text = OrvaneTest::ReadBytes(std::string(ORVANE_TESTS_DIR) + "/../docs/" + page);
    const size_t end = text.rfind("```");
    const size_t start = text.rfind("```\n", end - 1) + 4;
    return end == text.npos ? std::string() : text.substr(start, end - start);
}

TEST(CollectionFormat, TheDescriptionsExampleIsReadAndWritten) {
    const std::string example = Replace(Example("collection-format.md"), "→", "\t");
    const OrvaneTest::ReadCollectionText read = OrvaneTest::ReadWhole(example);
    ASSERT_EQ(read.result, ReadResult::Good);
    EXPECT_EQ(OrvaneTest::WriteWhole(*read.set), example);
    ASSERT_EQ(read.set->albums.size(), 1);
    const AlbumInfo& album = *read.set->albums.First();
    EXPECT_EQ(album.title, "First");
    EXPECT_EQ(album.year, 1968);
    EXPECT_EQ(album.art_file, "artwork/first.jpg");
    EXPECT_EQ(album.status, STATUS_SPLIT);
    EXPECT_EQ(album.release_number, "12345");
    EXPECT_EQ(album.notes, "Bought in May.\nScratch on side 2.");

    ASSERT_EQ(album.tracks.size(), 2);
    const ALBUMTRACK& opening = album.tracks[0];
    EXPECT_EQ(opening.composer, "A. Writer");
    EXPECT_EQ(opening.start, 44100 * 11 / 4);
    EXPECT_EQ(opening.end, 44100 * 811 / 4);
    EXPECT_EQ(opening.fade_in, 22050);
    EXPECT_EQ(opening.fade_out, 44100);
    EXPECT_EQ(album.tracks[1].title, "The 12\" Mix");
    EXPECT_TRUE(album.tracks[1].excluded);

    ASSERT_EQ(album.sides.size(), 2);
    EXPECT_EQ(album.sides[1], nullptr);
    const FileHistoryEntry& entry = *album.sides[0]->newest;
    EXPECT_EQ(entry.GetPath(), "/music/Mine/The Examples~First~side1.wav");
    EXPECT_EQ(entry.file_time, 133000000000000000);
    EXPECT_EQ(entry.click_scan.sensitivity, 5);
    EXPECT_EQ(entry.speed_to, 78);
    EXPECT_EQ(entry.markers.First()->absolute_start_time, 9696000);
    const FilterSetting& filter = *entry.filters.First();
    EXPECT_EQ(filter.name, "hum, rumble");
    EXPECT_EQ(filter.values.hiss_mode, FILTER_OFF);
    EXPECT_EQ(filter.values.hiss_quality, 3);
    EXPECT_EQ(filter.values.mains_frequency, 50);
    EXPECT_EQ(filter.values.bands, (std::array<int32_t, kEqBands>{-1, 0, 0, 0, 0, 0, 0, 0, 0, 12}));
}

TEST(CorrectionsFormat, TheDescriptionsExampleIsReadAndWritten) {
    std::string digits;
    for (char c : Example("corrections-format.md")) {
        if (c != ' ' && c != '\n') digits += c;
    }
    std::string bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    ClickRepairList lists[2];
    ASSERT_EQ(ReadCrd({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}, lists), CrdResult::Good);
    EXPECT_EQ(WriteCrd(lists), bytes);
    ASSERT_EQ(lists[0].size(), 1);
    const ClickRepair& repair = *lists[0].First();
    EXPECT_EQ(repair.repair_type, REPAIR_SCANNER);
    EXPECT_EQ(repair.absolute_start_time, 1000);
    EXPECT_EQ(repair.absolute_end_time, 1003);
    EXPECT_EQ(repair.max_sample, 32767);
    ASSERT_EQ(lists[1].size(), 1);
    EXPECT_EQ(lists[1].First()->repair_type, REPAIR_PP);
}

}  // namespace
}  // namespace Orvane
