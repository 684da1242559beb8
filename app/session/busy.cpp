#include "app/session/busy.h"

#include <utility>

#include "app/jobs/job.h"
#include "app/session/saving.h"
#include "collection/dataobjects.h"
#include "collection/steering_file.h"
#include "foundation/event.h"
#include "foundation/host.h"
#include "foundation/mainloop.h"
#include "foundation/messages.h"
#include "foundation/progress.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr int kLookAgainMs = 50;

bool HasBackgroundJobs() {
    if (!gAlbumSet) return false;
    if (gAlbumSet->running_jobs > 0) return true;
    for (const AlbumInfo& album : gAlbumSet->albums) {
        if (album.open_fhe_count.load() != 0 || album.running_jobs != 0) return true;
    }
    return false;
}

bool MayGoAhead(int message_id) {
    uint8_t veto = 0;
    event::Fire(EVENT_BUSY_QUERY, message_id, event::Arg(&veto));
    if (veto) return false;
    if (message_id <= 0 || message_id == static_cast<int>(Msg::BusyHibernate) || !HasBackgroundJobs()) return true;
    const Message question{FormatMsg(Msg::BackgroundJobs), Buttons::YesNo, Severity::Warning, {}};
    return Messages().Ask(question) == Answer::Yes;
}

}  // namespace

bool IsBusyQuery(int message_id) {
    bool may = false;
    RunOnMainThread([&] { may = MayGoAhead(message_id); });
    return may;
}

bool CanQuit(bool reason_is_hibernate, bool close_collection) {
    const Msg reason = reason_is_hibernate ? Msg::BusyHibernate : Msg::BusyClose;
    if (!IsBusyQuery(static_cast<int>(reason))) return false;
    const bool closes = close_collection && !reason_is_hibernate;
    if (closes && Job::InProgress()) {
        Progress::Cancel();
        return false;
    }
    if (gAlbumSet && gAlbumSet->dirty) {
        if (reason_is_hibernate) {
            static_cast<void>(SaveUnasked());  // a failure does not stop the machine from sleeping
        } else if (SaveWithRetry(gAlbumSet->path, *gAlbumSet).Is(Kind::Cancelled)) {
            return false;
        }
    }
    return !closes || CloseOnTheWayOut();
}

Outcome CloseOnTheWayOut() {
    gClosing = true;
    Outcome closed = CloseCollection();
    gClosing = false;
    return closed;
}

void WhenNoJobRuns(std::function<void()> task) {
    if (!Job::InProgress()) {
        task();
        return;
    }
    GetMainLoop().StartTimer(kLookAgainMs, false,
                             [task = std::move(task)]() mutable { WhenNoJobRuns(std::move(task)); });
}

}  // namespace Orvane
