// Reading and writing the shared state file (Utilities.plist) and the per-model settings files.
// Nothing is cached: every call goes back to the file. Every write replaces the whole file
// atomically, so another process never sees a half-written file.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "plist_guard.h"
#include "settings_dict.h"

namespace tavix {

// True when anything (file, folder, link to either) exists at the path.
bool pathExists(const std::string &path);

// Parses a property list (XML or binary) whose root is a dictionary. nullopt when the file is
// missing, unreadable, too large, too deep, not a property list or not a dictionary.
std::optional<SettingsDict> readPlistFile(const std::string &path);
std::optional<SettingsDict> parsePlist(const std::string &bytes);

// Serialises to an XML property list.
std::string serializePlist(const SettingsDict &dict);

// Writes the dictionary as an XML property list that replaces the file at path atomically:
// a temporary file in the same folder is written, flushed to disk and renamed over the target,
// then the folder is synced. The target's permissions are kept. Returns whether it worked.
bool writePlistFileAtomically(const SettingsDict &dict, const std::string &path);

// Default contents, in file order.
SettingsDict utilitiesDefaults();
SettingsDict settingItemsDefaults();

// The shared state file, created with its defaults first when nothing exists at its path (never
// over a file that another process created in the meantime).
// Empty when the file cannot be read; an existing file is never completed with defaults.
SettingsDict readUtilitiesDictionary();

// A per-model settings file, created with its defaults first when nothing exists at path.
SettingsDict readSettingItemsFromPlist(const std::string &path);

// One read-change-replace of the file at path under the writers' lock (see FileUpdateLock):
// the file is read (a missing one as an empty dictionary), change edits it and says whether to
// write. False when an existing file cannot be read (nothing is written then) or the write
// fails; true when the change wrote nothing.
bool updatePlistFile(const std::string &path, const std::function<bool(SettingsDict &)> &change);

// Merges items into the file at path (keys only in the file are kept) and writes it. An
// existing file that cannot be parsed is left untouched and the result is false.
bool saveSettingItemsToPlist(const SettingsDict &items, const std::string &path);

// One-key update of the shared state file, without applying defaults. Returns whether the
// write succeeded (the pane logs "save OK" then).
bool saveItemToInfoPlist(const PlistValue &value, const std::string &key);

}  // namespace tavix
