// Named values that outlast the program: one store for the user, with a machine-wide counterpart that an installer
// may fill.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Foundation {

// The store is the text file "settings" in ConfigFolder(): lines of `key = value` in UTF-8. Every change is written
// back at once through a temporary file and a rename, under a lock shared with other processes, and only the changed
// key is replaced, so that two programs can write at once. A damaged line is skipped with a warning in the log and
// kept. There is no schema: a key is read with its default at the place of use. All functions may be called from any
// thread.

// Opens the store of `folder`, or of ConfigFolder() when it is empty. False when it cannot be read or made; the
// reason is the thread's last error. Reads before it has been opened open it. Opening a second time drops the
// overrides.
bool OpenSettings(std::string_view folder = {});

int32_t GetSetting(std::string_view key, int32_t default_value);
std::string GetStringSetting(std::string_view key, std::string_view default_value = {});
bool HasSetting(std::string_view key);
// False when the store cannot be written; the value holds for this run all the same.
bool SetSetting(std::string_view key, int32_t value);
bool SetStringSetting(std::string_view key, std::string_view value);
bool DeleteSetting(std::string_view key);

// Gives a key a value for this run only, over what the store says, and over later writes.
void OverrideSetting(std::string_view key, std::string_view value);

// Every key with its value, in alphabetical order; overrides included.
std::vector<std::pair<std::string, std::string>> ListSettings();

// One value of the machine-wide store; the user's value goes before it.
int32_t GetMachineSetting(std::string_view key, int32_t default_value);

// Reads the text of a store: the pure part, for tests and damaged files. `n_damaged` counts the lines skipped.
std::vector<std::pair<std::string, std::string>> ParseSettings(std::string_view text, int* n_damaged = nullptr);

// The text of a store with one key given a value, or deleted when `value` is null. Every other line stands as it is,
// damaged ones and comments ("#" first) too.
std::string ChangeSettingsText(std::string_view text, std::string_view key, const std::string* value);

}  // namespace Foundation
