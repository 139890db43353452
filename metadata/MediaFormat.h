#pragma once

#include <QByteArrayView>

/// The file formats that there is a reader for.
enum class MediaFormat {
    Flac,
    OggVorbis,
    OggOpus,
    OggSpeex,
    OggFlac,
    Mp4,
    Asf,
    Wav,
    Aiff,
    Dsf,
    Dsdiff,
    WavPack,
    Musepack,
    Other, ///< MPEG audio and ADTS AAC, which have no mark but their frames, and everything else
};

/// Bytes from the start of a file that mediaFormat() wants to see.
constexpr qsizetype MediaFormatHeadSize = 64;

/// The format of a file by its first bytes, whatever its name is.
MediaFormat mediaFormat(QByteArrayView head);
