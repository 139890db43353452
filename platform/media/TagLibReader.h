#pragma once

#include "platform/media/MediaContents.h"
#include "platform/media/MediaFormat.h"
#include "platform/media/MediaSource.h"

/// Reads the length of a WavPack, Monkey's Audio or Musepack file, whose tags are those at its ends; nothing of others.
MediaContents readByTagLib(MediaSource &source, MediaFormat format);
