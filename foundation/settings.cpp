#include "foundation/settings.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <map>
#include <mutex>
#include <optional>

#include "foundation/assert.h"
#include "foundation/fileerror.h"
#include "foundation/path.h"
#include "foundation/platform.h"
#include "foundation/text.h"

namespace Foundation {
namespace {

using Values = std::map<std::string, std::string, std::less<>>;

// 0 or an error number; a file that is not there reads as an empty one.
int ReadWhole(const std::string& path, std::string& bytes) {
    bytes.clear();
    int error = 0;
    FILE* file = OpenFile(path, "rb", error);
    if (!file) return error == ENOENT ? 0 : error;
    char piece[16384];
    while (const size_t n_read = std::fread(piece, 1, sizeof piece, file)) bytes.append(piece, n_read);
    if (std::ferror(file)) error = errno;
    std::fclose(file);
    return error;
}

Values ParseStore(const std::string& path, std::string_view text) {
    int n_damaged = 0;
    Values values;
    // Of a key that stands twice, the later line counts.
    for (auto& [key, value] : ParseSettings(text, &n_damaged)) values[std::move(key)] = std::move(value);
    if (n_damaged > 0) LogLine("Warning: " + std::to_string(n_damaged) + " damaged lines skipped in " + path);
    return values;
}

class Store {
public:
    bool Open(std::string_view new_folder) {
        std::lock_guard hold(lock);
        if (is_open) overrides.clear();
        return OpenLocked(new_folder.empty() ? ConfigFolder() : AbsolutePath(new_folder));
    }

    // The value that holds for this run.
    std::optional<std::string> Find(std::string_view key) {
        std::lock_guard hold(lock);
        OpenOnce();
        const std::string* value = FindLocked(key);
        return value ? std::optional(*value) : std::nullopt;
    }

    std::optional<std::string> FindInMachine(std::string_view key) {
        std::lock_guard hold(lock);
        OpenOnce();
        if (const std::string* value = FindLocked(key)) return *value;
        const auto found = machine_values.find(key);
        return found == machine_values.end() ? std::nullopt : std::optional(found->second);
    }

    // Without a value the key is deleted.
    bool Change(std::string_view key, const std::string* value) {
        ORVANE_ASSERT(!key.empty());
        std::lock_guard hold(lock);
        OpenOnce();
        const std::string name(key);
        const bool written = WriteBack(name, value);
        if (written) {
            unwritten.erase(name);
        } else {
            unwritten[name] = value ? std::optional(*value) : std::nullopt;
        }
        return written;
    }

    void Override(std::string_view key, std::string_view value) {
        std::lock_guard hold(lock);
        overrides[std::string(key)] = value;
    }

    Values List() {
        std::lock_guard hold(lock);
        OpenOnce();
        Values all = overrides;
        for (const auto& [key, value] : unwritten) {
            if (value) all.emplace(key, *value);
        }
        for (const auto& [key, value] : values) {
            if (!unwritten.count(key)) all.emplace(key, value);
        }
        return all;
    }

private:
    std::string Path() const { return JoinPath(folder, "settings"); }

    void OpenOnce() {
        if (!is_open) OpenLocked(ConfigFolder());
    }

    bool OpenLocked(const std::string& new_folder) {
        is_open = true;
        folder = new_folder;
        values.clear();
        unwritten.clear();
        const std::string machine_folder = MachineConfigFolder();
        machine_values.clear();
        if (!machine_folder.empty()) {
            const std::string path = JoinPath(machine_folder, "settings");
            std::string text;
            if (ReadWhole(path, text) == 0) machine_values = ParseStore(path, text);
        }
        if (const int error = CreateFolders(folder)) {
            FailCreateFolder(folder, error);
            return false;
        }
        std::string text;
        if (const int error = ReadWhole(Path(), text)) {
            FailOpen(Path(), error);
            return false;
        }
        values = ParseStore(Path(), text);
        return true;
    }

    const std::string* FindLocked(std::string_view key) const {
        if (const auto found = overrides.find(key); found != overrides.end()) return &found->second;
        if (const auto found = unwritten.find(key); found != unwritten.end()) {
            return found->second ? &*found->second : nullptr;
        }
        const auto found = values.find(key);
        return found == values.end() ? nullptr : &found->second;
    }

    // Changes one key in the file as it is now, which another process may have written since we read it.
    bool WriteBack(const std::string& key, const std::string* value) {
        if (const int error = CreateFolders(folder)) {
            FailCreateFolder(folder, error);
            return false;
        }
        FileLock file_lock;
        file_lock.AcquireWaiting(Path());
        std::string text;
        if (const int error = ReadWhole(Path(), text)) {
            FailRead(Path(), error);
            return false;
        }
        const std::string changed = ChangeSettingsText(text, key, value);
        if (changed != text && !Replace(changed)) return false;
        values = ParseStore(Path(), changed);
        return true;
    }

    bool Replace(const std::string& text) const {
        const std::string temporary = Path() + "_$$$";
        int error = 0;
        FILE* file = OpenFile(temporary, "wb", error);
        if (!file) {
            FailOpenForWriting(temporary, error);
            return false;
        }
        if (std::fwrite(text.data(), 1, text.size(), file) != text.size()) error = errno;
        if (!error) error = FlushToDisk(file);
        if (std::fclose(file) != 0 && !error) error = errno;
        if (!error) error = RenameFile(temporary, Path());
        if (!error) return true;
        RemoveFile(temporary);
        FailWrite(Path(), error);
        return false;
    }

    std::mutex lock;
    bool is_open = false;
    std::string folder;
    Values values;          // what the file says
    Values machine_values;  // what the machine-wide file says
    Values overrides;
    // Changes that could not be written back; nothing stands for a deleted key.
    std::map<std::string, std::optional<std::string>, std::less<>> unwritten;
};

Store& TheStore() {
    static Store store;
    return store;
}

// The number that a value holds; nothing when it is no number.
int32_t ToNumber(const std::optional<std::string>& value, int32_t default_value) {
    if (!value) return default_value;
    const std::string_view text = Trim(*value);
    const size_t first_digit = text.find_first_not_of("+-");
    if (first_digit == text.npos || text[first_digit] < '0' || text[first_digit] > '9') return default_value;
    using Limits = std::numeric_limits<int32_t>;
    return static_cast<int32_t>(std::clamp<int64_t>(ParseInt(text), Limits::min(), Limits::max()));
}

}  // namespace

bool OpenSettings(std::string_view folder) {
    return TheStore().Open(folder);
}

int32_t GetSetting(std::string_view key, int32_t default_value) {
    return ToNumber(TheStore().Find(key), default_value);
}

std::string GetStringSetting(std::string_view key, std::string_view default_value) {
    return TheStore().Find(key).value_or(std::string(default_value));
}

bool HasSetting(std::string_view key) {
    return TheStore().Find(key).has_value();
}

bool SetSetting(std::string_view key, int32_t value) {
    return SetStringSetting(key, std::to_string(value));
}

bool SetStringSetting(std::string_view key, std::string_view value) {
    const std::string text(value);
    return TheStore().Change(key, &text);
}

bool DeleteSetting(std::string_view key) {
    return TheStore().Change(key, nullptr);
}

void OverrideSetting(std::string_view key, std::string_view value) {
    TheStore().Override(key, value);
}

std::vector<std::pair<std::string, std::string>> ListSettings() {
    const Values all = TheStore().List();
    return {all.begin(), all.end()};
}

int32_t GetMachineSetting(std::string_view key, int32_t default_value) {
    return ToNumber(TheStore().FindInMachine(key), default_value);
}

}  // namespace Foundation
