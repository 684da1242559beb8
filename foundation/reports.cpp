#include "foundation/reports.h"

#include <atomic>
#include <mutex>

namespace Foundation {
namespace {

std::mutex lock;
std::vector<Outcome> reports;
std::atomic<void (*)()> report_hook{nullptr};

}  // namespace

void Report(Outcome what) {
    if (what.Ok()) return;
    {
        const std::lock_guard hold(lock);
        reports.push_back(std::move(what));
    }
    if (const auto hook = report_hook.load()) hook();
}

std::vector<Outcome> TakeReports() {
    const std::lock_guard hold(lock);
    return std::exchange(reports, {});
}

void SetReportHook(void (*hook)()) {
    report_hook.store(hook);
}

}  // namespace Foundation
