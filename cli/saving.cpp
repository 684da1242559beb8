#include "cli/saving.h"

#include "cli/parsing.h"
#include "cli/texts.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/platform.h"
#include "foundation/text.h"
#include "save/tracknames.h"
#include "save/write_stream.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

// Calls `take` with the number and the name that --format takes of each format that can be written.
template <class Take>
void ForEachSavedFormat(const Take& take) {
    for (int format = FF_NONE + 1; format < kFileFormats; ++format) {
        const FileFormatInfo& info = GetFileFormatInfo(format);
        const bool writes = info.make && (info.make()->GetCapabilities(2).capabilities & CAP_PCM_WRITE);
        if (writes) take(format, info.extension.substr(1));
    }
}

std::string FormatNames() {
    std::string names;
    ForEachSavedFormat([&](int, std::string_view name) { names += (names.empty() ? "" : ", ") + std::string(name); });
    return names;
}

Json SavedTrackJson(const SavedTrack& saved) {
    Json json;
    json["album"] = NumberOf(*saved.album);
    json["track"] = saved.track + 1;
    json["title"] = saved.album->tracks[saved.track].title;
    json["file"] = saved.file;
    json["status"] = SaveStatusText(saved.status);
    if (std::string reason = PlainText(NotSavedText(saved)); !reason.empty()) json["message"] = reason;
    return json;
}

}  // namespace

void SaveOptions(CLI::App* command, SaveArguments& arguments) {
    command->add_option("--format", arguments.format, "format of the saved tracks: " + FormatNames())
        ->option_text("FORMAT");
    command->add_option("--rate", arguments.samplerate, "sample rate in Hz; the recording's own where it is not given")
        ->check(Between(1, 10000000))
        ->option_text("RATE");
    command->add_option("--bits", arguments.bit_depth, "16, 24 or 32 bits; the recording's own where it is not given")
        ->transform(OneOf({"16", "24", "32"}))
        ->option_text("BITS");
    command->add_option("--out", arguments.output_folder, "the folder for the tracks")->option_text("DIR");
    command->add_option("--threads", arguments.threads, "how many tracks are saved at once")
        ->check(Between(1, 64))
        ->option_text("N");
    command
        ->add_option("--template", arguments.name_template,
                     "names of the files, such as \"[Album Title]/[Track Title]\"")
        ->option_text("TEMPLATE");
}

int TakeFormat(CommandContext& context, const SaveArguments& arguments, SaveChoices& choices) {
    choices = arguments;
    ForEachSavedFormat([&](int format, std::string_view name) {
        if (EqualNoCaseAscii(arguments.format, name)) choices.file_format = format;
    });
    if (arguments.format.empty() || choices.file_format) return CLI_DONE;
    return context.Usage(
        fmt::format("Tracks cannot be saved as \"{}\"; the formats are {}", arguments.format, FormatNames()));
}

int TakeSaveChoices(CommandContext& context, const SaveArguments& arguments, SaveSettings& settings) {
    SaveChoices choices;
    if (int code = TakeFormat(context, arguments, choices)) return code;
    const Result<SaveSettings> made = MakeSaveSettings(choices);
    if (made) settings = *made;
    return context.End(made.GetOutcome());
}

void ReportSaved(CommandContext& context, const SaveTracksResult& result) {
    const SaveResult& saved = result.saved;
    Json tracks = Json::array();
    for (const SavedTrack& track : saved.tracks) tracks.push_back(SavedTrackJson(track));
    context.result["folder"] = saved.folder;
    context.result["tracks"] = tracks;
    context.result["saved"] = saved.n_saved;
    context.result["already_saved"] = saved.n_already_saved;
    context.result["partially_saved"] = saved.n_partially_saved;
    context.result["skipped"] = saved.n_skipped;
    context.result["failed"] = saved.n_failed;
    context.result["seconds"] = result.seconds;
    context.result["leftovers"] = Json::array();
    for (const Leftover& leftover : saved.leftovers) context.result["leftovers"].push_back(leftover.path);
}

}  // namespace Orvane
