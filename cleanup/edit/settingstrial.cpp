#include "cleanup/edit/settingstrial.h"

#include "cleanup/edit/editaccess.h"
#include "collection/gesture.h"

using namespace Foundation;

namespace Orvane {
namespace {

// Around a change of what is in force. Nested ones are seen by readers as one.
struct ForceChange {
    explicit ForceChange(FileHistoryEntry& entry) : filters(&entry.decided.filters), curves(&entry.decided.fft_eqs) {}
    const ListChange filters, curves;
};

}  // namespace

void SettingsTrial::PutInForce() {
    auto settings = std::make_unique<TriedSettings>(TriedSettings{entry.decided.filters, entry.decided.fft_eqs});
    if (filter_edit) filter_edit->ApplyTo(settings->filters);
    if (curve_edit) curve_edit->ApplyTo(settings->curves);
    settings->RecomputeTimes(entry.decided.cuts);
    const ForceChange change(entry);
    tried = settings.get();
    entry.tried = std::move(settings);
}

template <class T>
Outcome SettingsTrial::Try(const SettingsEdit<T>& edit) {
    const EditAccess access(entry);
    if (!access) return access.GetOutcome();
    if (!Standing()) filter_edit.reset(), curve_edit.reset();
    if constexpr (std::is_same_v<T, FilterSetting>) {
        filter_edit = edit;
    } else {
        curve_edit = edit;
    }
    PutInForce();
    return {};
}

Outcome SettingsTrial::Keep(Answered answered) {
    if (!Standing()) return Outcome::Fail(Kind::Refused, Msg::NothingTried);
    const ForceChange change(entry);
    Gesture edits;
    Outcome done;
    if (filter_edit) done = edits.Move([&] { return EditSettings(entry, *filter_edit, answered); });
    if (done && curve_edit) done = edits.Move([&] { return EditSettings(entry, *curve_edit, answered); });
    if (done) edits.Keep();
    return done;
}

void SettingsTrial::Withdraw() {
    if (!Standing()) return;
    const ForceChange change(entry);
    entry.tried.reset();
}

template Outcome SettingsTrial::Try(const SettingsEdit<FilterSetting>&);
template Outcome SettingsTrial::Try(const SettingsEdit<FFTEq>&);

}  // namespace Orvane
