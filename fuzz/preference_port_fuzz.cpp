// Feeds arbitrary input to the pane's "preferenceCommend" handler, with the shared state file
// it reads taken from the input too: the first byte gives the message length (0 to 15), that
// many bytes are the message, and the rest is written as Utilities.plist (nothing when empty).
// The handler must act or ignore, never crash, whatever the message and the file.
#include <QApplication>
#include <QByteArray>
#include <QDir>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "atomic_file.h"
#include "paths.h"
#include "tavixtouchpanelpref.h"

namespace {

struct World {
    QTemporaryDir roots{QDir::tempPath() + QStringLiteral("/tavix-fuzz-XXXXXX")};
    std::unique_ptr<QApplication> app;
    std::unique_ptr<tavix::TavixTouchPanelPref> pane;
};

World &world() {
    static World *w = [] {
        auto *created = new World;
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");  // no port is made
        qputenv("HOME", created->roots.filePath(QStringLiteral("home")).toLocal8Bit());
        qputenv("TAVIX_SYSTEM_LIBRARY",
                created->roots.filePath(QStringLiteral("system")).toLocal8Bit());
        static int argc = 1;
        static char name[] = "preference_port_fuzz";
        static char *argv[] = {name, nullptr};
        created->app = std::make_unique<QApplication>(argc, argv);
        created->pane = std::make_unique<tavix::TavixTouchPanelPref>(
            tavix::TavixTouchPanelPref::Options{std::chrono::hours(24), {}});
        created->pane->loadMainView();
        return created;
    }();
    return *w;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    World &w = world();
    if (size == 0) {
        return 0;
    }
    const std::size_t length = std::min<std::size_t>(data[0] & 0x0F, size - 1);
    const QByteArray message(reinterpret_cast<const char *>(data + 1),
                             static_cast<qsizetype>(length));
    const std::string path = tavix::getUilitiesFilePath();
    std::remove(path.c_str());
    if (size > 1 + length) {
        tavix::writeFileAtomically(
            path,
            std::string(reinterpret_cast<const char *>(data + 1 + length), size - 1 - length));
    }
    const QByteArray reply = w.pane->myProgressPortCallBack(0, message);
    if (!reply.isEmpty()) {
        std::abort();  // nothing is ever replied
    }
    QCoreApplication::processEvents();
    return 0;
}
