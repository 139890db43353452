#pragma once

#include <QFont>
#include <QFontDatabase>

struct DesktopSettings;

/// A font of the window: the one that the user has chosen for texts or for numbers, at a height of `pixels`
/// device-independent pixels where texts are of the usual size. It is as the user wants it when it is made.
class TextFont : public QFont {
public:
    TextFont(QFontDatabase::SystemFont kind, int pixels, QFont::Weight weight);

    /// The same font as the user wants it now.
    [[nodiscard]] TextFont renewed() const { return {m_kind, m_pixels, m_weight}; }

private:
    QFontDatabase::SystemFont m_kind;
    int m_pixels;
    QFont::Weight m_weight;
};

/// The font for texts.
[[nodiscard]] inline TextFont systemFont(int pixels, QFont::Weight weight = QFont::Normal)
{
    return {QFontDatabase::GeneralFont, pixels, weight};
}

/// The fixed-width font, for times and numbers.
[[nodiscard]] inline TextFont fixedFont(int pixels, QFont::Weight weight = QFont::Normal)
{
    return {QFontDatabase::FixedFont, pixels, weight};
}

/// A length that grows and shrinks with the texts, from the one at their usual size.
[[nodiscard]] int textLength(int pixels);

/// Makes all fonts as the user wants them from now on, those of menus and dialogs, too. If that changes anything, every
/// widget gets an event ApplicationFontChange and is drawn anew.
void useFonts(const DesktopSettings &desktop);
