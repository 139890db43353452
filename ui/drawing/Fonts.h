#pragma once

#include <QFontDatabase>

[[nodiscard]] inline QFont sizedFont(QFontDatabase::SystemFont kind, int pixels, QFont::Weight weight)
{
    QFont font = QFontDatabase::systemFont(kind);
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}

/// The system's font at a height of `pixels` device-independent pixels.
[[nodiscard]] inline QFont systemFont(int pixels, QFont::Weight weight = QFont::Normal)
{
    return sizedFont(QFontDatabase::GeneralFont, pixels, weight);
}

/// The system's fixed-width font, for times and numbers.
[[nodiscard]] inline QFont fixedFont(int pixels, QFont::Weight weight = QFont::Normal)
{
    return sizedFont(QFontDatabase::FixedFont, pixels, weight);
}
