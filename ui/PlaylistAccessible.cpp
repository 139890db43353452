// The playlist as assistive technology meets it.

#include "desktop/AccessibleFactory.h"
#include "ui/PlaylistModel.h"
#include "ui/PlaylistRowDelegate.h"
#include "ui/PlaylistView.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace {

/// What a row and the button in it have in common: neither is a widget.
class PlaylistRowPart : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    PlaylistRowPart(PlaylistView &view, const QModelIndex &index)
        : m_view(view)
        , m_index(index)
    {
    }

    [[nodiscard]] const QPersistentModelIndex &index() const { return m_index; }

    void *interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface *>(this)
                                                    : nullptr;
    }

    [[nodiscard]] bool isValid() const override { return m_index.isValid(); } ///< while the track is listed
    [[nodiscard]] QObject *object() const override { return nullptr; }
    void setText(QAccessible::Text, const QString &) override { }
    [[nodiscard]] QStringList keyBindingsForAction(const QString &) const override { return {}; }

    /// The row on the screen, also if it is scrolled out of sight.
    [[nodiscard]] QRect rect() const override
    {
        const QRect row = m_view.visualRect(m_index);
        return {m_view.viewport()->mapToGlobal(row.topLeft()), row.size()};
    }

    [[nodiscard]] QAccessible::State state() const override
    {
        QAccessible::State state;
        state.invisible = !m_view.isVisible();
        state.offscreen = !m_view.viewport()->rect().intersects(m_view.visualRect(m_index));
        return state;
    }

protected:
    PlaylistView &m_view;

private:
    QPersistentModelIndex m_index;
};

/// The ellipsis of a row: a button that opens the row's menu.
class PlaylistMenuAccessible : public PlaylistRowPart {
public:
    using PlaylistRowPart::PlaylistRowPart;

    [[nodiscard]] QAccessibleInterface *parent() const override
    {
        return QAccessible::queryAccessibleInterface(&m_view)->child(index().row());
    }

    [[nodiscard]] int childCount() const override { return 0; }
    [[nodiscard]] QAccessibleInterface *child(int) const override { return nullptr; }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface *) const override { return -1; }
    [[nodiscard]] QAccessibleInterface *childAt(int, int) const override { return nullptr; }

    // Readers have no Spanish word for ButtonMenu, and name it with every row; the state tells of the menu.
    [[nodiscard]] QAccessible::Role role() const override { return QAccessible::Button; }

    [[nodiscard]] QString text(QAccessible::Text kind) const override
    {
        if (kind != QAccessible::Name)
            return {};
        return PlaylistView::tr("Más opciones de %1").arg(index().data(Qt::DisplayRole).toString());
    }

    [[nodiscard]] QRect rect() const override { return playlistRowMenu(PlaylistRowPart::rect()); }

    [[nodiscard]] QAccessible::State state() const override
    {
        QAccessible::State state = PlaylistRowPart::state();
        state.hasPopup = true;
        return state;
    }

    [[nodiscard]] QStringList actionNames() const override { return {pressAction()}; }

    void doAction(const QString &name) override
    {
        if (name == pressAction())
            m_view.openRowMenu(index());
    }
};

/// A row: pressing it plays the track. "Active" is the current track's row, "animated" the one that sounds. Its
/// one child is the button of its menu.
class PlaylistRowAccessible : public PlaylistRowPart {
public:
    using PlaylistRowPart::PlaylistRowPart;

    ~PlaylistRowAccessible() override
    {
        if (m_menuButton)
            QAccessible::deleteAccessibleInterface(m_menuButton);
    }

    [[nodiscard]] QAccessibleInterface *parent() const override
    {
        return QAccessible::queryAccessibleInterface(&m_view);
    }

    [[nodiscard]] int childCount() const override { return 1; }

    [[nodiscard]] QAccessibleInterface *child(int number) const override
    {
        if (number != 0)
            return nullptr;
        if (!m_menuButton)
            m_menuButton =
                QAccessible::registerAccessibleInterface(new PlaylistMenuAccessible(m_view, index()));
        return QAccessible::accessibleInterface(m_menuButton);
    }

    [[nodiscard]] int indexOfChild(const QAccessibleInterface *child) const override
    {
        return child && child == this->child(0) ? 0 : -1;
    }

    [[nodiscard]] QAccessibleInterface *childAt(int x, int y) const override
    {
        QAccessibleInterface *menuButton = child(0);
        return menuButton->rect().contains(x, y) ? menuButton : nullptr;
    }

    [[nodiscard]] QAccessible::Role role() const override { return QAccessible::ListItem; }

    [[nodiscard]] QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Name ? index().data(Qt::AccessibleTextRole).toString() : QString();
    }

    [[nodiscard]] QAccessible::State state() const override
    {
        const PlaylistRow row = m_view.playlist().playlistRow(index());
        QAccessible::State state = PlaylistRowPart::state();
        state.focusable = true;
        state.selectable = true;
        state.selected = m_view.selectionModel()->isSelected(index());
        state.focused = m_view.hasFocus() && m_view.currentIndex() == index();
        state.active = row.isCurrent();
        state.animated = row.marker == PlaylistRow::Marker::Playing;
        return state;
    }

    [[nodiscard]] QStringList actionNames() const override
    {
        return {pressAction(), showMenuAction(), setFocusAction()};
    }

    [[nodiscard]] QString localizedActionName(const QString &name) const override
    {
        if (name == pressAction())
            return PlaylistView::tr("Reproducir");
        return name == showMenuAction() ? PlaylistView::tr("Más opciones") : PlaylistView::tr("Ir a la fila");
    }

    [[nodiscard]] QString localizedActionDescription(const QString &name) const override
    {
        if (name == pressAction())
            return PlaylistView::tr("Reproduce la canción desde el principio");
        return name == showMenuAction() ? PlaylistView::tr("Abre el menú de la canción")
                                        : PlaylistView::tr("Lleva el teclado a la fila");
    }

    void doAction(const QString &name) override
    {
        if (name == pressAction()) {
            m_view.play(index());
        } else if (name == showMenuAction()) {
            m_view.openContextMenu(index());
        } else if (name == setFocusAction()) {
            m_view.setCurrentIndex(index());
            m_view.scrollTo(index());
            m_view.setFocus();
        }
    }

