#include "collection/crd_file.h"

#include <cstring>

namespace Orvane {
namespace {

constexpr char kMagic[] = {'C', 'R', 'D', 'F'};
constexpr int64_t kLastTimeOfVersion2 = 0x7FFF0000;
constexpr int16_t kFirstTypeWithoutSamples = 11;

// Little-endian numbers, one after the other. Past the end every number is 0 and `failed` is set.
class ByteReader {
public:
    explicit ByteReader(std::span<const uint8_t> bytes) : bytes(bytes) {}

    uint64_t Unsigned(size_t size) {
        const std::span<const uint8_t> taken = Take(size);
        uint64_t value = 0;
        for (size_t i = 0; i < taken.size(); ++i) value |= static_cast<uint64_t>(taken[i]) << 8 * i;
        return value;
    }
    int16_t Int16() { return static_cast<int16_t>(Unsigned(2)); }
    std::span<const uint8_t> Take(size_t size) {
        if (size > bytes.size()) {
            failed = true;
            bytes = {};
            return {};
        }
        const std::span<const uint8_t> taken = bytes.first(size);
        bytes = bytes.subspan(size);
        return taken;
    }

    bool failed = false;

private:
    std::span<const uint8_t> bytes;
};

bool ReadList(ByteReader& reader, size_t time_size, ClickRepairList& list) {
    for (;;) {
        const int16_t repair_type = reader.Int16();
        if (repair_type == 0) return !reader.failed;
        const int16_t cross_fade = reader.Int16();
        const auto start = static_cast<int64_t>(reader.Unsigned(time_size));
        const auto end = static_cast<int64_t>(reader.Unsigned(time_size));
        const int16_t wiggles = reader.Int16();
        if (reader.failed || start < 0 || end < 0) return false;

        auto repair = std::make_unique<ClickRepair>(repair_type, start, end, cross_fade);
        repair->wiggles = wiggles;
        if (repair_type < kFirstTypeWithoutSamples && end > start) {
            const auto n = static_cast<size_t>(end - start);
            if (n > SIZE_MAX / 2) return false;
            const std::span<const uint8_t> bytes = reader.Take(2 * n);
            if (reader.failed) return false;
            auto samples = std::make_shared_for_overwrite<int16_t[]>(n);
            for (size_t i = 0; i < n; ++i) samples[i] = static_cast<int16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
            repair->SetSamples(std::move(samples));
        }
        list.Append(repair.release());
    }
}

void AppendNumber(std::string& bytes, uint64_t value, size_t size) {
    for (size_t i = 0; i < size; ++i) bytes += static_cast<char>(value >> 8 * i);
}

void AppendInt16(std::string& bytes, int16_t value) {
    AppendNumber(bytes, static_cast<uint16_t>(value), 2);
}

bool NeedsVersion3(const ClickRepairList& list) {
    int64_t end = 0;
    list.ForEachDecided([&end](const ClickRepair& repair) { end = repair.absolute_end_time; });
    return end > kLastTimeOfVersion2;
}

void AppendList(std::string& bytes, size_t time_size, const ClickRepairList& list) {
    list.ForEachDecided([&](const ClickRepair& repair) { AppendRepair(bytes, repair, time_size); });
    AppendInt16(bytes, 0);
}

}  // namespace

CrdResult ReadCrd(std::span<const uint8_t> bytes, ClickRepairs& lists) {
    ByteReader reader(bytes);
    const std::span<const uint8_t> magic = reader.Take(sizeof kMagic);
    if (reader.failed || std::memcmp(magic.data(), kMagic, sizeof kMagic) != 0) return CrdResult::BadHeader;
    const uint64_t version = reader.Unsigned(4);
    if (version > kCrdVersion) return CrdResult::NewerVersion;
    const size_t time_size = version < 3 ? 4 : 8;
    if (ReadList(reader, time_size, lists[0]) && ReadList(reader, time_size, lists[1])) return CrdResult::Good;
    for (ClickRepairList& list : lists) list.Clear();
    return CrdResult::Damaged;
}

void AppendRepair(std::string& bytes, const ClickRepair& repair, size_t time_size) {
    const bool has_samples = repair.repair_type < kFirstTypeWithoutSamples;
    if (has_samples && !repair.samples) return;
    AppendInt16(bytes, repair.repair_type);
    AppendInt16(bytes, repair.cross_fade);
    AppendNumber(bytes, static_cast<uint64_t>(repair.absolute_start_time), time_size);
    AppendNumber(bytes, static_cast<uint64_t>(repair.absolute_end_time), time_size);
    AppendInt16(bytes, repair.wiggles);
    const int64_t n = has_samples ? repair.Length() : 0;
    for (int64_t i = 0; i < n; ++i) AppendInt16(bytes, repair.samples[static_cast<size_t>(i)]);
}

std::string WriteCrd(const ClickRepairs& lists) {
    const bool version_3 = NeedsVersion3(lists[0]) || NeedsVersion3(lists[1]);
    const size_t time_size = version_3 ? 8 : 4;
    std::string bytes(kMagic, sizeof kMagic);
    AppendNumber(bytes, version_3 ? 3 : 2, 4);
    for (const ClickRepairList& list : lists) AppendList(bytes, time_size, list);
    return bytes;
}

}  // namespace Orvane
