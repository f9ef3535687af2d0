#include "atomic_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <random>
#include <thread>

namespace tavix {
namespace {

struct PathParts {
    std::string folder;
    std::string name;
};

PathParts splitPath(const std::string &path) {
    std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        return {".", path};
    }
    return {slash == 0 ? "/" : path.substr(0, slash), path.substr(slash + 1)};
}

// Temporary files are named ".<target>.tmp.<pid>.<unique>", so that a later writer can tell
// the leftovers of a dead process from the files of one still writing.
std::string tempPrefix(const std::string &name) {
    return "." + name + ".tmp.";
}

bool writeAll(int fd, const std::string &bytes) {
    const char *data = bytes.data();
    std::size_t left = bytes.size();
    while (left > 0) {
        ssize_t n = ::write(fd, data, left);
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        data += n;
        left -= static_cast<std::size_t>(n);
    }
    return true;
}

void syncFolder(const std::string &folder) {
    int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

void removeStaleTemporaries(const PathParts &parts) {
    DIR *dir = ::opendir(parts.folder.c_str());
    if (dir == nullptr) {
        return;
    }
    const std::string prefix = tempPrefix(parts.name);
    while (dirent *entry = ::readdir(dir)) {
        std::string entryName = entry->d_name;
        if (entryName.compare(0, prefix.size(), prefix) != 0) {
            continue;
        }
        char *end = nullptr;
        long pid = std::strtol(entryName.c_str() + prefix.size(), &end, 10);
        if (end == nullptr || *end != '.' || pid <= 0) {
            continue;
        }
        if (::kill(static_cast<pid_t>(pid), 0) == -1 && errno == ESRCH) {
            ::unlink((parts.folder + "/" + entryName).c_str());
        }
    }
    ::closedir(dir);
}

}  // namespace

namespace {

// Writes bytes to a new temporary file in the target's folder and flushes it to disk. mode, when
// given, becomes the file's permission bits. Returns the temporary's path, empty on failure.
std::string writeTemporary(const PathParts &parts, const std::string &bytes,
                           std::optional<mode_t> mode) {
    static std::atomic<unsigned> counter{0};
    thread_local std::minstd_rand random(std::random_device{}());
    std::string tempPath;
    int fd = -1;
    for (int attempt = 0; attempt < 16 && fd < 0; ++attempt) {
        tempPath = parts.folder + "/" + tempPrefix(parts.name) + std::to_string(::getpid()) + "." +
                   std::to_string(counter.fetch_add(1)) + "-" + std::to_string(random());
        fd = ::open(tempPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST) {
            return {};
        }
    }
    if (fd < 0) {
        return {};
    }
    bool ok = !mode || ::fchmod(fd, *mode & 07777) == 0;
    ok = ok && writeAll(fd, bytes) && ::fsync(fd) == 0;
    ok = (::close(fd) == 0) && ok;
    if (!ok) {
        ::unlink(tempPath.c_str());
        return {};
    }
    return tempPath;
}

}  // namespace

bool writeFileAtomically(const std::string &path, const std::string &bytes) {
    const PathParts parts = splitPath(path);
    if (parts.name.empty()) {
        return false;
    }

    struct stat target {};
    const bool targetExists = ::stat(path.c_str(), &target) == 0;
    if (targetExists && !S_ISREG(target.st_mode)) {
        return false;  // a folder, FIFO, socket or device is never replaced
    }
    const std::string tempPath = writeTemporary(
        parts, bytes, targetExists ? std::optional<mode_t>(target.st_mode) : std::nullopt);
    if (tempPath.empty()) {
        return false;
    }
    if (::rename(tempPath.c_str(), path.c_str()) != 0) {
        ::unlink(tempPath.c_str());
        return false;
    }
    syncFolder(parts.folder);
    removeStaleTemporaries(parts);
    return true;
}

CreateOutcome createFileExclusively(const std::string &path, const std::string &bytes) {
    const PathParts parts = splitPath(path);
    if (parts.name.empty()) {
        return CreateOutcome::Failed;
    }
    struct stat existing {};
    if (::lstat(path.c_str(), &existing) == 0) {
        return CreateOutcome::Existed;
    }
    const std::string tempPath = writeTemporary(parts, bytes, std::nullopt);
    if (tempPath.empty()) {
        return CreateOutcome::Failed;
    }
    // link() gives the complete file its name only if the name is free: a reader never sees it
    // half-written, and a file someone else created meanwhile is never replaced.
    const int linked = ::link(tempPath.c_str(), path.c_str());
    const int linkError = errno;
    ::unlink(tempPath.c_str());
    if (linked == 0) {
        syncFolder(parts.folder);
        return CreateOutcome::Created;
    }
    return linkError == EEXIST ? CreateOutcome::Existed : CreateOutcome::Failed;
}

FileUpdateLock::FileUpdateLock(const std::string &targetPath, std::chrono::milliseconds wait) {
    const PathParts parts = splitPath(targetPath);
    if (parts.name.empty()) {
        return;
    }
    const std::string lockPath = parts.folder + "/." + parts.name + ".lock";
    fd_ = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0666);
    if (fd_ < 0) {
        return;
    }
    struct stat st {};
    if (::fstat(fd_, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd_);
        fd_ = -1;
        return;
    }
    // flock() locks belong to the open file, so two threads of one process exclude each other
    // too. A holder that hangs delays us at most `wait`.
    const auto deadline = std::chrono::steady_clock::now() + wait;
    auto pause = std::chrono::microseconds(50);
    for (;;) {
        if (::flock(fd_, LOCK_EX | LOCK_NB) == 0) {
            held_ = true;
            return;
        }
        if (errno != EWOULDBLOCK && errno != EINTR) {
            return;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return;
        }
        std::this_thread::sleep_for(pause);
        pause = std::min<std::chrono::microseconds>(pause * 2, std::chrono::milliseconds(2));
    }
}

FileUpdateLock::~FileUpdateLock() {
    if (fd_ >= 0) {
        ::close(fd_);  // releases the lock
    }
}

std::optional<std::string> readSmallFile(const std::string &path, std::size_t maxSize) {
    // Without O_NONBLOCK, opening a FIFO would wait for a writer for ever; the type check below
    // then refuses everything that is not a regular file.
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0) {
        return std::nullopt;
    }
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) ||
        static_cast<std::size_t>(st.st_size) > maxSize) {
        ::close(fd);
        return std::nullopt;
    }
    // The file may grow between fstat and read: read at most one byte past the limit.
    const std::size_t limit = maxSize + 1;
    std::string bytes;
    bytes.resize(std::min(limit, static_cast<std::size_t>(st.st_size) + 1));
    std::size_t used = 0;
    while (used < limit) {
        if (used == bytes.size()) {
            bytes.resize(std::min(limit, bytes.size() * 2));
        }
        ssize_t n = ::read(fd, bytes.data() + used, bytes.size() - used);
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            ::close(fd);
            return std::nullopt;
        }
        if (n == 0) {
            break;
        }
        used += static_cast<std::size_t>(n);
    }
    ::close(fd);
    if (used > maxSize) {
        return std::nullopt;
    }
    bytes.resize(used);
    return bytes;
}

}  // namespace tavix
