#pragma once

#include <QString>

/// The text of a tag as it can be drawn in a line: line breaks and tabs are spaces, other control characters
/// and the marks that open or close a writing direction are gone, and what no window is wide enough to show
/// is cut before anybody measures it.
[[nodiscard]] QString displayText(const QString &text);

/// A time in seconds as a person says it: "1 minuto 20 segundos". Fractions are dropped; "0 segundos" for a
/// negative or not finite time.
[[nodiscard]] QString spokenTime(double seconds);
