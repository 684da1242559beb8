#include "foundation/settings.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <limits>
#include <map>
#include <mutex>

#include "foundation/assert.h"
#include "foundation/event.h"
#include "foundation/fileerror.h"
#include "foundation/filelock.h"
#include "foundation/path.h"
#include "foundation/platform.h"
#include "foundation/progress.h"
#include "foundation/safefile.h"
#include "foundation/text.h"

namespace Foundation {
namespace {

using Values = std::map<std::string, std::string, std::less<>>;

// 0 or an error number; a file that is not there reads as an empty one.
int ReadWhole(const std::string& path, std::string& bytes) {
    bytes.clear();
    int error = 0;
    const FilePtr file(OpenFile(path, "rb", error));
    if (!file) return error == ENOENT ? 0 : error;
    char piece[16384];
    while (const size_t n_read = std::fread(piece, 1, sizeof piece, file.get())) bytes.append(piece, n_read);
    return std::ferror(file.get()) ? errno : 0;
}

Values ParseStore(const std::string& path, std::string_view text) {
    int n_damaged = 0;
    Values values;
    // Of a key that stands twice, the later line counts.
    for (auto& [key, value] : ParseSettings(text, &n_damaged)) values[std::move(key)] = std::move(value);
    if (n_damaged > 0) LogLine("Warning: " + std::to_string(n_damaged) + " damaged lines skipped in " + path);
    return values;
}

Values ReadMachineStore() {
    const std::string folder = MachineConfigFolder();
    std::string text;
    const std::string path = JoinPath(folder, "settings");
    return folder.empty() || ReadWhole(path, text) != 0 ? Values() : ParseStore(path, text);
}

// Tells two contents of the store apart without reading them: every write makes another file.
struct Stamp {
    std::string identity;
    int64_t size = 0;
    FileTime time = 0;

    bool operator==(const Stamp&) const = default;
};

Stamp StampOf(const std::string& path) {
    FileInfo info;
    GetFileInfo(path, info);
    return {FileIdentity(path), info.size, info.time};
}

// The keys whose values differ.
std::vector<std::string> Differences(const Values& before, const Values& after) {
    std::vector<std::string> keys;
    for (const auto& [key, value] : before) {
        if (const auto found = after.find(key); found == after.end() || found->second != value) keys.push_back(key);
    }
    for (const auto& [key, value] : after) {
        if (!before.contains(key)) keys.push_back(key);
    }
    return keys;
}

// The number that a value holds; the default when it is no number.
int32_t ToNumber(std::string_view value, int32_t default_value) {
    const std::string_view text = Trim(value);
    const size_t first_digit = text.find_first_not_of("+-");
    if (first_digit == text.npos || text[first_digit] < '0' || text[first_digit] > '9') return default_value;
    using Limits = std::numeric_limits<int32_t>;
    return static_cast<int32_t>(std::clamp<int64_t>(ParseInt(text), Limits::min(), Limits::max()));
}

class Store {
public:
    Outcome Open(std::string_view new_folder) {
        Outcome outcome;
        Update([&] {
            if (is_open) overrides.clear();
            outcome = OpenLocked(new_folder.empty() ? ConfigFolder() : AbsolutePath(new_folder));
        });
        return outcome;
    }

    Outcome Write(const SettingChanges& changes) {
        Outcome outcome;
        Update([&] {
            if (!is_open) outcome = OpenLocked(ConfigFolder());
            for (const SettingChange& change : changes) {
                ORVANE_ASSERT(!change.key.empty());
                std::erase_if(unwritten, [&](const SettingChange& older) { return older.key == change.key; });
                unwritten.push_back(change);
            }
            if (outcome.Ok()) outcome = WriteBack();
        });
        return outcome;
    }

    void Override(std::string_view key, std::string_view value) {
        Update([&] { overrides[std::string(key)] = value; });
    }

    void Refresh() {
        std::unique_lock hold(writing, std::try_to_lock);
        if (!hold) return;  // a write looks at the file too
        Update(std::move(hold), [&] {
            if (!is_open || StampOf(Path()) == stamp) return;
            const Stamp now = StampOf(Path());
            std::string text;
            if (ReadWhole(Path(), text) != 0) return;
            file_values = ParseStore(Path(), text);
            stamp = now;
        });
    }

    // Calls `take` with the value, if there is one, while it stays as it is. `take` must not wait for anything.
    template <class Take>
    bool Read(std::string_view key, bool or_of_machine, const Take& take) {
        std::lock_guard hold(reading);
        const Values* all = &in_force;
        auto found = all->find(key);
        if (found == all->end() && or_of_machine) found = (all = &machine_values)->find(key);
        if (found == all->end()) return false;
        take(found->second);
        return true;
    }

