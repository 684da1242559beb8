#include "app/jobs/savetracks.h"

#include <fmt/format.h>

#include "app/jobs/aftersave.h"
#include "app/texts.h"
#include "foundation/clock.h"
#include "foundation/path.h"
#include "foundation/progress.h"
#include "save/tracknames.h"
#include "save/write_stream.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

bool HasFailed(const SavedTrack& saved) {
    return saved.status == SAVE_FAILED || saved.status == SAVE_CANNOT_HOLD;
}

Outcome OutcomeOf(const SaveResult& saved) {
    if (!saved.outcome) return saved.outcome;
    if (saved.cancelled) return Outcome::Cancelled();
    for (const SavedTrack& track : saved.tracks) {
        if (!HasFailed(track)) continue;
        return Outcome::FailText(Kind::ReadWrite, fmt::format("{} could not be saved: {}",
                                                              CountText(saved.n_failed, "track"), NotSavedText(track)));
    }
    return {};
}

SaveTracksResult Run(const SaveTracksOptions& options) {
    const int64_t started = MonotonicNs();
    SaveTracksResult result;
    result.saved = SaveAlbums(options.albums, options.settings, options.threads);
    result.seconds = static_cast<double>(MonotonicNs() - started) / 1e9;
    result.outcome = OutcomeOf(result.saved);
    const Outcome deleted = OfferLeftovers(result.saved);
    if (result.outcome) result.outcome = deleted;
    ReportSave(result.saved);
    return result;
}

constexpr const char* kSavingTitle = "Saving tracks";

}  // namespace

Result<SaveSettings> MakeSaveSettings(const SaveChoices& choices) {
    SaveSettings settings = SaveSettings::FromStore();
    if (choices.file_format) settings.options.file_format = choices.file_format;
    const RefPtr<FileStream> writer = MakeWriter(settings.Format(), settings.options);
    if (!writer) return Outcome::OfLastError(ERR_CONTENTS);
    if (Outcome held = CheckForm(*writer, {choices.samplerate, choices.bit_depth}, 2); !held) return held;
    settings.samplerate = choices.samplerate;
    settings.bit_depth = choices.bit_depth;
    if (!choices.output_folder.empty()) settings.output_folder = AbsolutePath(choices.output_folder);
    settings.name_template = choices.name_template;
    if (std::string problem = TemplateProblem(settings.name_template); !problem.empty()) {
        return Outcome::FailText(Kind::WrongOptions, std::move(problem));
    }
    return settings;
}

SaveTracksResult SaveTracks(const SaveTracksOptions& options) {
    const Job job(kSavingTitle, options.albums.empty() ? nullptr : options.albums.front()->set);
    if (job.Refusal()) return Run(options);
    SaveTracksResult refused;
    refused.outcome = job.Refusal();
    return refused;
}

SaveTracksResult SaveTracks(const Job& job, const SaveTracksOptions& options) {
    job.Phase(kSavingTitle);
    return Run(options);
}

std::string NotSavedText(const SavedTrack& saved) {
    return saved.status == SAVE_SKIPPED ? "the track is left out (excluded=1)" : saved.reason.Text();
}

}  // namespace Orvane
