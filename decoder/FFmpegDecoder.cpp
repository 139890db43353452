#include "decoder/FFmpegDecoder.h"

#include "decoder/FlacTimestamp.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/intreadwrite.h>
}

using namespace Qt::StringLiterals;

namespace {

constexpr int MostBadPackets = 100;
constexpr int MostBadSeconds = 2;
constexpr int MostSamplesAtOnce = 4 << 20; // of all channels; a second of eight at 384 kHz has fewer

// No sound has a lower one; damage has, and a frame of it would become thousands at the player's rate.
constexpr int LowestRate = 1000;

// Far beyond any track, far from the end of the 64-bit range.
constexpr std::int64_t FarthestFrame = std::int64_t(1) << 52;

// Timestamps of some containers are whole milliseconds, and some are a packet off: only a jump beyond that
// is a hole in the track.
constexpr double SmallestJump = 0.25;

// Before the target, because a codec needs some packets until its output is exact: speech coded as Opus takes
// 0.3 s, measured. A frame of MP3 may borrow from as many before it as fit into 255 bytes: a second of them at
// the lowest rates. If an index has led past the target, further and further back.
constexpr double UsualRunUp = 0.5; // seconds
constexpr double LongRunUp = 1;
constexpr double LongerRunUp = 4;
constexpr double LongestRunUp = 12;

// Of AV_PKT_DATA_SKIP_SAMPLES, in bytes.
constexpr std::size_t SkipSize = 10;
constexpr std::size_t PaddingOffset = 4;

// The last page of an Ogg stream has no time of its own; it has to be reached from the one before.
constexpr double OggPage = 2; // seconds, more than pages last

} // namespace

FFmpegDecoder::FFmpegDecoder(std::unique_ptr<FFmpegInput> input, FormatChoice chooseFormat)
    : m_input(std::move(input))
    , m_chooseFormat(std::move(chooseFormat))
    , m_packet(av_packet_alloc())
    , m_frame(av_frame_alloc())
{
}

FFmpegDecoder::~FFmpegDecoder()
{
    av_frame_free(&m_frame);
    av_packet_free(&m_packet);
    avcodec_free_context(&m_codec);
}

Result<std::unique_ptr<Decoder>> FFmpegDecoder::open(
    std::unique_ptr<FFmpegInput> input, FormatChoice chooseFormat)
{
    std::unique_ptr<FFmpegDecoder> decoder(new FFmpegDecoder(std::move(input), std::move(chooseFormat)));
    if (const auto error = decoder->openCodec())
        return *error;
    decoder->m_canSeek = decoder->m_input->seeksExactly();
    if (const auto error = decoder->decodeFirstFrame())
        return *error;
    return std::unique_ptr<Decoder>(std::move(decoder));
}

std::optional<Error> FFmpegDecoder::openCodec()
{
    const AVStream &stream = *m_input->audioStream();
    const AVCodec *codec = avcodec_find_decoder(stream.codecpar->codec_id); // null is refused below
    avcodec_free_context(&m_codec);
    m_codec = avcodec_alloc_context3(codec);
    if (!m_codec || !m_packet || !m_frame)
        return Error{u"No hay memoria suficiente."_s};
    avcodec_parameters_to_context(m_codec, stream.codecpar);
    // With the time base known the codec cuts encoder delay and padding off by itself.
    m_codec->pkt_timebase = stream.time_base;
    m_codec->thread_count = 1;
    m_codec->max_samples = MostSamplesAtOnce;
    if (avcodec_open2(m_codec, codec, nullptr) < 0)
        return Error{u"El códec de audio del archivo no es compatible."_s};
    m_isFirstPacket = true;
    return std::nullopt;
}

std::optional<Error> FFmpegDecoder::decodeFirstFrame()
{
    const Step step = decodeFrame();
    if (step == Step::End && isEmpty()) {
        const AVCodecParameters &codec = *m_input->audioStream()->codecpar;
        setOwnFormat(FrameConverter::formatOf(codec.sample_rate, codec.ch_layout.nb_channels));
        m_end = 0;
        return std::nullopt;
    }
    if (step != Step::Frame)
        return m_input->hasReadError() ? failure()
                                       : Error{u"El audio del archivo no se puede decodificar."_s};
    m_origin = m_frame->best_effort_timestamp == AV_NOPTS_VALUE ? 0 : m_frame->best_effort_timestamp;
    setOwnFormat(FrameConverter::formatOf(m_frame->sample_rate, m_frame->ch_layout.nb_channels));
    if (const auto range = m_input->soundRange()) {
        m_origin = std::max(m_origin, range->begin);
        m_end = av_rescale_q(range->length, m_input->audioStream()->time_base, {1, m_format.rate});
        m_chunkPosition = framePosition().value_or(0);
    }
    if (convertFrame() != Step::Frame)
        return Error{u"El audio del archivo no se puede decodificar."_s};
    if (m_canSeek && m_chunkPosition < -m_format.frames(UsualRunUp))
        seekBefore(0, UsualRunUp);
    return std::nullopt;
}

