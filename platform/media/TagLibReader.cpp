#include "platform/media/TagLibReader.h"

#include "platform/media/TagLibStream.h"

#include <taglib/apefile.h>
#include <taglib/mpcfile.h>
#include <taglib/wavpackfile.h>

namespace {

MediaTime durationOf(const TagLib::AudioProperties *properties)
{
    const int milliseconds = properties ? properties->lengthInMilliseconds() : 0;
    return milliseconds > 0 ? MediaTime{milliseconds, 1000} : MediaTime{};
}

template <typename File> MediaContents contentsOf(File &&file)
{
    if (!file.isValid())
        return {};
    return {durationOf(file.audioProperties()), {}};
}

} // namespace

MediaContents readByTagLib(MediaSource &source, MediaFormat format)
{
    TagLibStream stream(source);
    switch (format) {
    case MediaFormat::WavPack:
        return contentsOf(TagLib::WavPack::File(&stream));
    case MediaFormat::MonkeysAudio:
        return contentsOf(TagLib::APE::File(&stream));
    case MediaFormat::Musepack:
        return contentsOf(TagLib::MPC::File(&stream));
    default:
        return {};
    }
}
