// What a command works with: the collection it was given, and where its results and its failure go.
#pragma once

#include <fmt/format.h>

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/session/lookup.h"
#include "app/session/session.h"
#include "cli/console.h"
#include "foundation/functionref.h"
#include "foundation/outcome.h"

namespace Orvane {

using Json = nlohmann::ordered_json;

enum ExitCode : int { CLI_DONE = 0, CLI_FAILED = 1, CLI_USAGE = 2, CLI_CANCELLED = 3 };

// The options that every command takes.
struct GlobalOptions {
    bool json = false;
    bool quiet = false;
    std::vector<std::string> settings;  // "KEY=VALUE", for this run
};

// The functions that can fail return an exit code; anything but CLI_DONE is the command's own result, and its reason is
// already noted. Main thread.
class CommandContext {
public:
    explicit CommandContext(const GlobalOptions& options);
    ~CommandContext();
    CommandContext(const CommandContext&) = delete;
    CommandContext& operator=(const CommandContext&) = delete;

    // --- Results ---
    Json result = Json::object();  // what --json prints
    template <class... Args>
    void Line(fmt::format_string<Args...> format, Args&&... args) {
        Text(fmt::format(format, std::forward<Args>(args)...) + "\n");
    }
    void Text(std::string_view lines) { text += lines; }  // what is printed without it

    // Tells on stderr, and as one of "remarks", what the user should know of a command that goes on.
    void Remark(std::string_view remark);

    // Note why the command ends here; `reason` is plain text or mark-up. Each returns its exit code.
    int Fail(std::string_view reason);
    int FailLastError();
    int FailShown();  // for what the engine has told the user, or reported, already
    int Usage(std::string_view reason);
    int Cancelled();
    // The exit code of what the engine has done, its reason noted.
    int End(const Foundation::Outcome& outcome);

    // Somebody sits at a terminal who can be asked.
    bool CanAsk() const { return messages.may_ask; }

    // Puts the engine's question (Kind::NeedsAnswer) about something that the command itself asks for. Where nobody can
    // be asked it is agreed to, and what it warns of becomes a remark. True to go on.
    bool Agreed(const Foundation::Outcome& question, const std::string& hide_key = {});

    // Prints the results, and the reason of a failure; the exit code of the whole. Last of all.
    int Finish(int code);

    // --- The collection ---
    // Opens it; no other command works on it meanwhile.
    int Open(const std::string& path, Access access);
    // Writes a new empty collection and opens it to be changed. Fails where there is a file already.
    int Create(const std::string& path) { return End(session.Create(path)); }
    AlbumSet& Collection() const { return session.Collection(); }
    // Saves it where it was changed, but not once the user has asked for the end.
    int Save();
    int SaveAllTheSame() { return End(session.Save()); }
    // See Session::ChangeAndSave.
    int ChangeAndSave(AlbumInfo& album, Foundation::FunctionRef<Foundation::Outcome()> change);

    // By their numbers, from 1.
    int FindAlbum(int number, AlbumInfo*& album);
    int FindTrack(const AlbumInfo& album, int number, int& index);
    int FindRecording(const AlbumInfo& album, int side, FileHistoryEntry*& entry);
    Session session;

private:
    // What there is of a result, and its exit code.
    template <class T>
    int Take(const Foundation::Result<T>& found, T& value) {
        if (found) value = *found;
        return End(found.GetOutcome());
    }

    const GlobalOptions options;
    ConsoleMessages messages;
    ConsoleProgress progress;
    std::string text;
    std::string error;
};

}  // namespace Orvane
