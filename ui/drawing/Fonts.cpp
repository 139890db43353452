#include "ui/drawing/Fonts.h"

#include <QFontDatabase>

namespace {

QFont sized(QFont font, int pixels, QFont::Weight weight)
{
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}

} // namespace

QFont systemFont(int pixels, QFont::Weight weight)
{
    return sized(QFontDatabase::systemFont(QFontDatabase::GeneralFont), pixels, weight);
}

QFont fixedFont(int pixels, QFont::Weight weight)
{
    return sized(QFontDatabase::systemFont(QFontDatabase::FixedFont), pixels, weight);
}
