#include "selftest.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tavix {
namespace {

using Records = std::vector<SelfTestRecord>;

// Areas 1-3 named as on a frame, four points each.
DeviceEntry threeAreas() {
    DeviceEntry entry;
    entry.modelType = 317;
    entry.hasLEDSensorArray = true;
    entry.areas = {{"Top", 4, 1}, {"Left", 4, 2}, {"Right", 4, 3}};
    return entry;
}

SelfTestRecord rec(int area, int point, int sens = 0, int led = 0) {
    return {static_cast<std::uint8_t>(area), static_cast<std::uint8_t>(point),
            static_cast<std::uint8_t>(sens), static_cast<std::uint8_t>(led)};
}

TEST(SelfTestTest, RunsOfAreasDecideTheRetry) {
    const DeviceEntry entry = threeAreas();
    const struct {
        Records records;
        int runs;
        bool restart;
    } cases[] = {
        {{rec(0, 1), rec(0, 2), rec(1, 1), rec(2, 1)}, 2, true},
        {{rec(3, 1), rec(200, 1), rec(0, 1), rec(1, 1)}, 4, false},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(countAreaRuns(c.records), c.runs);
        EXPECT_EQ(needRestartTestSelf(c.records, &entry), c.restart);
    }
    EXPECT_FALSE(needRestartTestSelf({}, nullptr));
}

std::string summary(const SelfTestJudgement &j) {
    std::string s;
    for (const AreaSummary &row : j.summaries) {
        s += row.label + ":" + verdictName(row.led) + "/" + verdictName(row.sensor) + " ";
    }
    for (const ErrorRow &row : j.errors) {
        s += "[" + row.label + " " + std::to_string(row.point) + " " +
             std::to_string(row.sensState) + std::to_string(row.ledState) + "]";
    }
    return s;
}

TEST(SelfTestTest, Judging) {
    const DeviceEntry entry = threeAreas();
    const struct {
        Records records;
        const char *expected;  // summaries "label:LED/sensor", then error rows
    } cases[] = {
        {{}, "Top:OK/OK "},
        // A point beyond its area's "Point" neither counts as tested nor is listed.
        {{rec(1, 1, 1, 1), rec(1, 5, 1, 1)}, "Top:ALL/ALL [Top 1 11]"},
        // Area numbers 0 and 200 have no definition and are skipped without stopping.
        {{rec(0, 1, 1, 1), rec(2, 1), rec(200, 1, 1, 1), rec(3, 2, 0, 1), rec(3, 3)},
         "Top:OK/OK Left:OK/OK Right:Check/OK [Right 2 01]"},
        // An area in two runs gets two rows; states other than 1 are good.
        {{rec(2, 1), rec(1, 1, 2, 15), rec(2, 2, 1, 0)},
         "Top:OK/OK Left:OK/OK Top:OK/OK Left:OK/ALL [Left 2 10]"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(summary(judgeSelfTest(c.records, entry)), c.expected);
    }
    EXPECT_TRUE(judgeSelfTest({rec(1, 1)}, DeviceEntry{}).summaries.empty());
}

TEST(DeviceListTest, ReadsEntriesAndRefusesWhatIsNotAList) {
    const std::string head =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n";
    const std::string good =
        head +
        "<array>"
        "<dict><key>ModelType</key><integer>259</integer><key>Name</key><string>A</string></dict>"
        "<dict><key>ModelType</key><integer>317</integer><key>Name</key><string>B</string>"
        "<key>LEDSensorArray</key><array><dict><key>Area</key><string>Top</string>"
        "<key>Point</key><integer>60</integer><key>Index</key><integer>1</integer></dict>"
        "</array></dict>"
        "</array></plist>";
    const auto list = parseDeviceList(good);
    ASSERT_TRUE(list);
    ASSERT_EQ(list->size(), 2u);
    const DeviceEntry *e317 = findDeviceEntry(*list, 317);
    ASSERT_NE(e317, nullptr);
    EXPECT_EQ(e317->name, "B");
    ASSERT_EQ(e317->areas.size(), 1u);
    EXPECT_EQ(e317->areas[0].label, "Top");
    EXPECT_EQ(e317->areas[0].pointCount, 60);
    EXPECT_FALSE(findDeviceEntry(*list, 259)->hasLEDSensorArray);
    EXPECT_EQ(findDeviceEntry(*list, 1), nullptr);
    for (const std::string &bad : {head + "<dict></dict></plist>", std::string("<array")}) {
        EXPECT_FALSE(parseDeviceList(bad)) << bad.substr(0, 60);
    }
    EXPECT_FALSE(readDeviceList("/nonexistent/DeviceList.plist"));
}

}  // namespace
}  // namespace tavix
