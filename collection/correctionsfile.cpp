#include "collection/correctionsfile.h"

#include <cerrno>
#include <chrono>
#include <thread>
#include <vector>

#include "collection/crd_file.h"
#include "foundation/fileerror.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/reports.h"
#include "foundation/safefile.h"
#include "tesslib/fileformats.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr int kOpenTries = 8;
constexpr auto kOpenPause = std::chrono::milliseconds(250);

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

Outcome BadContents(Msg id, const std::string& path) {
    return Outcome::Fail(Kind::Contents, id, path).About(path);
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

std::string CorrectionsFile::PathFor(std::string_view recording) {
    return std::string(recording) + ".crd";
}

std::string CorrectionsFile::OlderPathFor(std::string_view recording) {
    return WithoutExtension(recording) + ".crd";
}

void CorrectionsFile::ReportOnce(Outcome what, FileTime file_time) {
    if (reported == file_time) return;
    reported = file_time;
    Report(std::move(what));
}

Outcome CorrectionsFile::Load(const std::string& recording, ClickRepairs& repairs, Access access) {
    if (loaded) return {};
    FileInfo info;
    std::string path;
    for (const std::string& name : {PathFor(recording), OlderPathFor(recording)}) {
        const int error = GetFileInfo(name, info);
        if (IsMissing(error)) continue;
        // Taken for none, it would be replaced by the next repair.
        if (error) return Outcome::OfLastError(FailOpen(name, error));
        path = name;
        break;
    }
    if (!path.empty() && stale) {
        ReportOnce(BadContents(Msg::CrdOfOtherFile, path), info.time);
    } else if (!path.empty() && info.size >= static_cast<int64_t>(kSmallestCrdFile)) {
        time = info.time;
        if (Outcome read = Read(path, repairs, access); !read) return read;
    } else if (!path.empty() && access == Access::Change) {
        RemoveFile(path);
    }
    time = info.time;
    loaded = true;
    return {};
}

Outcome CorrectionsFile::Read(const std::string& path, ClickRepairs& repairs, Access access) {
    std::vector<uint8_t> bytes;
    if (const int error = ReadWhole(path, bytes)) return Outcome::OfLastError(error);
    const CrdResult result = ReadCrd(bytes, repairs);
    const bool unusable = result == CrdResult::BadHeader || result == CrdResult::Damaged;
    if (unusable && access == Access::Read) return BadContents(Msg::CrdUnreadable, path);
    switch (result) {
        case CrdResult::Good:
            break;
        case CrdResult::BadHeader:
            if (MoveToTrash(path) != 0) RemoveFile(path);
            return BadContents(Msg::BadCrdHeader, path);
        case CrdResult::NewerVersion:
            return BadContents(Msg::NewerCrdVersion, path);
        case CrdResult::Damaged: {
            const std::string kept = NameToKeep(path, ".damaged");
            if (const int error = RenameFile(path, kept)) return Outcome::OfLastError(FailRename(path, kept, error));
            return Outcome::Fail(Kind::Contents, Msg::CrdUnreadableKept, path, kept).About(path);
        }
    }
    repairs.SetDirty(false);
    int n_removed = 0;
    for (ClickRepairList& list : repairs) n_removed += CheckRepairList(list, true);
    if (access == Access::Read) repairs.SetDirty(false);
    if (n_removed) ReportOnce(Outcome::Fail(Kind::Contents, Msg::CrdRepaired, path, n_removed).About(path), time);
    return {};
}

bool CorrectionsFile::PutAside(const std::string& recording) {
    const std::string older = OlderPathFor(recording);
    const bool shared = older != PathFor(recording) && FileExists(older) && OtherHasStem(recording);
    for (const std::string& path : {PathFor(recording), older}) {
        if ((shared && path == older) || !FileExists(path) || MoveToTrash(path) == 0) continue;
        const std::string kept = NameToKeep(path, ".old");
        if (RenameFile(path, kept) != 0) return false;
        Report(Outcome::Fail(Kind::Contents, Msg::CrdOfOtherFileKept, path, kept).About(path));
    }
    stale = false;
    if (!shared || !FileExists(recording)) return true;
    // A file without repairs keeps this recording from using the shared one.
    ClickRepairs none;
    return Save(recording, none).Ok();
}

Outcome CorrectionsFile::Save(const std::string& recording, ClickRepairs& repairs) {
    const std::string path = PathFor(recording);
    if (stale) return Outcome::OfLastError(FailWrite(path, EEXIST));  // the user's, and it could not be put aside
    FileInfo info;
    if (repairs.IsEmpty() && IsMissing(GetFileInfo(OlderPathFor(recording), info))) {
        const int error = RemoveFile(path);
        if (error && !IsMissing(error)) return Outcome::OfLastError(FailWrite(path, error));
        time = 0;
    } else {
        const std::string temporary = WithoutExtension(path) + ".$$$";
        if (const int error = WriteWhole(temporary, WriteCrd(repairs))) return Outcome::OfLastError(error);
        if (const int error = PutInPlace(temporary, path, OldFile::Drop)) return Outcome::OfLastError(error);
        if (GetFileInfo(path, info) == 0) time = info.time;
    }
    repairs.SetDirty(false);
    return {};
}

}  // namespace Orvane
