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
    if (std::string reason = NotSavedText(saved); !reason.empty()) json["message"] = reason;
    return json;
}

}  // namespace

std::string NotSavedText(const SavedTrack& saved) {
    return saved.status == SAVE_SKIPPED ? "the track is left out (excluded=1)" : PlainText(saved.message);
}

void SaveOptions(CLI::App* command, SaveArguments& arguments) {
    command->add_option("--format", arguments.format, "format of the saved tracks: " + FormatNames())
        ->option_text("FORMAT");
    command->add_option("--rate", arguments.samplerate, "sample rate in Hz; the recording's own where it is not given")
        ->check(Between(1, 10000000))
        ->option_text("RATE");
    command->add_option("--bits", arguments.bit_depth, "16, 24 or 32 bits; the recording's own where it is not given")
        ->transform(OneOf({"16", "24", "32"}))
        ->option_text("BITS");
    command->add_option("--out", arguments.out, "the folder for the tracks")->option_text("DIR");
    command->add_option("--threads", arguments.threads, "how many tracks are saved at once")
        ->check(Between(1, 64))
        ->option_text("N");
    command
        ->add_option("--template", arguments.name_template,
                     "names of the files, such as \"[Album Title]/[Track Title]\"")
        ->option_text("TEMPLATE");
}

int MakeSaveSettings(CommandContext& context, const SaveArguments& arguments, SaveSettings& settings) {
    settings = SaveSettings::FromStore();
    if (!arguments.format.empty()) {
        settings.options.file_format = FF_NONE;
        for (const FormatName& known : kFormats) {
            if (EqualNoCaseAscii(arguments.format, known.name)) settings.options.file_format = known.format;
        }
        if (settings.options.file_format == FF_NONE) {
            return context.Usage(
                fmt::format("Tracks cannot be saved as \"{}\"; the formats are {}", arguments.format, FormatNames()));
        }
    }
    const RefPtr<FileStream> writer = MakeWriter(settings.Format(), settings.options);
    if (CheckForm(*writer, {arguments.samplerate, arguments.bit_depth}, 2) < 0) {
        return context.Usage(GetLastError().text);
    }
    settings.samplerate = arguments.samplerate;
    settings.bit_depth = arguments.bit_depth;
    if (!arguments.out.empty()) settings.output_folder = AbsolutePath(arguments.out);
    settings.name_template = arguments.name_template;
    if (std::string problem = TemplateProblem(settings.name_template); !problem.empty()) return context.Usage(problem);
    return CLI_DONE;
}

int SaveWithProgress(CommandContext& context, const std::vector<AlbumInfo*>& albums, const SaveSettings& settings,
                     int threads, SaveResult& result) {
    int64_t started = MonotonicNs();
    {
        ProgressJob job("Saving tracks");
        result = SaveAlbums(albums, settings, threads);
    }
    Json tracks = Json::array();
    for (const SavedTrack& saved : result.tracks) tracks.push_back(SavedTrackJson(saved));
    context.result["folder"] = settings.output_folder;
    context.result["tracks"] = tracks;
    context.result["saved"] = result.n_saved;
    context.result["already_saved"] = result.n_already_saved;
    context.result["partially_saved"] = result.n_partially_saved;
    context.result["skipped"] = result.n_skipped;
    context.result["failed"] = result.n_failed;
    context.result["seconds"] = static_cast<double>(MonotonicNs() - started) / 1e9;
    if (result.cancelled || Interrupted()) return context.Cancelled();
    if (result.n_failed == 0) return CLI_DONE;
    std::string first;
    for (const SavedTrack& saved : result.tracks) {
        bool failed = std::string_view(SaveStatusText(saved.status)) == "failed";
        if (failed && first.empty()) first = NotSavedText(saved);
    }
    return context.Fail(fmt::format("{} could not be saved: {}", CountText(result.n_failed, "track"), first));
}

}  // namespace Orvane
