#include "collection/deletealbums.h"

#include <gtest/gtest.h>

#include "collection/albumset.h"
#include "collection/steering_file.h"
#include "fake_hosts.h"
#include "foundation/progress.h"
#include "temp_folder.h"

namespace Orvane {
namespace {

TEST(DeleteAlbums, TakesItsOwnFilesAndNobodyElses) {
    const OrvaneTest::TempFolder folder;
    const auto file = [&](const std::string& name) { return folder.Write(name, "contents"); };
    const struct {
        DeleteWhat what;
        std::set<std::string> gone;  // of the files below
        int n_deleted, n_albums;
    } rows[] = {
        {{true, false, false}, {}, 1, 1},
        {{false, true, false}, {"Mine/A~T~side1.wav", "Mine/A~T~side1.wav.crd", "own.wav.crd"}, 3, 2},
        {{true, true, true},
         {"Mine/A~T~side1.wav", "Mine/A~T~side1.wav.crd", "own.wav.crd", "orvfiles/artwork/a.jpg"},
         5,
         1},
    };
    for (const auto& row : rows) {
        OrvaneTest::FakeMessageHost messages;
        OrvaneTest::FakeProgressHost progress;
        folder.Write("Mine.mcf", "\"\"\n\"-1\"\t\"A\"\t\"T\"\n\"-1\"\t\"B\"\t\"T\"\n");
        ASSERT_TRUE(OpenCollection(folder / "Mine.mcf"));
        AlbumInfo* albums[] = {gAlbumSet->albums.First(), gAlbumSet->albums.Last()};
        const auto add = [](AlbumInfo* album, const std::string& external) {
            AlbumSide* side = album->GetSide(0, true);
            side->AddRecording(MakeRef<FileHistoryEntry>(album, side));
            side->newest->extension = ".wav";
            side->newest->external_file = external;
            if (!external.empty()) side->newest->flags |= FHE_EXTERNAL_FILE;
        };
        add(albums[0], "");
        add(albums[0], file("own.wav"));          // the user's own, outside
        add(albums[0], file("Mine/shared.wav"));  // another album's, too
        add(albums[1], folder / "Mine/shared.wav");
        albums[0]->art_file = "artwork/a.jpg";
        std::set<std::string> gone;
        const char* const names[] = {
            "Mine/A~T~side1.wav", "Mine/A~T~side1.wav.crd", "own.wav.crd", "orvfiles/artwork/a.jpg", "own.wav",
            "Mine/shared.wav",    "Mine/shared.wav.crd"};
        for (const char* name : names) file(name);
        albums[1]->running_jobs = 1;
        EXPECT_EQ(DeleteAlbums({albums[0], albums[1]}, row.what), row.n_deleted);
        albums[1]->running_jobs = 0;
        for (const char* name : names) {
            if (!FileExists(folder / name)) gone.insert(name);
        }
        EXPECT_EQ(gone, row.gone);
        EXPECT_NE(progress.log.find("is being worked on"), std::string::npos);
        EXPECT_EQ(messages.asked.size(), 1u);
        ASSERT_TRUE(OpenCollection(folder / "Mine.mcf"));
        EXPECT_EQ(gAlbumSet->albums.size(), row.n_albums);
        CloseCollection();
    }
}

}  // namespace
}  // namespace Orvane
