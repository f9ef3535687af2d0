#include "radiomatrix.h"

#include <QButtonGroup>
#include <QGridLayout>
#include <QRadioButton>

#include "useraction.h"

namespace tavix {

RadioMatrix::RadioMatrix(int rows, int columns, QWidget *parent)
    : QWidget(parent), rows_(rows), columns_(columns), group_(new QButtonGroup(this)) {
    auto *layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    for (int r = 0; r < rows_; ++r) {
        for (int c = 0; c < columns_; ++c) {
            auto *button = new QRadioButton(this);
            group_->addButton(button, r * columns_ + c);
            layout->addWidget(button, r, c);
            cells_.push_back(button);
            onUserChange(button, this, [this] {
                if (action_) {
                    action_();
                }
            });
        }
    }
    connect(this, &QObject::objectNameChanged, this, [this](const QString &name) {
        for (int i = 0; i < static_cast<int>(cells_.size()); ++i) {
            cells_[i]->setObjectName(
                QStringLiteral("%1_%2_%3").arg(name).arg(i / columns_).arg(i % columns_));
        }
    });
}

QRadioButton *RadioMatrix::cell(int row, int column) const {
    if (row < 0 || row >= rows_ || column < 0 || column >= columns_) {
        return nullptr;
    }
    return cells_[static_cast<std::size_t>(row * columns_ + column)];
}

void RadioMatrix::setCellTitle(int row, int column, const QString &title) {
    if (QRadioButton *button = cell(row, column)) {
        button->setText(title);
    }
}

int RadioMatrix::selectedRow() const {
    const int id = group_->checkedId();
    return id < 0 ? -1 : id / columns_;
}

int RadioMatrix::selectedColumn() const {
    const int id = group_->checkedId();
    return id < 0 ? -1 : id % columns_;
}

void RadioMatrix::selectCell(int row, int column) {
    QRadioButton *target = cell(row, column);
    // The cell unchecked by the change says nothing either.
    for (QRadioButton *button : cells_) {
        button->blockSignals(true);
    }
    if (target != nullptr) {
        target->setChecked(true);
    } else if (QAbstractButton *checked = group_->checkedButton()) {
        group_->setExclusive(false);
        checked->setChecked(false);
        group_->setExclusive(true);
    }
    for (QRadioButton *button : cells_) {
        button->blockSignals(false);
    }
    keepOneTabStop();
}

void RadioMatrix::setCellEnabled(int row, int column, bool enabled) {
    if (QRadioButton *button = cell(row, column)) {
        button->setEnabled(enabled);
    }
    keepOneTabStop();
}

// Tab enters the group at one cell: the selected one, else the first enabled one. Qt leaves the
// stop on the cell that last had focus, so once that cell is disabled Tab would pass the group by.
void RadioMatrix::keepOneTabStop() {
    QAbstractButton *stop = group_->checkedButton();
    for (auto it = cells_.begin(); it != cells_.end() && (stop == nullptr || !stop->isEnabled());
         ++it) {
        stop = *it;
    }
    for (QRadioButton *button : cells_) {
        const int policy = button == stop ? button->focusPolicy() | Qt::TabFocus
                                          : button->focusPolicy() & ~Qt::TabFocus;
        button->setFocusPolicy(static_cast<Qt::FocusPolicy>(policy));
    }
}

}  // namespace tavix
