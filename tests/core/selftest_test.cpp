// How self-test records are judged per area, and the device list the judging reads.
#include "selftest.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "device_list.h"
#include "temp_env.h"

namespace tavix {
namespace {

using Records = std::vector<SelfTestRecord>;

// Areas 1-3 named as on a frame, four points each.
const DeviceEntry kThreeAreas{317, "",   0,
                              {},  true, {{"Top", 4, 1}, {"Left", 4, 2}, {"Right", 4, 3}}};

SelfTestRecord rec(int area, int point, int sens = 0, int led = 0) {
    return {std::uint8_t(area), std::uint8_t(point), std::uint8_t(sens), std::uint8_t(led)};
}

// Runs of areas decide the retry: one run short of the device's areas asks for another.
TEST(SelfTestTest, RunsOfAreasDecideTheRetry) {
    EXPECT_EQ(countAreaRuns({rec(0, 1), rec(0, 2), rec(1, 1), rec(2, 1)}), 2);
    EXPECT_TRUE(needRestartTestSelf({rec(0, 1), rec(0, 2), rec(1, 1), rec(2, 1)}, &kThreeAreas));
    EXPECT_EQ(countAreaRuns({rec(3, 1), rec(200, 1), rec(0, 1), rec(1, 1)}), 4);
    EXPECT_FALSE(needRestartTestSelf({rec(3, 1), rec(200, 1), rec(0, 1), rec(1, 1)}, &kThreeAreas));
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
    const struct {
        Records records;
        const char *expected;  // summaries "label:LED/sensor", then error rows
    } cases[] = {
        {{}, "Top:OK/OK "},
        // A point beyond its area's "Point" (the last one counts) neither counts nor is listed.
        {{rec(1, 1, 1, 1), rec(1, 4, 1, 1), rec(1, 5, 1, 1)}, "Top:ALL/ALL [Top 1 11][Top 4 11]"},
        // Area numbers 0 and 200 have no definition and are skipped without stopping.
        {{rec(0, 1, 1, 1), rec(2, 1), rec(200, 1, 1, 1), rec(3, 2, 0, 1), rec(3, 3)},
         "Top:OK/OK Left:OK/OK Right:Check/OK [Right 2 01]"},
        // An area in two runs gets two rows; states other than 1 are good.
        {{rec(2, 1), rec(1, 1, 2, 15), rec(2, 2, 1, 0)},
         "Top:OK/OK Left:OK/OK Top:OK/OK Left:OK/ALL [Left 2 10]"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(summary(judgeSelfTest(c.records, kThreeAreas)), c.expected);
    }
    EXPECT_TRUE(judgeSelfTest({rec(1, 1)}, DeviceEntry{}).summaries.empty());
}

std::string describe(const std::vector<DeviceEntry> &list) {
    std::string s;
    for (const DeviceEntry &e : list) {
        s += std::to_string(e.modelType) + " " + e.name + " m" + std::to_string(e.manufacturerID);
        for (const auto id : e.productIDs) {
            s += " p" + std::to_string(id);
        }
        s += e.hasLEDSensorArray ? " LED" : "";
        for (const AreaDefinition &a : e.areas) {
            s += " [" + a.label + " " + std::to_string(a.pointCount) + " " +
                 std::to_string(a.index) + "]";
        }
        s += "; ";
    }
    return s;
}

using DeviceListTest = test::TempEnvTest;

// Every field of every entry; items of the wrong kind read as nothing (or 0), never as others.
TEST_F(DeviceListTest, ReadsWholeEntriesAndRefusesWhatIsNotAList) {
    const std::string head = "<?xml version=\"1.0\"?><plist version=\"1.0\">";
    const auto integer = [](int i) { return "<integer>" + std::to_string(i) + "</integer>"; };
    const std::string good =
        head + "<array><dict><key>ModelType</key>" + integer(259) +
        "<key>Name</key><string>A</string><key>Display</key><dict><key>ManufacturerID</key>" +
        integer(1552) + "<key>ProductID</key><array>" + integer(12) +
        "<real>7.9</real><real>9.2e18</real><real>9.3e18</real><true/><string>9</string></array></"
        "dict></dict><string>skipped</string>"
        "<dict><key>ModelType</key><real>317.5</real><key>Name</key><integer>2</integer>"
        "<key>LEDSensorArray</key><array><dict><key>Area</key><string>Top</string><key>Point"
        "</key>" +
        integer(60) + "</dict><string>odd</string></array>" + "</dict></array></plist>";
    const auto list = parseDeviceList(good);
    ASSERT_TRUE(list);
    EXPECT_EQ(describe(*list),
              "259 A m1552 p12 p7 p9200000000000000000 p0 p1 p0; 317  m0 LED [Top 60 0] [ 0 0]; ");
    EXPECT_EQ(findDeviceEntry(*list, 317), &(*list)[1]);
    EXPECT_EQ(findDeviceEntry(*list, 1), nullptr);
    for (const std::string &bad : {head + "<dict></dict></plist>", std::string("<array")}) {
        EXPECT_FALSE(parseDeviceList(bad)) << bad;
    }
    const std::string path = home_ + "/SupportResolutionList.plist";
    EXPECT_FALSE(readDeviceList(path));
    EXPECT_FALSE(readResolutionList(path)) << "a missing list is no list";
    std::ofstream(path) << head + "<array><string>1920x1080</string>" + integer(5) +
                               "<string>800x600</string></array></plist>";
    EXPECT_EQ(readResolutionList(path), (std::vector<std::string>{"1920x1080", "800x600"}));
}

}  // namespace
}  // namespace tavix
