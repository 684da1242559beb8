// The name and the version that the program gives itself in files, windows and messages.
#pragma once

#include <fmt/printf.h>

#include <string>

namespace Foundation {

inline constexpr const char* kProgramName = "Orvane";
inline constexpr int kVersionMajor = 13;
inline constexpr int kVersionMinor = 15;
inline constexpr int kVersionNumber = kVersionMajor * 100 + kVersionMinor;  // the form in which versions are compared

inline std::string VersionText() {
    return fmt::sprintf("V%d.%02d", kVersionMajor, kVersionMinor);
}

inline std::string ProgramNameAndVersion() {
    return std::string(kProgramName) + " " + VersionText();
}

}  // namespace Foundation
