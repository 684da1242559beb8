#include "collection/filehistory.h"

#include <algorithm>
#include <bit>
#include <mutex>

#include "collection/dataobjects.h"
#include "collection/listchange.h"
#include "foundation/host.h"
#include "foundation/lasterror.h"
#include "foundation/mainloop.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/reports.h"
#include "foundation/settings.h"
#include "tesslib/fileformats.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

std::atomic<uint32_t> last_id{0};
std::atomic<uint32_t> last_generation{0};

constexpr const char* kWaveformExtensions[] = {".wft", ".wfd", ".wfo", ".wfs"};

// File systems keep times in steps of up to two seconds.
constexpr FileTime kTimeTolerance = 2 * kFileTimeSecond;

uint32_t NewId() {
    uint32_t id = 0;
    while (id == 0) id = ++last_id;
    return id;
}

int StatusOfError(int error) {
    switch (error) {
        case ERR_CANNOT_OPEN:
            return OPEN_MISSING;
        case ERR_IN_USE:
            return OPEN_IN_USE;
        default:
            return error;
    }
}

// True if that changed anything.
template <class T>
bool Assign(T& to, const T& from) {
    if (to == from) return false;
    to = from;
    return true;
}

}  // namespace

CriticalSection& FileHistoryLock() {
    static CriticalSection lock;
    return lock;
}

FileHistoryEntry::FileHistoryEntry(AlbumInfo* album, AlbumSide* side)
    : id(NewId()), generation(++last_generation), album(album), side(side) {
    decided.speed.from = static_cast<int16_t>(GetSetting("Turntable Speed", 45));
    decided.speed.to = static_cast<int16_t>(GetSetting("Normal Playing Speed", 78));
}

FileHistoryEntry::FileHistoryEntry(const FileHistoryEntry& original, const ClickRepairs& repairs)
    : id(original.id),
      generation(original.generation),
      album(original.album),
      side(original.side),
      name(original.name),
      facts(original.facts),
      decided(original.decided),
      click_repairs(repairs),
      corrections_file(original.corrections_file),
      private_copy({original.GetPath(), original.FormatOfOthers()}) {}

FileHistoryEntry::~FileHistoryEntry() {
    ORVANE_ASSERT(this->active_users == 0);
}

RefPtr<FileHistoryEntry> FileHistoryEntry::Copy(uint32_t what) {
    const Locked lists(ListChangeLock());
    if (what & COPY_CORRECTIONS) return RefPtr<FileHistoryEntry>(new FileHistoryEntry(*this, click_repairs));
    RefPtr<FileHistoryEntry> copy(new FileHistoryEntry(*this, ClickRepairs(SampleRate())));
    copy->corrections_file.SetLoaded(false);
    return copy;
}

void FileHistoryEntry::SetGeneration() {
    generation = ++last_generation;
}

std::string FileHistoryEntry::GetPath() const {
    if (IsPrivate()) return private_copy->path;
    if (name.IsExternal()) return name.external_file;
    const AlbumSet* set = album->set;
    std::string path = album->artist + "~" + album->title;
    for (int i = 0; side && i < album->sides.size(); ++i) {
        if (album->sides[i] == side) path += "~side" + std::to_string(i + 1);
    }
    return JoinPath(set ? set->recordings_folder : std::string(), SafeFileName(path + name.suffix + name.extension));
}

std::string FileHistoryEntry::WaveformPathFor(std::string_view recording_path, std::string_view waveform_extension) {
    return JoinPath(JoinPath(FolderOf(recording_path), "orvfiles"), FileNameOf(recording_path))
        .append(waveform_extension);
}

std::vector<std::string> FileHistoryEntry::AllPaths() const {
    std::vector<std::string> paths = {GetPath(), CorrectionsPath(), CorrectionsFile::OlderPathFor(GetPath())};
    for (const char* waveform_extension : kWaveformExtensions) paths.push_back(WaveformPath(waveform_extension));
    return paths;
}

FileHistoryEntry::AlbumFormat FileHistoryEntry::FormatOfOthers() const {
    if (IsPrivate()) return private_copy->format;
    for (const FileHistoryEntry* other : album->Recordings()) {
        if (other->side == side || other->facts.samplerate == 0 || other->facts.open_status == OPEN_BAD_RATE) continue;
        return {other->facts.samplerate, other->facts.sample_format};
    }
    return {};
}

bool FileHistoryEntry::MayChange() const {
    return IsMainThread() && !IsPrivate() && !album->IsWorkingCopy() && album->set == gAlbumSet;
}

void FileHistoryEntry::MarkChanged() const {
    if (MayChange()) MarkDirty();
}

bool FileHistoryEntry::StoreFacts() {
    bool changed = Assign(facts.samplerate, open_file->GetSampleRate(0));
    changed |= Assign(facts.bit_rate, open_file->BitRate());
    changed |= Assign(facts.sample_format, static_cast<uint8_t>(open_file->SampleFormat()));
    changed |= Assign(facts.bits, static_cast<uint8_t>(open_file->BitDepth()));
    changed |= Assign(facts.channels, static_cast<uint8_t>(open_file->Channels()));
    facts.file_format = static_cast<uint8_t>(open_file->file_format);
    facts.total_samples = open_file->GetTotalSamples(0);
    click_repairs.SetSampleRate(SampleRate());
    return changed;
}

