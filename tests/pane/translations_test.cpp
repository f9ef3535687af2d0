// The string tables: the English fallback, German on top, and keys missing everywhere.
#include <QFile>
#include <QXmlStreamReader>
#include <QtTest>

#include "pane_test_support.h"
#include "panetranslations.h"

using namespace tavix;
using namespace tavix::test;

namespace {

// id -> translation of one .ts file of the pane.
QMap<QString, QString> readTs(const QString &name) {
    QFile file(QStringLiteral(TAVIX_PANE_TS_DIR "/") + name);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QMap<QString, QString> table;
    QXmlStreamReader xml(&file);
    QString id;
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement()) {
            continue;
        }
        if (xml.name() == QLatin1String("message")) {
            id = xml.attributes().value(QLatin1String("id")).toString();
        } else if (xml.name() == QLatin1String("translation")) {
            table.insert(id, xml.readElementText());
        }
    }
    return xml.hasError() ? QMap<QString, QString>{} : table;
}

}  // namespace

class TranslationsTest : public QObject {
    Q_OBJECT

  private slots:
    void cleanup() { removePaneTranslations(); }

    // Every table has every key of the English one, with a text for each; lookups give the
    // locale's text, and the key itself when no table has it.
    void lookups_data() {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QString>("table");
        QTest::newRow("English") << QLocale(QLocale::English, QLocale::UnitedKingdom)
                                 << "pane_en.ts";
        QTest::newRow("German") << QLocale(QLocale::German, QLocale::Austria) << "pane_de.ts";
        QTest::newRow("French falls back to English") << QLocale(QLocale::French) << "pane_en.ts";
    }
    void lookups() {
        QFETCH(QLocale, locale);
        QFETCH(QString, table);
        const QStringList installed = installPaneTranslations(locale);
        QVERIFY(installed.contains(QStringLiteral(":/i18n/pane_en.qm")));
        QCOMPARE(installed.contains(QStringLiteral(":/i18n/pane_de.qm")),
                 locale.language() == QLocale::German);
        // English first, so that the locale's tables are searched before it.
        QVERIFY(installed.first().endsWith(QStringLiteral("_en.qm")));

        const auto english = readTs(QStringLiteral("pane_en.ts"));
        const auto expected = readTs(table);
        QVERIFY(english.size() > 10);
        QCOMPARE(expected.keys(), english.keys());
        for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
            QVERIFY2(!it.value().isEmpty(), qPrintable(it.key()));
            QCOMPARE(localizedText(it.key().toUtf8().constData()), it.value());
        }
        QCOMPARE(localizedText("No.such.key"), QStringLiteral("No.such.key"));
    }

    void productFolderComesFromTheTable() {
        TestEnvironment env;  // also plugs the string table into the path code
        installPaneTranslations(QLocale(QLocale::German));
        // A folder name does not change with the language.
        QVERIFY(QString::fromStdString(getPreferenceFolderPath())
                    .endsWith(QStringLiteral("/Library/Preferences/TavixTouchPanel")));
        QVERIFY(QString::fromStdString(utilitiesAppInStatusBarFullPath())
                    .endsWith(QStringLiteral("/Application Support/TavixTouchPanel/StatusBarApp/"
                                             "TavixTouchSettingUtility.app")));
        removePaneTranslations();
        // Without any table the key itself names the folder.
        QVERIFY(QString::fromStdString(getPreferenceFolderPath())
                    .endsWith(QStringLiteral("/Library/Preferences/PreferenceFolderName")));
    }
};

QTEST_MAIN(TranslationsTest)
#include "translations_test.moc"
