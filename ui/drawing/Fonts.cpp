#include "ui/drawing/Fonts.h"

#include "desktop/DesktopSettings.h"

#include <QApplication>
#include <QWidget>
#include <utility>

namespace {

struct Choice {
    FontChoice font{};
    FontChoice fixedFont{};
    double scale = 1;

    bool operator==(const Choice &) const = default;
};

Choice &current()
{
    static Choice choice;
    return choice;
}

QFont chosenFont(QFontDatabase::SystemFont kind)
{
    QFont font = QFontDatabase::systemFont(kind);
    const FontChoice &choice = kind == QFontDatabase::FixedFont ? current().fixedFont : current().font;
    if (!choice.family.isEmpty()) {
        font.setFamily(choice.family);
        font.setPointSizeF(choice.points);
    }
    return font;
}

} // namespace

TextFont::TextFont(QFontDatabase::SystemFont kind, int pixels, QFont::Weight weight)
    : QFont(chosenFont(kind))
    , m_kind(kind)
    , m_pixels(pixels)
    , m_weight(weight)
{
    setPixelSize(textLength(pixels));
    setWeight(weight);
}

int textLength(int pixels)
{
    return qRound(pixels * current().scale);
}

void useFonts(const DesktopSettings &desktop)
{
    const Choice choice{desktop.font, desktop.fixedFont, desktop.textScale};
    if (std::exchange(current(), choice) == choice)
        return;
    QFont font = chosenFont(QFontDatabase::GeneralFont);
    font.setPointSizeF(font.pointSizeF() * choice.scale);
    QApplication::setFont(font);
    for (QWidget *widget : QApplication::allWidgets()) {
        QEvent change(QEvent::ApplicationFontChange);
        QCoreApplication::sendEvent(widget, &change);
        widget->update();
    }
}
