#include "metadata/PictureMark.h"

#include <algorithm>
#include <array>

namespace {

/// The first bytes of the formats that are drawn, but for BMP's two, which stand in other data by chance.
constexpr std::array<QByteArrayView, 4> Marks{"\xff\xd8\xff", "\x89PNG", "GIF8", "RIFF"};

bool startsWithMark(QByteArrayView data)
{
    return std::any_of(
        Marks.begin(), Marks.end(), [data](QByteArrayView mark) { return data.startsWith(mark); });
}

} // namespace

QByteArrayView pictureFrom(QByteArrayView data, qsizetype begin)
{
    constexpr qsizetype searchLimit = 1024; // longer than the descriptions that people write
    constexpr qsizetype excess = 4; // zeros too many
    if (startsWithMark(data.sliced(begin)))
        return data.sliced(begin);
    for (qsizetype i = 0; i < std::min({data.size(), begin + excess, searchLimit}); ++i) {
        if (startsWithMark(data.sliced(i)))
            return data.sliced(i);
    }
    return data.sliced(begin);
}
