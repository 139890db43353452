#pragma once

#include "metadata/MediaContents.h"
#include "metadata/MediaSource.h"

/// How long the first audio track of an MP4 or QuickTime file plays (ISO/IEC 14496-12): what an edit list leaves of
/// its media. Not numeric if there are fragments, which tell their lengths one by one all over the file.
MediaTime mp4Duration(MediaSource &source);
