#pragma once

#include <QLocale>
#include <QTranslator>

/// The toolkit's own texts; in Spanish a file is an "archivo" in all of them, as it is in ours.
class ToolkitTexts : public QTranslator {
public:
    [[nodiscard]] QString translate(
        const char *context, const char *source, const char *comment, int number) const override;
};

/// The language of the window, and of the toolkit's own dialogs and menus: the user's if `translations/` has a
/// catalogue of it, else Spanish, in which the texts stand in the sources.
///
/// Lasts as long as this object; texts that have been shown stay as they are. Main thread only.
class Translation {
public:
    explicit Translation(const QLocale &user = QLocale::system());

private:
    QTranslator m_texts;
    ToolkitTexts m_toolkit;
};
