#pragma once

#include <QFont>

/// The system's font at a height of `pixels` device-independent pixels.
[[nodiscard]] QFont systemFont(int pixels, QFont::Weight weight = QFont::Normal);

/// The system's fixed-width font, for times and numbers.
[[nodiscard]] QFont fixedFont(int pixels, QFont::Weight weight = QFont::Normal);
