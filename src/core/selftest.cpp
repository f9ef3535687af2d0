#include "selftest.h"

namespace tavix {

int countAreaRuns(const std::vector<SelfTestRecord> &records) {
    int count = 0;
    std::uint8_t previous = 0;
    for (const SelfTestRecord &r : records) {
        if (r.number != previous) {
            ++count;
            previous = r.number;
        }
    }
    return count;
}

bool needRestartTestSelf(const std::vector<SelfTestRecord> &records, const DeviceEntry *entry) {
    return entry != nullptr &&
           static_cast<std::size_t>(countAreaRuns(records)) < entry->areas.size();
}

const char *verdictKey(Verdict verdict) {
    switch (verdict) {
        case Verdict::ALL:
            return "selfTest.ALL";
        case Verdict::Check:
            return "selfTest.Check";
        case Verdict::OK:
            break;
    }
    return "selfTest.OK";
}

const char *verdictName(Verdict verdict) {
    switch (verdict) {
        case Verdict::ALL:
            return "ALL";
        case Verdict::Check:
            return "Check";
        case Verdict::OK:
            break;
    }
    return "OK";
}

namespace {

Verdict verdictOf(int faults, int tested) {
    if (faults == 0) {
        return Verdict::OK;
    }
    return faults == tested ? Verdict::ALL : Verdict::Check;
}

}  // namespace

SelfTestJudgement judgeSelfTest(const std::vector<SelfTestRecord> &records,
                                const DeviceEntry &entry) {
    SelfTestJudgement out;
    const std::vector<AreaDefinition> &areas = entry.areas;
    if (areas.empty()) {
        return out;  // no area 1 to report on
    }
    int a = 1;
    int tested = 0;
    int ledFaults = 0;
    int sensorFaults = 0;
    const auto closeArea = [&] {
        AreaSummary row;
        row.area = a;
        row.label = areas[static_cast<std::size_t>(a - 1)].label;
        row.tested = tested;
        row.ledFaults = ledFaults;
        row.sensorFaults = sensorFaults;
        row.led = verdictOf(ledFaults, tested);
        row.sensor = verdictOf(sensorFaults, tested);
        out.summaries.push_back(std::move(row));
    };
    for (const SelfTestRecord &r : records) {
        if (r.number == 0 || r.number > areas.size()) {
            continue;  // no area definition for it
        }
        const AreaDefinition &def = areas[r.number - 1u];
        if (r.point > def.pointCount) {
            continue;
        }
        if (r.number != a) {
            closeArea();
            a = r.number;
            tested = ledFaults = sensorFaults = 0;
        }
        ++tested;
        const bool sensFault = r.sensState == 1;
        const bool ledFault = r.ledState == 1;
        if (sensFault || ledFault) {
            out.errors.push_back({a, def.label, r.point, r.sensState, r.ledState});
            sensorFaults += sensFault ? 1 : 0;
            ledFaults += ledFault ? 1 : 0;
        }
    }
    closeArea();
    return out;
}

}  // namespace tavix
