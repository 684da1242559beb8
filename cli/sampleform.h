// What commands that write one audio file share: its options, its checks, its progress and its report.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "cli/context.h"
#include "save/keptfiles.h"
#include "save/write_stream.h"

namespace Orvane {

// --rate and --bits.
void SampleFormOptions(CLI::App* command, SampleForm& form);

// A writer for `path` by its extension. Refused for a format that cannot be written and for a file of `kept`.
int MakeOutput(CommandContext& context, const std::string& path, const KeptFiles& kept,
               Foundation::RefPtr<Tesslib::FileStream>& writer);

// WriteStream with its progress shown and its failures reported.
int WriteWithProgress(CommandContext& context, Tesslib::PCMStream& stream, Tesslib::FileStream& writer,
                      const std::string& path, uint32_t flags);

// Puts the facts of the file that was written into the results.
void ReportOutput(CommandContext& context, const std::string& path, const Tesslib::FileStream& writer,
                  const SampleForm& form, int64_t frames);

}  // namespace Orvane
