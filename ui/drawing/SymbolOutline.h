#pragma once

#include <QPainterPath>
#include <Qt>
#include <span>
#include <string_view>

/// A part of a drawing in ui/symbols: an outline in a grid of 24 units a side, with a stroke along it.
struct SymbolShape {
    /// What is laid on whole pixels: circles, which stay as large as each other, or the extent of some points.
    enum class Fit { None, Circle, Points };

    std::u16string_view symbol; ///< the name of the drawing
    Fit fit;
    bool isFilled;
    bool isErased; ///< takes away what was drawn before it
    Qt::PenCapStyle ends;
    double stroke; ///< units; 0 for what suits the weight of a font
    std::span<const QPainterPath::Element> outline;
};

/// The shapes of all drawings, those of one in the order in which they are drawn. Made from the SVG files by
/// ui/symbols/outlines.
[[nodiscard]] std::span<const SymbolShape> symbolShapes();
