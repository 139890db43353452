#include "decoder/FFmpegInput.h"

#include "decoder/GaplessComment.h"
#include "decoder/Id3v2Header.h"
#include "decoder/Mp4Track.h"
#include "decoder/XingHeader.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/avstring.h>
#include <libavutil/mem.h>
}

using namespace Qt::StringLiterals;

namespace {

constexpr int BufferSize = 32 * 1024;
// A claim of some bytes can make FFmpeg build an index of millions of packets for each track; 16 hours of AAC
// have this many. Headers are read in parts smaller than those of two tracks, to look at it between them.
constexpr std::int64_t MostIndexEntries = 2'500'000; // of 24 bytes
constexpr int MostHeaderBytes = 256;
constexpr std::int64_t MostBytesOfOgg = 16 << 20; // of packets, each of which FFmpeg holds five times
constexpr std::int64_t MostBytesWithoutCovers = 6 << 20; // headers, tables of packets
constexpr std::int64_t LongestOpening = 1'000'000'000; // nanoseconds of work; waiting for the medium is none

constexpr std::int64_t LongestStep = 700'000'000; // the same, for a packet or a seek in damaged data
constexpr int MostFrameBytes = 1441; // of MP3
constexpr int MostLeadingTags = 4096; // a few are usual; those behind them are masked
constexpr double LongestDuration = 1e8; // seconds; more than that is damage

// Audio containers only. Left out on purpose: playlists and anything else that refers to other files
// (hls, dash, concat, sdp, rtp), images, trackers, generators, devices, subtitles.
constexpr char allowedFormats[] =
    "aac,ac3,eac3,aiff,amr,ape,asf,au,caf,dsf,dts,dtshd,flac,iff,loas,matroska,webm,"
    "mov,mp4,m4a,mlp,mp3,mpc,mpc8,ogg,oma,rm,shn,sox,tak,truehd,tta,voc,w64,wav,wv,xwma";

/// What this thread has worked, in nanoseconds.
std::int64_t threadTime()
{
    timespec time = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::int64_t(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

int refuseNested(AVFormatContext *, AVIOContext **, const char *, int, AVDictionary **)
{
    return AVERROR(EPERM);
}

} // namespace

FFmpegInput::FFmpegInput(FileDescriptor file, StopFlag stop)
    : m_file(std::move(file))
    , m_stop(std::move(stop))
{
}

FFmpegInput::~FFmpegInput()
{
    avformat_close_input(&m_format);
    if (m_io)
        av_freep(&m_io->buffer);
    avio_context_free(&m_io);
}

Result<std::unique_ptr<FFmpegInput>> FFmpegInput::open(FileDescriptor file, StopFlag stop)
{
    std::unique_ptr<FFmpegInput> input(new FFmpegInput(std::move(file), std::move(stop)));
    if (const auto error = input->openContainer())
        return *error;
    return input;
}

Result<std::unique_ptr<FFmpegInput>> FFmpegInput::openAgain() const
{
    FileDescriptor file(fcntl(m_file.get(), F_DUPFD_CLOEXEC, 0));
    if (file.get() < 0)
        return Error{qt_error_string(errno)};
    return open(std::move(file), m_stop);
}

std::optional<Error> FFmpegInput::openContainer()
{
    if (!allocateContexts())
        return Error{u"No hay memoria suficiente."_s};
    m_timeEnd = threadTime() + LongestOpening;
    skipLeadingTags();
    m_masksTags = true;
    const AVInputFormat *probed = nullptr;
    if (av_probe_input_buffer2(m_io, &probed, nullptr, m_format, 0, 0) < 0)
        return openingError();
    m_isProbed = true;
    const std::string_view name = probed->name;
    const bool mayHoldCovers =
        av_match_list(probed->name, "asf,flac,matroska,mov", ',') > 0; // among the headers
    m_mask = ContainerMask::forDemuxer(name);
    if (name == "ogg")
        m_bytesLeft = MostBytesOfOgg;
    else if (!mayHoldCovers)
        m_bytesLeft = MostBytesWithoutCovers;
    dropReadAhead();
    AVDictionary *options = nullptr;
    if (av_match_list(probed->name, "mov", ',') > 0 && readSoundRange())
        av_dict_set(&options, "ignore_editlist", "1", 0); // of which FFmpeg heeds whole packets only
    // On failure this frees the format context and sets it to null.
    const int result = avformat_open_input(&m_format, nullptr, probed, &options);
    av_dict_free(&options);
    if (result < 0)
        return openingError();
    // All others read their tags with the container's headers; in ADTS they may stand between any two frames.
    m_masksTags = demuxer() == "aac";
    if (!isOgg())
        m_mask.reset();
    dropReadAhead();
    chooseAudioStream();
    if (avformat_find_stream_info(m_format, nullptr) < 0)
        return openingError();
    if (!chooseAudioStream())
        return Error{u"El archivo no contiene audio."_s};
    if (demuxer() == "mp3")
        readMp3Ends();
    m_isOpen = true;
    return std::nullopt;
}

void FFmpegInput::skipLeadingTags()
{
    std::array<std::uint8_t, Id3v2HeaderSize> header = {};
    for (int i = 0; i < MostLeadingTags; ++i) {
        m_offset = 0;
        const bool isRead = read(this, header.data(), int(header.size())) > 0;
        const std::int64_t size = isRead ? id3v2TagSize(QByteArrayView(header.data(), Id3v2HeaderSize)) : 0;
        m_offset = 0;
        if (size == 0)
            return;
        m_begin += size;
    }
}

bool FFmpegInput::readSoundRange()
{
    MediaSource source(m_file.get());
    source.dropFront(m_begin);
    const auto sound = mp4Sound(source);
    if (sound && sound->begin)
        m_soundRange = {*sound->begin, sound->length};
    return m_soundRange.has_value();
}

/// Of MP3: FFmpeg cuts by a LAME header, but leaves its length as it is; by a GaplessComment, which other encoders write,
/// the sound is cut here.
void FFmpegInput::readMp3Ends()
{
    constexpr int decoderDelay = 529; // frames; FFmpeg adds them to what a LAME header states
    constexpr std::int64_t mostTagBytes = 1 << 20; // a cover may stand in front of the comment
    AVStream &stream = *m_audioStream;
    const AVRational frame{1, stream.codecpar->sample_rate};
    if (frame.den <= 0 || stream.duration <= 0)
        return;
    MediaSource source(m_file.get());
    if (stream.start_time > 0) {
        const auto header = xingHeader(source.read(m_begin, MostFrameBytes));
        const int ends = header && header->frames > 0 ? header->delay + header->padding : 0;
        stream.duration =
            std::max<std::int64_t>(stream.duration - av_rescale_q(ends, frame, stream.time_base), 0);
        return;
    }
    const auto comment = gaplessComment(source.read(0, std::min(m_begin, mostTagBytes)));
    if (comment && comment->agreesWith(av_rescale_q(stream.duration, stream.time_base, frame)))
        m_soundRange = {av_rescale_q(comment->delay + decoderDelay, frame, stream.time_base),
            av_rescale_q(comment->length, frame, stream.time_base)};
}

/// What comes next is read again, by the rules of the next step.
void FFmpegInput::dropReadAhead()
{
    const std::int64_t position = avio_tell(m_io);
    avio_flush(m_io);
    avio_seek(m_io, position, SEEK_SET);
}

bool FFmpegInput::allocateContexts()
{
    auto *buffer = static_cast<unsigned char *>(av_malloc(BufferSize));
    m_io = buffer ? avio_alloc_context(buffer, BufferSize, 0, this, read, nullptr, seek) : nullptr;
    if (!m_io) {
        av_free(buffer);
        return false;
    }
    m_format = avformat_alloc_context();
    if (!m_format)
        return false;
    m_format->pb = m_io;
    m_format->flags |= AVFMT_FLAG_CUSTOM_IO;
    m_format->io_open = refuseNested;
    m_format->protocol_whitelist = av_strdup("");
    m_format->format_whitelist = av_strdup(allowedFormats);
    m_format->probesize = 1'000'000;
    m_format->max_analyze_duration = std::int64_t(2) * AV_TIME_BASE;
    m_format->max_streams = 64;
    m_format->interrupt_callback = {
        [](void *self) { return int(static_cast<FFmpegInput *>(self)->isStopped()); }, this};
    return m_format->protocol_whitelist && m_format->format_whitelist;
}

bool FFmpegInput::chooseAudioStream()
{
    const int best = av_find_best_stream(m_format, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    if (best < 0)
        return false;
    for (unsigned index = 0; index < m_format->nb_streams; ++index)
        m_format->streams[index]->discard = int(index) == best ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    m_audioStream = m_format->streams[best];
    return true;
}

std::optional<double> FFmpegInput::duration() const
{
    double seconds = 0;
    if (m_soundRange)
        seconds = double(m_soundRange->length) * av_q2d(m_audioStream->time_base);
    else if (m_audioStream->duration != AV_NOPTS_VALUE) {
        const double partOfPacket = isRoundedDown() ? 1 : 0;
        seconds = (double(m_audioStream->duration) + partOfPacket - double(preSkip()))
            * av_q2d(m_audioStream->time_base);
    } else if (m_format->duration != AV_NOPTS_VALUE)
        seconds = double(m_format->duration) / AV_TIME_BASE
            - double(codecDelay()) / m_audioStream->codecpar->sample_rate;
    if (!(seconds > 0 && seconds <= LongestDuration))
        return std::nullopt;
    return seconds;
}

bool FFmpegInput::isDurationGuessed() const
{
    // Writers of compressed WAV state what they like, and its reader halves what it takes for a count of channels.
    const bool isCompressedWav = demuxer() == "wav" && !isPcm();
    return m_format->duration_estimation_method == AVFMT_DURATION_FROM_BITRATE || isRoundedDown()
        || isCompressedWav;
}

/// The reader of Musepack SV8 counts whole packets, which last more than a second.
bool FFmpegInput::isRoundedDown() const
{
    return demuxer() == "mpc8";
}

/// The length of Opus in Ogg counts what is in front of the sound (RFC 7845, "Identification Header").
int FFmpegInput::preSkip() const
{
    constexpr int offset = 10;
    const AVCodecParameters &codec = *m_audioStream->codecpar;
    const bool isStated = isOgg() && codec.codec_id == AV_CODEC_ID_OPUS && codec.extradata_size >= offset + 2;
    return isStated ? codec.extradata[offset] | codec.extradata[offset + 1] << 8 : 0;
}

int FFmpegInput::codecDelay() const
{
    constexpr int longest = 16'384; // beyond what encoders need; all of it is decoded before the first sound
    const int delay = m_audioStream->codecpar->initial_padding;
    return isDemuxerOneOf("matroska") && delay > 0 && delay <= longest ? delay : 0;
}

std::string_view FFmpegInput::demuxer() const
{
    return m_format->iformat->name;
}

/// Some formats have several names.
bool FFmpegInput::isDemuxerOneOf(const char *names) const
{
    return av_match_list(m_format->iformat->name, names, ',') > 0;
}

bool FFmpegInput::isPcm() const
{
    const AVCodecID codec = m_audioStream->codecpar->codec_id;
    return codec >= AV_CODEC_ID_FIRST_AUDIO && codec < AV_CODEC_ID_ADPCM_IMA_QT;
}

bool FFmpegInput::seeksExactly() const
{
    const AVCodecID codec = m_audioStream->codecpar->codec_id;
    const bool isAdpcm = codec >= AV_CODEC_ID_ADPCM_IMA_QT && codec < AV_CODEC_ID_AMR_NB;
    if (isPcm())
        return true;
    if (isOgg())
        return codec == AV_CODEC_ID_VORBIS || codec == AV_CODEC_ID_OPUS || codec == AV_CODEC_ID_FLAC;
    return !isAdpcm && isDemuxerOneOf("mov,matroska,aac,ape,asf,caf,dsf,flac,mlp,mp3,tak,truehd,tta,wv");
}

bool FFmpegInput::keepsTime() const
{
    return isDemuxerOneOf("mov,matroska,asf,ogg");
}

bool FFmpegInput::mayBeEmpty() const
{
    constexpr qint64 mostHeaderBytes = 64 << 10;
    // Of WAV, FFmpeg counts what is there, not what is stated.
    if (demuxer() == "wav")
        return MediaSource(m_file.get()).read(m_begin, mostHeaderBytes).contains("data\0\0\0\0"_ba);
    return isDemuxerOneOf("aiff,au,flac");
}

int FFmpegInput::readPacket(AVPacket *packet)
{
    for (;;) {
        startStep();
        const int result = av_read_frame(m_format, packet);
        if (result < 0 || packet->stream_index == m_audioStream->index)
            return result;
        av_packet_unref(packet);
    }
}

bool FFmpegInput::seekTo(std::int64_t timestamp)
{
    startStep();
    if (!isOgg()) // some others read all that lies before
        m_timeEnd = INT64_MAX;
    const int stream = m_audioStream->index;
    return avformat_seek_file(m_format, stream, INT64_MIN, timestamp, timestamp, 0) >= 0 && isAffordable();
}

void FFmpegInput::startStep()
{
    m_timeEnd = threadTime() + LongestStep;
    m_bytesLeft = isOgg() ? MostBytesOfOgg : INT64_MAX;
}

void FFmpegInput::forgetReadError()
{
    m_readErrorNumber = 0;
    m_io->error = 0;
}

/// While the container is being opened, its indexes count as well.
bool FFmpegInput::isAffordable() const
{
    std::int64_t entries = 0;
    for (unsigned index = 0; !m_isOpen && index < m_format->nb_streams; ++index)
        entries += avformat_index_get_entries_count(m_format->streams[index]);
    return m_bytesLeft >= 0 && threadTime() < m_timeEnd && entries < MostIndexEntries;
}

bool FFmpegInput::isStopped() const
{
    return m_stop && m_stop->load(std::memory_order_relaxed);
}

Error FFmpegInput::openingError() const
{
    if (hasReadError())
        return {u"El archivo no se puede leer (%1)."_s.arg(qt_error_string(m_readErrorNumber))};
    return {u"El formato del archivo no se reconoce."_s};
}

int FFmpegInput::read(void *self, std::uint8_t *buffer, int size)
{
    auto &input = *static_cast<FFmpegInput *>(self);
    if (input.m_isProbed && !input.m_isOpen)
        size = std::min(size, MostHeaderBytes);
    if (!input.isAffordable())
        return input.m_isOpen ? AVERROR_EOF : AVERROR_EXIT;
    ssize_t count = -1;
    do {
        if (input.isStopped())
            return AVERROR_EXIT;
        count = pread(input.m_file.get(), buffer, size_t(size), input.m_begin + input.m_offset);
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        input.m_readErrorNumber = errno;
        return AVERROR(errno);
    }
    input.m_bytesLeft -= count;
    if (input.m_masksTags)
        count = ssize_t(hideId3v2Tags({buffer, size_t(count)}));
    // FFmpeg looks for ID3v2 tags only in front of this format: of what is read again, none is left.
    if (input.m_mask && count > 0) {
        const auto look = [&input](std::int64_t position, std::span<std::uint8_t> bytes) {
            const ssize_t found =
                pread(input.m_file.get(), bytes.data(), bytes.size(), input.m_begin + position);
            return size_t(std::max<ssize_t>(found, 0));
        };
        count = ssize_t(input.m_mask->apply({buffer, size_t(count)}, input.m_offset, look));
    }
    input.m_offset += count;
    return count > 0 ? int(count) : AVERROR_EOF;
}

std::int64_t FFmpegInput::seek(void *self, std::int64_t offset, int whence)
{
    auto &input = *static_cast<FFmpegInput *>(self);
    struct stat status = {};
    if (((whence & AVSEEK_SIZE) || whence == SEEK_END) && fstat(input.m_file.get(), &status) != 0)
        return AVERROR(errno);
    const std::int64_t end = std::max<std::int64_t>(status.st_size - input.m_begin, 0);
    if (whence & AVSEEK_SIZE)
        return end;
    const std::int64_t base = whence == SEEK_CUR ? input.m_offset : whence == SEEK_END ? end : 0;
    if (offset < 0 ? base < -offset : offset > INT64_MAX - input.m_begin - base)
        return AVERROR(EINVAL);
    return input.m_offset = base + offset;
}
