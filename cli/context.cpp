#include "cli/context.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "foundation/lasterror.h"
#include "foundation/messages.h"
#include "foundation/reports.h"

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
    const std::vector<Outcome> reports = TakeReports();
    return Fail(reports.empty() ? messages.last_shown : reports.back().Text());
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

int CommandContext::Open(const std::string& path, Access access) {
    return End(session.Open(path, access));
}

int CommandContext::Save() {
    return Collection().dirty && Interrupted() ? Cancelled() : SaveAllTheSame();
}

int CommandContext::ChangeAndSave(AlbumInfo& album, FunctionRef<Outcome()> change) {
    return Interrupted() ? Cancelled() : End(session.ChangeAndSave(album, change));
}

int CommandContext::FindAlbum(int number, AlbumInfo*& album) {
    return Take(Orvane::FindAlbum(Collection(), number), album);
}

int CommandContext::FindTrack(const AlbumInfo& album, int number, int& index) {
    return Take(Orvane::FindTrack(album, number), index);
}

int CommandContext::FindRecording(const AlbumInfo& album, int side, FileHistoryEntry*& entry) {
    return Take(Orvane::FindRecording(album, side), entry);
}

}  // namespace Orvane
