// The presets of a settings store: whatever is read can be kept again under its name.
#include "cleanup/filter/presets.h"
#include "foundation/assert.h"

using namespace Orvane;

namespace {

template <class T>
void ReadAndKeep(std::string_view text) {
    for (const Preset<T>& preset : ParsePresets<T>(text)) {
        const std::vector<Preset<T>> again = ParsePresets<T>(PresetLine(preset.name, preset.settings));
        ORVANE_ASSERT(again.size() == 1);
        const std::string line = PresetLine(again[0].name, again[0].settings);
        ORVANE_ASSERT(ParsePresets<T>(line)[0].name == again[0].name);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    ReadAndKeep<ScanSettings>(text);
    ReadAndKeep<FilterSetting>(text);
    ReadAndKeep<FFTEq>(text);
    return 0;
}
