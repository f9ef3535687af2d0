// Connects a control to the action it runs when a person changes it, whichever way they do:
// a mouse click, a key press, or a screen reader through the accessibility interface (whose
// toggle changes a button without clicking it, and whose item selection changes a menu without
// activating it). Changes made from code with the control's signals blocked run nothing.
#pragma once

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QButtonGroup>
#include <QComboBox>
#include <QItemSelectionModel>
#include <QMetaObject>
#include <QObject>

#include <memory>
#include <utility>

namespace tavix {

// A button: every click runs the action (also on a button that is already checked); a toggle
// outside a press-release pair (the accessibility toggle) runs it as well.
template <typename Action>
void onUserChange(QAbstractButton *button, QObject *context, Action action) {
    auto inClick = std::make_shared<bool>(false);
    QObject::connect(button, &QAbstractButton::pressed, context, [inClick] { *inClick = true; });
    QObject::connect(button, &QAbstractButton::released, context, [inClick] { *inClick = false; });
    QObject::connect(button, &QAbstractButton::clicked, context, action);
    QObject::connect(
        button, &QAbstractButton::toggled, context, [button, inClick, action](bool checked) {
            // A radio button turned off by its neighbour's selection is no change
            // of its own.
            const bool exclusive =
                button->autoExclusive() || (button->group() && button->group()->exclusive());
            if (!*inClick && (checked || !exclusive)) {
                action();
            }
        });
}

// A menu: choosing an item runs the action, also when it is the item already shown; a change of
// the current item without a choice (the accessibility selection) runs it as well.
template <typename Action>
void onUserChange(QComboBox *menu, QObject *context, Action action) {
    auto changed = std::make_shared<bool>(false);
    QObject::connect(menu, &QComboBox::currentIndexChanged, context, [menu, changed, action] {
        *changed = true;
        action();
        // A choice in the popup reports "activated" right after the change, in the same call.
        QMetaObject::invokeMethod(
            menu, [changed] { *changed = false; }, Qt::QueuedConnection);
    });
    QObject::connect(menu, &QComboBox::activated, context, [changed, action] {
        if (!*changed) {
            action();
        }
        *changed = false;
    });
    // A screen reader selects an item of the menu's list without opening it; the menu follows.
    // While the list is open the selection only follows the pointer until a choice is made.
    QAbstractItemView *list = menu->view();
    QObject::connect(list->selectionModel(), &QItemSelectionModel::selectionChanged, context,
                     [menu, list] {
                         const QModelIndexList rows = list->selectionModel()->selectedRows();
                         if (!list->isVisible() && rows.size() == 1 &&
                             rows.first().row() != menu->currentIndex()) {
                             menu->setCurrentIndex(rows.first().row());
                         }
                     });
}

}  // namespace tavix
