#include "app/jobs/saveselection.h"

#include "foundation/host.h"
#include "foundation/path.h"
#include "foundation/progress.h"
#include "save/save_selection.h"

using namespace Foundation;

namespace Orvane {

Outcome SaveSelectionAs(FileHistoryEntry& recording, int64_t start, int64_t end, const FileOptions& options,
                        const std::string& typed) {
    Result<std::string> name = SelectionName(typed, options.file_format, Answered::No);
    if (name.GetOutcome().Is(Kind::NeedsAnswer)) {
        const Message question{name.GetOutcome().Text(), Buttons::YesNo, Severity::Warning, {}};
        if (Messages().Ask(question) != Answer::Yes) return Outcome::Cancelled();
        name = SelectionName(typed, options.file_format, Answered::Yes);
    }
    if (!name) {
        Messages().Ask({name.GetOutcome().Text(), Buttons::Ok, Severity::Warning, "Warn Filename Too Long"});
        return name.GetOutcome();
    }
    Progress::Begin(FileNameOf(*name));
    const Outcome saved = SaveSelection(recording, start, end, options, *name);
    Progress::End();
    if (saved) {
        ShowMessage(FormatMsg(Msg::SelectionSaved, *name, FolderOf(*name), *name), Severity::Information);
    } else if (!saved.Is(Kind::Cancelled)) {
        ShowMessage(saved.Text());
    }
    return saved;
}

}  // namespace Orvane
