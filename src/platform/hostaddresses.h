// The machine's own name and IPv4 addresses, as the Hardware information page and the saved
// report list them.
#pragma once

#include <QString>
#include <QStringList>

struct ifaddrs;

namespace tavix {

// The dotted IPv4 address of every AF_INET entry of the list, in list order; entries without
// an address are skipped, loopback and interfaces that are down are kept.
QStringList ipv4AddressesOf(const ifaddrs *list);
// The same over getifaddrs(3); empty when it fails.
QStringList systemIPv4Addresses();

// The items of the address menu: with fewer than two addresses the first one (if any),
// otherwise every address but "127.0.0.1", in order.
QStringList addressMenuItems(const QStringList &addresses);

// PRETTY_HOSTNAME of /etc/machine-info, else the host name.
QString localizedComputerName();
// PRETTY_HOSTNAME from machine-info text (shell-style KEY=value lines), or "" when absent.
QString prettyHostnameFromMachineInfo(const QByteArray &text);

}  // namespace tavix
