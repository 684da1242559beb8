#include "app/session/undostep.h"

#include "foundation/event.h"
#include "foundation/host.h"
#include "foundation/messages.h"

using namespace Foundation;

namespace Orvane {
namespace {

bool Agrees(const std::string& question) {
    event::Fire(EVENT_UNDO_QUESTION, 1);
    const Answer answer = Messages().Ask({question, Buttons::OkCancel, Severity::Information, {}});
    event::Fire(EVENT_UNDO_QUESTION, 0);
    return answer == Answer::Ok;
}

}  // namespace

Outcome UndoStep(UndoDirection direction) {
    UndoAnswers answers;
    for (;;) {
        Outcome done = direction == UndoDirection::Undo ? Undo(answers) : Redo(answers);
        if (!done.Is(Kind::NeedsAnswer)) return done;
        if (!Agrees(done.Text())) return Outcome::Cancelled();
        (done.Is(Msg::UndoOtherWindow) ? answers.other_window : answers.other_album) = true;
    }
}

}  // namespace Orvane
