#pragma once

#include <QLocale>
#include <QTranslator>

/// The language of the window, and of the toolkit's own dialogs and menus: the user's if `translations/` has a
/// catalogue of it, else Spanish, in which the texts stand in the sources.
///
/// Lasts as long as this object; texts that have been shown stay as they are. Main thread only.
class Translation {
public:
    explicit Translation(const QLocale &user = QLocale::system());

private:
    QTranslator m_texts;
    QTranslator m_toolkit;
};
