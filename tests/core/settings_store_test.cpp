#include "settings_store.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <random>
#include <sstream>

#include "atomic_file.h"
#include "paths.h"
#include "temp_env.h"

namespace tavix {
namespace {

namespace fs = std::filesystem;
using test::TempEnvTest;

std::string readBytes(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

void writeBytes(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string shellQuote(const std::string &s) {
    std::string out = "'";
    for (char c : s) {
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return out + "'";
}

// Runs the Python property-list cross-check; returns its exit status.
int runInterop(const std::string &args) {
    const std::string python = TAVIX_PYTHON3;
    const std::string dir = TAVIX_CORE_TEST_DIR;
    std::string command =
        shellQuote(python) + " " + shellQuote(dir + "/plist_interop.py") + " " + args;
    int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::vector<std::string> temporariesIn(const std::string &folder) {
    std::vector<std::string> found;
    for (const auto &entry : fs::directory_iterator(folder)) {
        if (entry.path().filename().string().find(".tmp.") != std::string::npos) {
            found.push_back(entry.path().filename());
        }
    }
    return found;
}

class StoreTest : public TempEnvTest {
  protected:
    std::string utilities() { return getUilitiesFilePath(); }
    std::string settingsFile() { return getSettingsFilePath(317); }
};

// ---------------------------------------------------------------------------------------------
// Values and lookups

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
        {"negative integer", PlistValue(-7), -7, true, -7.0},
        {"zero", PlistValue(0), 0, false, 0.0},
        {"true", PlistValue(true), 1, true, 1.0},
        {"false", PlistValue(false), 0, false, 0.0},
        {"real truncates", PlistValue(2.9), 2, true, 2.9},
        {"negative real truncates toward zero", PlistValue(-2.9), -2, true, -2.9},
        {"fraction is true but 0", PlistValue(0.5), 0, true, 0.5},
        {"huge real saturates", PlistValue(1e300), std::numeric_limits<std::int64_t>::max(), true,
         1e300},
        {"NaN reads 0", PlistValue(std::nan("")), 0, false, std::nan("")},
        {"string is not a number", PlistValue("12"), 0, false, 0.0},
        {"opaque is not a number", PlistValue(OpaqueValue()), 0, false, 0.0},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(c.value.toInt(), c.asInt) << c.label;
        EXPECT_EQ(c.value.toBool(), c.asBool) << c.label;
        if (std::isnan(c.asDouble)) {
            EXPECT_TRUE(std::isnan(c.value.toDouble())) << c.label;
        } else {
            EXPECT_DOUBLE_EQ(c.value.toDouble(), c.asDouble) << c.label;
        }
    }
}

TEST(SettingsDictTest, MissingKeysReadAsZeroAndSetKeepsOrder) {
    SettingsDict d;
    EXPECT_EQ(d.intValue("nothing"), 0);
    EXPECT_FALSE(d.boolValue("nothing"));
    EXPECT_EQ(d.doubleValue("nothing"), 0.0);
    EXPECT_EQ(d.stringValue("nothing"), "");
    d.set("b", 1);
    d.set("a", "x");
    d.set("b", false);  // replaced in place
    EXPECT_EQ(d.keys(), (std::vector<std::string>{"b", "a"}));
    EXPECT_TRUE(d.find("b")->isBool());
    EXPECT_TRUE(d.remove("b"));
    EXPECT_FALSE(d.remove("b"));
    EXPECT_EQ(d.keys(), (std::vector<std::string>{"a"}));
}

// ---------------------------------------------------------------------------------------------
// Defaults and first use

TEST_F(StoreTest, FreshAccountCreatesSharedStateFileWithFiveDefaults) {
    ASSERT_FALSE(pathExists(utilities()));
    SettingsDict d = readUtilitiesDictionary();
    ASSERT_TRUE(pathExists(utilities()));
    EXPECT_EQ(d.keys(),
              (std::vector<std::string>{"currentPageIndex", "isShowStatuMenu", "DriverEnable",
                                        "currentDeviceType", "VerboseLog"}));
    EXPECT_EQ(d.intValue("currentDeviceType"), 0);
    EXPECT_TRUE(d.boolValue("DriverEnable"));
    EXPECT_TRUE(d.boolValue("isShowStatuMenu"));
    EXPECT_EQ(d.intValue("currentPageIndex"), 0);
    EXPECT_FALSE(d.boolValue("VerboseLog"));
    EXPECT_TRUE(d.find("currentPageIndex")->isInteger());
    EXPECT_TRUE(d.find("VerboseLog")->isBool());
    EXPECT_FALSE(d.contains("RefreshCalibrationType"));
    EXPECT_EQ(runInterop("check " + shellQuote(utilities()) +
                         " '[[\"currentPageIndex\",\"int\",0],[\"isShowStatuMenu\",\"bool\",true],"
                         "[\"DriverEnable\",\"bool\",true],[\"currentDeviceType\",\"int\",0],"
                         "[\"VerboseLog\",\"bool\",false]]'"),
              0);
}

TEST_F(StoreTest, SettingsFileDefaultsHoldSixteenKeysWithRotateModeBoolean) {
    SettingsDict d = readSettingItemsFromPlist(settingsFile());
    EXPECT_EQ(d.size(), 16u);
    EXPECT_TRUE(d.find("RotateMode")->isBool());
    EXPECT_FALSE(d.contains("PenSoftSupport"));
    EXPECT_EQ(d.intValue("RotateMode"), 0);
    EXPECT_EQ(runInterop(
                  "check " + shellQuote(settingsFile()) +
                  " '[[\"CalibrationHotKey\",\"string\",\"C\"],[\"SimpleHotKey\",\"string\",\"S\"],"
                  "[\"CalibrationType\",\"int\",0],[\"InputMode\",\"int\",0],"
                  "[\"SimpleCalibrationType\",\"int\",0],[\"DoubleClickRange\",\"int\",32],"
                  "[\"DoubleClickRate\",\"real\",0.5],[\"RotateMode\",\"bool\",false],"
                  "[\"DriverVersion\",\"string\",\"0.8.0.3\"],[\"EraserAreaMode\",\"bool\",true],"
                  "[\"FounctionButton1\",\"bool\",true],[\"FounctionButton2\",\"bool\",true],"
                  "[\"ShowResolutionNotice\",\"bool\",true],[\"TwoFingerSwipe\",\"bool\",true],"
                  "[\"TwoFingerPinch\",\"bool\",true],[\"TwoFingerRotation\",\"bool\",true]]'"),
              0);
}

TEST_F(StoreTest, ExistingFilesAreNeverCompletedWithDefaults) {
    ASSERT_TRUE(saveItemToInfoPlist(PlistValue(2), "currentPageIndex"));
    SettingsDict d = readUtilitiesDictionary();
    EXPECT_EQ(d.keys(), std::vector<std::string>{"currentPageIndex"});
    EXPECT_FALSE(d.boolValue("DriverEnable")) << "a missing key reads false";

    SettingsDict partial;
    partial.set("InputMode", 1);
    ASSERT_TRUE(writePlistFileAtomically(partial, settingsFile()));
    EXPECT_EQ(readSettingItemsFromPlist(settingsFile()).keys(),
              std::vector<std::string>{"InputMode"});
}

// ---------------------------------------------------------------------------------------------
// Merging

TEST_F(StoreTest, MergeReplacesAddsAndKeepsKeysOnlyInTheFile) {
    readSettingItemsFromPlist(settingsFile());
    SettingsDict items;
    items.set("DoubleClickRange", 45);
    items.set("PenSoftSupport", true);
    ASSERT_TRUE(saveSettingItemsToPlist(items, settingsFile()));
    SettingsDict d = *readPlistFile(settingsFile());
    EXPECT_EQ(d.size(), 17u);
    EXPECT_EQ(d.intValue("DoubleClickRange"), 45);
    EXPECT_EQ(d.keys()[5], "DoubleClickRange") << "a replaced key keeps its place";
    EXPECT_EQ(d.keys().back(), "PenSoftSupport");
    EXPECT_EQ(d.stringValue("DriverVersion"), "0.8.0.3");
}

TEST_F(StoreTest, MergeOfEmptyDictionary) {
    SettingsDict empty;
    // No file: an empty dictionary file is created.
    ASSERT_TRUE(saveSettingItemsToPlist(empty, settingsFile()));
    ASSERT_TRUE(readPlistFile(settingsFile()).has_value());
    EXPECT_TRUE(readPlistFile(settingsFile())->empty());
    // An existing file is rewritten unchanged.
    fs::remove(settingsFile());
    readSettingItemsFromPlist(settingsFile());
    const std::string before = readBytes(settingsFile());
    ASSERT_TRUE(saveSettingItemsToPlist(empty, settingsFile()));
    EXPECT_EQ(readBytes(settingsFile()), before);
}

TEST_F(StoreTest, ValuesOfOtherKindsSurviveAMerge) {
    ASSERT_EQ(
        runInterop("write " + shellQuote(utilities()) +
                   " xml '[[\"Areas\",\"array\",[1,2,3]],[\"currentDeviceType\",\"int\",259]]'"),
        0);
    ASSERT_TRUE(saveItemToInfoPlist(PlistValue(1), "currentPageIndex"));
    EXPECT_EQ(runInterop("check " + shellQuote(utilities()) +
                         " '[[\"Areas\",\"array\",[1,2,3]],[\"currentDeviceType\",\"int\",259],"
                         "[\"currentPageIndex\",\"int\",1]]'"),
              0);
}

// ---------------------------------------------------------------------------------------------
// Unreadable files

TEST_F(StoreTest, UnreadableFilesReadEmptyAndAreNeverOverwritten) {
    const std::string deepXml = [] {
        std::string open, close;
        for (int i = 0; i < kMaxPlistDepth + 6; ++i) {
            open += "<array>";
            close += "</array>";
        }
        return "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>a</key>" + open + close +
               "</dict></plist>";
    }();
    const std::pair<const char *, std::string> cases[] = {
        {"garbage", "this is not a property list"},
        {"truncated XML", "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>currentDe"},
        {"array root", "<?xml version=\"1.0\"?><plist version=\"1.0\"><array/></plist>"},
        {"deep nesting", deepXml},
        {"binary header only", "bplist00"},
        {"binary with bad trailer", std::string("bplist00") + std::string(40, '\xff')},
        {"zero bytes", ""},
    };
    for (const auto &[label, bytes] : cases) {
        getUilitiesFilePath();
        writeBytes(utilities(), bytes);
        EXPECT_TRUE(readUtilitiesDictionary().empty()) << label;
        EXPECT_EQ(readUtilitiesDictionary().intValue("currentDeviceType"), 0) << label;
        EXPECT_FALSE(readUtilitiesDictionary().boolValue("DriverEnable")) << label;
        EXPECT_FALSE(saveItemToInfoPlist(PlistValue(3), "currentPageIndex")) << label;
        SettingsDict items;
        items.set("VerboseLog", true);
        EXPECT_FALSE(saveSettingItemsToPlist(items, utilities())) << label;
        EXPECT_EQ(readBytes(utilities()), bytes) << label << ": left byte for byte untouched";
    }
}

TEST_F(StoreTest, OversizedFileIsRefusedButOneJustUnderTheCapIsRead) {
    const std::string head =
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>s</key><string>";
    const std::string tail = "</string></dict></plist>";
    const std::string path = settingsFile();

    writeBytes(path, head + std::string(kMaxPlistFileSize - head.size() - tail.size(), 'x') + tail);
    auto fits = readPlistFile(path);
    ASSERT_TRUE(fits.has_value());
    EXPECT_EQ(fits->stringValue("s").size(), kMaxPlistFileSize - head.size() - tail.size());

    writeBytes(path,
               head + std::string(kMaxPlistFileSize - head.size() - tail.size() + 1, 'x') + tail);
    EXPECT_FALSE(readPlistFile(path).has_value());
}

// A binary property list with the given objects (already encoded) and root 0, refs of 1 byte.
std::string binaryPlist(const std::vector<std::string> &objects) {
    std::string out = "bplist00";
    std::vector<std::uint8_t> offsets;
    for (const auto &o : objects) {
        offsets.push_back(static_cast<std::uint8_t>(out.size()));
        out += o;
    }
    const std::size_t table = out.size();
    for (auto o : offsets) {
        out += static_cast<char>(o);
    }
    std::string trailer(32, '\0');
    trailer[6] = 1;  // offset size
    trailer[7] = 1;  // ref size
    trailer[15] = static_cast<char>(objects.size());
    trailer[31] = static_cast<char>(table);
    return out + trailer;
}

TEST_F(StoreTest, HostileBinaryGraphsAreRefused) {
    // Object 0: dict {"k": object 2}; object 1: the key "k".
    const std::string key = "\x51k";
    struct Case {
        const char *label;
        std::vector<std::string> objects;
        bool readable;
    };
    std::vector<Case> cases = {
        {"plain", {std::string("\xD1\x01\x02", 3), key, "\x09"}, true},
        {"self-referencing array", {std::string("\xD1\x01\x02", 3), key, "\xA1\x02"}, false},
        {"reference out of range", {std::string("\xD1\x01\x09", 3), key, "\x09"}, false},
        {"count past the table", {std::string("\xD1\x01\x02", 3), key, "\xAE\x02"}, false},
        {"key that is not a string", {std::string("\xD1\x02\x01", 3), key, "\x09"}, false},
        {"key reused as a value", {std::string("\xD1\x01\x01", 3), key}, false},
        {"NUL inside a string",
         {std::string("\xD1\x01\x02", 3), key, std::string("\x52\x61\x00", 3)},
         false},
        {"UTF-16 lone surrogate",
         {std::string("\xD1\x01\x02", 3), key, std::string("\x61\xD8\x00", 3)},
         false},
        {"UTF-16 text",
         {std::string("\xD1\x01\x02", 3), key, std::string("\x61\x00\xE9", 3)},
         true},
    };
    // A chain of arrays deeper than the limit, and a doubling graph whose tree form explodes.
    Case deep{"deep chain", {std::string("\xD1\x01\x02", 3), key}, false};
    Case doubling{"doubling graph", {std::string("\xD1\x01\x02", 3), key}, false};
    for (int i = 2; i < 2 + kMaxPlistDepth + 2; ++i) {
        deep.objects.push_back(std::string("\xA1", 1) + static_cast<char>(i + 1));
    }
    deep.objects.push_back("\x09");
    for (int i = 2; i < 2 + 40; ++i) {
        doubling.objects.push_back(std::string("\xA2", 1) + static_cast<char>(i + 1) +
                                   static_cast<char>(i + 1));
    }
    doubling.objects.push_back("\x09");
    cases.push_back(deep);
    cases.push_back(doubling);
    for (const auto &c : cases) {
        writeBytes(settingsFile(), binaryPlist(c.objects));
        EXPECT_EQ(readPlistFile(settingsFile()).has_value(), c.readable) << c.label;
    }
}

TEST_F(StoreTest, FilesWrittenByAnotherWriterAreRead) {
    for (const char *format : {"xml", "binary"}) {
        ASSERT_EQ(runInterop("write " + shellQuote(settingsFile()) + " " + format +
                             " '[[\"DoubleClickRange\",\"int\",70000],"
                             "[\"DoubleClickRate\",\"real\",0.30000000000000004],"
                             "[\"RotateMode\",\"bool\",true],[\"DriverVersion\",\"string\","
                             "\"1.2 \\u00e9<&>\"],[\"Neg\",\"int\",-5]]'"),
                  0);
        auto d = readPlistFile(settingsFile());
        ASSERT_TRUE(d.has_value()) << format;
        EXPECT_EQ(d->intValue("DoubleClickRange"), 70000) << format;
        EXPECT_EQ(d->doubleValue("DoubleClickRate"), 0.30000000000000004) << format;
        EXPECT_TRUE(d->find("RotateMode")->isBool()) << format;
        EXPECT_EQ(d->stringValue("DriverVersion"), "1.2 \xc3\xa9<&>") << format;
        EXPECT_EQ(d->intValue("Neg"), -5) << format;
        // And what we write back reads the same elsewhere, to the last bit of the real.
        ASSERT_TRUE(saveSettingItemsToPlist(SettingsDict(), settingsFile()));
        EXPECT_EQ(runInterop("check " + shellQuote(settingsFile()) +
                             " '[[\"DoubleClickRange\",\"int\",70000],"
                             "[\"DoubleClickRate\",\"real\",0.30000000000000004],"
                             "[\"RotateMode\",\"bool\",true],[\"DriverVersion\",\"string\","
                             "\"1.2 \\u00e9<&>\"],[\"Neg\",\"int\",-5]]'"),
                  0)
            << format;
    }
}

// ---------------------------------------------------------------------------------------------
// Atomic replacement

TEST_F(StoreTest, WritesKeepTheTargetsPermissions) {
    readSettingItemsFromPlist(settingsFile());
    ASSERT_EQ(::chmod(settingsFile().c_str(), 0640), 0);
    SettingsDict items;
    items.set("InputMode", 2);
    ASSERT_TRUE(saveSettingItemsToPlist(items, settingsFile()));
    struct stat st {};
    ASSERT_EQ(::stat(settingsFile().c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0640u);
}

TEST_F(StoreTest, WritingIntoAMissingFolderFailsCleanly) {
    EXPECT_FALSE(writePlistFileAtomically(utilitiesDefaults(), home_ + "/no/such/folder/x.plist"));
    EXPECT_FALSE(writePlistFileAtomically(utilitiesDefaults(), home_));  // a folder
}

TEST_F(StoreTest, KillDuringWriteNeverLeavesATornFile) {
    SettingsDict small = utilitiesDefaults();
    SettingsDict large = utilitiesDefaults();
    large.set("Padding", std::string(1024 * 1024, 'p'));
    const std::string path = utilities();
    const std::string folder = fs::path(path).parent_path();
    ASSERT_TRUE(writePlistFileAtomically(small, path));

    // The kills follow the creation of the writer's temporary file, so that they land while it
    // writes; a temporary of the killed writer left behind proves that one did.
    const int watch = ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    ASSERT_GE(::inotify_add_watch(watch, folder.c_str(), IN_CREATE), 0);
    std::mt19937 random(12345);
    char events[4096];
    int midWrite = 0;
    for (int round = 0; round < 200 && midWrite < 20; ++round) {
        while (::read(watch, events, sizeof events) > 0) {
        }
        pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int i = 0;; ++i) {
                writePlistFileAtomically(i % 2 ? large : small, path);
            }
        }
        pollfd created{watch, POLLIN, 0};
        ASSERT_EQ(::poll(&created, 1, 10000), 1) << "the writer never created a temporary";
        ::usleep(std::uniform_int_distribution<useconds_t>(0, 400)(random));
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        const std::string prefix = ".Utilities.plist.tmp." + std::to_string(child) + ".";
        for (const std::string &name : temporariesIn(folder)) {
            midWrite += name.rfind(prefix, 0) == 0 ? 1 : 0;
        }
        auto d = readPlistFile(path);
        ASSERT_TRUE(d.has_value()) << "torn file after round " << round;
        ASSERT_TRUE(*d == small || *d == large) << "round " << round;
    }
    ::close(watch);
    EXPECT_GE(midWrite, 20) << "too few kills landed while a temporary was being written";
    // The killed writers' temporaries go with the next successful write.
    ASSERT_TRUE(writePlistFileAtomically(small, path));
    EXPECT_EQ(temporariesIn(folder), std::vector<std::string>{});
}

TEST_F(StoreTest, OnlyRegularFilesAreReadAndNothingIsWrittenOverOthers) {
    const std::string path = utilities();
    struct Case {
        const char *label;
        std::function<bool()> make;
    };
    const Case cases[] = {
        {"FIFO", [&] { return ::mkfifo(path.c_str(), 0600) == 0; }},
        {"link to a device", [&] { return ::symlink("/dev/zero", path.c_str()) == 0; }},
        {"folder", [&] { return ::mkdir(path.c_str(), 0700) == 0; }},
    };
    for (const Case &c : cases) {
        ASSERT_TRUE(c.make()) << c.label;
        struct stat before {};
        ASSERT_EQ(::lstat(path.c_str(), &before), 0);
        EXPECT_TRUE(readUtilitiesDictionary().empty()) << c.label;
        EXPECT_FALSE(saveItemToInfoPlist(PlistValue(2), "currentPageIndex")) << c.label;
        EXPECT_FALSE(writePlistFileAtomically(utilitiesDefaults(), path)) << c.label;
        struct stat after {};
        ASSERT_EQ(::lstat(path.c_str(), &after), 0) << c.label;
        EXPECT_EQ(after.st_mode, before.st_mode) << c.label;
        EXPECT_EQ(after.st_ino, before.st_ino) << c.label;
        fs::remove(path);
    }
}

TEST_F(StoreTest, DefaultsNeverReplaceAFileCreatedMeanwhile) {
    const std::string path = utilities();
    SettingsDict theirs;
    theirs.set("currentDeviceType", 317);
    const std::string theirBytes = serializePlist(theirs);
    // Another process creating the file while we fill in the defaults: whoever creates it
    // first keeps it.
    int theyWon = 0;
    for (int round = 0; round < 200; ++round) {
        fs::remove(path);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::_exit(createFileExclusively(path, theirBytes) == CreateOutcome::Created ? 0 : 1);
        }
        const SettingsDict ours = readUtilitiesDictionary();
        int status = 0;
        ::waitpid(child, &status, 0);
        ASSERT_TRUE(WIFEXITED(status));
        const bool theirsCreated = WEXITSTATUS(status) == 0;
        theyWon += theirsCreated ? 1 : 0;
        EXPECT_EQ(readPlistFile(path)->intValue("currentDeviceType"), theirsCreated ? 317 : 0)
            << "round " << round;
        EXPECT_FALSE(ours.empty()) << "round " << round;
    }
    EXPECT_GT(theyWon, 0);
}

TEST_F(StoreTest, ConcurrentWritersLoseNoUpdateAndReadersNeverSeeATornFile) {
    // On tmpfs when there is one: the test is about the lock, not the disk's flush time.
    std::string folder = home_;
    char shm[] = "/dev/shm/tavix-store-XXXXXX";
    if (::mkdtemp(shm) != nullptr) {
        folder = shm;
    }
    const std::string path = folder + "/Utilities.plist";
    ASSERT_TRUE(writePlistFileAtomically(utilitiesDefaults(), path));
    constexpr int kWriters = 4, kUpdates = 3000;

    for (int w = 0; w < kWriters; ++w) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            const std::string key = "counter" + std::to_string(w);
            int failures = 0;
            for (int i = 0; i < kUpdates; ++i) {
                failures += !updatePlistFile(path, [&key](SettingsDict &d) {
                    d.set(key, d.intValue(key) + 1);
                    return true;
                });
            }
            ::_exit(failures == 0 ? 0 : 1);
        }
    }
    int badReads = 0, reads = 0, running = kWriters;
    std::vector<long long> lastSeen(kWriters, 0);
    while (running > 0) {
        const auto d = readPlistFile(path);
        ++reads;
        badReads += !d || d->empty();
        for (int w = 0; d && w < kWriters; ++w) {
            const long long seen = d->intValue("counter" + std::to_string(w));
            badReads += seen < lastSeen[w];  // an update undone
            lastSeen[w] = seen;
        }
        int status = 0;
        if (const pid_t done = ::waitpid(-1, &status, WNOHANG); done > 0) {
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "a write failed";
            --running;
        }
    }
    EXPECT_EQ(badReads, 0) << "of " << reads << " reads";
    const auto d = readPlistFile(path);
    ASSERT_TRUE(d.has_value());
    for (int w = 0; w < kWriters; ++w) {
        EXPECT_EQ(d->intValue("counter" + std::to_string(w)), kUpdates) << "writer " << w;
    }
    EXPECT_TRUE(d->boolValue("DriverEnable")) << "keys nobody wrote are kept";
    if (folder != home_) {
        fs::remove_all(folder);
    }
}

TEST_F(StoreTest, TemporariesOfLiveWritersAreLeftAlone) {
    const std::string folder = getPreferenceFolderPath();
    const std::string live =
        folder + "/.Utilities.plist.tmp." + std::to_string(::getppid()) + ".1-2";
    writeBytes(live, "in progress");
    ASSERT_TRUE(writePlistFileAtomically(utilitiesDefaults(), utilities()));
    EXPECT_TRUE(fs::exists(live));
}

}  // namespace
}  // namespace tavix
