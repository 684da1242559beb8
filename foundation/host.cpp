#include "foundation/host.h"

#include <cstdio>
#include <utility>

#include "foundation/assert.h"
#include "foundation/lasterror.h"
#include "foundation/mainloop.h"
#include "foundation/messages.h"

namespace Foundation {
namespace {

// Nobody is there to ask: what the text says goes to stderr, and nothing is changed or lost by the answer.
class PlainMessageHost : public MessageHost {
public:
    Answer Ask(const Message& message) override {
        std::fprintf(stderr, "%s\n", PlainText(message.text).c_str());
        switch (message.buttons) {
            case Buttons::Ok:
                return Answer::Ok;
            case Buttons::YesNo:
                return Answer::No;
            case Buttons::OkCancel:
            case Buttons::YesNoCancel:
            case Buttons::RetryCancel:
                break;
        }
        return Answer::Cancel;
    }
};

class NoProgressHost : public ProgressHost {
public:
    void Begin(const std::string&, bool) override {}
    void Position(int) override {}
    void Log(const std::string&) override {}
    void End(bool) override {}
};

PlainMessageHost plain_message_host;
NoProgressHost no_progress_host;
MessageHost* message_host = nullptr;
ProgressHost* progress_host = nullptr;

}  // namespace

MessageHost* SetMessageHost(MessageHost* host) {
    return std::exchange(message_host, host);
}
ProgressHost* SetProgressHost(ProgressHost* host) {
    return std::exchange(progress_host, host);
}

MessageHost& Messages() {
    return message_host ? *message_host : plain_message_host;
}
ProgressHost& ProgressDisplay() {
    return progress_host ? *progress_host : no_progress_host;
}

void ShowMessage(std::string text, Severity severity) {
    ORVANE_ASSERT(IsMainThread() || in_fatal_error_handler);
    Messages().Ask({std::move(text), Buttons::Ok, severity, {}});
}

void ShowLastError() {
    ShowMessage(GetLastError().text);
}

}  // namespace Foundation
