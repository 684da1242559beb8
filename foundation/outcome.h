// What became of something that can fail: done, or the reason why not, for whoever called to show, log or pass on.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "foundation/assert.h"
#include "foundation/messages.h"

namespace Foundation {

// What a caller may want to tell apart. Everything else about a failure is in its text.
enum class Kind : uint8_t {
    Done,
    CannotOpen,    // a file or folder that is missing, or that the system refuses
    InUse,         // another program, or another user of ours, has it
    ReadWrite,     // the system failed to read or write
    Contents,      // what is in the file is not what it should be
    Limit,         // a limit was reached
    Refused,       // the request makes no sense as things stand; nothing has changed
    WrongOptions,  // what was asked for is wrong in itself: an option, a name, a template
    Busy,          // something else works on the same thing
    NeedsAnswer,   // the user has to be asked first; the text is the question
    Cancelled,     // the user ended it
};

// One argument of a message's text.
using MessageArgument = std::variant<int64_t, double, std::string>;

// Success, or one failure. Success costs nothing; copies of a failure share it. Any thread.
class [[nodiscard]] Outcome {
public:
    Outcome() = default;

    // A failure told by a numbered message, with its arguments in their order; integers, floating-point numbers and
    // texts, which stand as they are in the text (see Text).
    template <class... Args>
    static Outcome Fail(Kind kind, Msg id, const Args&... args) {
        return Outcome(kind, id, {Argument(args)...}, {});
    }
    // A failure whose text, in mark-up, has no number.
    static Outcome FailText(Kind kind, std::string text) { return Outcome(kind, {}, {}, std::move(text)); }
    // The user's own wish to stop. It has no text.
    static Outcome Cancelled() { return Outcome(Kind::Cancelled, {}, {}, {}); }
    // From a negative StreamError whose reason is the thread's last error. `code` of 0 or more is success.
    static Outcome OfLastError(int64_t code);

    // The same failure with the file and the system's error number that it is about.
    Outcome About(std::string_view file, int system_error = 0) const;

    bool Ok() const { return !failure; }
    explicit operator bool() const { return Ok(); }
    Kind GetKind() const { return failure ? failure->kind : Kind::Done; }
    bool Is(Kind kind) const { return GetKind() == kind; }
    bool Is(Msg id) const { return failure && failure->id == id; }

    // In mark-up, ready to be shown; empty for success and for a cancel. Arguments that are texts stand as they are: a
    // known tag in one of them, as in a file name, is not taken for a tag.
    std::string Text() const;
    // One sentence or more for a terminal or a log, without mark-up.
    std::string Plain() const;
    const std::string& File() const;
    int SystemError() const { return failure ? failure->system_error : 0; }

    // Makes it the thread's last error and returns its StreamError, for streams, which report by codes.
    int ToStreamError() const;

private:
    struct Failure {
        Kind kind = Kind::Done;
        std::optional<Msg> id;
        std::vector<MessageArgument> arguments;
        std::string text;  // of a failure without a number
        std::string file;
        int system_error = 0;
    };

    Outcome(Kind kind, std::optional<Msg> id, std::vector<MessageArgument> arguments, std::string text);

    template <class T>
    static MessageArgument Argument(const T& value) {
        if constexpr (std::is_integral_v<T>) {
            return static_cast<int64_t>(value);
        } else if constexpr (std::is_floating_point_v<T>) {
            return static_cast<double>(value);
        } else {
            return std::string(std::string_view(value));
        }
    }

    std::shared_ptr<const Failure> failure;
};

// Whether what a call would ask (Kind::NeedsAnswer) has been asked and agreed to.
enum class Answered : uint8_t { No, Yes };

// A value, or the reason why there is none.
template <class T>
class [[nodiscard]] Result {
public:
    Result(T value) : held(std::move(value)) {}
    Result(Foundation::Outcome failure) : outcome(std::move(failure)) { ORVANE_ASSERT(!outcome.Ok()); }

    bool Ok() const { return outcome.Ok(); }
    explicit operator bool() const { return Ok(); }
    const Foundation::Outcome& GetOutcome() const { return outcome; }
    // The value, which must be there.
    T& operator*() {
        ORVANE_ASSERT(held);
        return *held;
    }
    const T& operator*() const {
        ORVANE_ASSERT(held);
        return *held;
    }
    T* operator->() { return &**this; }
    const T* operator->() const { return &**this; }

private:
    Foundation::Outcome outcome;
    std::optional<T> held;
};

}  // namespace Foundation
