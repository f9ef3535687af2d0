// A grid of radio buttons with one selected cell, addressed by row and column. The matrix's
// action runs when a person selects a cell (click, key or accessibility toggle); selecting from
// code runs nothing.
#pragma once

#include <QStringList>
#include <QWidget>

#include <functional>
#include <vector>

class QButtonGroup;
class QRadioButton;

namespace tavix {

class RadioMatrix : public QWidget {
    Q_OBJECT

  public:
    // Cells are named "<objectName>_<row>_<column>" once the matrix has its name.
    RadioMatrix(int rows, int columns, QWidget *parent = nullptr);

    int rows() const { return rows_; }
    int columns() const { return columns_; }
    QRadioButton *cell(int row, int column) const;
    void setCellTitle(int row, int column, const QString &title);

    // -1 while no cell is selected.
    int selectedRow() const;
    int selectedColumn() const;
    // A cell outside the matrix clears the selection.
    void selectCell(int row, int column);
    void setCellEnabled(int row, int column, bool enabled);

    void setAction(std::function<void()> action) { action_ = std::move(action); }

  private:
    int rows_;
    int columns_;
    QButtonGroup *group_;
    std::vector<QRadioButton *> cells_;
    std::function<void()> action_;

    void keepOneTabStop();
};

}  // namespace tavix
