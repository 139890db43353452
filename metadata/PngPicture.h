#pragma once

#include "metadata/EncodedPicture.h"

/// Reads the chunks of a PNG (ISO/IEC 15948): only those that draw the picture become its parts.
std::optional<EncodedPicture> readPng(const QByteArray &bytes);
