#pragma once

#include "platform/media/MediaContents.h"
#include "platform/media/MediaFormat.h"
#include "platform/media/MediaSource.h"

/// Reads a file of one of TagLib's formats: all but Wav, Aiff, Asf and Other, for which nothing is found.
MediaContents readByTagLib(MediaSource &source, MediaFormat format);
