#include "collection/dataobjects.h"

#include <algorithm>

#include "foundation/path.h"

using namespace Foundation;

namespace Orvane {

AlbumSet* gAlbumSet = nullptr;
bool gClosing = false;

namespace {

void (*title_hook)() = nullptr;

void SetDirty(bool dirty) {
    if (!gAlbumSet) return;
    gAlbumSet->dirty = dirty;
    TitleChanged();
}

}  // namespace

int64_t ALBUMTRACK::FadeStart() const {
    return std::max<int64_t>(0, start - FadeIn());
}

void AlbumSide::AddRecording(RefPtr<FileHistoryEntry> entry) {
    entry->side = this;
    newest = latest_take = entry.get();
    history.push_back(std::move(entry));
}

int AlbumSide::PositionOf(const FileHistoryEntry* entry) const {
    for (size_t i = 0; i < history.size(); ++i) {
        if (history[i].get() == entry) return static_cast<int>(i) + 1;
    }
    return 0;
}

void AlbumSide::SortByTime(const FileHistoryEntry* entry) {
    const int position = PositionOf(entry);
    if (position == 0) return;
    const RefPtr<FileHistoryEntry> moved = history[static_cast<size_t>(position - 1)];
    history.erase(history.begin() + (position - 1));
    const auto later = std::find_if(history.begin(), history.end(),
                                    [&](const auto& other) { return other->facts.file_time > moved->facts.file_time; });
    history.insert(later, moved);
}

AlbumInfo::AlbumInfo() = default;

AlbumInfo::~AlbumInfo() {
    for (AlbumSide* side : sides) {
        for (size_t i = 0; gClosing && side && i < side->history.size(); ++i) side->history[i]->CloseForGood();
        delete side;
    }
    ORVANE_ASSERT(open_fhe_count == 0);
}

AlbumSide* AlbumInfo::GetSide(int index, bool create, std::unique_ptr<AlbumSide> append_me) {
    if (index < 0) index = sides.size();
    AlbumSide* side = index < sides.size() ? sides[index] : nullptr;
    if (side) {
        ORVANE_ASSERT(append_me == nullptr);
        return side;
    }
    if (!create || index >= (set ? set->SideLimit() : kMaxAlbumSides)) return nullptr;
    while (sides.size() <= index) sides.push_back(nullptr);
    return sides[index] = append_me ? append_me.release() : new AlbumSide;
}

std::vector<FileHistoryEntry*> AlbumInfo::Recordings() const {
    std::vector<FileHistoryEntry*> recordings;
    for (AlbumSide* side : sides) {
        if (side && side->newest) recordings.push_back(side->newest);
    }
    return recordings;
}

std::string AlbumInfo::ArtPath() const {
    const std::string path = NativePath(art_file);
    return path.empty() || IsAbsolutePath(path) || !set ? path : JoinPath(set->side_folder, path);
}

AlbumSet::AlbumSet(std::string_view path) {
    SetPath(path);
}

void AlbumSet::SetPath(std::string_view new_path) {
    path = new_path;
    const std::string folder = FolderOf(path);
    recordings_folder = path.empty() ? std::string() : JoinPath(folder, FileNameOf(WithoutExtension(path)));
    side_folder = path.empty() ? std::string() : JoinPath(folder, "orvfiles");
}

void MarkDirty() {
    SetDirty(true);
}

void ClearDirty() {
    SetDirty(false);
}

void TitleChanged() {
    if (title_hook) title_hook();
}

void SetTitleHook(void (*hook)()) {
    title_hook = hook;
}

}  // namespace Orvane
