#pragma once

#include "metadata/MediaContents.h"
#include "metadata/MediaSource.h"

#include <QByteArrayView>

/// Length of `dataSize` bytes of sound in a WAV file by its "fmt " chunk: uncompressed, companded, or in the blocks of
/// IMA ADPCM, Microsoft ADPCM and GSM. Not numeric for other codecs, of which the size tells nothing.
///
/// The rate of bytes and the "fact" chunk are of no use: writers of blocks get the one wrong, those of PCM the other.
MediaTime wavDuration(QByteArrayView format, qint64 dataSize);

/// Length of an AIFF or AIFF-C file by its "COMM" chunk, which counts frames or, of IMA 4:1, packets. Not numeric for
/// other compressed codecs.
MediaTime aiffDuration(QByteArrayView common);

/// The length that the first block of a WavPack file states (wavpack.com, "WavPack 4 & 5 Binary File / Block
/// Format"); not numeric if it does not, or if the sample rate is an unusual one, which stands elsewhere.
MediaTime wavPackDuration(MediaSource &source);

/// The length that the header of a Musepack file of stream version 8 states (musepack.net, "SV8"), which
/// is always its first packet.
MediaTime musepackDuration(MediaSource &source);
