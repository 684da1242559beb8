#include "cli/context.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "cli/texts.h"
#include "collection/albumset.h"
#include "collection/steering_file.h"
#include "collection/undo_records.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/text.h"

using namespace Foundation;

namespace Orvane {
namespace {

ProgressStyle StyleFor(const GlobalOptions& options) {
    if (options.quiet) return ProgressStyle::None;
    return isatty(STDERR_FILENO) ? ProgressStyle::Bar : ProgressStyle::Lines;
}

bool SomebodyThere(const GlobalOptions& options) {
    return !options.quiet && !options.json && isatty(STDIN_FILENO) && isatty(STDERR_FILENO);
}

void WriteToStderr(std::string_view bytes) {
    std::fwrite(bytes.data(), 1, bytes.size(), stderr);
    std::fflush(stderr);
}

// The folder and those above it that are not there yet, the innermost first.
void FindMissing(std::string folder, std::vector<std::string>& missing) {
    for (; !folder.empty() && !FileExists(folder); folder = FolderOf(folder)) missing.push_back(folder);
}

double SecondsNow() {
    return static_cast<double>(MonotonicNs()) / 1e9;
}

}  // namespace

CommandContext::CommandContext(const GlobalOptions& options)
    : options(options), messages(SomebodyThere(options)), progress(StyleFor(options), WriteToStderr, SecondsNow) {
    SetMessageHost(&messages);
    SetProgressHost(&progress);
}

CommandContext::~CommandContext() {
    if (set && set == gAlbumSet) CloseCollection();
    SetMessageHost(nullptr);
    SetProgressHost(nullptr);
}

void CommandContext::Remark(std::string_view remark) {
    const std::string plain = PlainText(remark);
    result["remarks"].push_back(plain);
    if (!options.quiet) WriteError("orvane-cli: " + plain);
}

int CommandContext::Fail(std::string_view reason) {
    error = PlainText(reason);
    return CLI_FAILED;
}

int CommandContext::FailLastError() {
    return Fail(GetLastError().text);
}

int CommandContext::FailShown() {
    return Fail(messages.last_shown);
}

int CommandContext::Usage(std::string_view reason) {
    error = PlainText(reason);
    return CLI_USAGE;
}

int CommandContext::Cancelled() {
    error = PlainText(MessageText(Msg::Cancelled));
    return CLI_CANCELLED;
}

int CommandContext::End(const Outcome& outcome) {
    switch (outcome.GetKind()) {
        case Kind::Done:
            return CLI_DONE;
        case Kind::Cancelled:
            return Cancelled();
        case Kind::WrongOptions:
            return Usage(outcome.Text());
        default:
            return Fail(outcome.Text());
    }
}

bool CommandContext::Agreed(const Outcome& question, const std::string& hide_key) {
    messages.remark = [this](const std::string& text) { Remark(text); };
    const Answer answer = messages.Ask({question.Text(), Buttons::OkCancel, Severity::Warning, hide_key});
    messages.remark = nullptr;
    return answer == Answer::Ok;
}

bool CommandContext::Wanted(FunctionRef<bool()> edit) {
    messages.remark = [this](const std::string& text) { Remark(text); };
    const bool done = edit();
    messages.remark = nullptr;
    return done;
}

int CommandContext::Finish(int code) {
    if (code != CLI_DONE && error.empty()) error = "The command failed";
    if (options.json) {
        if (code != CLI_DONE) result["error"] = error;
        text = result.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
    }
    bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    if (std::fflush(stdout) != 0 || !written) {
        FailWrite("stdout", errno);
        if (code == CLI_DONE) code = FailLastError();
    }
    if (code != CLI_DONE && error != messages.last_shown) WriteError("orvane-cli: " + error);
    return code;
}

int CommandContext::Lock(const std::string& path) {
    const Outcome outcome = lock.Acquire(path);
    return outcome.Ok() ? CLI_DONE : Fail(outcome.Text());
}

int CommandContext::Open(const std::string& path, Access access) {
    std::string full_path = AbsolutePath(path);
    if (!FileExists(full_path)) return Fail(FormatMsg(Msg::CannotFindFile, full_path));
    if (ExtensionOf(full_path).empty()) return Fail(FormatMsg(Msg::NotACollection, full_path));
    if (int code = Lock(full_path)) return code;
    if (access == Access::Change) {
        set = OpenCollection(full_path);
    } else {
        set = OpenCollection(full_path, &read_only_set);
    }
    if (set) return CLI_DONE;
    return GetLastError().text.empty() ? Cancelled() : FailLastError();
}

int CommandContext::Create(const std::string& path) {
    std::string full_path = AbsolutePath(path);
    if (ExtensionOf(full_path) != ".mcf") return Usage("The name of a collection ends in .mcf");
    if (int code = Lock(full_path)) return code;
    if (FileExists(full_path)) return Fail(fmt::format("{} exists already", full_path));
    AlbumSet fresh(full_path);
    std::vector<std::string> missing = {full_path};
    FindMissing(fresh.recordings_folder, missing);
    FindMissing(FolderOf(full_path), missing);
    if (int failure = CreateFolders(FolderOf(full_path))) {
        FailCreateFolder(FolderOf(full_path), failure);
        return FailLastError();
    }
    made = missing;
    if (!SaveCollection(full_path, fresh, false)) return FailLastError();
    set = OpenCollection(full_path);
    return set ? CLI_DONE : FailLastError();
}

bool CommandContext::TakeBack() {
    if (made.empty()) return false;
    if (set) CloseCollection();
    set = nullptr;
    lock.Release();
    std::error_code ignored;  // a folder that something else has come into stays
    for (const std::string& path : made) std::filesystem::remove(path, ignored);
    made.clear();
    return true;
}

int CommandContext::Save() {
    return set->dirty && Interrupted() ? Cancelled() : SaveAllTheSame();
}

int CommandContext::SaveAllTheSame() {
    if (!set->dirty) return CLI_DONE;
    SetLastErrorText("The collection could not be saved");
    if (!SaveCollection(set->path, *set, false)) return FailLastError();
    made.clear();
    return CLI_DONE;
}

int CommandContext::ChangeAndSave(AlbumInfo& album, FunctionRef<bool()> change) {
    if (Interrupted()) return Cancelled();
    const AlbumDetails before = album.Details();
    if (!change()) return FailLastError();
    const int code = SaveAllTheSame();
    if (code == CLI_DONE || ChangeDetails(album, before)) return code;
    return Fail(fmt::format("{}. The recordings have their new names: {}", error, GetLastError().text));
}

int CommandContext::FindAlbum(int number, AlbumInfo*& album) {
    int position = 0;
    for (AlbumInfo& candidate : set->albums) {
        if (++position != number) continue;
        album = &candidate;
        return CLI_DONE;
    }
    return Fail(fmt::format("There is no album {} in {}: it has {}", number, set->path,
                            CountText(set->albums.size(), "album")));
}

int CommandContext::FindTrack(const AlbumInfo& album, int number, int& index) {
    index = number - 1;
    if (index >= 0 && index < album.tracks.size()) return CLI_DONE;
    return Fail(fmt::format("There is no track {} in {}: it has {}", number, AlbumName(album),
                            CountText(album.tracks.size(), "track")));
}

int CommandContext::FindRecording(const AlbumInfo& album, int side, FileHistoryEntry*& entry) {
    bool there = side >= 1 && side <= album.sides.size() && album.sides[side - 1];
    entry = there ? album.sides[side - 1]->newest : nullptr;
    return entry ? CLI_DONE : Fail(fmt::format("Side {} of {} has no recording", side, AlbumName(album)));
}

int CommandContext::NumberOf(const AlbumInfo& album) const {
    int number = 0;
    for (const AlbumInfo& candidate : set->albums) {
        ++number;
        if (&candidate == &album) return number;
    }
    return 0;
}

std::string CommandContext::AlbumName(const AlbumInfo& album) const {
    return fmt::format("album {} ({} - {})", NumberOf(album), album.artist, album.title);
}

}  // namespace Orvane
