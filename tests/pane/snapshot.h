// Pictures of what a person sees, compared pixel for pixel with the references in
// tests/pane/snapshots. TAVIX_UPDATE_SNAPSHOTS=1 writes the references instead; look at them
// before committing.
#pragma once

#include <QComboBox>
#include <QCoreApplication>
#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QLabel>
#include <QStyleHints>
#include <QWidget>

#include <utility>

namespace tavix::test {

// Empty when `widget` looks as the reference `name` shows it; else where the new picture is.
inline QString snapshotMismatch(QWidget *widget, const QString &name) {
    QGuiApplication::styleHints()->setCursorFlashTime(0);  // a caret that does not blink
    // This machine's name, addresses and pointer differ from run to run: fixed ones stand in.
    for (const auto &[objectName, text] :
         {std::pair{"compName_", "computer"}, std::pair{"mouseCoordinate_", "x=10, y=10"}}) {
        if (auto *label = widget->findChild<QLabel *>(QLatin1String(objectName))) {
            label->setText(QLatin1String(text));
        }
    }
    if (auto *addresses = widget->findChild<QComboBox *>(QStringLiteral("IPAddr_"))) {
        addresses->clear();
        addresses->addItem(QStringLiteral("192.0.2.1"));
    }
    // Layouts settle as they do before a person sees the window.
    for (int round = 0; round < 3; ++round) {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    }
    widget->repaint();
    const QImage shot = widget->grab().toImage().convertToFormat(QImage::Format_RGB32);
    const QString reference =
        QStringLiteral(TAVIX_SOURCE_DIR "/tests/pane/snapshots/%1.png").arg(name);
    if (qEnvironmentVariableIsSet("TAVIX_UPDATE_SNAPSHOTS")) {
        return shot.save(reference) ? QString() : QStringLiteral("cannot write ") + reference;
    }
    if (QImage(reference).convertToFormat(QImage::Format_RGB32) == shot) {
        return {};
    }
    const QString actual = QDir::current().filePath(name + QStringLiteral(".actual.png"));
    shot.save(actual);
    return QStringLiteral("%1 looks different from its reference: %2").arg(name, actual);
}

}  // namespace tavix::test
