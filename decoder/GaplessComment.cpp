#include "decoder/GaplessComment.h"

#include <QByteArray>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

std::optional<GaplessComment> gaplessComment(QByteArrayView bytes)
{
    constexpr char wideName[] = "i\0T\0u\0n\0S\0M\0P\0B";
    constexpr qsizetype longest = 256; // bytes, as UTF-16
    static const QRegularExpression pattern(u"[0-9A-F]{8} ([0-9A-F]{8}) ([0-9A-F]{8}) 000([0-9A-F]{13})"_s,
        QRegularExpression::CaseInsensitiveOption);
    qsizetype begin = bytes.indexOf("iTunSMPB");
    if (begin < 0)
        begin = bytes.indexOf(QByteArrayView(wideName, sizeof(wideName) - 1));
    if (begin < 0)
        return std::nullopt;
    const QByteArray text =
        bytes.sliced(begin, std::min(longest, bytes.size() - begin)).toByteArray().replace('\0', "");
    const auto match = pattern.match(QString::fromLatin1(text));
    if (!match.hasMatch())
        return std::nullopt;
    const auto number = [&match](int group) { return match.capturedView(group).toLongLong(nullptr, 16); };
    return GaplessComment{number(1), number(2), number(3)};
}
