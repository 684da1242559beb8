#include "devices/driver.h"

#include <fmt/format.h>

#include "foundation/messages.h"

namespace Tesslib {

using Foundation::Kind;
using Foundation::Msg;
using Foundation::Outcome;

Outcome NoAudioDevices() {
    return Outcome::Fail(Kind::CannotOpen, Msg::NoAudioDevices);
}

Outcome DeviceInUse(std::string_view name) {
    return Outcome::Fail(Kind::InUse, Msg::DeviceInUse, name);
}

Outcome DeviceDisconnected(std::string_view name) {
    return Outcome::Fail(Kind::CannotOpen, Msg::DeviceDisconnected, name);
}

Outcome DeviceCallFailed(std::string_view name, int64_t code, std::string_view words, std::string_view function) {
    std::string number = DeviceErrorNumber(static_cast<uint32_t>(code));
    if (!words.empty()) number += fmt::format(" ({})", words);
    return Outcome::Fail(Kind::CannotOpen, Msg::DeviceError, name, number, function);
}

std::string DeviceErrorNumber(uint32_t code) {
    if (code < 256) return fmt::format("{}", code);
    if (code >= 0x80000000) return fmt::format("0x{:x}", code);
    std::string text = "'";
    for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(code >> shift);
    return text + "'";
}

std::string ConversionText(const StreamFormat& format) {
    if (format.rate == format.device_rate) return FormatMsg(Msg::NoConversion);
    return FormatMsg(Msg::ServerConversion, fmt::format("{:g}", format.device_rate / 1000.0),
                     fmt::format("{:g}", format.rate / 1000.0));
}

}  // namespace Tesslib
