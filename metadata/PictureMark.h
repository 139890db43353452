#pragma once

#include <QByteArrayView>

/// The picture in `data`, which starts at `begin` by what stands before it. Some writers end the description
/// with a zero too few or too many: if no picture's mark stands there, the picture starts with the mark near the
/// front of `data`, if there is one.
QByteArrayView pictureFrom(QByteArrayView data, qsizetype begin);
