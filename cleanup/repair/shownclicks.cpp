#include "cleanup/repair/shownclicks.h"

#include "cleanup/repair/repairsurroundings.h"
#include "foundation/settings.h"

using namespace Foundation;

namespace Orvane {

ShownClicks ShownClicks::FromStore() {
    return {GetSetting("Show Clicks", 1) != 0, GetSetting("Show Wide Clicks Only", 0) != 0};
}

bool ShownClicks::Shows(const ClickRepair& repair, int32_t samplerate) const {
    if (repair.repair_type == REPAIR_PATCH) return true;
    return clicks && (!wide_only || RepairPad(to_ticks(samplerate, repair.Length())) > 0);
}

}  // namespace Orvane
