// A page that shows only its title, for pages whose content comes later.
#pragma once

#include <QObject>

#include "pagecontroller.h"

class QLabel;
class QWidget;

namespace tavix {

// Puts a centred title label, looked up by key in the string table, into an empty page.
QLabel *buildTitleOnlyPage(QWidget *page, const char *titleKey);

// A controller for a page that is not built yet: the page shows its title and refreshing it
// has nothing to read.
class TitleOnlyPage : public QObject, public PageController {
    Q_OBJECT

  public:
    TitleOnlyPage(QWidget *page, const char *titleKey, QObject *parent = nullptr);
    void updateUIState() override {}
};

}  // namespace tavix
