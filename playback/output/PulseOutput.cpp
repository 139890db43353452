#include "playback/output/PulseOutput.h"

#include "playback/output/PulseStream.h"

PulseOutput::PulseOutput(std::shared_ptr<FrameFeed> feed, const SoundLabel &label)
    : m_stream(std::make_shared<PulseStream>(std::move(feed), label))
{
    const PulseLock lock;
    m_stream->open();
}

PulseOutput::~PulseOutput()
{
    const PulseLock lock;
    m_stream->close();
}

void PulseOutput::apply(const Mix &mix)
{
    const PulseLock lock;
    m_stream->apply(mix);
}

void PulseOutput::refresh()
{
    const PulseLock lock;
    m_stream->update();
}

AudioOutput::Status PulseOutput::status()
{
    const PulseLock lock;
    return m_stream->status();
}
