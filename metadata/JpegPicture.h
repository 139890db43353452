#pragma once

#include "metadata/EncodedPicture.h"

/// Reads the segments of a JPEG (ITU-T T.81) up to its first scan: of those for applications only the two that
/// tell how colours are stored become parts of it. One of several scans may have 64 MiB of coefficients, all of
/// which are kept until the last scan is read, and 400 million pixels times its scans.
std::optional<EncodedPicture> readJpeg(const QByteArray &bytes);
