// The pane's string tables: id-based Qt translations compiled into resources under ":/i18n".
#pragma once

#include <QLocale>
#include <QString>
#include <QStringList>

namespace tavix {

// Installs every table under ":/i18n": first each "*_en.qm" (the fallback), then the tables
// of the locale's language on top, so that a key missing from the locale's tables shows its
// English text and a key missing from every table shows the key itself. Tables that other
// libraries of the pane add to ":/i18n" are picked up the same way. Returns the resource paths
// installed, in installation order. Installing again first removes what was installed before.
QStringList installPaneTranslations(const QLocale &locale);

// Removes the tables installed by installPaneTranslations.
void removePaneTranslations();

// Installs the tables for the system locale once per process and plugs the lookup into the
// storage layer, so that the product folder name comes from the string table.
void ensurePaneTranslations();

// The text for a key, or the key itself when no table has it.
QString localizedText(const char *key);

}  // namespace tavix
