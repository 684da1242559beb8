// The reason of a failure: stored by whoever meets it, on its own thread, before it returns its code.
#pragma once

#include <string>

namespace Foundation {

// `text` is in message mark-up, ready to be shown; `code` is the system's error number, 0 when it had no part in it.
struct LastError {
    int code = 0;
    std::string text;
};

// The thread's own; each thread starts with an empty one.
const LastError& GetLastError();
void SetLastError(LastError error);
void SetLastErrorText(std::string text);

}  // namespace Foundation