Outcome FileHistoryEntry::OpenLocked() {
    // Unsaved, another size or time would make the derived files stale in every session.
    if (!IsPrivate() && IsMainThread() && CheckFile()) MarkChanged();
    const std::string path = GetPath();
    int error = 0;
    open_file = OpenForReading(path, error);
    if (!open_file) {
        const bool no_mp3 = FormatOfExtension(name.extension) == FF_MP3 && !MakeFileStream(FF_MP3);
        facts.open_status = static_cast<int16_t>(no_mp3 ? OPEN_NO_MP3 : StatusOfError(error));
        return Outcome::OfLastError(error).About(path);
    }
    if (StoreFacts()) MarkChanged();
    const AlbumFormat wanted = FormatOfOthers();
    if (wanted.samplerate != 0 && (facts.samplerate != wanted.samplerate ||
                                   (facts.sample_format != 0 && facts.sample_format != wanted.sample_format))) {
        open_file->Close();
        open_file = nullptr;
        facts.open_status = OPEN_BAD_RATE;
        return Outcome::Fail(Kind::Refused, Msg::WrongSampleRate, path, facts.samplerate, wanted.samplerate)
            .About(path);
    }
    if (!IsPrivate() && IsMainThread()) {
        album->samplerate = facts.samplerate;
        album->sample_format = facts.sample_format;
    }
    facts.open_status = OPEN_GOOD;
    ++album->open_fhe_count;
    return {};
}

Result<OpenRecording> FileHistoryEntry::Open(uint32_t user) {
    ORVANE_ASSERT(std::has_single_bit(user));
    const Locked lock(FileHistoryLock());
    if (!open_file) {
        if (Outcome opened = OpenLocked(); !opened) return opened;
    }
    if (n_holds[static_cast<size_t>(std::countr_zero(user))]++ == 0) active_users.fetch_or(user);
    return OpenRecording(this, user);
}

void FileHistoryEntry::Close(uint32_t user) {
    const Locked lock(FileHistoryLock());
    if (closed_for_good) return;
    int& n = n_holds[static_cast<size_t>(std::countr_zero(user))];
    ORVANE_ASSERT(n > 0);
    if (--n > 0) return;
    active_users.fetch_and(~user);
    if (active_users == 0) CloseLocked();
}

void FileHistoryEntry::CloseForGood() {
    const Locked lock(FileHistoryLock());
    if (!IsOpen()) return;
    closed_for_good = true;
    active_users = 0;
    const RefPtr<FileStream> still_held = open_file;
    CloseLocked();
    open_file = still_held;
}

void FileHistoryEntry::CloseLocked() {
    // Repairs that could not be saved stay, so that the next close can try again.
    Outcome saved;
    if (!IsPrivate() && click_repairs.IsDirty()) saved = SaveCorrections();
    if (saved) {
        click_repairs.Clear();
        corrections_file.SetLoaded(false);
    }
    Report(std::move(saved));
    open_file->Close();
    open_file = nullptr;
    const int32_t l = --album->open_fhe_count;
    ORVANE_ASSERT(l >= 0);
}

FileStream& OpenRecording::File() const {
    return *entry->open_file;
}

void OpenRecording::Close() {
    if (!entry) return;
    entry->Close(user);
    entry = nullptr;
}

Outcome FileHistoryEntry::LoadCorrections() {
    const Locked lock(FileHistoryLock());
    if (corrections_file.IsLoaded()) return {};
    click_repairs.SetSampleRate(SampleRate());
    const auto access = MayChange() ? CorrectionsFile::Access::Change : CorrectionsFile::Access::Read;
    if (Outcome loaded = corrections_file.Load(GetPath(), click_repairs, access); !loaded) return loaded;
    if (click_repairs.IsDirty()) MarkChanged();
    SetGeneration();
    return {};
}

Outcome FileHistoryEntry::SaveCorrections() {
    const Locked lock(FileHistoryLock());
    return corrections_file.Save(GetPath(), click_repairs);
}

bool FileHistoryEntry::CheckFile() {
    if (IsOpen()) return false;
    FileInfo info;
    const std::string path = GetPath();
    if (GetFileInfo(path, info) != 0) return false;
    const bool known = facts.file_size != 0 || facts.file_time != 0;
    const bool other_size = info.size != facts.file_size;
    const bool other_time = std::abs(info.time - facts.file_time) > kTimeTolerance;
    corrections_file.SetStale(known && other_size);
    if (!other_size && !other_time) return false;
    facts.file_time = info.time;
    if (other_time && side) side->SortByTime(this);
    if (known) {
        DeleteDerivedFiles(other_size ? 3 : 1);
        SetGeneration();
    }
    // As long as the corrections of the older file lie there, its size has to tell that they are none of this one's.
    if (!corrections_file.IsStale()) facts.file_size = info.size;
    return true;
}

void FileHistoryEntry::DeleteDerivedFiles(int what) {
    // The user's decisions can be brought back from the Trash; drawings are made anew.
    if (what & 2) {
        click_repairs.Clear();
        corrections_file.SetLoaded(false);
    }
    if (!MayChange()) return;
    if (what & 2) corrections_file.SetStale(!corrections_file.PutAside(GetPath()));
    if (!(what & 1)) return;
    for (const char* waveform_extension : kWaveformExtensions) RemoveFile(WaveformPath(waveform_extension));
}

}  // namespace Orvane
