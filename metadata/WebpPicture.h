#pragma once

#include "metadata/EncodedPicture.h"

/// Reads the chunks of a WebP (RFC 9649): its picture, or the first frame of its animation, becomes a file with
/// nothing else in it.
std::optional<EncodedPicture> readWebp(const QByteArray &bytes);
