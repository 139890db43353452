// Opens any bytes as sound, decodes them, seeks all over the track and decodes on from there.

#include "decoder/DecoderModule.h"
#include "tests/MemoryFile.h"
#include "tests/fuzz/FuzzTarget.h"

#include <algorithm>
#include <cmath>

namespace {

// Some codecs write hours of silence into a few bytes.
constexpr std::size_t mostSamples = 4'000'000;

/// Reads on for up to so many samples and checks what every caller of a decoder takes for granted. Answers
/// the position behind the last frame.
std::int64_t readOn(Decoder &decoder, std::size_t samples)
{
    const auto channels = std::size_t(decoder.format().channels);
    std::int64_t position = 0;
    for (std::size_t done = 0; done < samples;) {
        const Result<DecodedFrames> block = decoder.read();
        if (block.isError()) {
            if (block.error().description.isEmpty())
                qFatal("An error has no description.");
            return position;
        }
        const DecodedFrames &frames = block.value();
        if (frames.samples.empty())
            return position;
        if (frames.position < 0 || frames.samples.size() % channels != 0)
            qFatal("Frames are not where or what they can be.");
        position = frames.position + std::int64_t(frames.samples.size() / channels);
        done += frames.samples.size();
    }
    return position;
}

void seekAndRead(Decoder &decoder, std::int64_t frame)
{
    if (decoder.seek(std::max<std::int64_t>(frame, 0), {}))
        readOn(decoder, 20'000);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const MemoryFile file(QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size)));
    auto opened = DecoderModule::load().value()->open(file.open(), nullptr);
    if (opened.isError())
        return 0;
    Decoder &decoder = *opened.value();
    const AudioFormat format = decoder.format();
    if (format.rate < 1 || format.rate > 192'000 || format.channels < 1 || format.channels > 2)
        qFatal("A format cannot be played.");
    if (!std::isfinite(decoder.duration()) || decoder.duration() < 0)
        qFatal("A length is not a length.");
    const std::int64_t end = readOn(decoder, mostSamples);
    const std::int64_t claimedEnd = std::llround(decoder.duration() * format.rate);
    for (const std::int64_t frame : {end / 2, std::int64_t(0), claimedEnd / 3, end - 1, claimedEnd})
        seekAndRead(decoder, frame);
    return 0;
}
