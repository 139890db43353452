#pragma once

#include <QString>

/// A time in seconds as a person says it: "1 minuto 20 segundos". Fractions are dropped; "0 segundos" for a
/// negative or not finite time.
[[nodiscard]] QString spokenTime(double seconds);
