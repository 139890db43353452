#include "metadata/MediaFormat.h"

#include <array>

namespace {

struct Mark {
    qsizetype offset;
    QByteArrayView bytes;
    MediaFormat format;
};

constexpr qsizetype OggPayload = 28; // behind the header of a first page, which holds one packet

constexpr std::array Marks{
    Mark{0, "fLaC", MediaFormat::Flac},
    Mark{OggPayload, "\x01vorbis", MediaFormat::OggVorbis},
    Mark{OggPayload, "OpusHead", MediaFormat::OggOpus},
    Mark{OggPayload, "Speex   ", MediaFormat::OggSpeex},
    Mark{OggPayload,
        "\x7f"
        "FLAC",
        MediaFormat::OggFlac},
    Mark{4, "ftyp", MediaFormat::Mp4},
    Mark{0, "\x30\x26\xb2\x75\x8e\x66\xcf\x11", MediaFormat::Asf},
    Mark{8, "WAVE", MediaFormat::Wav},
    Mark{8, "AIFF", MediaFormat::Aiff},
    Mark{8, "AIFC", MediaFormat::Aiff},
    Mark{0, "DSD ", MediaFormat::Dsf},
    Mark{12, "DSD ", MediaFormat::Dsdiff},
    Mark{0, "wvpk", MediaFormat::WavPack},
    Mark{0, "MPCKSH", MediaFormat::Musepack},
};

/// What encloses a mark that could stand in any file by chance.
QByteArrayView enclosure(MediaFormat format)
{
    switch (format) {
    case MediaFormat::OggVorbis:
    case MediaFormat::OggOpus:
    case MediaFormat::OggSpeex:
    case MediaFormat::OggFlac:
        return "OggS";
    case MediaFormat::Wav:
        return "RIFF";
    case MediaFormat::Aiff:
        return "FORM";
    case MediaFormat::Dsdiff:
        return "FRM8";
    default:
        return {};
    }
}

} // namespace

MediaFormat mediaFormat(QByteArrayView head)
{
    for (const Mark &mark : Marks) {
        if (head.size() >= mark.offset && head.sliced(mark.offset).startsWith(mark.bytes)
            && head.startsWith(enclosure(mark.format)))
            return mark.format;
    }
    return MediaFormat::Other;
}
