#include "cleanup/filter/noisesource.h"

#include <algorithm>

#include "cleanup/filter/humrumblefilter.h"
#include "cleanup/filter/orvanefft.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

FilterValues HumRumblePart(const FilterValues& values) {
    FilterValues part;
    if (values.hum_mode == FILTER_ON) {
        part.hum_mode = FILTER_ON;
        part.mains_frequency = MainsFrequency(values);
        part.filter_harmonics = FiltersHarmonics(values);
    }
    if (values.rumble_mode == FILTER_ON) {
        part.rumble_mode = FILTER_ON;
        part.dc_offset_only = values.dc_offset_only < 1 ? 0 : 1;
    }
    return part;
}

std::vector<NoiseSource::HumRumble> HumAndRumble(const LinkedList<FilterSetting>& filters, int64_t from, int64_t to) {
    std::vector<NoiseSource::HumRumble> parts;
    for (int64_t position = from; position < to;) {
        const SettingsAt settings = GetSettingsAt(filters, position, PCM_NO_CUTS);
        const FilterValues values = HumRumblePart(settings.values);
        if (parts.empty() || parts.back().values != values) parts.push_back({position, values});
        position = settings.next_change;
    }
    return parts;
}

// FNV-1a over whole numbers.
class Hash {
public:
    void Add(int64_t value) { sum = (sum ^ static_cast<uint64_t>(value)) * 0x100000001B3u; }
    uint64_t Sum() const { return sum; }

private:
    uint64_t sum = 0xCBF29CE484222325u;
};

uint64_t HashOfRepairs(const ClickRepairs& lists, int64_t from, int64_t to) {
    Hash hash;
    for (const ClickRepairList& list : lists) {
        hash.Add(-1);
        for (const ClickRepair& repair : list) {
            if (repair.absolute_start_time >= to) break;
            if (repair.absolute_end_time <= from || !repair.Applied()) continue;
            hash.Add(repair.absolute_start_time);
            for (int64_t i = 0; i < repair.Length(); ++i) hash.Add(repair.samples[static_cast<size_t>(i)]);
        }
    }
    return hash.Sum();
}

}  // namespace

NoiseSource FindNoiseSource(const FileHistoryEntry& entry, const SettingsAt& settings) {
    NoiseSource source;
    source.file = settings.noise_file;
    if (!source.file.empty()) {
        FileInfo info;
        if (GetFileInfo(source.file, info) == 0) source.file_size = info.size, source.file_time = info.time;
        return source;
    }
    source.start = entry.decided.noise_stretch.start;
    source.end = entry.decided.noise_stretch.end;
    // The filters run over a block before the first frame that is measured.
    const int64_t from = std::max<int64_t>(0, source.start - FFTBlockSize(entry.SampleRate()));
    source.hum_and_rumble = HumAndRumble(entry.FiltersInForce(), from, source.end);
    source.repairs = HashOfRepairs(entry.click_repairs, from, source.end);
    return source;
}

}  // namespace Orvane
