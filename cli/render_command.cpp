#include <optional>
#include <span>

#include "cleanup/chain/audiofilter.h"
#include "cli/commands.h"
#include "cli/model_view.h"
#include "cli/sampleform.h"
#include "cli/texts.h"
#include "foundation/lasterror.h"
#include "foundation/text.h"
#include "save/heldrepairs.h"
#include "save/trackstream.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

struct RenderArguments {
    std::string collection;
    int album = 0;
    int track = 0;
    int side = 0;
    std::string out;
    SampleForm form;
    std::vector<std::string> without;
};

struct Stage {
    const char* name;
    uint32_t flag;
};
constexpr Stage kStages[] = {
    {"clicks", PCM_NO_CLICK_REPAIR}, {"cuts", PCM_NO_CUTS},           {"filters", PCM_NO_FILTERS},
    {"denoise", PCM_NO_DENOISE},     {"equaliser", PCM_NO_EQUALISER}, {"faders", PCM_NO_FADERS},
};

std::string StageNames() {
    std::string names;
    for (const Stage& stage : kStages) names += (names.empty() ? "" : ", ") + std::string(stage.name);
    return names;
}

// Adds the flag of a stage's name; false if there is none of it.
bool AddStage(std::string_view name, uint32_t& flags) {
    for (const Stage& stage : kStages) {
        if (name != stage.name) continue;
        flags |= stage.flag;
        return true;
    }
    return false;
}

int Render(CommandContext& context, const RenderArguments& arguments) {
    uint32_t flags = PCM_BEST_QUALITY;
    for (const std::string& name : arguments.without) {
        if (!AddStage(name, flags))
            return context.Usage(fmt::format("There is no stage \"{}\"; the stages are {}", name, StageNames()));
    }
    if ((arguments.track == 0) == (arguments.side == 0)) return context.Usage("Either --track or --side is needed");
    if (int code = context.Open(arguments.collection, Access::Read)) return code;
    AlbumInfo* album = nullptr;
    if (int code = context.FindAlbum(arguments.album, album)) return code;

    SampleForm source;
    for (const RecordingPlace& place : PlaceRecordings(*album)) {
        source.bit_depth = std::max<int32_t>(source.bit_depth, place.entry->facts.bits);
        if (!source.samplerate) source.samplerate = place.entry->SampleRate();
    }
    RefPtr<FileStream> writer;
    if (int code = MakeOutput(context, arguments.out, KeptFiles({album}), writer)) return code;

    FileHistoryEntry* recording = nullptr;
    int track = 0;
    if (arguments.side) {
        if (int code = context.FindRecording(*album, arguments.side, recording)) return code;
        source = {recording->SampleRate(), recording->facts.bits};
    } else if (int code = context.FindTrack(*album, arguments.track, track)) {
        return code;
    }
    SampleForm form = arguments.form;
    if (int code = context.End(ChooseForm(*writer, form, source, 2))) return code;

    RefPtr<PCMStream> stream;
    std::optional<HeldRepairs> repairs;
    if (recording) {
        const auto chain = OpenFileToPCM(*recording->Copy(COPY_CORRECTIONS), USER_SAVE, flags, form.samplerate);
        if (!chain) return context.End(chain.GetOutcome());
        stream = *chain;
    } else {
        repairs.emplace(*album, std::span(&track, 1), flags);
        if (int code = context.End(repairs->Check(track))) return code;
        stream = MakeTrackPCMStream(album, track, flags, form.samplerate, -1);
    }
    int64_t frames = stream->GetTotalSamples(flags);
    if (frames <= 0)
        return context.Fail("There is nothing to render: the track has no times yet, or lies behind the recordings");
    int code = WriteWithProgress(context, *stream, *writer, arguments.out, flags);
    if (code == CLI_DONE) ReportOutput(context, arguments.out, *writer, form, frames);
    return code;
}

}  // namespace

void AddRenderCommand(CommandTree& tree) {
    auto arguments = std::make_shared<RenderArguments>();
    CLI::App* command =
        tree.AddCommand(&tree.app, "render", "write what a track or a side sounds like to an audio file",
                        "render records.mcf 1 --track 2 out.wav --bits 32f --without clicks,faders",
                        [arguments](CommandContext& context) { return Render(context, *arguments); });
    CollectionArgument(command, arguments->collection);
    NumberArgument(command, "ALBUM", arguments->album, "its number in the album list")->required();
    NumberArgument(command, "--track", arguments->track, "the track's number");
    NumberArgument(command, "--side", arguments->side, "the side's number");
    command->add_option("OUT", arguments->out, "the file to write, its format by its extension")
        ->required()
        ->option_text(" ");
    SampleFormOptions(command, arguments->form);
    command->add_option("--without", arguments->without, "stages to leave out: " + StageNames())
        ->delimiter(',')
        ->allow_extra_args(false)
        ->option_text("STAGE,...");
}

}  // namespace Orvane
