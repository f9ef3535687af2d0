// Whole-file reads and replacements at their limits and failures, the update lock, leftovers.
#include "atomic_file.h"

#include <gtest/gtest.h>
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
    EXPECT_FALSE(writeFileAtomically(home_ + "/no/folder/f", "x"));
    EXPECT_FALSE(writeFileAtomically(home_ + "/", "x"));
    EXPECT_EQ(createFileExclusively(home_ + "/", "x"), CreateOutcome::Failed);
}

// The update lock excludes a second holder until released, and is never taken on a folder. A
// replacement removes the temporaries a dead writer left behind, never a living writer's.
TEST_F(AtomicFileTest, LockExcludesAndOnlyTheLeftoversOfTheDeadGo) {
    const std::string f = home_ + "/f";
    {
        const FileUpdateLock first(f);
        ASSERT_TRUE(first.held());
        EXPECT_FALSE(FileUpdateLock(f, std::chrono::milliseconds(20)).held());
    }
    EXPECT_TRUE(FileUpdateLock(f, std::chrono::milliseconds(0)).held());
    fs::create_directory(home_ + "/.g.lock");
    EXPECT_FALSE(FileUpdateLock(home_ + "/g", std::chrono::milliseconds(0)).held());
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(0);
    }
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    const std::string dead = home_ + "/.f.tmp." + std::to_string(child) + ".1-2";
    const std::vector<std::string> kept = {home_ + "/.f.tmp." + std::to_string(::getpid()) + ".1",
                                           home_ + "/.f.tmp.0.1", home_ + "/.f.tmp.x",
                                           home_ + "/.e.tmp." + std::to_string(child) + ".1"};
    for (const std::string &name : kept) {
        std::ofstream{name};
    }
    std::ofstream{dead};
    ASSERT_TRUE(writeFileAtomically(f, "x"));
    EXPECT_FALSE(fs::exists(dead));
    for (const std::string &name : kept) {
        EXPECT_TRUE(fs::exists(name)) << name;
    }
}

}  // namespace
}  // namespace tavix
