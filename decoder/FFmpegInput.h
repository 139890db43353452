#pragma once

#include "decoder/ContainerMask.h"
#include "decoder/DecoderModule.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

struct AVFormatContext;
struct AVIOContext;
struct AVPacket;
struct AVStream;

/// An audio container, open on one descriptor: the border that no file's bytes can cross.
///
/// 1. Bytes come from the descriptor alone, by pread().
/// 2. No protocol is allowed, and whatever a container refers to is refused.
/// 3. Only demuxers of audio containers are allowed, by name.
/// 4. Until the container is open, the bytes that are read, the streams, the time and the memory are bounded.
/// 5. No ID3v2 tag is handed on (see hideId3v2Tags()): the container begins behind those in front of it, and the others
///    are masked for as long as FFmpeg looks for them.
/// 6. What would cost FFmpeg too much in the headers of FLAC, Matroska and Ogg is hidden (see ContainerMask).
/// 7. The stop flag ends every operation.
///
/// Only the best audio stream is read; the others are discarded before they cost anything. One thread at a
/// time.
class FFmpegInput {
public:
    /// Fails with a readable description if the file is not an audio container. `stop` may be null.
    static Result<std::unique_ptr<FFmpegInput>> open(FileDescriptor file, StopFlag stop);
    ~FFmpegInput();
    FFmpegInput(const FFmpegInput &) = delete;
    FFmpegInput &operator=(const FFmpegInput &) = delete;

    /// The same file from its beginning. Reads from the same descriptor, whatever has become of its name.
    [[nodiscard]] Result<std::unique_ptr<FFmpegInput>> openAgain() const;

    [[nodiscard]] AVFormatContext *format() { return m_format; }
    [[nodiscard]] AVStream *audioStream() { return m_audioStream; }

    /// What of the stream is sound, by what the file says and FFmpeg does not heed to the sample: all but encoder delay
    /// and padding. Nothing if FFmpeg cuts these, or if the file does not tell.
    struct SoundRange {
        std::int64_t begin = 0; ///< timestamp, in the stream's time base
        std::int64_t length = 0; ///< the same
    };
    [[nodiscard]] std::optional<SoundRange> soundRange() const { return m_soundRange; }

    /// Frames of encoder delay by the "CodecDelay" of Matroska (RFC 9559), whose length counts them. 0 if none is
    /// stated, or if other containers state it.
    [[nodiscard]] int codecDelay() const;

    /// Length in seconds, not negative and at most three years; nothing if the container does not tell.
    [[nodiscard]] std::optional<double> duration() const;

    /// Whether duration() was estimated, usually from the bit rate.
    [[nodiscard]] bool isDurationGuessed() const;

    /// Whether the stream has no codec, so that bytes are in proportion to time.
    [[nodiscard]] bool isPcm() const;

    /// Whether a seek leads to the frame that its timestamps name: to the sample, or within the millisecond that the
    /// container counts in.
    ///
    /// Only pairs of container and codec that have been tried are trusted. Of the others some find no place at all, some
    /// have timestamps that are estimated from a byte rate, and some have codecs that need everything before a frame to
    /// decode it.
    [[nodiscard]] bool seeksExactly() const;

    /// Whether the packets carry their time, so that a jump of it is a hole in the sound. In other containers time
    /// is the sum of what the packets last, or a number that nothing depends on.
    [[nodiscard]] bool keepsTime() const;

    /// Whether a file with neither packets nor a duration() is whole, rather than the beginning of a longer one.
    [[nodiscard]] bool mayBeEmpty() const;

    [[nodiscard]] bool isOgg() const { return demuxer() == "ogg"; }

    /// The next packet of the audio stream; 0 or an AVERROR code.
    int readPacket(AVPacket *packet);

    /// Leads to the last packet at or before `timestamp`, in the stream's time base; false if that fails.
    bool seekTo(std::int64_t timestamp);

    /// Whether the medium, rather than the file's content, has failed.
    [[nodiscard]] bool hasReadError() const { return m_readErrorNumber != 0; }
    [[nodiscard]] int readErrorNumber() const { return m_readErrorNumber; }

    /// Gives the medium another chance.
    void forgetReadError();

private:
    FFmpegInput(FileDescriptor file, StopFlag stop);

    std::optional<Error> openContainer();
    void skipLeadingTags();
    bool readSoundRange();
    void readMp3Ends();
    bool allocateContexts();
    void dropReadAhead();
    void startStep(); ///< a packet or a seek
    bool chooseAudioStream();
    [[nodiscard]] bool isAffordable() const;
    [[nodiscard]] std::string_view demuxer() const; ///< FFmpeg's name of the container format
    [[nodiscard]] bool isDemuxerOneOf(const char *names) const;
    [[nodiscard]] bool isStopped() const;
    [[nodiscard]] bool isRoundedDown() const;
    [[nodiscard]] int preSkip() const;
    [[nodiscard]] Error openingError() const;

    static int read(void *self, std::uint8_t *buffer, int size);
    static std::int64_t seek(void *self, std::int64_t offset, int whence);

    FileDescriptor m_file;
    StopFlag m_stop;
    std::int64_t m_begin = 0; ///< of the container in the file, behind its leading tags
    std::int64_t m_offset = 0; ///< of the next read, from there
    bool m_masksTags = false;
    std::unique_ptr<ContainerMask> m_mask; ///< none if nothing has to be hidden
    std::int64_t m_bytesLeft =
        32 << 20; ///< more than any healthy file's headers and covers; then those for a step
    std::int64_t m_timeEnd = 0; ///< of the thread's own time for opening, then for a step; in nanoseconds
    bool m_isProbed = false;
    bool m_isOpen = false;
    int m_readErrorNumber = 0;
    AVIOContext *m_io = nullptr;
    AVFormatContext *m_format = nullptr;
    AVStream *m_audioStream = nullptr;
    std::optional<SoundRange> m_soundRange;
};