void FFmpegDecoder::setOwnFormat(AudioFormat own)
{
    m_format = m_chooseFormat ? m_chooseFormat(own) : own;
    m_converter.setOutput(m_format);
}

/// Whether the file has no sound and does not say that it has any: what is left of a longer one is no track.
bool FFmpegDecoder::isEmpty() const
{
    return m_isFirstPacket && duration() <= 0 && m_input->mayBeEmpty();
}

double FFmpegDecoder::duration() const
{
    // Ogg has no length but the time of its last page, which is as wrong as the one who wrote it.
    if (const std::int64_t frames = flacLength(flacStreamInfo()))
        return double(frames) / m_input->audioStream()->codecpar->sample_rate;
    return m_input->duration().value_or(0);
}

Result<DecodedFrames> FFmpegDecoder::read()
{
    if (!m_isChunkFresh && fillChunk() == Step::Failed)
        return failure();
    m_isChunkFresh = false;
    return DecodedFrames{m_chunk, m_chunkPosition};
}

/// Puts the next run of frames into the chunk, an empty one at the end of the track.
FFmpegDecoder::Step FFmpegDecoder::fillChunk()
{
    m_chunkPosition += chunkFrames();
    m_chunk.clear();
    while (m_chunk.empty()) {
        if (m_chunkPosition >= m_end)
            return Step::End;
        Step step = decodeFrame();
        if (step == Step::Frame)
            step = convertFrame();
        if (step == Step::Failed)
            return step;
        if (step == Step::End) {
            m_converter.drain(m_chunk);
            m_converter.reset();
            dropPadding();
            return step;
        }
    }
    return Step::Frame;
}

FFmpegDecoder::Step FFmpegDecoder::convertFrame()
{
    followTimestamp(framePosition());
    const bool isConverted = m_converter.convert(*m_frame, m_chunk);
    av_frame_unref(m_frame);
    dropPadding();
    m_isChunkFresh = !m_chunk.empty();
    return isConverted ? Step::Frame : countDamage();
}

void FFmpegDecoder::followTimestamp(std::optional<std::int64_t> position)
{
    const bool hasLostSound = std::exchange(m_hasLostSound, false);
    if (!position)
        return;
    const std::int64_t jump = *position - m_chunkPosition;
    const bool isJump = std::abs(jump) > m_format.frames(SmallestJump);
    const bool canBeHole = jump > 0 && (hasLostSound || m_input->keepsTime()) && isInTrack(*position);
    if ((isJump && canBeHole) || !m_isPositionKnown)
        m_chunkPosition = *position;
    else if (isJump)
        m_canSeek = false;
    m_isPositionKnown = true;
}

bool FFmpegDecoder::isInTrack(std::int64_t position) const
{
    const double length = duration();
    return length <= 0 || isDurationGuessed() || m_format.seconds(position) < length;
}

FFmpegDecoder::Step FFmpegDecoder::decodeFrame()
{
    Step step = receiveFrame();
    while (step == Step::Again) {
        step = sendPacket();
        if (step == Step::Again)
            step = receiveFrame();
    }
    return step;
}

FFmpegDecoder::Step FFmpegDecoder::receiveFrame()
{
    const int result = avcodec_receive_frame(m_codec, m_frame);
    if (result == AVERROR(EAGAIN))
        return Step::Again;
    if (result == AVERROR_EOF)
        return Step::End;
    if (result < 0)
        return countDamage();
    if (m_frame->nb_samples <= 0)
        return Step::Again;
    if (m_frame->sample_rate < LowestRate)
        return countDamage();
    m_badPackets = 0;
    m_badTime = 0;
    return Step::Frame;
}

