// Whole-file replacement that never leaves a torn file behind, whatever moment a crash hits.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace tavix {

// Writes bytes to a temporary file in the target's folder, flushes it to disk, renames it over
// the target and syncs the folder. A target that exists but is not a regular file is left alone
// (the result is false). An existing target keeps its permission bits; a new one gets
// 0666 less the umask. Temporary files that crashed writers left behind are removed after a
// successful write. Returns whether the target now holds the bytes.
bool writeFileAtomically(const std::string &path, const std::string &bytes);

enum class CreateOutcome { Created, Existed, Failed };

// Creates the file at path holding bytes, unless something exists there already: the bytes go
// to a temporary first, which is then linked to the path only if the name is still free, so a
// file that another process created meanwhile is never overwritten and no reader ever sees a
// partial one.
CreateOutcome createFileExclusively(const std::string &path, const std::string &bytes);

// The advisory lock our own writers hold around a whole read-change-replace of a file: an
// exclusive flock() on ".<name>.lock" beside the target. Readers never take it. Waits at most
// `wait` for another holder; after that held() is false and the caller goes on without it
// (last writer wins, as for writers that take no lock at all).
class FileUpdateLock {
  public:
    explicit FileUpdateLock(const std::string &targetPath,
                            std::chrono::milliseconds wait = std::chrono::milliseconds(2000));
    ~FileUpdateLock();
    FileUpdateLock(const FileUpdateLock &) = delete;
    FileUpdateLock &operator=(const FileUpdateLock &) = delete;

    bool held() const { return held_; }

  private:
    int fd_ = -1;
    bool held_ = false;
};

// Reads a whole regular file of at most maxSize bytes. nullopt when it is missing, not a
// regular file (a FIFO, socket or device is refused without blocking), unreadable or larger
// than maxSize.
std::optional<std::string> readSmallFile(const std::string &path, std::size_t maxSize);

}  // namespace tavix
