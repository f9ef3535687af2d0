#include "atomic_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <random>

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

bool writeFileAtomically(const std::string &path, const std::string &bytes) {
    const PathParts parts = splitPath(path);
    if (parts.name.empty()) {
        return false;
    }

    struct stat target {};
    const bool targetExists = ::stat(path.c_str(), &target) == 0;
    if (targetExists && S_ISDIR(target.st_mode)) {
        return false;
    }

    static std::atomic<unsigned> counter{0};
    thread_local std::minstd_rand random(std::random_device{}());
    std::string tempPath;
    int fd = -1;
    for (int attempt = 0; attempt < 16 && fd < 0; ++attempt) {
        tempPath = parts.folder + "/" + tempPrefix(parts.name) + std::to_string(::getpid()) + "." +
                   std::to_string(counter.fetch_add(1)) + "-" + std::to_string(random());
        fd = ::open(tempPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST) {
            return false;
        }
    }
    if (fd < 0) {
        return false;
    }

    bool ok = true;
    if (targetExists) {
        ok = ::fchmod(fd, target.st_mode & 07777) == 0;
    }
    ok = ok && writeAll(fd, bytes) && ::fsync(fd) == 0;
    ok = (::close(fd) == 0) && ok;
    ok = ok && ::rename(tempPath.c_str(), path.c_str()) == 0;
    if (!ok) {
        ::unlink(tempPath.c_str());
        return false;
    }
    syncFolder(parts.folder);
    removeStaleTemporaries(parts);
    return true;
}

std::optional<std::string> readSmallFile(const std::string &path, std::size_t maxSize) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
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
