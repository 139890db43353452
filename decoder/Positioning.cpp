#include "decoder/Positioning.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::string_view mov = "mov,mp4,m4a,3gp,3g2,mj2";
constexpr std::string_view matroska = "matroska,webm";

bool isAdpcm(AVCodecID codec)
{
    return codec >= AV_CODEC_ID_ADPCM_IMA_QT && codec < AV_CODEC_ID_AMR_NB;
}

template <typename List> bool contains(const List &list, std::string_view name)
{
    return std::find(std::begin(list), std::end(list), name) != std::end(list);
}

} // namespace

bool isPcm(AVCodecID codec)
{
    return codec >= AV_CODEC_ID_FIRST_AUDIO && codec < AV_CODEC_ID_ADPCM_IMA_QT;
}

bool seeksExactly(std::string_view demuxer, AVCodecID codec)
{
    static constexpr std::array<std::string_view, 14> exact{
        mov, matroska, "aac", "ape", "asf", "caf", "dsf", "flac", "mlp", "mp3", "tak", "truehd", "tta", "wv"};
    if (isPcm(codec))
        return true;
    if (demuxer == "ogg")
        return codec == AV_CODEC_ID_VORBIS || codec == AV_CODEC_ID_OPUS || codec == AV_CODEC_ID_FLAC;
    return !isAdpcm(codec) && contains(exact, demuxer);
}

bool keepsTime(std::string_view demuxer)
{
    static constexpr std::array<std::string_view, 4> keeping{mov, matroska, "asf", "ogg"};
    return contains(keeping, demuxer);
}
