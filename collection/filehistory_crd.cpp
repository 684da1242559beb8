// The click repairs of a recording and the file that keeps them.
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

#include "collection/crd_file.h"
#include "collection/filehistory.h"
#include "foundation/host.h"
#include "foundation/lasterror.h"
#include "foundation/mainloop.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/safefile.h"
#include "tesslib/fileformats.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr int kOpenTries = 8;
constexpr auto kOpenPause = std::chrono::milliseconds(250);

void Show(bool report, const std::string& text) {
    if (report && IsMainThread()) ShowMessage(text);
}

int Fail(bool report, std::string text) {
    const int error = FailContents(std::move(text));
    Show(report, GetLastError().text);
    return error;
}

int ReadWhole(const std::string& path, std::vector<uint8_t>& bytes) {
    FilePtr file;
    int error = 0;
    for (int tries = 1; !file; ++tries) {
        file.reset(OpenFile(path, "rb", error));
        if (file) break;
        const int code = FailOpen(path, error);
        if (code != ERR_IN_USE || tries == kOpenTries) return code;
        std::this_thread::sleep_for(kOpenPause);
    }
    FileInfo info;
    if ((error = GetFileInfo(path, info)) != 0) return FailRead(path, error);
    bytes.resize(static_cast<size_t>(info.size));
    bytes.resize(fread(bytes.data(), 1, bytes.size(), file.get()));
    return ferror(file.get()) ? FailRead(path, errno) : 0;
}

int WriteWhole(const std::string& path, const std::string& bytes) {
    int error = 0;
    FILE* file = OpenFile(path, "wb", error);
    if (!file) return FailOpenForWriting(path, error);
    if (fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size()) error = errno;
    if (!error) error = FlushToDisk(file);
    if (fclose(file) != 0 && !error) error = errno;
    if (!error) return 0;
    RemoveFile(path);
    return FailWrite(path, error);
}

// That no file of the name is there, or can be. Any other error leaves that open.
bool IsMissing(int error) {
    return error == ENOENT || error == ENOTDIR || error == ENAMETOOLONG;
}

// A free name beside the file, which begins with its own.
std::string NameToKeep(const std::string& path, const char* why) {
    std::string name = path + why;
    for (int n = 2; FileExists(name); ++n) name = path + why + std::to_string(n);
    return name;
}

// Whether a recording of another format has the rest of the name, and with it the corrections file of the older name.
bool OtherHasStem(const std::string& path) {
    for (int format = FF_NONE + 1; format < kFileFormats; ++format) {
        const std::string other = WithoutExtension(path).append(GetFileFormatInfo(format).extension);
        if (CompareNoCase(other, path) != 0 && FileExists(other)) return true;
    }
    return false;
}

}  // namespace

std::string FileHistoryEntry::CorrectionsPath() const {
    return GetPath() + ".crd";
}

std::string FileHistoryEntry::LegacyCorrectionsPath() const {
    return WithoutExtension(GetPath()) + ".crd";
}

int FileHistoryEntry::LoadCorrections(bool report) {
    std::unique_lock<CriticalSection> lock(FileHistoryLock(), std::defer_lock);
    if (!IsPrivate()) lock.lock();
    if (corrections_file.loaded) return 0;
    click_repairs.SetSampleRate(SampleRate());

    FileInfo info;
    std::string path;
    for (const std::string& name : {CorrectionsPath(), LegacyCorrectionsPath()}) {
        const int error = GetFileInfo(name, info);
        if (IsMissing(error)) continue;
        if (error) {
            // Taken for none, it would be replaced by the next repair.
            const int code = FailOpen(name, error);
            Show(report, GetLastError().text);
            return code;
        }
        path = name;
        break;
    }
    if (!path.empty() && corrections_file.stale) {
        Show(report, FormatMsg(Msg::CrdOfOtherFile, path));
    } else if (!path.empty()) {
        if (info.size < static_cast<int64_t>(kSmallestCrdFile)) {
            if (report && MayChange()) RemoveFile(path);
        } else if (const int error = ReadCorrectionsFile(path, report)) {
            return error;
        }
    }
    corrections_file.time = info.time;
    corrections_file.loaded = true;
    SetGeneration();
    return 0;
}

