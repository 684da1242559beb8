#include "waveform/albumwaveform.h"

#include <algorithm>
#include <cmath>

#include "foundation/muldiv.h"

using namespace Foundation;

namespace Orvane {

Outcome AlbumWaveform::Open() {
    std::vector<Part> before = std::move(parts);
    parts.clear();
    Outcome outcome;
    for (const RecordingPlace& place : PlaceRecordings(album)) {
        const auto same = std::find_if(before.begin(), before.end(),
                                       [&](const Part& part) { return part.place.entry == place.entry; });
        const bool known = same != before.end();
        parts.push_back({place, known ? std::move(same->reader) : std::make_unique<WaveformReader>(*place.entry)});
        if (known) before.erase(same);
        Outcome opened = parts.back().reader->Open();
        if (outcome) outcome = std::move(opened);
    }
    return outcome;
}

Outcome AlbumWaveform::Read(const WaveformView& view, WaveformPicture& picture) {
    picture.columns.assign(static_cast<size_t>(std::max(0, view.width)), {});
    picture.samples.clear();
    picture.cuts.clear();
    picture.n_known = view.width;
    for (const Part& part : parts) {
        if (!part.place.opened) continue;
        if (Outcome read = ReadPart(part, view, picture); !read) {
            picture = {};
            return read;
        }
    }
    return {};
}

Outcome AlbumWaveform::ReadPart(const Part& part, const WaveformView& view, WaveformPicture& picture) {
    const auto column_at = [&](double x) {
        return static_cast<int32_t>(std::clamp(x, 0.0, static_cast<double>(view.width)));
    };
    const int32_t first = column_at(std::floor(view.XOf(static_cast<double>(part.place.start))));
    const int32_t end = column_at(std::ceil(view.XOf(static_cast<double>(part.place.end))));
    if (end <= first) return {};
    const double rate = static_cast<double>(part.place.entry->SampleRate()) / kTicksPerSecond;
    WaveformView own = view;
    own.cuts = WaveformCuts::Removed;
    own.origin = (view.origin - static_cast<double>(part.place.start)) * rate;
    own.frames_per_column = view.frames_per_column * rate;
    own.first_column = view.first_column + first;
    own.width = end - first;
    if (Outcome read = part.reader->Read(own, of_part); !read) return read;
    for (size_t i = 0; i < of_part.columns.size(); ++i) {
        WaveformRecord& column = picture.columns[static_cast<size_t>(first) + i];
        // Only the first may have another recording in it already.
        if (i > 0) {
            column = of_part.columns[i];
        } else {
            Widen(column, of_part.columns[i]);
        }
    }
    if (of_part.n_known < own.width) picture.n_known = std::min(picture.n_known, first + of_part.n_known);
    for (WaveformSample sample : of_part.samples) {
        sample.x += static_cast<float>(first);
        picture.samples.push_back(sample);
    }
    for (WaveformCut cut : of_part.cuts) {
        cut.left += first;
        cut.right += first;
        picture.cuts.push_back(cut);
    }
    return {};
}

}  // namespace Orvane
