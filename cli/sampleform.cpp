#include "cli/sampleform.h"

#include "cli/parsing.h"
#include "cli/texts.h"
#include "foundation/path.h"
#include "foundation/progress.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {

void SampleFormOptions(CLI::App* command, SampleForm& form) {
    command->add_option("--rate", form.samplerate, "sample rate in Hz; the source's own where it is not given")
        ->check(Between(1, 10000000))
        ->option_text("RATE");
    auto read = [&form](const std::string& text) {
        form.int32 = text == "32";
        form.bit_depth = text == "16" ? 16 : text == "20" ? 20 : text == "24" ? 24 : 32;
    };
    command->add_option_function<std::string>("--bits", read, "16, 20, 24 or 32 bits of integers, or 32f for floats")
        ->transform(OneOf({"16", "20", "24", "32", "32f"}))
        ->option_text("BITS");
}

int MakeOutput(CommandContext& context, const std::string& path, const KeptFiles& kept, RefPtr<FileStream>& writer) {
    FileFormat format = FormatOfExtension(ExtensionOf(path));
    if (format == FF_NONE) return context.Usage(fmt::format("{}: the extension names no format of audio files", path));
    if (ExtensionOf(path) == ".w64") {
        return context.Usage(
            fmt::format("{}: Wave64 files cannot be written; .wav takes the longest recordings", path));
    }
    if (kept.Has(path))
        return context.Usage(fmt::format("{} is a recording or read by this command; it cannot be written over", path));
    writer = MakeWriter(format, FileOptions::Load(OptionsContext::SaveCopy));
    if (!writer) return context.FailLastError();
    if (writer->GetCapabilities(2).capabilities & CAP_PCM_WRITE) return CLI_DONE;
    return context.Fail(fmt::format("{} files cannot be written", GetFileFormatInfo(format).name));
}

int WriteWithProgress(CommandContext& context, PCMStream& stream, FileStream& writer, const std::string& path,
                      uint32_t flags) {
    const ProgressJob job("Writing " + FileNameOf(path));
    return context.End(
        WriteStream(stream, writer, path, OldFile::Drop, flags, CHANNELS_STEREO, [](int64_t done, int64_t total) {
            if (total > 0) Progress::SetPosition(static_cast<int>(MulDiv64(done, 1000, total)));
            return Progress::Tick();
        }));
}

void ReportOutput(CommandContext& context, const std::string& path, const FileStream& writer, const SampleForm& form,
                  int64_t frames) {
    FileInfo info;
    GetFileInfo(path, info);
    int64_t ticks = to_ticks(form.samplerate, frames);
    std::string_view format = GetFileFormatInfo(writer.file_format).name;
    context.result["file"] = path;
    context.result["format"] = format;
    context.result["samplerate"] = form.samplerate;
    context.result["bits"] = form.bit_depth;
    context.result["channels"] = writer.Channels();
    context.result["total_samples"] = frames;
    context.result["seconds"] = Seconds(ticks);
    context.result["file_size"] = info.size;
    context.Line("{}: {}, {}, {} bits, {}, {}", path, format, RateText(form.samplerate), form.bit_depth,
                 ClockText(ticks), SizeText(info.size));
}

}  // namespace Orvane
