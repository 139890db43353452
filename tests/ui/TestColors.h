#pragma once

#include <QColor>
#include <algorithm>
#include <cstdlib>

/// How far apart two colours are, as their channel that differs most, of 255.
inline int distance(const QColor &a, const QColor &b)
{
    return std::max(
        {std::abs(a.red() - b.red()), std::abs(a.green() - b.green()), std::abs(a.blue() - b.blue())});
}

/// `top` over `bottom`.
inline QColor mixed(const QColor &top, double opacity, const QColor &bottom)
{
    const auto mix = [&](float a, float b) { return static_cast<float>(b + (a - b) * opacity); };
    return QColor::fromRgbF(
        mix(top.redF(), bottom.redF()), mix(top.greenF(), bottom.greenF()), mix(top.blueF(), bottom.blueF()));
}