FFmpegDecoder::Step FFmpegDecoder::sendPacket()
{
    if (m_isDrained)
        return Step::End;
    int result = m_input->readPacket(m_packet);
    if (result == AVERROR_INVALIDDATA)
        return countDamage();
    if (m_input->hasReadError()) {
        av_packet_unref(m_packet);
        return Step::Failed;
    }
    if (result < 0) {
        // Truncation and the stop flag end the track as its end does.
        m_isDrained = true;
        avcodec_send_packet(m_codec, nullptr);
        return Step::Again;
    }
    correctTimestamp();
    correctPadding();
    if (std::exchange(m_isFirstPacket, false))
        cutDelay();
    m_badTime += std::clamp<std::int64_t>(m_packet->duration, 0, INT32_MAX);
    result = avcodec_send_packet(m_codec, m_packet);
    av_packet_unref(m_packet);
    return result < 0 && result != AVERROR(EAGAIN) ? countDamage() : Step::Again;
}

/// The STREAMINFO block of FLAC; empty if the codec is another.
std::span<const std::uint8_t> FFmpegDecoder::flacStreamInfo() const
{
    const AVCodecParameters &codec = *m_input->audioStream()->codecpar;
    if (codec.codec_id != AV_CODEC_ID_FLAC)
        return {};
    return {codec.extradata, std::size_t(codec.extradata_size)};
}

/// FLAC in Ogg knows better than its container where on a page a packet lies, unless its numbers are wrong.
void FFmpegDecoder::correctTimestamp()
{
    const AVStream &stream = *m_input->audioStream();
    if (stream.codecpar->codec_id != AV_CODEC_ID_FLAC || !m_input->isOgg() || m_packet->pts == AV_NOPTS_VALUE)
        return;
    const int blockSize = flacBlockSize(flacStreamInfo());
    const auto position = flacFramePosition({m_packet->data, std::size_t(m_packet->size)}, blockSize);
    if (!position)
        return;
    const std::int64_t time = av_rescale_q(*position, {1, stream.codecpar->sample_rate}, stream.time_base);
    const auto page = std::int64_t(OggPage / av_q2d(stream.time_base));
    if (std::clamp(time, av_sat_sub64(m_packet->pts, page), av_sat_add64(m_packet->pts, page)) == time)
        m_packet->pts = time;
}

/// The first packet of Vorbis has no sound. FFmpeg sees that only if its page is not the last one, too, and else takes
/// as much too much off the end.
void FFmpegDecoder::correctPadding()
{
    if (m_codec->codec_id != AV_CODEC_ID_VORBIS || !m_input->isOgg())
        return;
    if (!m_silentTime)
        m_silentTime = m_packet->pts == 0 ? std::max<std::int64_t>(m_packet->duration, 0) : 0;
    std::size_t size = 0;
    std::uint8_t *skip = av_packet_get_side_data(m_packet, AV_PKT_DATA_SKIP_SAMPLES, &size);
    if (skip && size >= SkipSize) {
        const std::uint32_t padding = AV_RL32(skip + PaddingOffset);
        AV_WL32(skip + PaddingOffset, padding - std::min(padding, std::uint32_t(*m_silentTime)));
    }
}

/// What Matroska states, in front of the file's first packet. FFmpeg cuts only that of Opus, and not even that if padding
/// is behind the same packet.
void FFmpegDecoder::cutDelay()
{
    const int delay = m_input->codecDelay();
    if (delay == 0)
        return;
    std::uint8_t *skip = av_packet_get_side_data(m_packet, AV_PKT_DATA_SKIP_SAMPLES, nullptr);
    if (!skip)
        skip = av_packet_new_side_data(m_packet, AV_PKT_DATA_SKIP_SAMPLES, SkipSize);
    if (skip)
        AV_WL32(skip, std::uint32_t(delay));
}

FFmpegDecoder::Step FFmpegDecoder::countDamage()
{
    m_isDamaged = true;
    m_hasLostSound = true;
    const double badSeconds = double(m_badTime) * av_q2d(m_input->audioStream()->time_base);
    return ++m_badPackets >= MostBadPackets || badSeconds >= MostBadSeconds ? Step::Failed : Step::Again;
}

std::optional<std::int64_t> FFmpegDecoder::framePosition() const
{
    if (m_frame->best_effort_timestamp == AV_NOPTS_VALUE)
        return std::nullopt;
    const std::int64_t fromOrigin = av_sat_sub64(m_frame->best_effort_timestamp, m_origin);
    const std::int64_t position =
        av_rescale_q(fromOrigin, m_input->audioStream()->time_base, {1, m_format.rate});
    return std::clamp(position, -FarthestFrame, FarthestFrame);
}

