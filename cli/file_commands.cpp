#include <algorithm>

#include "cli/commands.h"
#include "cli/sampleform.h"
#include "cli/texts.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "save/write_stream.h"
#include "tesslib/josconvert.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

struct ConvertArguments {
    std::string in;
    std::string out;
    SampleForm form;
};

bool FloatSamples(const FileStream& file) {
    const bool may_be = (GetFileFormatInfo(file.file_format).traits & FORMAT_FLOATS) != 0;
    return may_be && file.BitDepth() == 32 && !(file.Flags() & FORMAT_INT32);
}

const char* ContainerText(uint32_t format_flags) {
    if (format_flags & FORMAT_RF64) return " (RF64)";
    return format_flags & FORMAT_W64 ? " (Wave64)" : "";
}

Json ProbeFile(CommandContext& context, const std::string& path) {
    Json json;
    json["file"] = path;
    int code = 0;
    RefPtr<FileStream> file = OpenForReading(path, code);
    if (!file) {
        std::string reason = PlainText(GetLastError().text);
        json["error"] = reason;
        context.Line("{}\n  cannot be read: {}", path, reason);
        return json;
    }
    std::string format = std::string(GetFileFormatInfo(file->file_format).name) + ContainerText(file->Flags());
    bool floats = FloatSamples(*file);
    int64_t frames = file->GetTotalSamples(0);
    int64_t ticks = to_ticks(file->GetSampleRate(0), frames);
    json["format"] = format;
    json["samplerate"] = file->GetSampleRate(0);
    json["bits"] = file->BitDepth();
    json["float"] = floats;
    json["channels"] = file->Channels();
    json["total_samples"] = frames;
    json["seconds"] = Seconds(ticks);
    json["bit_rate"] = file->BitRate();
    json["file_size"] = file->FileSize();

    Table table;
    table.Add({"format", format});
    table.Add({"rate", fmt::format("{} Hz", file->GetSampleRate(0))});
    table.Add({"bits", fmt::format("{}{}", file->BitDepth(), floats ? ", floats" : "")});
    table.Add({"channels", std::to_string(file->Channels())});
    table.Add({"frames", fmt::format("{} ({})", frames, ClockText(ticks))});
    if (file->BitRate()) table.Add({"bit rate", fmt::format("{} kbit/s", file->BitRate())});
    json["ends_early"] = file->EndsEarly();
    if (file->EndsEarly()) context.Remark(fmt::format("{}: {}", path, kEndsEarly));
    json["comments"] = file->Comments();
    for (const std::string& comment : file->Comments()) {
        std::string line = comment;
        std::replace_if(
            line.begin(), line.end(), [](unsigned char c) { return c < ' '; }, ' ');
        table.Add({"comment", line});
    }
    file->Close();
    std::string tags = file->ReadTags(path);
    json["tags"] = tags;
    if (!tags.empty()) table.Add({"tags text", tags});
    context.Text(path + "\n" + table.Text(2));
    return json;
}

int Probe(CommandContext& context, const std::vector<std::string>& paths) {
    Json files = Json::array();
    int failed = 0;
    for (const std::string& path : paths) {
        files.push_back(ProbeFile(context, path));
        failed += files.back().contains("error") ? 1 : 0;
    }
    context.result["files"] = files;
    if (failed == 0) return CLI_DONE;
    if (paths.size() == 1) return context.Fail(files[0]["error"].get<std::string>());
    return context.Fail(
        fmt::format("{} of {} cannot be read", failed, CountText(static_cast<int64_t>(paths.size()), "file")));
}

int Convert(CommandContext& context, const ConvertArguments& arguments) {
    int error = 0;
    RefPtr<FileStream> in = OpenForReading(arguments.in, error);
    if (!in) return context.FailLastError();
    KeptFiles kept;
    kept.Add(arguments.in);
    RefPtr<FileStream> out;
    if (int code = MakeOutput(context, arguments.out, kept, out)) return code;
    SampleForm source{in->GetSampleRate(0), in->BitDepth(), (in->Flags() & FORMAT_INT32) != 0};
    SampleForm form = arguments.form;
    if (int code = context.End(ChooseForm(*out, form, source, in->Channels()))) return code;

    RefPtr<PCMStream> stream = in;
    if (form.samplerate != source.samplerate) stream = MakeRef<JOSConvert>(in.get(), form.samplerate, PCM_BEST_QUALITY);
    if (int code = WriteWithProgress(context, *stream, *out, arguments.out, PCM_BEST_QUALITY)) return code;
    ReportOutput(context, arguments.out, *out, form, stream->GetTotalSamples(PCM_BEST_QUALITY));
    return CLI_DONE;
}

}  // namespace

void AddFileCommands(CommandTree& tree) {
    auto paths = std::make_shared<std::vector<std::string>>();
    CLI::App* command = tree.AddCommand(&tree.app, "probe", "tell what Orvane reads in audio files, or why it cannot",
                                        "probe side1.wav side2.flac",
                                        [paths](CommandContext& context) { return Probe(context, *paths); });
    command->add_option("FILE", *paths, "audio files")->required()->option_text("...");

    auto arguments = std::make_shared<ConvertArguments>();
    command =
        tree.AddCommand(&tree.app, "convert", "read an audio file and write it as another, by the name's extension",
                        "convert side1.wav side1.flac --rate 48000 --bits 24",
                        [arguments](CommandContext& context) { return Convert(context, *arguments); });
    command->add_option("IN", arguments->in, "the file to read")->required()->option_text(" ");
    command->add_option("OUT", arguments->out, "the file to write")->required()->option_text(" ");
    SampleFormOptions(command, arguments->form);
}

}  // namespace Orvane
