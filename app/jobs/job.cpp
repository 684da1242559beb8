#include "app/jobs/job.h"

#include <utility>

#include "foundation/progress.h"
#include "foundation/workerthread.h"

using namespace Foundation;

namespace Orvane {
namespace {

bool has_turn = false;  // main thread

}  // namespace

Job::Job(const std::string& title, AlbumSet* set) {
    if (InProgress()) {
        refusal = Outcome::Fail(Kind::Busy, Msg::JobInProgress);
        return;
    }
    has_turn = true;
    Hold(set);
    Progress::Begin(title);
}

Job::~Job() {
    if (!refusal) return;
    Progress::End();
    Hold(nullptr);
    has_turn = false;
}

void Job::Phase(const std::string& title) const {
    Progress::Phase(title);
}

void Job::Hold(AlbumSet* set) {
    if (set) ++set->running_jobs;
    if (AlbumSet* before = std::exchange(held, set)) --before->running_jobs;
}

Outcome Job::GoOn() const {
    return Progress::Cancelled() ? Outcome::Cancelled() : Outcome();
}

bool Job::InProgress() {
    return has_turn || gWorkerThreadPool != nullptr;
}

}  // namespace Orvane
