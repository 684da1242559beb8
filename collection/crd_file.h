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
CrdResult ReadCrd(std::span<const uint8_t> bytes, ClickRepairs& lists);

// Appends what a file holds of one repair, with times of `time_size` bytes; nothing of a repair that has never been
// computed.
void AppendRepair(std::string& bytes, const ClickRepair& repair, size_t time_size = 8);
// The bytes of a file that holds both lists.
std::string WriteCrd(const ClickRepairs& lists);

}  // namespace Orvane
