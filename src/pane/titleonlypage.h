// A page that shows only its title, for pages whose content comes later.
#pragma once

class QLabel;
class QWidget;

namespace tavix {

// Puts a centred title label, looked up by key in the string table, into an empty page.
QLabel *buildTitleOnlyPage(QWidget *page, const char *titleKey);

}  // namespace tavix
