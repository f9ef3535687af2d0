// A system that says whatever the test wants about its version.
#pragma once

#include <QString>

#include <utility>

#include "systeminfo.h"

namespace tavix::test {

class FakeSystemInfo final : public SystemInfo {
  public:
    FakeSystemInfo(QString versionString, int minorVersion)
        : versionString_(std::move(versionString)), minorVersion_(minorVersion) {}
    QString operatingSystemVersionString() const override { return versionString_; }
    int systemMinorVersion() const override { return minorVersion_; }

  private:
    QString versionString_;
    int minorVersion_;
};

}  // namespace tavix::test
