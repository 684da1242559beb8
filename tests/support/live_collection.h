// A live collection in a folder of its own, with what its albums have on the disk.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "collection/albumset.h"
#include "collection/dataobjects.h"
#include "collection/undo.h"
#include "temp_folder.h"

namespace OrvaneTest {

struct LiveCollection {
    LiveCollection() {
        Orvane::gAlbumSet = &set;
        Orvane::ClearUndo();
    }
    ~LiveCollection() {
        Orvane::ClearUndo();
        Orvane::gAlbumSet = nullptr;
    }
    Orvane::AlbumInfo* Add(const std::string& artist, const std::string& title) {
        auto album = Orvane::MakeAlbum();
        album->artist = artist;
        album->title = title;
        return Orvane::AddAlbum(std::move(album));
    }
    // A new take of a side, whose file holds these bytes.
    Orvane::FileHistoryEntry& AddRecording(Orvane::AlbumInfo& album, int side_index, std::string_view bytes,
                                           const std::string& suffix = {}) {
        Orvane::AlbumSide* side = album.GetSide(side_index, true);
        side->AddRecording(Foundation::MakeRef<Orvane::FileHistoryEntry>(&album, side));
        side->newest->name.extension = ".wav";
        side->newest->name.suffix = suffix;
        folder.Write(side->newest->GetPath(), bytes);
        return *side->newest;
    }

    TempFolder folder;
    Orvane::AlbumSet set{folder / "Mine.mcf"};
};

}  // namespace OrvaneTest
