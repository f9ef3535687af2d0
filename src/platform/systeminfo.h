// What the pane asks of the operating system about itself: a human-readable version string and
// the minor version number. Only the Properties page uses them, for rules that apply to
// particular macOS releases; on Linux those rules never fire.
#pragma once

#include <QString>

#include <memory>

namespace tavix {

class SystemInfo {
  public:
    virtual ~SystemInfo() = default;
    // A human-readable description of the running system, e.g. "Debian GNU/Linux 12 (bookworm)".
    virtual QString operatingSystemVersionString() const = 0;
    // The system's minor version number, or -1 when the query fails.
    virtual int systemMinorVersion() const = 0;
};

// Linux: the version string is PRETTY_NAME of os-release (never the kernel release, whose
// numbers could look like a macOS version); the minor version query always fails.
class LinuxSystemInfo final : public SystemInfo {
  public:
    // Reads /etc/os-release, falling back to /usr/lib/os-release as os-release(5) asks.
    LinuxSystemInfo();
    // Reads the given file only (tests point it at a fixture).
    explicit LinuxSystemInfo(QString osReleasePath);

    QString operatingSystemVersionString() const override;
    int systemMinorVersion() const override { return -1; }

  private:
    QString path_;
};

// Parses os-release text (KEY=value lines, values optionally quoted with shell-style escapes)
// and returns PRETTY_NAME; "Linux" when the key is absent, as os-release(5) defines.
QString prettyNameFromOsRelease(const QByteArray &text);

// The implementation for the running system.
std::shared_ptr<const SystemInfo> currentSystemInfo();

}  // namespace tavix
