// Settings files: first-use defaults, merges, unreadable files left alone, concurrent writers.
#include "settings_store.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>

#include "atomic_file.h"
#include "paths.h"
#include "temp_env.h"

namespace tavix {
namespace {

namespace fs = std::filesystem;

std::string readBytes(const std::string &path) {
    return readSmallFile(path, 1 << 24).value_or("(unreadable)");
}

SettingsDict dictOf(std::initializer_list<SettingsDict::Entry> entries) {
    SettingsDict d;
    for (const auto &[key, value] : entries) {
        d.set(key, value);
    }
    return d;
}

using StoreTest = test::TempEnvTest;

std::string settingsFile() {
    return getSettingsFilePath(317);
}

TEST(PlistValueTest, NumericConversionFollowsOneRule) {
    struct Case {
        const char *label;
        PlistValue value;
        std::int64_t asInt;
        bool asBool;
        double asDouble;
    };
    const Case cases[] = {
        {"integer", PlistValue(42), 42, true, 42.0},
        {"negative real truncates toward zero", PlistValue(-2.9), -2, true, -2.9},
        {"fraction is true but 0", PlistValue(0.5), 0, true, 0.5},
        {"string is not a number", PlistValue("12"), 0, false, 0.0},
        {"NaN is 0 and false", PlistValue(std::nan("")), 0, false, std::nan("")},
        {"huge reals saturate", PlistValue(1e300), INT64_MAX, true, 1e300},
        {"huge negative reals saturate", PlistValue(-1e300), INT64_MIN, true, -1e300},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(c.value.toInt(), c.asInt) << c.label;
        EXPECT_EQ(c.value.toBool(), c.asBool) << c.label;
        EXPECT_EQ(std::to_string(c.value.toDouble()), std::to_string(c.asDouble)) << c.label;
    }
}

// The files first use writes, byte for byte: keys, order and kinds (RotateMode is a boolean
// there). A merge then keeps a replaced key in its place, adds new keys last and keeps the keys
// it does not name.
TEST_F(StoreTest, FirstUseWritesTheDefaultsAndAMergeKeepsThem) {
    const auto expected = [](const char *name) {
        return readBytes(std::string(TAVIX_EXPECTED_DIR "/") + name);
    };
    ASSERT_FALSE(pathExists(getUilitiesFilePath()));
    EXPECT_EQ(readUtilitiesDictionary(), parsePlist(expected("Utilities.plist")));
    EXPECT_EQ(readBytes(getUilitiesFilePath()), expected("Utilities.plist"));
    SettingsDict settingsDefaults = readSettingItemsFromPlist(settingsFile());
    EXPECT_EQ(readBytes(settingsFile()), expected("Settings_317.plist"));
    EXPECT_EQ(parsePlist(expected("Settings_317.plist")), settingsDefaults);
    const SettingsDict items = dictOf({{"DoubleClickRange", 45}, {"PenSoftSupport", true}});
    ASSERT_TRUE(saveSettingItemsToPlist(items, settingsFile()));
    settingsDefaults.set("DoubleClickRange", 45);
    settingsDefaults.set("PenSoftSupport", true);
    EXPECT_EQ(readPlistFile(settingsFile()), settingsDefaults);
    EXPECT_TRUE(settingsDefaults.remove("PenSoftSupport"));
    EXPECT_FALSE(settingsDefaults.remove("PenSoftSupport"));
}

// Files the store cannot take read empty and are never written over: too large, broken, not a
// dictionary. Other kinds of file are refused below, where every file is read and replaced.
TEST_F(StoreTest, UnreadableFilesReadEmptyAndAreNeverOverwritten) {
    const std::string head =
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>s</key><string>";
    const std::string tail = "</string></dict></plist>";
    const std::size_t fits = kMaxPlistFileSize - head.size() - tail.size();
    const std::string path = getUilitiesFilePath();
    for (const std::string &bytes :
         {head + std::string(fits + 1, 'x') + tail, head.substr(0, 60),
          std::string("<?xml version=\"1.0\"?><plist version=\"1.0\"><array/></plist>")}) {
        ASSERT_TRUE(writeFileAtomically(path, bytes));
        EXPECT_TRUE(readUtilitiesDictionary().empty()) << bytes.size();
        EXPECT_FALSE(saveItemToInfoPlist(PlistValue(3), "currentPageIndex")) << bytes.size();
        EXPECT_FALSE(saveSettingItemsToPlist(dictOf({{"VerboseLog", true}}), path)) << bytes.size();
        EXPECT_EQ(readBytes(path), bytes) << bytes.size();
    }
    ASSERT_TRUE(writeFileAtomically(path, head + std::string(fits, 'x') + tail));
    EXPECT_EQ(readUtilitiesDictionary(), dictOf({{"s", std::string(fits, 'x')}}));
}

// A merge into a missing file creates just what it merges; no file is completed with defaults.
// Into a file: reals to the last bit and opaque arrays survive, and so do its permissions.
TEST_F(StoreTest, MergesCreateNoDefaultsKeepWhatTheyDoNotNameAndFailCleanlyWithoutAFolder) {
    ASSERT_TRUE(saveItemToInfoPlist(PlistValue(2), "currentPageIndex"));
    EXPECT_EQ(readUtilitiesDictionary(), dictOf({{"currentPageIndex", 2}}));
    const std::string head = "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>";
    const std::string array = "<key>a</key><array><integer>1</integer></array>";
    ASSERT_TRUE(writeFileAtomically(
        settingsFile(),
        head + "<key>r</key><real>0.30000000000000004</real>" + array + "</dict></plist>"));
    ASSERT_EQ(::chmod(settingsFile().c_str(), 0640), 0);
    ASSERT_TRUE(saveSettingItemsToPlist(dictOf({{"InputMode", 2}}), settingsFile()));
    const auto opaque = parsePlist(head + array + "</dict></plist>");
    ASSERT_TRUE(opaque.has_value());
    EXPECT_EQ(readSettingItemsFromPlist(settingsFile()),
              dictOf({{"r", 0.30000000000000004}, {"a", *opaque->find("a")}, {"InputMode", 2}}));
    EXPECT_EQ(readBytes(settingsFile()).rfind("<?xml", 0), 0u);
    struct stat st {};
    ASSERT_EQ(::stat(settingsFile().c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0640u);
    EXPECT_FALSE(writePlistFileAtomically(utilitiesDefaults(), home_ + "/no/such/folder/x.plist"));
}

// Writers in four processes at once: the lock loses no update, and as every write lands
// whole under its name a reader never sees a torn or empty file.
TEST_F(StoreTest, ConcurrentWritersLoseNoUpdateAndReadersNeverSeeATornFile) {
    // On tmpfs: the test is about the lock, not the disk's flush time.
    char folder[] = "/dev/shm/tavix-store-XXXXXX";
    ASSERT_NE(::mkdtemp(folder), nullptr);
    const std::string path = std::string(folder) + "/Utilities.plist";
    ASSERT_TRUE(writePlistFileAtomically(utilitiesDefaults(), path));
    constexpr int kWriters = 4, kUpdates = 3000;
    for (int w = 0; w < kWriters; ++w) {
        if (::fork() == 0) {
            const std::string key = "counter" + std::to_string(w);
            bool ok = true;
            for (int i = 0; i < kUpdates; ++i) {
                ok = ok && updatePlistFile(path, [&key](SettingsDict &d) {
                         d.set(key, d.intValue(key) + 1);
                         return true;
                     });
            }
            ::_exit(ok ? 0 : 1);
        }
    }
    int badReads = 0, status = 0;
    for (int running = kWriters; running > 0;) {
        const auto d = readPlistFile(path);
        badReads += !d || d->empty();
        if (::waitpid(-1, &status, WNOHANG) > 0) {
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "a write failed";
            --running;
        }
    }
    EXPECT_EQ(badReads, 0);
    const auto d = readPlistFile(path);
    ASSERT_TRUE(d.has_value());
    for (int w = 0; w < kWriters; ++w) {
        EXPECT_EQ(d->intValue("counter" + std::to_string(w)), kUpdates) << "writer " << w;
    }
    fs::remove_all(folder);
}

}  // namespace
}  // namespace tavix
