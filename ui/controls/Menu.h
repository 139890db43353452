#pragma once

#include <QMenu>

/// A menu that tells apart what destroys something: the entry's text is red, or stands on red while it is the
/// one to be chosen. What is disabled is dim.
class Menu : public QMenu {
    Q_OBJECT

public:
    using QMenu::QMenu;

    /// Adds an entry for what cannot be undone.
    QAction *addDestructive(const QString &title);

    /// Goes to the first entry, as a menu does that a key has opened: a screen reader says where the user is.
    void goToFirst();

protected:
    void initStyleOption(QStyleOptionMenuItem *option, const QAction *action) const override;

private:
    QList<const QAction *> m_destructive;
};
