// The sample lists shipped in data/ as XML, read with the readers the programs use, against
// what those programs rely on.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "atomic_file.h"
#include "device_list.h"

namespace {

const std::string kData = TAVIX_DATA_DIR "/";

bool isXml(const std::string &name) {
    return tavix::readSmallFile(kData + name, 1 << 20).value_or("").rfind("<?xml", 0) == 0;
}

TEST(DataFilesTest, DeviceListDescribesEachModelOnce) {
    const auto list = tavix::readDeviceList(kData + "DeviceList.plist");
    ASSERT_TRUE(list && isXml("DeviceList.plist"));
    std::set<std::int64_t> models;
    for (const tavix::DeviceEntry &e : *list) {
        SCOPED_TRACE("model " + std::to_string(e.modelType));
        // Model types are compared on their low 16 bits, so they must be distinct there.
        EXPECT_TRUE(e.modelType >= 1 && e.modelType <= 65535);
        EXPECT_TRUE(models.insert(e.modelType).second) << "listed twice";
        EXPECT_FALSE(e.name.empty());
        EXPECT_TRUE(e.manufacturerID >= 1 && e.manufacturerID <= 0xFFFFFFFFLL);
        EXPECT_FALSE(e.productIDs.empty());
        for (const std::int64_t product : e.productIDs) {
            EXPECT_TRUE(product >= 0 && product <= 0xFFFFFFFFLL) << product;
        }
        // Area n is element n-1; point numbers and the last "Index" travel as single bytes.
        EXPECT_TRUE(e.hasLEDSensorArray && e.areas.size() >= 2 && e.areas.size() <= 255);
        std::set<std::string> labels;
        for (std::size_t a = 0; a < e.areas.size(); ++a) {
            const tavix::AreaDefinition &area = e.areas[a];
            EXPECT_TRUE(!area.label.empty() && labels.insert(area.label).second) << area.label;
            EXPECT_TRUE(area.pointCount >= 1 && area.pointCount <= 255) << area.label;
            EXPECT_EQ(area.index, static_cast<std::int64_t>(a + 1)) << area.label;
        }
    }
    EXPECT_EQ(models.count(317) + models.count(259), 2u);
}

}  // namespace