std::int64_t FFmpegDecoder::chunkFrames() const
{
    return std::int64_t(m_chunk.size()) / std::max(m_format.channels, 1);
}

void FFmpegDecoder::dropFrames(std::int64_t count)
{
    const std::int64_t dropped = std::clamp<std::int64_t>(count, 0, chunkFrames());
    m_chunk.erase(m_chunk.begin(), m_chunk.begin() + dropped * m_format.channels);
    m_chunkPosition += dropped;
}

void FFmpegDecoder::dropPadding()
{
    dropFrames(-m_chunkPosition);
    const std::int64_t left = std::clamp<std::int64_t>(m_end - m_chunkPosition, 0, chunkFrames());
    m_chunk.resize(std::size_t(left * m_format.channels));
}

Error FFmpegDecoder::failure() const
{
    if (m_input->hasReadError())
        return {u"El archivo no se puede leer (%1)."_s.arg(qt_error_string(m_input->readErrorNumber()))};
    return {u"El archivo está dañado."_s};
}

bool FFmpegDecoder::seek(std::int64_t frame, const IsObsolete &isObsolete)
{
    if (m_end <= 0)
        return true;
    // Whether its numbers jump is seen by the second frame, and no more behind that.
    if (m_canSeek && m_chunkPosition == 0)
        fillChunk();
    for (const double runUp : {firstRunUp(frame), LongerRunUp, LongestRunUp}) {
        if (m_canSeek && frame > m_format.frames(runUp) && seekBefore(frame, runUp)
            && decodeUntil(frame, isObsolete))
            return true;
    }
    return startOver() && decodeUntil(frame, isObsolete);
}

double FFmpegDecoder::firstRunUp(std::int64_t frame) const
{
    if (m_input->isOgg() && frame > m_format.frames(duration() - OggPage))
        return OggPage + LongRunUp;
    return m_codec->codec_id == AV_CODEC_ID_MP3 ? LongRunUp : UsualRunUp;
}

bool FFmpegDecoder::seekBefore(std::int64_t frame, double runUp)
{
    const AVRational timeBase = m_input->audioStream()->time_base;
    const std::int64_t target = av_sat_add64(m_origin, av_rescale_q(frame, {1, m_format.rate}, timeBase));
    return seekContainer(av_sat_sub64(target, std::int64_t(runUp / av_q2d(timeBase))));
}

bool FFmpegDecoder::seekContainer(std::int64_t timestamp)
{
    m_input->forgetReadError();
    if (!m_input->seekTo(timestamp)) {
        m_canSeek = m_input->hasReadError(); // a medium may recover, a container does not
        return false;
    }
    avcodec_flush_buffers(m_codec);
    forgetChunk();
    m_isPositionKnown = false;
    return true;
}

/// Goes back to the first frame as if the file had just been opened: neither containers nor codecs forget
/// everything when they are told to.
bool FFmpegDecoder::startOver()
{
    auto input = m_input->openAgain();
    if (input.isError())
        return false;
    m_input = input.take();
    forgetChunk();
    return !openCodec() && !decodeFirstFrame();
}

void FFmpegDecoder::forgetChunk()
{
    m_converter.reset();
    m_chunk.clear();
    m_chunkPosition = 0;
    m_isChunkFresh = false;
    m_isPositionKnown = true;
    m_hasLostSound = false;
    m_isDrained = false;
    m_badPackets = 0;
    m_badTime = 0;
}

/// Makes `frame` the first of the chunk, or the end if the track is shorter. False if no sound is known
/// to lie at or before it, or it is obsolete.
bool FFmpegDecoder::decodeUntil(std::int64_t frame, const IsObsolete &isObsolete)
{
    if (!m_isChunkFresh)
        fillChunk();
    if (m_chunk.empty() || !m_isPositionKnown || m_chunkPosition > frame)
        return false;
    while (m_chunkPosition + chunkFrames() <= frame) {
        if (isObsolete && isObsolete())
            return false;
        if (fillChunk() != Step::Frame)
            break;
    }
    dropFrames(frame - m_chunkPosition);
    m_isChunkFresh = !m_chunk.empty();
    return true;
}
