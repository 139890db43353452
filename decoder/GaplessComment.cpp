#include "decoder/GaplessComment.h"

#include <QByteArray>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

/// Where the comment's name begins, in either width; negative if it is not there. Looks for its first byte: a tag with
/// a large picture is searched far faster for one byte than for two names.
qsizetype beginOfName(QByteArrayView bytes)
{
    constexpr char wideName[] = "i\0T\0u\0n\0S\0M\0P\0B";
    const auto isNamed = [&](qsizetype begin) {
        const QByteArrayView rest = bytes.sliced(begin);
        return rest.startsWith("iTunSMPB") || rest.startsWith(QByteArrayView(wideName, sizeof(wideName) - 1));
    };
    qsizetype begin = bytes.indexOf('i');
    while (begin >= 0 && !isNamed(begin))
        begin = bytes.indexOf('i', begin + 1);
    return begin;
}

} // namespace

std::optional<GaplessComment> gaplessComment(QByteArrayView bytes)
{
    constexpr qsizetype longest = 256; // bytes, as UTF-16
    static const QRegularExpression pattern(u"[0-9A-F]{8} ([0-9A-F]{8}) ([0-9A-F]{8}) 000([0-9A-F]{13})"_s,
        QRegularExpression::CaseInsensitiveOption);
    const qsizetype begin = beginOfName(bytes);
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
