#pragma once

#include "decoder/Id3v2Header.h"
#include "metadata/MediaContents.h"

#include <QByteArrayView>

/// Title, artist, album and pictures of the ID3v2 tag (versions 2.2 to 2.4, id3.org) in `tag`, every value of
/// a frame an item of its own.
///
/// Written out here because a reader for strangers' files must not inflate a compressed frame of 40 KB to 40
/// MB nor follow frames embedded in frames: compressed and encrypted frames are passed over, all others but
/// the four are not looked into.
QList<MetadataItem> id3v2Items(QByteArrayView tag);
