#include "hostaddresses.h"

#include <QFile>
#include <QSysInfo>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace tavix {

QStringList ipv4AddressesOf(const ifaddrs *list) {
    QStringList addresses;
    for (const ifaddrs *entry = list; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET) {
            continue;
        }
        const auto *in = reinterpret_cast<const sockaddr_in *>(entry->ifa_addr);
        char text[INET_ADDRSTRLEN] = {};
        if (inet_ntop(AF_INET, &in->sin_addr, text, sizeof text) != nullptr) {
            addresses << QString::fromLatin1(text);
        }
    }
    return addresses;
}

QStringList systemIPv4Addresses() {
    ifaddrs *list = nullptr;
    if (getifaddrs(&list) != 0) {
        return {};
    }
    QStringList addresses = ipv4AddressesOf(list);
    freeifaddrs(list);
    return addresses;
}

QStringList addressMenuItems(const QStringList &addresses) {
    if (addresses.size() < 2) {
        return addresses.mid(0, 1);
    }
    QStringList items;
    for (const QString &address : addresses) {
        if (address != QLatin1String("127.0.0.1")) {
            items << address;
        }
    }
    return items;
}

QString prettyHostnameFromMachineInfo(const QByteArray &text) {
    for (const QByteArray &raw : text.split('\n')) {
        const QByteArray line = raw.trimmed();
        if (!line.startsWith("PRETTY_HOSTNAME=")) {
            continue;
        }
        QByteArray value = line.mid(16);
        if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
            value.back() == value.front()) {
            value = value.mid(1, value.size() - 2);
        }
        QByteArray out;
        for (qsizetype i = 0; i < value.size(); ++i) {
            if (value[i] == '\\' && i + 1 < value.size()) {
                ++i;
            }
            out += value[i];
        }
        return QString::fromUtf8(out);
    }
    return {};
}

QString localizedComputerName() {
    QFile file(QStringLiteral("/etc/machine-info"));
    if (file.open(QIODevice::ReadOnly)) {
        const QString pretty = prettyHostnameFromMachineInfo(file.read(64 * 1024));
        if (!pretty.isEmpty()) {
            return pretty;
        }
    }
    return QSysInfo::machineHostName();
}

}  // namespace tavix
