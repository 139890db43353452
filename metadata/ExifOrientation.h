#pragma once

#include <QByteArrayView>
#include <QImageIOHandler>

/// How a picture is turned and mirrored to stand upright, by the tag "Orientation" in the first directory of
/// its Exif data (CIPA DC-008), which begin with their byte order; not at all if they do not say.
QImageIOHandler::Transformations exifOrientation(QByteArrayView exif);