private:
    mutable QAccessible::Id m_menuButton = 0; ///< 0 until somebody asks for it
};

/// A list of rows, and the menu of a row while it is open.
///
/// A row's interface is made when it is asked for and stays with its track. The table of one column is how
/// clients learn that there may be more rows than they should keep copies of.
class PlaylistAccessible : public QAccessibleWidget, public QAccessibleTableInterface {
public:
    explicit PlaylistAccessible(PlaylistView *view)
        : QAccessibleWidget(view, QAccessible::List)
        , m_view(*view)
    {
    }

    ~PlaylistAccessible() override
    {
        for (const QAccessible::Id row : std::as_const(m_rows))
            QAccessible::deleteAccessibleInterface(row);
    }

    void *interface_cast(QAccessible::InterfaceType type) override
    {
        if (type == QAccessible::TableInterface)
            return static_cast<QAccessibleTableInterface *>(this);
        return QAccessibleWidget::interface_cast(type);
    }

    // Rows first, then the menu that is open.

    [[nodiscard]] int childCount() const override { return rowCount() + (m_view.openedMenu() ? 1 : 0); }

    [[nodiscard]] QAccessibleInterface *child(int index) const override
    {
        if (index >= 0 && index == rowCount())
            return QAccessible::queryAccessibleInterface(m_view.openedMenu());
        return cellAt(index, 0);
    }

    [[nodiscard]] int indexOfChild(const QAccessibleInterface *child) const override
    {
        if (!child)
            return -1;
        if (child->object())
            return child->object() == m_view.openedMenu() ? rowCount() : -1;
        return static_cast<const PlaylistRowAccessible *>(child)->index().row();
    }

    [[nodiscard]] QAccessibleInterface *childAt(int x, int y) const override
    {
        return cellAt(m_view.indexAt(m_view.viewport()->mapFromGlobal(QPoint(x, y))).row(), 0);
    }

    [[nodiscard]] QAccessibleInterface *focusChild() const override
    {
        return m_view.hasFocus() ? cellAt(m_view.currentIndex().row(), 0) : nullptr;
    }

    // Rows

    [[nodiscard]] int rowCount() const override { return m_view.playlist().rowCount(); }

    [[nodiscard]] QAccessibleInterface *cellAt(int row, int column) const override
    {
        if (row < 0 || row >= rowCount() || column != 0)
            return nullptr;
        const QModelIndex index = m_view.playlist().index(row);
        QAccessible::Id &id = m_rows[m_view.playlist().track(index).id()];
        if (auto *known = id ? QAccessible::accessibleInterface(id) : nullptr; known && known->isValid())
            return known;
        if (id)
            QAccessible::deleteAccessibleInterface(id);
        auto *made = new PlaylistRowAccessible(m_view, index);
        id = QAccessible::registerAccessibleInterface(made);
        return made;
    }

    [[nodiscard]] QList<int> selectedRows() const override
    {
        const QModelIndex current = m_view.currentIndex();
        return m_view.selectionModel()->isSelected(current) ? QList<int>{current.row()} : QList<int>();
    }

    [[nodiscard]] QList<QAccessibleInterface *> selectedCells() const override
    {
        QList<QAccessibleInterface *> cells;
        for (const int row : selectedRows())
            cells.append(cellAt(row, 0));
        return cells;
    }

    bool selectRow(int row) override
    {
        m_view.setCurrentIndex(m_view.playlist().index(row));
        return isRowSelected(row);
    }

    [[nodiscard]] int selectedRowCount() const override { return static_cast<int>(selectedRows().size()); }
    [[nodiscard]] int selectedCellCount() const override { return selectedRowCount(); }
    [[nodiscard]] bool isRowSelected(int row) const override { return selectedRows().contains(row); }

    /// Forgets the rows of tracks that are gone.
    void modelChange(QAccessibleTableModelChangeEvent *) override
    {
        m_rows.removeIf([](const auto &entry) {
            const QAccessibleInterface *row = QAccessible::accessibleInterface(entry.value());
            const bool isGone = !row || !row->isValid();
            if (row && isGone)
                QAccessible::deleteAccessibleInterface(entry.value());
            return isGone;
        });
    }

    // There is one column, without a name, and rows are selected one at a time.

    [[nodiscard]] int columnCount() const override { return 1; }
    [[nodiscard]] QAccessibleInterface *caption() const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface *summary() const override { return nullptr; }
    [[nodiscard]] QString columnDescription(int) const override { return {}; }
    [[nodiscard]] QString rowDescription(int) const override { return {}; }
    [[nodiscard]] QList<int> selectedColumns() const override { return {}; }
    [[nodiscard]] int selectedColumnCount() const override { return 0; }
    [[nodiscard]] bool isColumnSelected(int) const override { return false; }
    bool selectColumn(int) override { return false; }
    bool unselectRow(int) override { return false; }
    bool unselectColumn(int) override { return false; }

private:
    PlaylistView &m_view;
    mutable QHash<QUuid, QAccessible::Id> m_rows; ///< by track, those that have been asked for
};

} // namespace

void PlaylistView::installPlaylistAccessible()
{
    installAccessible<PlaylistView, PlaylistAccessible>();
}
