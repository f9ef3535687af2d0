// Every sample data file shipped in data/ is checked against the schema its readers expect.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <plist/plist.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
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

// Integer of a PLIST_UINT node (libplist keeps every integer there); nullopt for other kinds.
std::optional<std::int64_t> integerOf(plist_t node) {
    if (node == nullptr || plist_get_node_type(node) != PLIST_UINT) {
        return std::nullopt;
    }
    std::uint64_t v = 0;
    plist_get_uint_val(node, &v);
    return static_cast<std::int64_t>(v);
}

void expectIntegerIn(plist_t dict, const char *key, std::int64_t lo, std::int64_t hi,
                     const std::string &where) {
    auto v = integerOf(plist_dict_get_item(dict, key));
    ASSERT_TRUE(v.has_value()) << where << ": \"" << key << "\" is not an integer";
    EXPECT_GE(*v, lo) << where << ": \"" << key << "\"";
    EXPECT_LE(*v, hi) << where << ": \"" << key << "\"";
}

void checkDeviceList(plist_t root) {
    ASSERT_EQ(plist_get_node_type(root), PLIST_ARRAY) << "root must be an array";
    const std::uint32_t count = plist_array_get_size(root);
    ASSERT_GT(count, 0u);
    std::set<std::int64_t> models;
    for (std::uint32_t i = 0; i < count; ++i) {
        plist_t entry = plist_array_get_item(root, i);
        const std::string where = "entry " + std::to_string(i);
        ASSERT_EQ(plist_get_node_type(entry), PLIST_DICT) << where;
        // Model types are compared on their low 16 bits, so they must be distinct there.
        expectIntegerIn(entry, "ModelType", 1, 65535, where);
        auto model = integerOf(plist_dict_get_item(entry, "ModelType"));
        ASSERT_TRUE(model);
        EXPECT_TRUE(models.insert(*model).second) << where << ": model " << *model << " twice";
        const std::string at = where + " (model " + std::to_string(*model) + ")";

        plist_t name = plist_dict_get_item(entry, "Name");
        ASSERT_TRUE(name && plist_get_node_type(name) == PLIST_STRING) << at << ": Name";
        EXPECT_FALSE(stringOf(name).empty()) << at;

        plist_t display = plist_dict_get_item(entry, "Display");
        ASSERT_TRUE(display && plist_get_node_type(display) == PLIST_DICT) << at << ": Display";
        expectIntegerIn(display, "ManufacturerID", 1, 0xFFFFFFFFLL, at + " Display");
        plist_t products = plist_dict_get_item(display, "ProductID");
        ASSERT_TRUE(products && plist_get_node_type(products) == PLIST_ARRAY) << at;
        ASSERT_GT(plist_array_get_size(products), 0u) << at << ": no ProductID";
        for (std::uint32_t p = 0; p < plist_array_get_size(products); ++p) {
            auto product = integerOf(plist_array_get_item(products, p));
            ASSERT_TRUE(product) << at << ": ProductID " << p;
            EXPECT_GE(*product, 0);
            EXPECT_LE(*product, 0xFFFFFFFFLL);
        }

        // The self-test layout: area n is element n-1; point numbers and the last "Index"
        // travel as single bytes.
        plist_t areas = plist_dict_get_item(entry, "LEDSensorArray");
        ASSERT_TRUE(areas && plist_get_node_type(areas) == PLIST_ARRAY) << at;
        const std::uint32_t areaCount = plist_array_get_size(areas);
        EXPECT_GE(areaCount, 2u) << at << ": a panel has several areas";
        EXPECT_LE(areaCount, 255u) << at;
        std::set<std::string> labels;
        for (std::uint32_t a = 0; a < areaCount; ++a) {
            plist_t area = plist_array_get_item(areas, a);
            const std::string where2 = at + " area " + std::to_string(a + 1);
            ASSERT_EQ(plist_get_node_type(area), PLIST_DICT) << where2;
            plist_t label = plist_dict_get_item(area, "Area");
            ASSERT_TRUE(label && plist_get_node_type(label) == PLIST_STRING) << where2;
            EXPECT_FALSE(stringOf(label).empty()) << where2;
            EXPECT_TRUE(labels.insert(stringOf(label)).second) << where2 << ": label twice";
            expectIntegerIn(area, "Point", 1, 255, where2);
            expectIntegerIn(area, "Index", a + 1, a + 1, where2);
        }
    }
    for (std::int64_t required : {317, 259}) {
        EXPECT_TRUE(models.count(required)) << "model " << required << " missing";
    }
}

void checkResolutionList(plist_t root) {
    ASSERT_EQ(plist_get_node_type(root), PLIST_ARRAY) << "root must be an array";
    ASSERT_GT(plist_array_get_size(root), 0u);
    // Exactly "%dx%d": no sign, no leading zero, no blanks, lower-case x.
    const std::regex format("[1-9][0-9]{0,5}x[1-9][0-9]{0,5}");
    std::set<std::string> seen;
    for (std::uint32_t i = 0; i < plist_array_get_size(root); ++i) {
        plist_t item = plist_array_get_item(root, i);
        ASSERT_EQ(plist_get_node_type(item), PLIST_STRING) << "item " << i;
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

// The checks themselves catch broken files.
TEST(DataFilesTest, SchemaChecksRejectBrokenSamples) {
    struct Case {
        const char *label;
        const char *file;
        const char *xml;
    };
    const Case cases[] = {
        {"dict root", "SupportResolutionList.plist", "<plist><dict/></plist>"},
        {"upper-case X", "SupportResolutionList.plist",
         "<plist><array><string>1920X1080</string></array></plist>"},
        {"blank", "SupportResolutionList.plist",
         "<plist><array><string>1920x1080 </string></array></plist>"},
        {"model as string", "DeviceList.plist",
         "<plist><array><dict><key>ModelType</key><string>317</string></dict></array></plist>"},
        {"point over 255", "DeviceList.plist",
         "<plist><array><dict><key>ModelType</key><integer>317</integer><key>Name</key>"
         "<string>X</string><key>Display</key><dict><key>ManufacturerID</key><integer>1"
         "</integer><key>ProductID</key><array><integer>1</integer></array></dict>"
         "<key>LEDSensorArray</key><array><dict><key>Area</key><string>A</string><key>Point"
         "</key><integer>300</integer><key>Index</key><integer>1</integer></dict><dict><key>"
         "Area</key><string>B</string><key>Point</key><integer>3</integer><key>Index</key>"
         "<integer>2</integer></dict></array></dict></array></plist>"},
    };
    for (const auto &c : cases) {
        PlistPtr root = parse(std::string("<?xml version=\"1.0\"?>") + c.xml);
        ASSERT_NE(root.get(), nullptr) << c.label;
        ::testing::TestPartResultArray failures;
        {
            ::testing::ScopedFakeTestPartResultReporter reporter(
                ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD,
                &failures);
            schemas().at(c.file)(root.get());
        }
        EXPECT_GT(failures.size(), 0) << c.label << " was accepted";
    }
}

}  // namespace
