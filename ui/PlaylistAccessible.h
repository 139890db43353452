#pragma once

#include <QAccessibleWidget>
#include <QHash>
#include <QUuid>

class PlaylistView;

/// The playlist as assistive technology meets it: a list of rows, and the menu of a row while it is open.
///
/// A row's interface is made when it is asked for and stays with its track. The table of one column is how
/// clients learn that there may be more rows than they should keep copies of.
class PlaylistAccessible : public QAccessibleWidget, public QAccessibleTableInterface {
public:
    explicit PlaylistAccessible(PlaylistView *view);
    ~PlaylistAccessible() override;

    void *interface_cast(QAccessible::InterfaceType type) override;
    [[nodiscard]] int childCount() const override;
    [[nodiscard]] QAccessibleInterface *child(int index) const override;
    [[nodiscard]] int indexOfChild(const QAccessibleInterface *child) const override;
    [[nodiscard]] QAccessibleInterface *childAt(int x, int y) const override;
    [[nodiscard]] QAccessibleInterface *focusChild() const override;

    [[nodiscard]] int rowCount() const override;
    [[nodiscard]] int columnCount() const override { return 1; }
    [[nodiscard]] QAccessibleInterface *cellAt(int row, int column) const override;
    [[nodiscard]] QAccessibleInterface *caption() const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface *summary() const override { return nullptr; }
    [[nodiscard]] QString columnDescription(int) const override { return {}; }
    [[nodiscard]] QString rowDescription(int) const override { return {}; }

    [[nodiscard]] QList<int> selectedRows() const override;
    [[nodiscard]] QList<int> selectedColumns() const override { return {}; }
    [[nodiscard]] QList<QAccessibleInterface *> selectedCells() const override;
    [[nodiscard]] int selectedRowCount() const override { return static_cast<int>(selectedRows().size()); }
    [[nodiscard]] int selectedColumnCount() const override { return 0; }
    [[nodiscard]] int selectedCellCount() const override { return selectedRowCount(); }
    [[nodiscard]] bool isRowSelected(int row) const override { return selectedRows().contains(row); }
    [[nodiscard]] bool isColumnSelected(int) const override { return false; }
    bool selectRow(int row) override;
    bool selectColumn(int) override { return false; }
    bool unselectRow(int) override { return false; }
    bool unselectColumn(int) override { return false; }
    void modelChange(QAccessibleTableModelChangeEvent *event) override;

private:
    PlaylistView &m_view;
    mutable QHash<QUuid, QAccessible::Id> m_rows; ///< by track, those that have been asked for
};
