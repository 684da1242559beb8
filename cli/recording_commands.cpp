#include "app/addrecording.h"
#include "cli/commands.h"
#include "cli/texts.h"
#include "foundation/lasterror.h"
#include "foundation/progress.h"

using namespace Foundation;

namespace Orvane {
namespace {

struct RecordingArguments {
    std::string collection;
    int album = 0;
    int side = 0;
    std::string file;
    bool copy = false;
};

int Add(CommandContext& context, const RecordingArguments& arguments) {
    if (int code = context.Open(arguments.collection, Access::Change)) return code;
    AlbumInfo* album = nullptr;
    if (int code = context.FindAlbum(arguments.album, album)) return code;
    FileHistoryEntry* entry = nullptr;
    {
        ProgressJob job("Adding " + arguments.file);
        PlaceOfFile place = arguments.copy ? PlaceOfFile::RecordingsFolder : PlaceOfFile::WhereItIs;
        entry = AddRecording(*album, arguments.side, arguments.file, place, [](int per_mille) {
            Progress::SetPosition(per_mille);
            return Progress::Tick();
        });
    }
    if (!entry) return Interrupted() ? context.Cancelled() : context.FailLastError();
    if (int code = context.Save()) {
        // No collection knows of a copy that was made for this one.
        if (arguments.copy) RemoveFile(entry->GetPath());
        return code;
    }
    int64_t ticks = to_ticks(entry->SampleRate(), entry->TotalSamples());
    context.result["album"] = NumberOf(*album);
    context.result["side"] = arguments.side;
    context.result["path"] = entry->GetPath();
    context.result["samplerate"] = entry->facts.samplerate;
    context.result["bits"] = entry->facts.bits;
    context.result["channels"] = entry->facts.channels;
    context.result["total_samples"] = entry->TotalSamples();
    context.result["seconds"] = Seconds(ticks);
    context.Line("Side {} of {}: {} ({})", arguments.side, AlbumName(*album), entry->GetPath(), ClockText(ticks));
    return CLI_DONE;
}

}  // namespace

void AddRecordingCommands(CommandTree& tree) {
    CLI::App* group = tree.AddGroup("recording", "the recordings of an album's sides");
    auto arguments = std::make_shared<RecordingArguments>();
    CLI::App* command =
        tree.AddCommand(group, "add", "enter an audio file as the recording of a side; it stays where it is",
                        "recording add records.mcf 1 --side 2 side2.wav",
                        [arguments](CommandContext& context) { return Add(context, *arguments); });
    CollectionArgument(command, arguments->collection);
    NumberArgument(command, "ALBUM", arguments->album, "its number in the album list")->required();
    NumberArgument(command, "--side", arguments->side, "the side, from 1")->required();
    command->add_option("FILE", arguments->file, "the audio file")->required()->option_text(" ");
    command->add_flag("--copy", arguments->copy, "copy it to the collection's recordings");
}

}  // namespace Orvane
