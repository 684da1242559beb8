#include "foundation/lasterror.h"

#include <utility>

namespace Foundation {
namespace {

thread_local LastError last_error;

}  // namespace

const LastError& GetLastError() {
    return last_error;
}
void SetLastError(LastError error) {
    last_error = std::move(error);
}
void SetLastErrorText(std::string text) {
    last_error = {0, std::move(text)};
}

}  // namespace Foundation
