// Every sample data file shipped in data/ is checked against the schema its readers expect.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <plist/plist.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <string>

#include "atomic_file.h"

namespace {

namespace fs = std::filesystem;

using PlistPtr = std::unique_ptr<void, void (*)(plist_t)>;

PlistPtr parse(const std::string &bytes) {
    plist_t root = nullptr;
    plist_from_xml(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &root);
    return PlistPtr(root, plist_free);
}

std::string stringOf(plist_t node) {
    char *raw = nullptr;
    plist_get_string_val(node, &raw);
    std::string s = raw ? raw : "";
    free(raw);
    return s;
}

// The node when it has the given type, else nullptr.
plist_t typed(plist_t node, plist_type type) {
    return node && plist_get_node_type(node) == type ? node : nullptr;
}

// The value of an integer node (libplist keeps every integer as PLIST_UINT); -1 otherwise.
std::int64_t integerOf(plist_t node) {
    std::uint64_t v = 0;
    if (typed(node, PLIST_UINT)) {
        plist_get_uint_val(node, &v);
        return static_cast<std::int64_t>(v);
    }
    return -1;
}

bool integerIn(plist_t node, std::int64_t lo, std::int64_t hi) {
    return integerOf(node) >= lo && integerOf(node) <= hi;
}

void checkDeviceList(plist_t root) {
    ASSERT_TRUE(typed(root, PLIST_ARRAY)) << "root must be an array";
    std::set<std::int64_t> models;
    for (std::uint32_t i = 0; i < plist_array_get_size(root); ++i) {
        plist_t entry = typed(plist_array_get_item(root, i), PLIST_DICT);
        ASSERT_TRUE(entry) << "entry " << i;
        // Model types are compared on their low 16 bits, so they must be distinct there.
        plist_t modelNode = plist_dict_get_item(entry, "ModelType");
        ASSERT_TRUE(integerIn(modelNode, 1, 65535)) << "entry " << i << ": ModelType";
        const std::int64_t model = integerOf(modelNode);
        EXPECT_TRUE(models.insert(model).second) << "model " << model << " twice";
        SCOPED_TRACE("model " + std::to_string(model));

        plist_t name = typed(plist_dict_get_item(entry, "Name"), PLIST_STRING);
        EXPECT_TRUE(name && !stringOf(name).empty()) << "Name";
        plist_t display = typed(plist_dict_get_item(entry, "Display"), PLIST_DICT);
        ASSERT_TRUE(display) << "Display";
        EXPECT_TRUE(integerIn(plist_dict_get_item(display, "ManufacturerID"), 1, 0xFFFFFFFFLL));
        plist_t products = typed(plist_dict_get_item(display, "ProductID"), PLIST_ARRAY);
        ASSERT_TRUE(products && plist_array_get_size(products) > 0) << "ProductID";
        for (std::uint32_t p = 0; p < plist_array_get_size(products); ++p) {
            EXPECT_TRUE(integerIn(plist_array_get_item(products, p), 0, 0xFFFFFFFFLL))
                << "ProductID " << p;
        }

        // The self-test layout: area n is element n-1; point numbers and the last "Index"
        // travel as single bytes.
        plist_t areas = typed(plist_dict_get_item(entry, "LEDSensorArray"), PLIST_ARRAY);
        ASSERT_TRUE(areas) << "LEDSensorArray";
        const std::uint32_t areaCount = plist_array_get_size(areas);
        EXPECT_TRUE(areaCount >= 2 && areaCount <= 255) << areaCount << " areas";
        std::set<std::string> labels;
        for (std::uint32_t a = 0; a < areaCount; ++a) {
            const std::string where = "area " + std::to_string(a + 1);
            plist_t area = typed(plist_array_get_item(areas, a), PLIST_DICT);
            ASSERT_TRUE(area) << where;
            plist_t label = typed(plist_dict_get_item(area, "Area"), PLIST_STRING);
            EXPECT_TRUE(label && !stringOf(label).empty() && labels.insert(stringOf(label)).second)
                << where << ": label missing, empty or used twice";
            EXPECT_TRUE(integerIn(plist_dict_get_item(area, "Point"), 1, 255)) << where;
            EXPECT_TRUE(integerIn(plist_dict_get_item(area, "Index"), a + 1, a + 1)) << where;
        }
    }
    for (std::int64_t required : {317, 259}) {
        EXPECT_TRUE(models.count(required)) << "model " << required << " missing";
    }
}

void checkResolutionList(plist_t root) {
    ASSERT_TRUE(typed(root, PLIST_ARRAY)) << "root must be an array";
    ASSERT_GT(plist_array_get_size(root), 0u);
    // Exactly "%dx%d": no sign, no leading zero, no blanks, lower-case x.
    const std::regex format("[1-9][0-9]{0,5}x[1-9][0-9]{0,5}");
    std::set<std::string> seen;
    for (std::uint32_t i = 0; i < plist_array_get_size(root); ++i) {
        plist_t item = typed(plist_array_get_item(root, i), PLIST_STRING);
        ASSERT_TRUE(item) << "item " << i;
        const std::string s = stringOf(item);
        EXPECT_TRUE(std::regex_match(s, format)) << "\"" << s << "\"";
        EXPECT_TRUE(seen.insert(s).second) << "\"" << s << "\" twice";
    }
}

const std::map<std::string, std::function<void(plist_t)>> &schemas() {
    static const std::map<std::string, std::function<void(plist_t)>> all = {
        {"DeviceList.plist", checkDeviceList},
        {"SupportResolutionList.plist", checkResolutionList},
    };
    return all;
}

TEST(DataFilesTest, EveryShippedFileMatchesItsSchema) {
    std::set<std::string> checked;
    for (const auto &file : fs::directory_iterator(TAVIX_DATA_DIR)) {
        const std::string name = file.path().filename().string();
        if (file.path().extension() == ".json") {
            continue;  // display fixtures: checked by the display provider's test
        }
        SCOPED_TRACE(name);
        auto schema = schemas().find(name);
        ASSERT_NE(schema, schemas().end()) << "no schema for this data file; add one";
        auto bytes = tavix::readSmallFile(file.path().string(), 1024 * 1024);
        ASSERT_TRUE(bytes);
        EXPECT_EQ(bytes->rfind("<?xml", 0), 0u) << "shipped as an XML property list";
        PlistPtr root = parse(*bytes);
        ASSERT_NE(root.get(), nullptr) << "not a property list";
        schema->second(root.get());
        checked.insert(name);
    }
    EXPECT_EQ(checked.size(), schemas().size()) << "a data file is missing";
}

// The checks catch broken files: each case is a shipped file with one change.
TEST(DataFilesTest, SchemaChecksRejectBrokenSamples) {
    const struct {
        const char *file, *from, *to;
    } cases[] = {
        {"SupportResolutionList.plist", "1920x1080", "1920X1080"},
        {"SupportResolutionList.plist", "1920x1080", "1920x1080 "},
        {"SupportResolutionList.plist", "1920x1080", "1366x768"},
        {"DeviceList.plist", "<integer>317</integer>", "<string>317</string>"},
        {"DeviceList.plist", "<integer>317</integer>", "<integer>259</integer>"},
        {"DeviceList.plist", "<integer>120</integer>", "<integer>300</integer>"},
        {"DeviceList.plist", "Top 2", "Top 1"},
        {"DeviceList.plist", "<integer>2</integer>", "<integer>3</integer>"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.file) + ": " + c.from + " -> " + c.to);
        auto bytes = tavix::readSmallFile(std::string(TAVIX_DATA_DIR "/") + c.file, 1024 * 1024);
        ASSERT_TRUE(bytes);
        const auto at = bytes->find(c.from);
        ASSERT_NE(at, std::string::npos);
        PlistPtr root = parse(bytes->replace(at, std::string(c.from).size(), c.to));
        ASSERT_NE(root.get(), nullptr);
        ::testing::TestPartResultArray failures;
        {
            ::testing::ScopedFakeTestPartResultReporter reporter(
                ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD,
                &failures);
            schemas().at(c.file)(root.get());
        }
        EXPECT_GT(failures.size(), 0) << "accepted";
    }
}

}  // namespace
