#include "foundation/outcome.h"

#include <fmt/args.h>
#include <fmt/printf.h>

#include "foundation/fileerror.h"
#include "foundation/lasterror.h"
#include "foundation/markup.h"

namespace Foundation {
namespace {

Kind KindOf(int stream_error) {
    switch (stream_error) {
        case ERR_CANNOT_OPEN:
            return Kind::CannotOpen;
        case ERR_IN_USE:
            return Kind::InUse;
        case ERR_CONTENTS:
            return Kind::Contents;
        case ERR_LIMIT:
            return Kind::Limit;
        default:
            return Kind::ReadWrite;
    }
}

int StreamErrorOf(Kind kind) {
    switch (kind) {
        case Kind::Done:
            return 0;
        case Kind::CannotOpen:
            return ERR_CANNOT_OPEN;
        case Kind::InUse:
        case Kind::Busy:
            return ERR_IN_USE;
        case Kind::Limit:
            return ERR_LIMIT;
        case Kind::Contents:
        case Kind::Refused:
        case Kind::WrongOptions:
        case Kind::NeedsAnswer:
            return ERR_CONTENTS;
        case Kind::ReadWrite:
        case Kind::Cancelled:
            break;
    }
    return ERR_IO;
}

std::string FilledIn(Msg id, const std::vector<MessageArgument>& arguments) {
    fmt::dynamic_format_arg_store<fmt::printf_context> store;
    for (const MessageArgument& argument : arguments) {
        if (const auto* text = std::get_if<std::string>(&argument)) {
            store.push_back(LiteralMarkup(*text));
        } else if (const auto* number = std::get_if<double>(&argument)) {
            store.push_back(*number);
        } else {
            store.push_back(std::get<int64_t>(argument));
        }
    }
    return fmt::vsprintf(MessageText(id), fmt::basic_format_args<fmt::printf_context>(store));
}

}  // namespace

Outcome::Outcome(Kind kind, std::optional<Msg> id, std::vector<MessageArgument> arguments, std::string text) {
    ORVANE_ASSERT(kind != Kind::Done);
    auto made = std::make_shared<Failure>();
    made->kind = kind;
    made->id = id;
    made->arguments = std::move(arguments);
    made->text = std::move(text);
    failure = std::move(made);
}

Outcome Outcome::OfLastError(int64_t code) {
    if (code >= 0) return {};
    const LastError& error = GetLastError();
    return FailText(KindOf(static_cast<int>(code)), error.text).About({}, error.code);
}

Outcome Outcome::About(std::string_view file, int system_error) const {
    if (Ok()) return *this;
    auto made = std::make_shared<Failure>(*failure);
    if (!file.empty()) made->file = file;
    if (system_error != 0) made->system_error = system_error;
    Outcome result;
    result.failure = std::move(made);
    return result;
}

std::string Outcome::Text() const {
    if (!failure) return {};
    return failure->id ? FilledIn(*failure->id, failure->arguments) : failure->text;
}

std::string Outcome::Plain() const {
    return PlainText(Text());
}

const std::string& Outcome::File() const {
    static const std::string none;
    return failure ? failure->file : none;
}

int Outcome::ToStreamError() const {
    if (failure) SetLastError({failure->system_error, Text()});
    return StreamErrorOf(GetKind());
}

}  // namespace Foundation
