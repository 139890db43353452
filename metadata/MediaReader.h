#pragma once

#include "metadata/MediaAsset.h"

#include <QUrl>

/// Reads the media container behind a file URL, and opens no other file. Any thread; blocks for as long as the
/// file's medium does.
MediaAsset readMedia(const QUrl &url);

/// The same on a thread of its own, which is waited for: for 3 seconds at most if the medium does not answer. Many
/// files are opened by a MediaBatch.
MediaAsset openMedia(const QUrl &url);