    Values List() {
        std::lock_guard hold(reading);
        return in_force;
    }

private:
    std::string Path() const { return JoinPath(folder, "settings"); }

    // Runs `change` with the writers' lock held, gives readers what has come of it, and tells who wants to know.
    void Update(FunctionRef<void()> change) { Update(std::unique_lock(writing), change); }

    void Update(std::unique_lock<std::mutex> hold, FunctionRef<void()> change) {
        std::vector<std::string> changed;
        {
            change();
            Values now = file_values;
            for (const SettingChange& missing : unwritten) {
                now.erase(missing.key);
                if (missing.value) now.emplace(missing.key, *missing.value);
            }
            for (const auto& [key, value] : overrides) now[key] = value;
            changed = Differences(in_force, now);
            std::lock_guard swap(reading);
            in_force.swap(now);
        }
        hold.unlock();
        for (const std::string& key : changed) event::Fire(EVENT_SETTING_CHANGED, event::Arg(&key));
    }

    Outcome OpenLocked(const std::string& new_folder) {
        is_open = true;
        folder = new_folder;
        file_values.clear();
        unwritten.clear();
        Values of_machine = ReadMachineStore();
        {
            std::lock_guard swap(reading);
            machine_values.swap(of_machine);
        }
        if (const int error = CreateFolders(folder)) return CannotCreateFolder(folder, error);
        stamp = StampOf(Path());
        std::string text;
        if (const int error = ReadWhole(Path(), text)) return CannotOpen(Path(), error);
        file_values = ParseStore(Path(), text);
        return {};
    }

    // Makes the changes in the file as it is now, which another process may have written since we read it.
    Outcome WriteBack() {
        if (const int error = CreateFolders(folder)) return CannotCreateFolder(folder, error);
        FileLock file_lock;
        if (Outcome outcome = file_lock.AcquireWaiting(Path(), [] { return !Progress::Cancelled(); }); !outcome) {
            return outcome;
        }
        std::string text;
        if (const int error = ReadWhole(Path(), text)) return CannotRead(Path(), error);
        const std::string changed = ChangeSettingsText(text, unwritten);
        if (changed != text) {
            if (Outcome outcome = ReplaceContents(Path(), changed); !outcome) return outcome;
        }
        file_values = ParseStore(Path(), changed);
        stamp = StampOf(Path());
        unwritten.clear();
        return {};
    }

    // Held through reading and writing the file. Taken before `reading`, never while that is held.
    std::mutex writing;
    bool is_open = false;
    std::string folder;
    Stamp stamp;  // of the file that `file_values` are from
    Values file_values;
    SettingChanges unwritten;  // in force, but not on the disk yet
    Values overrides;

    // Held for a look-up or a swap only. What readers see; writers change it with both locks held.
    std::mutex reading;
    Values in_force;
    Values machine_values;
};

Store& TheStore() {
    static Store store;
    return store;
}

}  // namespace

Outcome OpenSettings(std::string_view folder) {
    return TheStore().Open(folder);
}

int32_t GetSetting(std::string_view key, int32_t default_value) {
    int32_t number = default_value;
    TheStore().Read(key, false, [&](const std::string& value) { number = ToNumber(value, default_value); });
    return number;
}

std::string GetStringSetting(std::string_view key, std::string_view default_value) {
    std::string text;
    const bool found = TheStore().Read(key, false, [&](const std::string& value) { text = value; });
    return found ? text : std::string(default_value);
}

bool HasSetting(std::string_view key) {
    return TheStore().Read(key, false, [](const std::string&) {});
}

int32_t GetMachineSetting(std::string_view key, int32_t default_value) {
    int32_t number = default_value;
    TheStore().Read(key, true, [&](const std::string& value) { number = ToNumber(value, default_value); });
    return number;
}

std::vector<std::pair<std::string, std::string>> ListSettings() {
    const Values all = TheStore().List();
    return {all.begin(), all.end()};
}

Outcome WriteSettings(const SettingChanges& changes) {
    return TheStore().Write(changes);
}

void SetSettings(const SettingChanges& changes) {
    const Outcome outcome = WriteSettings(changes);
    if (!outcome) LogLine("A setting is kept for this run only. " + outcome.Plain());
}

void SetSetting(std::string_view key, int32_t value) {
    SetSettings({{key, value}});
}

void SetStringSetting(std::string_view key, std::string_view value) {
    SetSettings({{key, value}});
}

void DeleteSetting(std::string_view key) {
    SetSettings({{key, std::nullopt}});
}

void OverrideSetting(std::string_view key, std::string_view value) {
    TheStore().Override(key, value);
}

void RefreshSettings() {
    TheStore().Refresh();
}

}  // namespace Foundation
