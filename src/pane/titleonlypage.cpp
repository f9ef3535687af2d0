#include "titleonlypage.h"

#include <QLabel>
#include <QVBoxLayout>
#include <QWidget>

#include "panetranslations.h"

namespace tavix {

QLabel *buildTitleOnlyPage(QWidget *page, const char *titleKey) {
    auto *layout = new QVBoxLayout(page);
    auto *title = new QLabel(localizedText(titleKey), page);
    title->setObjectName(QStringLiteral("pageTitle"));
    title->setAlignment(Qt::AlignCenter);
    QFont font = title->font();
    font.setPointSizeF(font.pointSizeF() * 1.4);
    font.setBold(true);
    title->setFont(font);
    layout->addWidget(title);
    return title;
}

}  // namespace tavix
