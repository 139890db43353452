#pragma once

#include <QMenu>

/// A menu that lies within the window of its parent if there is room. It tells apart what destroys something: the
/// entry's text is red, or stands on red while it is the one to be chosen.
class Menu : public QMenu {
    Q_OBJECT

public:
    using QMenu::QMenu;

    /// Adds an entry for what cannot be undone.
    QAction *addDestructive(const QString &title);

    /// Opens beside `opener`, a rectangle of the screen.
    void openBeside(const QRect &opener);

    /// Goes to the first entry, as a menu does that a key has opened: a screen reader reads it then.
    void goToFirst();

protected:
    void showEvent(QShowEvent *event) override;
    void initStyleOption(QStyleOptionMenuItem *option, const QAction *action) const override;

private:
    [[nodiscard]] QRect room() const;

    QList<const QAction *> m_destructive;
};

/// Where a menu opens: under `opener`, from its left edge on. If there is no room for that, but on the other side,
/// it opens above, or up to the left edge. It never lies on the opener, nor on what stands beneath one at the right
/// edge: a second click, there or on the next row's opener, would choose an entry. All on the screen.
[[nodiscard]] QPoint menuPlace(const QRect &opener, const QSize &menu, const QRect &room);
