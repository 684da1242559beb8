#include "app/session/session.h"

#include <cerrno>
#include <filesystem>
#include <utility>

#include "app/jobs/job.h"
#include "app/session/saving.h"
#include "collection/albumset.h"
#include "collection/steering_file.h"
#include "foundation/fileerror.h"
#include "foundation/host.h"
#include "foundation/path.h"
#include "foundation/platform.h"

using namespace Foundation;

namespace Orvane {
namespace {

// The folder and those above it that are not there yet, the innermost first.
void FindMissing(std::string folder, std::vector<std::string>& missing) {
    for (; !folder.empty() && !FileExists(folder); folder = FolderOf(folder)) missing.push_back(folder);
}

Outcome NotDuringAJob() {
    return Job::InProgress() ? Outcome::Fail(Kind::Busy, Msg::JobInProgress) : Outcome();
}

// Opens the live collection, whatever version it is of if the user wants it.
Result<AlbumSet*> OpenAsking(const std::string& path) {
    Result<AlbumSet*> opened = OpenCollection(path);
    if (!opened.GetOutcome().Is(Kind::NeedsAnswer)) return opened;
    const Message question{opened.GetOutcome().Text(), Buttons::OkCancel, Severity::Warning, {}};
    if (Messages().Ask(question) == Answer::Ok) return OpenCollection(path, nullptr, Answered::Yes);
    if (Outcome closed = CloseCollection(); !closed) return closed;
    return Outcome::Cancelled();
}

}  // namespace

Session::~Session() {
    // A job that still runs keeps the collection; the process ends with both.
    if (set && set == gAlbumSet) static_cast<void>(CloseCollection());
}

Outcome Session::Open(const std::string& path, Access access) {
    if (Outcome busy = NotDuringAJob(); !busy) return busy;
    const std::string full_path = AbsolutePath(path);
    Result<AlbumSet*> opened =
        access == Access::Change ? OpenAsking(full_path) : OpenCollection(full_path, &read_only_set);
    if (opened) {
        set = *opened;
        made.clear();
    } else if (set != read_only_set.get()) {
        set = gAlbumSet;  // which stays, but where the user has declined a newer file
    }
    return opened.GetOutcome();
}

Outcome Session::Create(const std::string& path) {
    if (Outcome busy = NotDuringAJob(); !busy) return busy;
    const std::string full_path = AbsolutePath(path);
    if (ExtensionOf(full_path) != ".mcf") {
        return Outcome::FailText(Kind::WrongOptions, "The name of a collection ends in .mcf");
    }
    const AlbumSet fresh(full_path);
    std::vector<std::string> missing = {full_path};
    FindMissing(fresh.recordings_folder, missing);
    FindMissing(FolderOf(full_path), missing);
    if (Outcome created = CreateCollection(full_path); !created) return created;
    made = std::move(missing);
    Result<AlbumSet*> opened = OpenCollection(full_path);
    if (opened) set = *opened;
    return opened.GetOutcome();
}

bool Session::TakeBack() {
    if (made.empty()) return false;
    if (set && !CloseCollection()) return false;
    set = nullptr;
    std::error_code ignored;  // a folder that something else has come into stays
    for (const std::string& path : made) std::filesystem::remove(path, ignored);
    made.clear();
    return true;
}

Outcome Session::Save() {
    if (!set->dirty) return {};
    Outcome saved = SaveAsking(set->path, *set, ReportErrors::No);
    if (saved) made.clear();
    return saved;
}

Outcome Session::ChangeAndSave(AlbumInfo& album, FunctionRef<Outcome()> change) {
    const AlbumDetails before = album.Details();
    if (Outcome changed = change(); !changed) return changed;
    Outcome saved = Save();
    if (saved) return saved;
    const Outcome back = ChangeDetails(album, before);
    if (back) return saved;
    return Outcome::FailText(saved.GetKind(), saved.Text() + ". The recordings have their new names: " + back.Text());
}

}  // namespace Orvane
