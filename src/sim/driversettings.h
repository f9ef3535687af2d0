// What the driver side records in a model's settings file when a command arrives.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "commands.h"
#include "settings_dict.h"

namespace tavix::sim {

struct SettingChange {
    std::string key;
    PlistValue value;
};

// The settings-file entry a command sets for the given model, or nullopt for commands that
// change no setting (requests, hot keys, mouse actions) and for unknown ones.
std::optional<SettingChange> settingChangeForCommand(const DecodedCommand &command,
                                                     std::int32_t modelType);

}  // namespace tavix::sim
