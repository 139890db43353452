#pragma once

#include "decoder/DecoderModule.h"
#include "decoder/FFmpegInput.h"
#include "decoder/FrameConverter.h"

#include <memory>
#include <optional>
#include <span>
#include <vector>

struct AVCodecContext;
struct AVFrame;
struct AVPacket;

/// Decodes the audio stream of an FFmpegInput.
///
/// Position zero is the first frame that the codec gives out, once encoder delay is cut off; nothing is played of what
/// lies outside the input's soundRange(). A packet with invalid data is left out; after 100 in a row, or two seconds'
/// worth, decoding has failed. If sound is missing, by the container's timestamps or after damage, the position jumps
/// with them; any other jump of theirs (chained streams, wrong numbers) is ignored, and the container's own seeking not
/// used from then on.
///
/// A seek that the container cannot be trusted with decodes from the first frame on, faster than time passes.
class FFmpegDecoder final : public Decoder {
public:
    /// Decodes the first frame; fails if nothing at all can be decoded. Without a choice, the format is the file's own:
    /// its rate up to 192 kHz, mono or stereo.
    static Result<std::unique_ptr<Decoder>> open(
        std::unique_ptr<FFmpegInput> input, FormatChoice chooseFormat = {});
    ~FFmpegDecoder() override;

    [[nodiscard]] AudioFormat format() const override { return m_format; }
    [[nodiscard]] double duration() const override;
    [[nodiscard]] bool isDurationGuessed() const override { return m_input->isDurationGuessed(); }
    [[nodiscard]] bool isDamaged() const override { return m_isDamaged; }
    Result<DecodedFrames> read() override;
    bool seek(std::int64_t frame, const IsObsolete &isObsolete) override;

private:
    /// What became of one attempt to decode a frame.
    enum class Step { Frame, Again, End, Failed };

    FFmpegDecoder(std::unique_ptr<FFmpegInput> input, FormatChoice chooseFormat);

    std::optional<Error> openCodec();
    std::optional<Error> decodeFirstFrame();
    void setOwnFormat(AudioFormat own);
    [[nodiscard]] bool isEmpty() const;
    Step decodeFrame();
    Step receiveFrame();
    Step sendPacket();
    Step countDamage();
    void correctTimestamp();
    void correctPadding();
    void cutDelay();
    [[nodiscard]] std::span<const std::uint8_t> flacStreamInfo() const;
    Step fillChunk();
    Step convertFrame();
    void followTimestamp(std::optional<std::int64_t> position);
    void dropFrames(std::int64_t count);
    void dropPadding();
    [[nodiscard]] std::optional<std::int64_t> framePosition() const;
    [[nodiscard]] std::int64_t chunkFrames() const;
    [[nodiscard]] bool isInTrack(std::int64_t position) const;
    [[nodiscard]] Error failure() const;

    [[nodiscard]] double firstRunUp(std::int64_t frame) const;
    bool seekBefore(std::int64_t frame, double runUp);
    bool seekContainer(std::int64_t timestamp);
    bool startOver();
    void forgetChunk();
    bool decodeUntil(std::int64_t frame, const IsObsolete &isObsolete);

    std::unique_ptr<FFmpegInput> m_input;
    const FormatChoice m_chooseFormat;
    AVCodecContext *m_codec = nullptr;
    AVPacket *m_packet = nullptr;
    AVFrame *m_frame = nullptr;
    FrameConverter m_converter;
    AudioFormat m_format;

    std::vector<float> m_chunk; ///< converted, not read yet
    std::int64_t m_chunkPosition = 0; ///< track frame of the chunk's first
    bool m_isChunkFresh = false; ///< the chunk waits for the next read()
    bool m_isPositionKnown = true; ///< false between a seek of the container and the first timestamp after it

    std::int64_t m_origin = 0; ///< timestamp of track frame 0, in the stream's time base
    std::int64_t m_end = INT64_MAX; ///< track frame behind the last one
    /// In the same time base: what FFmpeg takes for sound in front of Vorbis; nothing before the first packet.
    std::optional<std::int64_t> m_silentTime;
    bool m_isFirstPacket = true; ///< the next one is
    bool m_canSeek = false; ///< whether the container leads where its timestamps say
    bool m_hasLostSound = false; ///< since the last frame
    int m_badPackets = 0; ///< in a row
    std::int64_t m_badTime = 0; ///< what they last, in the stream's time base
    bool m_isDamaged = false;
    bool m_isDrained = false;
};