int FileHistoryEntry::ReadCorrectionsFile(const std::string& path, bool report) {
    std::vector<uint8_t> bytes;
    if (const int error = ReadWhole(path, bytes)) {
        Show(report, GetLastError().text);
        return error;
    }
    const CrdResult result = ReadCrd(bytes, click_repairs);
    const bool unusable = result == CrdResult::BadHeader || result == CrdResult::Damaged;
    if (unusable && !(report && MayChange())) return Fail(report, FormatMsg(Msg::CrdUnreadable, path));
    switch (result) {
        case CrdResult::Good:
            break;
        case CrdResult::BadHeader:
            if (MoveToTrash(path) != 0) RemoveFile(path);
            return Fail(report, FormatMsg(Msg::BadCrdHeader, path));
        case CrdResult::NewerVersion:
            return Fail(report, FormatMsg(Msg::NewerCrdVersion, path));
        case CrdResult::Damaged: {
            const std::string kept = NameToKeep(path, ".damaged");
            if (const int error = RenameFile(path, kept)) {
                FailRename(path, kept, error);
                return Fail(report, GetLastError().text);
            }
            return Fail(report, FormatMsg(Msg::CrdUnreadableKept, path, kept));
        }
    }
    int n_removed = 0;
    for (ClickRepairList& list : click_repairs) {
        list.dirty = false;
        n_removed += CheckRepairList(list, true);
        if (!MayChange()) list.dirty = false;
    }
    if (n_removed) {
        MarkChanged();
        Show(report, FormatMsg(Msg::CrdRepaired, path, n_removed));
    }
    return 0;
}

bool FileHistoryEntry::PutCorrectionsAside() {
    const std::string older = LegacyCorrectionsPath();
    const bool shared = older != CorrectionsPath() && FileExists(older) && OtherHasStem(GetPath());
    for (const std::string& path : {CorrectionsPath(), older}) {
        if ((shared && path == older) || !FileExists(path) || MoveToTrash(path) == 0) continue;
        const std::string kept = NameToKeep(path, ".old");
        if (RenameFile(path, kept) != 0) return false;
        ShowMessage(FormatMsg(Msg::CrdOfOtherFileKept, path, kept));
    }
    corrections_file.stale = false;
    // A file without repairs keeps this recording from using the shared one.
    return !shared || !FileExists(GetPath()) || SaveCorrections() == 0;
}

int FileHistoryEntry::SaveCorrections() {
    std::unique_lock<CriticalSection> lock(FileHistoryLock(), std::defer_lock);
    if (!IsPrivate()) lock.lock();
    const std::string path = CorrectionsPath();
    if (corrections_file.stale) return FailWrite(path, EEXIST);  // the user's, and it could not be put aside
    const bool none = click_repairs.IsEmpty();
    // A file of the older name, "x.crd", can be that of x.wav and of x.flac, so it is left alone, and a file without
    // repairs says that this recording has none.
    FileInfo older;
    if (none && IsMissing(GetFileInfo(LegacyCorrectionsPath(), older))) {
        const int error = RemoveFile(path);
        if (error && !IsMissing(error)) return FailWrite(path, error);
        corrections_file.time = 0;
    } else {
        const std::string temporary = WithoutExtension(path) + ".$$$";
        if (const int error = WriteWhole(temporary, WriteCrd(click_repairs))) return error;
        if (const int error = PutInPlace(temporary, path, OldFile::Drop)) return error;
        FileInfo info;
        if (GetFileInfo(path, info) == 0) corrections_file.time = info.time;
    }
    click_repairs.SetDirty(false);
    return 0;
}

}  // namespace Orvane
