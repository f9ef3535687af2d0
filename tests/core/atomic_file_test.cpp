// Whole-file reads and replacements at their limits and failures, the update lock, leftovers.
#include "atomic_file.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "temp_env.h"

namespace tavix {
namespace {

namespace fs = std::filesystem;
using AtomicFileTest = test::TempEnvTest;
using Text = std::optional<std::string>;

// What each kind of path reads as (at most 4 bytes), and whether a replacement may take it.
TEST_F(AtomicFileTest, ReadsAndReplacementsRefuseWhatTheyCannotTake) {
    const std::string f = home_ + "/f";
    const struct {
        const char *label;
        std::function<void()> make;
        Text read;
        bool replaced;
    } cases[] = {
        {"missing", [] {}, std::nullopt, true},
        {"empty", [&] { std::ofstream{f}; }, "", true},
        {"exactly the limit", [&] { std::ofstream(f) << "abcd"; }, "abcd", true},
        {"one byte over", [&] { std::ofstream(f) << "abcde"; }, std::nullopt, true},
        {"folder", [&] { fs::create_directory(f); }, std::nullopt, false},
        {"FIFO", [&] { ::mkfifo(f.c_str(), 0600); }, std::nullopt, false},
        {"link to a device", [&] { fs::create_symlink("/dev/null", f); }, std::nullopt, false},
    };
    for (const auto &c : cases) {
        c.make();
        EXPECT_EQ(readSmallFile(f, 4), c.read) << c.label;
        EXPECT_EQ(writeFileAtomically(f, "new"), c.replaced) << c.label;
        EXPECT_EQ(readSmallFile(f, 4), c.replaced ? Text("new") : std::nullopt) << c.label;
        fs::remove(f);
    }
    // An exclusive create never replaces a file someone else created first.
    EXPECT_EQ(createFileExclusively(f, "theirs"), CreateOutcome::Created);
    EXPECT_EQ(createFileExclusively(f, "ours"), CreateOutcome::Existed);
    EXPECT_EQ(readSmallFile(f, 8), "theirs");
    EXPECT_FALSE(writeFileAtomically(home_ + "/no/folder/f", "x"));
    EXPECT_FALSE(writeFileAtomically(home_ + "/", "x"));
    EXPECT_EQ(createFileExclusively(home_ + "/", "x"), CreateOutcome::Failed);
}

// The update lock excludes a second holder until released, and is never taken on a folder.
TEST_F(AtomicFileTest, LockExcludesASecondHolder) {
    const std::string f = home_ + "/f";
    {
        const FileUpdateLock first(f);
        ASSERT_TRUE(first.held());
        EXPECT_FALSE(FileUpdateLock(f, std::chrono::milliseconds(20)).held());
    }
    EXPECT_TRUE(FileUpdateLock(f, std::chrono::milliseconds(0)).held());
    fs::create_directory(home_ + "/.g.lock");
    EXPECT_FALSE(FileUpdateLock(home_ + "/g", std::chrono::milliseconds(0)).held());
}

// Writers killed until 20 kills have landed in the middle of a write: the file is always one whole
// version, and the next replacement removes what the dead left behind, never a living writer's
// files.
TEST_F(AtomicFileTest, KilledWritersLeaveWholeFilesAndTheirLeftoversGo) {
    const std::string f = home_ + "/f";
    const auto leftovers = [&] {
        int n = 0;
        for (const auto &entry : fs::directory_iterator(home_)) {
            n += entry.path().filename().string().rfind(".f.tmp.", 0) == 0;
        }
        return n;
    };
    int midWrite = 0;
    for (int round = 0; midWrite < 20 && round < 2000; ++round) {
        const std::string version(1 << 20, char('a' + round % 26));
        const pid_t child = ::fork();
        if (child == 0) {
            for (;;) {
                writeFileAtomically(f, version);
            }
        }
        while (readSmallFile(f, version.size()) != version) {
        }
        ::kill(child, SIGKILL);  // most often in its next write
        ASSERT_EQ(::waitpid(child, nullptr, 0), child);
        EXPECT_EQ(readSmallFile(f, version.size()), version);
        midWrite += leftovers() > 0;
    }
    EXPECT_EQ(midWrite, 20);
    const std::vector<std::string> kept = {home_ + "/.f.tmp." + std::to_string(::getpid()) + ".1",
                                           home_ + "/.f.tmp.0.1", home_ + "/.f.tmp.x"};
    for (const std::string &name : kept) {
        std::ofstream{name};
    }
    ASSERT_TRUE(writeFileAtomically(f, "x"));
    EXPECT_EQ(leftovers(), int(kept.size()));
}

}  // namespace
}  // namespace tavix
