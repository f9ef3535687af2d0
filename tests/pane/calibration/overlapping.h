// A page's visible widgets do not overlap their visible siblings or leave their parent.
#pragma once

#include <QWidget>

namespace tavix::test {

// Each fault as "a/b" (overlapping siblings) or "a/" (outside its parent); `skip` is left out.
inline QStringList overlapping(QWidget *root, const QWidget *skip = nullptr) {
    QStringList faults;
    const auto name = [](const QWidget *w) {
        return w->objectName().isEmpty() ? QString::fromLatin1(w->metaObject()->className())
                                         : w->objectName();
    };
    for (QWidget *w : root->findChildren<QWidget *>()) {
        if (!w->isVisible() || w == skip || w->isWindow()) {
            continue;
        }
        if (!w->parentWidget()->rect().contains(w->geometry())) {
            faults << name(w) + '/';
        }
        for (QWidget *s : w->parentWidget()->findChildren<QWidget *>(Qt::FindDirectChildrenOnly)) {
            if (s < w && s != skip && s->isVisible() && !s->isWindow() &&
                s->geometry().intersects(w->geometry())) {
                faults << name(s) + '/' + name(w);
            }
        }
    }
    return faults;
}

}  // namespace tavix::test
