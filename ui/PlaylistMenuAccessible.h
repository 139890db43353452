#pragma once

#include <QAccessibleActionInterface>
#include <QAccessibleInterface>

class PlaylistRowAccessible;
class PlaylistView;

/// The ellipsis of a playlist row as assistive technology meets it: a button that opens the row's menu.
class PlaylistMenuAccessible : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    /// The button of `row`, which outlives it.
    PlaylistMenuAccessible(PlaylistView &view, const PlaylistRowAccessible &row);

    void *interface_cast(QAccessible::InterfaceType type) override;
    [[nodiscard]] bool isValid() const override;
    [[nodiscard]] QObject *object() const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface *parent() const override;
    [[nodiscard]] int childCount() const override { return 0; }
    [[nodiscard]] QAccessibleInterface *child(int) const override { return nullptr; }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface *) const override { return -1; }
    [[nodiscard]] QAccessibleInterface *childAt(int, int) const override { return nullptr; }

    // Readers have no Spanish word for ButtonMenu, and name it with every row; the state tells of the menu.
    [[nodiscard]] QAccessible::Role role() const override { return QAccessible::Button; }
    [[nodiscard]] QString text(QAccessible::Text kind) const override;
    void setText(QAccessible::Text, const QString &) override { }
    [[nodiscard]] QRect rect() const override;
    [[nodiscard]] QAccessible::State state() const override;

    [[nodiscard]] QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString &name) override;
    [[nodiscard]] QStringList keyBindingsForAction(const QString &) const override { return {}; }

private:
    PlaylistView &m_view;
    const PlaylistRowAccessible &m_row;
};
