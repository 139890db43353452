#pragma once

#include "decoder/GaplessComment.h"
#include "decoder/MediaSource.h"
#include "metadata/MediaAsset.h"

#include <optional>

// One reader for each format of files, among which readMedia() chooses. What a file lacks is missing.

/// Reads a FLAC file: length from its stream info, pictures from its picture blocks, before those of its Vorbis
/// comment, all texts from that. A block whose size is wrong is read by the lengths that it holds.
MediaAsset readFlac(MediaSource &source);

/// Reads an Ogg file (RFC 3533) of Vorbis, Opus, Speex or FLAC: tags from its comment packet, length from its last
/// page, or from the stream info of FLAC.
MediaAsset readOgg(MediaSource &source);

/// Reads an MP4 or QuickTime file (ISO/IEC 14496-12, "QuickTime File Format", 3GPP TS 26.244).
///
/// Its length is that of mp4Sound(); not numeric if there is none. Tags are those of the item list, then those under named
/// keys, then the user data of QuickTime and 3GPP.
MediaAsset readMp4(MediaSource &source);

/// Reads an ASF file (WMA), as Microsoft's "Advanced Systems Format Specification" lays it out: length, title,
/// artist, album and pictures, all from the header object. Takes time and memory in proportion to that.
MediaAsset readAsf(MediaSource &source);

/// Reads a WAV file: length from its format and data, tags from ID3 chunks, before those of LIST INFO chunks.
MediaAsset readWav(MediaSource &source);

/// Length of `dataSize` bytes of sound in a WAV file by its "fmt " chunk: uncompressed, companded, or in the blocks of
/// IMA ADPCM, Microsoft ADPCM and GSM. Not numeric for other codecs, of which the size tells nothing.
///
/// Ignores the rate of bytes, which many writers of ADPCM get wrong, and the "fact" chunk, which those of PCM do.
MediaTime wavDuration(QByteArrayView format, qint64 dataSize);

/// Reads an AIFF or AIFF-C file: length from the COMM chunk, tags from ID3 chunks, before title and artist from
/// the NAME and AUTH chunks.
MediaAsset readAiff(MediaSource &source);

/// Length of an AIFF or AIFF-C file by its "COMM" chunk, which counts frames or, of IMA 4:1, packets. Not numeric for
/// other compressed codecs.
MediaTime aiffDuration(QByteArrayView common);

/// Reads a DSF file: length from its header, tags from the ID3v2 tag that the header points to.
MediaAsset readDsf(MediaSource &source);

/// Reads a DSDIFF file: length from its properties unless the sound is compressed, tags from ID3 chunks, before
/// title and artist from the DIIN chunk.
MediaAsset readDsdiff(MediaSource &source);

/// Reads the length that the first block of a WavPack file states (wavpack.com, "WavPack 4 & 5 Binary File / Block
/// Format"); not numeric if it does not, or if the sample rate is an unusual one, which stands elsewhere.
MediaAsset readWavPack(MediaSource &source);

/// Reads the length that the header of a Musepack file of stream version 8 states (musepack.net, "SV8"), which
/// is always its first packet.
MediaAsset readMusepack(MediaSource &source);

/// Length of the MPEG audio (layers I to III) or ADTS AAC stream in `source`; not numeric if it holds none.
///
/// By the frame count of a Xing, Info or VBRI header, less the encoder's delay and padding if it states them; by
/// the size if the bit rate is constant; else by counting the frames (ISO/IEC 11172-3, 13818-3, 13818-7).
MediaTime scannedDuration(MediaSource &source);

/// Title, artist, album and pictures of the ID3v2 tag (versions 2.2 to 2.4, id3.org) in `tag`, every value of
/// a frame an item of its own.
///
/// Written out here because a reader for strangers' files must not inflate a compressed frame of 40 KB to 40
/// MB nor follow frames embedded in frames: compressed and encrypted frames are passed over, all others but
/// the four are not looked into, nor are comments unless `comment` asks for the first GaplessComment among them and is
/// still empty.
QList<MetadataItem> id3v2Items(QByteArrayView tag, std::optional<GaplessComment> *comment = nullptr);

/// Title, artist, album and pictures of the Vorbis comment in `block` (xiph.org, "Ogg Vorbis I: comment
/// field"), in stored order.
QList<MetadataItem> vorbisCommentItems(QByteArrayView block);

/// Bytes of the Vorbis comment that `bytes` start with; nothing if they do not hold all of it.
std::optional<qsizetype> vorbisCommentSize(QByteArrayView bytes);

/// What the metadata blocks of a FLAC stream say (xiph.org, "FLAC format").
struct FlacMetadata {
    enum BlockType { StreamInfo = 0, Comment = 4, Picture = 6 };

    MediaTime duration; ///< not numeric if it is not stated
    QList<MetadataItem> pictures; ///< count before those of the comment
    QList<MetadataItem> comment;

    void take(int blockType, QByteArrayView content);
};

/// The items of the ID3v1 tag that ends `source`, which is dropped from it; none if none does.
QList<MetadataItem> takeId3v1Tag(MediaSource &source);

/// The same for an APE tag (versions 1 and 2).
QList<MetadataItem> takeApeTag(MediaSource &source);
