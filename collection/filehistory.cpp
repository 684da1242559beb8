#include "collection/filehistory.h"

#include <algorithm>
#include <mutex>

#include "collection/dataobjects.h"
#include "collection/listchange.h"
#include "foundation/host.h"
#include "foundation/lasterror.h"
#include "foundation/mainloop.h"
#include "foundation/messages.h"
#include "foundation/path.h"
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

template <class T>
void CopyList(const LinkedList<T>& from, LinkedList<T>& to) {
    for (const T& e : from) to.Append(new T(e));
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

const char* OpenStatusText(int status) {
    switch (status) {
        case 0:
        case OPEN_MISSING:
            return "(missing)";
        case OPEN_IN_USE:
            return "(in use)";
        case OPEN_NO_MP3:
            return "(no mp3)";
        case OPEN_CANCELLED:
            return "cancelled";
        case OPEN_BAD_RATE:
            return "(bad sr)";
        default:
            return "(bad file)";
    }
}

ScanSettings ScanSettings::WithDefaults() const {
    ScanSettings filled = *this;
    if (sensitivity < 0) filled.sensitivity = 3;
    if (percussion_protection < 0) filled.percussion_protection = 2;
    if (brass_protection < 0) filled.brass_protection = 1;
    if (passes < 0) filled.passes = 1;
    return filled;
}

bool ScanSettings::SameScan(const ScanSettings& other) const {
    constexpr int kWhenAndWhere = SCAN_SELECTION_ONLY | SCAN_BATCH_IF_NEW | SCAN_BATCH | SCAN_IF_NEW;
    const ScanSettings a = WithDefaults();
    const ScanSettings b = other.WithDefaults();
    return a.sensitivity == b.sensitivity && a.percussion_protection == b.percussion_protection &&
           a.brass_protection == b.brass_protection && a.passes == b.passes && a.channels == b.channels &&
           (a.options & ~kWhenAndWhere) == (b.options & ~kWhenAndWhere);
}

FileHistoryEntry::FileHistoryEntry(AlbumInfo* album, AlbumSide* side)
    : id(NewId()),
      generation(++last_generation),
      album(album),
      side(side),
      click_repairs{ClickRepairList(0), ClickRepairList(1)},
      speed_from(static_cast<int16_t>(GetSetting("Turntable Speed", 45))),
      speed_to(static_cast<int16_t>(GetSetting("Normal Playing Speed", 78))) {
    click_repairs[0].buddy = &click_repairs[1];
    click_repairs[1].buddy = &click_repairs[0];
}

FileHistoryEntry::FileHistoryEntry(const FileHistoryEntry& original, uint32_t what)
    : id(original.id),
      generation(original.generation),
      album(original.album),
      side(original.side),
      extension(original.extension),
      name_suffix(original.name_suffix),
      file_time(original.file_time),
      click_scan(original.click_scan),
      click_repairs{ClickRepairList(0, original.SampleRate()), ClickRepairList(1, original.SampleRate())},
      comment(original.comment),
      original_name(original.original_name),
      view_position{original.view_position[0], original.view_position[1]},
      side_breaks(original.side_breaks),
      file_size(original.file_size),
      total_samples(original.total_samples),
      crd_time(original.crd_time),
      samplerate(original.samplerate),
      bit_rate(original.bit_rate),
      stream_index(original.stream_index),
      normalise_gain(original.normalise_gain),
      open_status(original.open_status),
      view_mode(original.view_mode),
      speed_from(original.speed_from),
      speed_to(original.speed_to),
      file_format(original.file_format),
      bits(original.bits),
      channels(original.channels),
      sample_format(original.sample_format),
      flags(original.flags & ~(FHE_CORRECTIONS_LOADED | FHE_SHARED_LISTS)),
      flags2(original.flags2 | FHE_PRIVATE_COPY),
      external_file(original.external_file),
      corrections_stale(original.corrections_stale),
      fixed_path(original.GetPath()),
      fixed_format(original.FormatOfOthers()) {
    click_repairs[0].buddy = &click_repairs[1];
    click_repairs[1].buddy = &click_repairs[0];
    if (original.record_eq_post) record_eq_post = std::make_unique<RecordEq>(*original.record_eq_post);
    if (!(what & COPY_CORRECTIONS)) return;
    const Locked lists(ListChangeLock());
    CopyList(original.markers, markers);
    CopyList(original.cuts, cuts);
    CopyList(original.filters, filters);
    CopyList(original.fft_eqs, fft_eqs);
    for (int channel : {0, 1}) CopyList(original.click_repairs[channel], click_repairs[channel]);
    flags |= original.flags & FHE_CORRECTIONS_LOADED;
}

FileHistoryEntry::~FileHistoryEntry() {
    if (gClosing) Close(active_users);
    ORVANE_ASSERT(this->active_users == 0);
}

RefPtr<FileHistoryEntry> FileHistoryEntry::Copy(uint32_t what) {
    return RefPtr<FileHistoryEntry>(new FileHistoryEntry(*this, what));
}

void FileHistoryEntry::SetGeneration() {
    generation = ++last_generation;
}

std::string FileHistoryEntry::GetPath() const {
    if (IsPrivate()) return fixed_path;
    if (flags & FHE_EXTERNAL_FILE) return external_file;
    const AlbumSet* set = album->set;
    std::string name = album->artist + "~" + album->title;
    for (int i = 0; side && i < album->sides.size(); ++i) {
        if (album->sides[i] == side) name += "~side" + std::to_string(i + 1);
    }
    return JoinPath(set ? set->recordings_folder : std::string(), SafeFileName(name + name_suffix + extension));
}

std::string FileHistoryEntry::WaveformPathFor(std::string_view recording_path, std::string_view waveform_extension) {
    return JoinPath(JoinPath(FolderOf(recording_path), "orvfiles"), FileNameOf(recording_path))
        .append(waveform_extension);
}

std::vector<std::string> FileHistoryEntry::AllPaths() const {
    std::vector<std::string> paths = {GetPath(), CorrectionsPath(), LegacyCorrectionsPath()};
    for (const char* waveform_extension : kWaveformExtensions) paths.push_back(WaveformPath(waveform_extension));
    return paths;
}

FileHistoryEntry::AlbumFormat FileHistoryEntry::FormatOfOthers() const {
    if (IsPrivate()) return fixed_format;
    for (const FileHistoryEntry* other : album->Recordings()) {
        if (other->side == side || other->samplerate == 0 || other->open_status == OPEN_BAD_RATE) continue;
        return {other->samplerate, other->sample_format};
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
    bool changed = Assign(samplerate, open_file->GetSampleRate(0));
    changed |= Assign(bit_rate, open_file->BitRate());
    changed |= Assign(sample_format, static_cast<uint8_t>(open_file->SampleFormat()));
    changed |= Assign(bits, static_cast<uint8_t>(open_file->BitDepth()));
    changed |= Assign(channels, static_cast<uint8_t>(open_file->Channels()));
    file_format = static_cast<uint8_t>(open_file->file_format);
    total_samples = open_file->GetTotalSamples(0);
    for (ClickRepairList& list : click_repairs) list.samplerate = SampleRate();
    return changed;
}

int FileHistoryEntry::OpenLocked() {
    // Unsaved, another size or time would make the derived files stale in every session.
    if (!IsPrivate() && IsMainThread() && CheckFile()) MarkChanged();
    const std::string path = GetPath();
    int error = 0;
    open_file = OpenForReading(path, error);
    if (!open_file) {
        return FormatOfExtension(extension) == FF_MP3 && !MakeFileStream(FF_MP3) ? OPEN_NO_MP3 : StatusOfError(error);
    }
    if (StoreFacts()) MarkChanged();
    const AlbumFormat wanted = FormatOfOthers();
    if (wanted.samplerate != 0 &&
        (samplerate != wanted.samplerate || (sample_format != 0 && sample_format != wanted.sample_format))) {
        open_file->Close();
        open_file = nullptr;
        SetLastErrorText(FormatMsg(Msg::WrongSampleRate, path, samplerate, wanted.samplerate));
        return OPEN_BAD_RATE;
    }
    if (!IsPrivate() && IsMainThread()) {
        album->samplerate = samplerate;
        album->sample_format = sample_format;
    }
    return 0;
}

int FileHistoryEntry::Open(uint32_t user, bool report) {
    std::unique_lock<CriticalSection> lock(FileHistoryLock(), std::defer_lock);
    if (!IsPrivate()) lock.lock();
    if (!open_file) {
        const int status = OpenLocked();
        open_status = static_cast<int16_t>(status);
        if (status != 0) {
            if (report && IsMainThread() && !(flags & FHE_FAILURE_REPORTED)) {
                flags |= FHE_FAILURE_REPORTED;
                lock = {};
                ShowMessage(GetLastError().text + "\n\n" + FormatMsg(Msg::RecordingOpenNote));
            }
            return status;
        }
        flags &= ~FHE_FAILURE_REPORTED;
        ++album->open_fhe_count;
    }
    active_users.fetch_or(user);
    return 0;
}

void FileHistoryEntry::Close(uint32_t user) {
    std::unique_lock<CriticalSection> lock(FileHistoryLock(), std::defer_lock);
    if (!IsPrivate()) lock.lock();
    active_users.fetch_and(~user);
    if (active_users != 0 || !open_file) return;

    const bool save = !IsPrivate() && !(flags & FHE_SHARED_LISTS) && (click_repairs[0].dirty || click_repairs[1].dirty);
    const bool saved = !save || SaveCorrections() == 0;
    // Repairs that could not be saved stay, so that the next Close can try again.
    if (saved && !(flags & FHE_SHARED_LISTS)) {
        for (ClickRepairList& list : click_repairs) list.Clear();
        flags &= ~FHE_CORRECTIONS_LOADED;
    }
    open_file->Close();
    open_file = nullptr;
    const int32_t l = --album->open_fhe_count;
    ORVANE_ASSERT(l >= 0);
    lock = {};
    if (!saved && IsMainThread()) ShowLastError();
}

bool FileHistoryEntry::CheckFile() {
    if (open_file) return false;
    FileInfo info;
    const std::string path = GetPath();
    if (GetFileInfo(path, info) != 0) return false;
    const bool known = file_size != 0 || file_time != 0;
    const bool other_size = info.size != file_size;
    const bool other_time = std::abs(info.time - file_time) > kTimeTolerance;
    corrections_stale = known && other_size;
    if (!other_size && !other_time) return false;
    file_time = info.time;
    if (other_time && side) side->SortByTime(this);
    if (known) {
        DeleteDerivedFiles(other_size ? 3 : 1);
        SetGeneration();
    }
    // As long as the corrections of the older file lie there, its size has to tell that they are none of this one's.
    if (!corrections_stale) file_size = info.size;
    return true;
}

void FileHistoryEntry::DeleteDerivedFiles(int what) {
    // The user's decisions can be brought back from the Trash; drawings are made anew.
    if (what & 2) {
        for (ClickRepairList& list : click_repairs) list.Clear();
        flags &= ~FHE_CORRECTIONS_LOADED;
    }
    if (!MayChange()) return;
    if (what & 2) corrections_stale = !PutCorrectionsAside();
    if (!(what & 1)) return;
    for (const char* waveform_extension : kWaveformExtensions) RemoveFile(WaveformPath(waveform_extension));
}

void FileHistoryEntry::RecomputeTimes() {
    for (MarkerCorrection& marker : markers) {
        marker.absolute_start_time = cuts.ToAbsolute(marker.start_time);
        marker.absolute_end_time = cuts.ToAbsolute(marker.end_time);
    }
    const auto to_edited = [this](BaseGenericFilterSetting& setting) {
        setting.start_time = cuts.ToEdited(setting.absolute_start_time);
        setting.end_time = cuts.ToEdited(setting.absolute_end_time);
    };
    for (FilterSetting& filter : filters) to_edited(filter);
    for (FFTEq& eq : fft_eqs) to_edited(eq);
}

}  // namespace Orvane
