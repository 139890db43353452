#include "desktop/DesktopSettings.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace {

using Kind = WindowButton::Kind;

QList<Kind> kindsNamed(const QStringList &names)
{
    const QHash<QString, Kind> kinds{
        {u"minimize"_s, Kind::Minimize}, {u"maximize"_s, Kind::Zoom}, {u"close"_s, Kind::Close}};
    QList<Kind> named;
    for (const QString &name : names) {
        const auto kind = kinds.constFind(name);
        if (kind != kinds.cend() && !named.contains(*kind))
            named.append(*kind);
    }
    return named;
}

} // namespace

ButtonLayout ButtonLayout::parse(const QString &published)
{
    const QStringList sides = published.split(u':');
    const QList<Kind> named = kindsNamed(sides.join(u',').split(u','));
    QList<Kind> missing = ButtonLayout().order;
    missing.removeIf([&](Kind kind) { return named.contains(kind); });
    if (kindsNamed(sides.first().split(u',')).contains(Kind::Close))
        return {Qt::LeftEdge, named + missing};
    return {Qt::RightEdge, missing + named};
}
