#include "panetranslations.h"

#include <QCoreApplication>
#include <QDir>
#include <QPointer>
#include <QTranslator>

#include <mutex>
#include <vector>

#include "paths.h"

namespace tavix {
namespace {

std::vector<QPointer<QTranslator>> &installed() {
    static std::vector<QPointer<QTranslator>> translators;
    return translators;
}

bool installOne(const QString &path) {
    // Parented to the application so that the tables go with it at exit.
    auto *translator = new QTranslator(QCoreApplication::instance());
    if (!translator->load(path) || !QCoreApplication::installTranslator(translator)) {
        delete translator;
        return false;
    }
    installed().emplace_back(translator);
    return true;
}

}  // namespace

QStringList installPaneTranslations(const QLocale &locale) {
    removePaneTranslations();
    const QDir dir(QStringLiteral(":/i18n"));
    const QStringList files = dir.entryList({QStringLiteral("*.qm")}, QDir::Files, QDir::Name);
    const QString english = QStringLiteral("_en.qm");
    const QString language = QLocale::languageToCode(locale.language());
    const QString local = QLatin1Char('_') + language + QStringLiteral(".qm");

    QStringList done;
    for (const QString &file : files) {
        if (file.endsWith(english) && installOne(dir.filePath(file))) {
            done << dir.filePath(file);
        }
    }
    if (local != english) {
        for (const QString &file : files) {
            if (file.endsWith(local) && installOne(dir.filePath(file))) {
                done << dir.filePath(file);
            }
        }
    }
    return done;
}

void removePaneTranslations() {
    for (const QPointer<QTranslator> &translator : installed()) {
        if (translator) {
            QCoreApplication::removeTranslator(translator);
            delete translator.data();
        }
    }
    installed().clear();
}

void ensurePaneTranslations() {
    static std::once_flag once;
    std::call_once(once, [] {
        installPaneTranslations(QLocale());
        setLocalizedStringLookup(
            [](const std::string &key) { return localizedText(key.c_str()).toStdString(); });
    });
}

QString localizedText(const char *key) {
    return qtTrId(key);
}

}  // namespace tavix
