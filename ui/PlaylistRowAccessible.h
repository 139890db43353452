#pragma once

#include <QAccessibleActionInterface>
#include <QAccessibleInterface>
#include <QPersistentModelIndex>

class PlaylistView;

/// A row of the playlist as assistive technology meets it: pressing it plays the track. "Active" is the current
/// track's row, "animated" the one that sounds. Its one child is the button of its menu.
class PlaylistRowAccessible : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    PlaylistRowAccessible(PlaylistView &view, const QModelIndex &index);
    ~PlaylistRowAccessible() override;

    [[nodiscard]] const QPersistentModelIndex &index() const { return m_index; }

    void *interface_cast(QAccessible::InterfaceType type) override;
    [[nodiscard]] bool isValid() const override { return m_index.isValid(); } ///< while the track is listed
    [[nodiscard]] QObject *object() const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface *parent() const override;
    [[nodiscard]] int childCount() const override { return 1; }
    [[nodiscard]] QAccessibleInterface *child(int index) const override;
    [[nodiscard]] int indexOfChild(const QAccessibleInterface *child) const override;
    [[nodiscard]] QAccessibleInterface *childAt(int x, int y) const override;

    [[nodiscard]] QAccessible::Role role() const override { return QAccessible::ListItem; }
    [[nodiscard]] QString text(QAccessible::Text kind) const override;
    void setText(QAccessible::Text, const QString &) override { }
    [[nodiscard]] QRect rect() const override; ///< on the screen, also where it is scrolled out of sight
    [[nodiscard]] QAccessible::State state() const override;

    [[nodiscard]] QStringList actionNames() const override;
    [[nodiscard]] QString localizedActionName(const QString &name) const override;
    [[nodiscard]] QString localizedActionDescription(const QString &name) const override;
    void doAction(const QString &name) override;
    [[nodiscard]] QStringList keyBindingsForAction(const QString &) const override { return {}; }

private:
    PlaylistView &m_view;
    QPersistentModelIndex m_index;
    mutable QAccessible::Id m_menuButton = 0; ///< 0 until somebody asks for it
};
