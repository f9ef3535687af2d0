// The sample device list shipped in data/: XML, each model once, areas numbered in order.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "atomic_file.h"
#include "device_list.h"

TEST(DataFilesTest, DeviceListDescribesEachModelOnce) {
    const std::string path = TAVIX_DATA_DIR "/DeviceList.plist";
    const auto list = tavix::readDeviceList(path);
    ASSERT_TRUE(list && tavix::readSmallFile(path, 1 << 20)->rfind("<?xml", 0) == 0);
    std::set<std::int64_t> models;
    for (const tavix::DeviceEntry &e : *list) {
        SCOPED_TRACE("model " + std::to_string(e.modelType));
        // Model types are compared on their low 16 bits; point numbers travel as single bytes.
        EXPECT_TRUE(e.modelType >= 1 && e.modelType <= 65535 && models.insert(e.modelType).second);
        EXPECT_TRUE(!e.name.empty() && !e.productIDs.empty() && e.manufacturerID >= 1);
        EXPECT_TRUE(e.hasLEDSensorArray && e.areas.size() >= 2 && e.areas.size() <= 255);
        std::set<std::string> labels;
        for (std::size_t a = 0; a < e.areas.size(); ++a) {
            const tavix::AreaDefinition &area = e.areas[a];
            EXPECT_TRUE(labels.insert(area.label).second && !area.label.empty()) << area.label;
            EXPECT_TRUE(area.pointCount >= 1 && area.pointCount <= 255) << area.label;
            EXPECT_EQ(area.index, static_cast<std::int64_t>(a + 1)) << area.label;
        }
    }
    EXPECT_EQ(models.count(317) + models.count(259), 2u);
}
