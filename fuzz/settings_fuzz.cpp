// The text of a settings store: whatever it holds, changing one key changes that key alone.
#include <algorithm>

#include "foundation/assert.h"
#include "foundation/settings.h"

using namespace Foundation;

// The input is a key, a value and a text, parted by zero bytes.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const auto take = [&rest] {
        const std::string part(rest.substr(0, rest.find('\0')));
        rest.remove_prefix(std::min(rest.size(), part.size() + 1));
        return part;
    };
    const std::string key = take();
    const std::string value = take();
    int n_damaged_before = 0;
    auto others = ParseSettings(rest, &n_damaged_before);
    if (key.empty()) return 0;
    const auto is_ours = [&key](const auto& setting) { return setting.first == key; };
    others.erase(std::remove_if(others.begin(), others.end(), is_ours), others.end());

    int n_damaged = 0;
    const std::string changed = ChangeSettingsText(rest, {{key, value}});
    auto settings = ParseSettings(changed, &n_damaged);
    ORVANE_ASSERT(n_damaged == n_damaged_before);
    const auto ours = std::find_if(settings.begin(), settings.end(), is_ours);
    ORVANE_ASSERT(ours != settings.end() && ours->second == value);
    settings.erase(ours);
    ORVANE_ASSERT(settings == others);

    ORVANE_ASSERT(ChangeSettingsText(changed, {{key, value}}) == changed);
    ORVANE_ASSERT(ParseSettings(ChangeSettingsText(changed, {{key, std::nullopt}})) == others);
    return 0;
}
