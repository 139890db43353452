#pragma once

#include "metadata/MediaContents.h"

#include <QUrl>

/// Reads the media file behind `url`, and opens no other. What cannot be read is missing. Any thread; blocks
/// for as long as the file's medium does.
MediaContents readMedia(const QUrl &url);
