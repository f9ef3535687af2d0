#include "systeminfo.h"

#include <QFile>

#include <utility>

namespace tavix {

namespace {

constexpr qint64 kMaxOsReleaseSize = 64 * 1024;

// Undoes the quoting of one os-release value: "..." or '...' with backslash escapes inside
// double quotes; an unquoted value is taken as it stands.
QString unquote(const QByteArray &raw) {
    QByteArray value = raw.trimmed();
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
        value.back() == value.front()) {
        const char quote = value.front();
        value = value.mid(1, value.size() - 2);
        if (quote == '"') {
            QByteArray out;
            out.reserve(value.size());
            for (qsizetype i = 0; i < value.size(); ++i) {
                if (value[i] == '\\' && i + 1 < value.size()) {
                    ++i;
                }
                out.append(value[i]);
            }
            value = out;
        }
    }
    return QString::fromUtf8(value);
}

}  // namespace

QString prettyNameFromOsRelease(const QByteArray &text) {
    QString prettyName;
    bool found = false;
    for (const QByteArray &line : text.split('\n')) {
        const QByteArray trimmed = line.trimmed();
        if (trimmed.isEmpty() || trimmed.startsWith('#')) {
            continue;
        }
        const qsizetype eq = trimmed.indexOf('=');
        if (eq <= 0) {
            continue;
        }
        if (trimmed.left(eq).trimmed() == "PRETTY_NAME") {
            prettyName = unquote(trimmed.mid(eq + 1));  // the last assignment wins
            found = true;
        }
    }
    return found ? prettyName : QStringLiteral("Linux");
}

LinuxSystemInfo::LinuxSystemInfo()
    : LinuxSystemInfo(QFile::exists(QStringLiteral("/etc/os-release"))
                          ? QStringLiteral("/etc/os-release")
                          : QStringLiteral("/usr/lib/os-release")) {}

LinuxSystemInfo::LinuxSystemInfo(QString osReleasePath) : path_(std::move(osReleasePath)) {}

QString LinuxSystemInfo::operatingSystemVersionString() const {
    QFile file(path_);
    if (!file.open(QIODevice::ReadOnly)) {
        return QStringLiteral("Linux");
    }
    return prettyNameFromOsRelease(file.read(kMaxOsReleaseSize));
}

std::shared_ptr<const SystemInfo> currentSystemInfo() {
    return std::make_shared<LinuxSystemInfo>();
}

}  // namespace tavix
