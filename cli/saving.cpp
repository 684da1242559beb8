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

// The formats that can be written, by the names that --format takes.
struct FormatName {
    const char* name;
    FileFormat format;
};
constexpr FormatName kFormats[] = {{"flac", FF_FLAC}, {"wav", FF_WAV}, {"aiff", FF_AIFF}, {"ogg", FF_OGG}};

std::string FormatNames() {
    std::string names;
    for (const FormatName& known : kFormats) names += (names.empty() ? "" : ", ") + std::string(known.name);
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

int TakeSaveChoices(CommandContext& context, const SaveArguments& arguments, SaveSettings& settings) {
    SaveChoices choices = arguments;
    for (const FormatName& known : kFormats) {
        if (EqualNoCaseAscii(arguments.format, known.name)) choices.file_format = known.format;
    }
    if (!arguments.format.empty() && !choices.file_format) {
        return context.Usage(
            fmt::format("Tracks cannot be saved as \"{}\"; the formats are {}", arguments.format, FormatNames()));
    }
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
}

}  // namespace Orvane
