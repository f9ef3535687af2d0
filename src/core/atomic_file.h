// Whole-file replacement that never leaves a torn file behind, whatever moment a crash hits.
#pragma once

#include <optional>
#include <string>

namespace tavix {

// Writes bytes to a temporary file in the target's folder, flushes it to disk, renames it over
// the target and syncs the folder. An existing target keeps its permission bits; a new one gets
// 0666 less the umask. Temporary files that crashed writers left behind are removed after a
// successful write. Returns whether the target now holds the bytes.
bool writeFileAtomically(const std::string &path, const std::string &bytes);

// Reads a whole regular file of at most maxSize bytes. nullopt when it is missing, not a
// regular file, unreadable or larger than maxSize.
std::optional<std::string> readSmallFile(const std::string &path, std::size_t maxSize);

}  // namespace tavix
