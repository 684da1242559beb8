// The corrections file of a recording, ".crd": its bytes and nothing else. docs/corrections-format.md describes it.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "collection/corrections.h"

namespace Orvane {

inline constexpr uint32_t kCrdVersion = 3;      // the highest that is read; 3 is written only for times of 64 bits
inline constexpr size_t kSmallestCrdFile = 12;  // of two empty lists; anything shorter holds nothing

enum class CrdResult { Good, BadHeader, NewerVersion, Damaged };

// Appends the repairs in `bytes` to the lists, left then right. They are as the file has them: the caller runs
// CheckRepairList. With any result but Good the lists are left empty. Takes no more memory than a small multiple of
// the file's size, whatever it holds.
CrdResult ReadCrd(std::span<const uint8_t> bytes, ClickRepairList (&lists)[2]);

// The bytes of a file that holds both lists.
std::string WriteCrd(const ClickRepairList (&lists)[2]);

}  // namespace Orvane
