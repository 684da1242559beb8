#include "app/jobs/aftersave.h"

#include <algorithm>

#include "foundation/host.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr size_t kNamedFiles = 10;  // in the question; the rest are counted

}  // namespace

Outcome OfferLeftovers(SaveResult& result) {
    if (result.leftovers.empty()) return {};
    std::string names;
    const size_t n_named = std::min(result.leftovers.size(), kNamedFiles);
    for (size_t i = 0; i < n_named; ++i) names += "<b>" + result.leftovers[i].path + "</b>\n";
    if (n_named < result.leftovers.size()) names += fmt::sprintf("and %d more\n", result.leftovers.size() - n_named);
    names.pop_back();
    const Message question{
        FormatMsg(Msg::LeftoverTracks, result.leftovers.size(), names), Buttons::YesNo, Severity::Warning, {}};
    if (Messages().Ask(question) != Answer::Yes) return {};
    Outcome first;
    std::vector<Leftover> kept;
    for (const Leftover& leftover : result.leftovers) {
        const Outcome deleted = DeleteLeftover(leftover);
        if (deleted) continue;
        if (first) first = deleted;
        kept.push_back(leftover);
    }
    result.leftovers = std::move(kept);
    return first;
}

void ReportSave(const SaveResult& result) {
    if (result.cancelled || !result.outcome) return;
    Messages().Ask(
        {FormatMsg(Msg::ReviewSave, SummaryText(result)), Buttons::Ok, Severity::Information, "Report Tracks Saved"});
}

}  // namespace Orvane
