// Named values that outlast the program: one store for the user, with a machine-wide counterpart that an installer
// may fill.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/outcome.h"

namespace Foundation {

// The store is the text file "settings" in ConfigFolder(): lines of `key = value` in UTF-8. Every change is written
// back at once through a temporary file and a rename, under a lock shared with other processes, and only the changed
// keys are replaced, so that two programs can write at once. A damaged line is skipped with a warning in the log and
// kept. There is no schema: a key is read with its default at the place of use.
//
// All functions may be called from any thread. Reading takes the values from memory: it never waits for the disk, for
// a write of another thread or for another process, and may stand in a stream's Read. Writing waits for the disk and
// for the store's lock; the wait for the lock ends when the user cancels (Progress::Cancel).

// Opens the store of `folder`, or of ConfigFolder() when it is empty. Until then every key has its default; a write
// opens the store of ConfigFolder(). Opening a second time drops the overrides.
Outcome OpenSettings(std::string_view folder = {});

int32_t GetSetting(std::string_view key, int32_t default_value);
std::string GetStringSetting(std::string_view key, std::string_view default_value = {});
bool HasSetting(std::string_view key);

// One value of the machine-wide store; the user's value goes before it.
int32_t GetMachineSetting(std::string_view key, int32_t default_value);

// Every key with its value, in alphabetical order; overrides included.
std::vector<std::pair<std::string, std::string>> ListSettings();

// A key with its new value, or without one: then the key is deleted.
struct SettingChange {
    SettingChange(std::string_view key, int32_t value) : key(key), value(std::to_string(value)) {}
    SettingChange(std::string_view key, std::string_view value) : key(key), value(value) {}
    SettingChange(std::string_view key, std::nullopt_t) : key(key) {}

    std::string key;
    std::optional<std::string> value;
};
using SettingChanges = std::vector<SettingChange>;

// Several keys in one write. The values hold for this run even if they cannot be written; the next write that
// succeeds then brings them to the disk.
Outcome WriteSettings(const SettingChanges& changes);

// The same for what the program remembers on its own: a failure is a line in the log.
void SetSettings(const SettingChanges& changes);
void SetSetting(std::string_view key, int32_t value);
void SetStringSetting(std::string_view key, std::string_view value);
void DeleteSetting(std::string_view key);

// Gives a key a value for this run only, over what the store says, and over later writes.
void OverrideSetting(std::string_view key, std::string_view value);

// Takes over what another process has written since. Looks at the disk, so it belongs where a pause does no harm: when
// a window comes to the front, before a job.
void RefreshSettings();

// After every change of a value, by whichever of these functions, EVENT_SETTING_CHANGED is fired for its key on the
// thread that made or noticed the change. The new value is in force then, and no lock is held.

// Reads the text of a store: the pure part, for tests and damaged files. `n_damaged` counts the lines skipped.
std::vector<std::pair<std::string, std::string>> ParseSettings(std::string_view text, int* n_damaged = nullptr);

// The text of a store with keys given values, or deleted. Every other line stands as it is, damaged ones and comments
// ("#" first) too.
std::string ChangeSettingsText(std::string_view text, const SettingChanges& changes);

}  // namespace Foundation
