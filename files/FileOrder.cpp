#include "files/FileOrder.h"

#include "files/LocalFile.h"

#include <QCollator>
#include <algorithm>
#include <vector>

namespace {

/// In the C locale the collator silently drops numeric order.
QLocale collationLocale()
{
    const QLocale user = QLocale::system().collation();
    return user.language() == QLocale::C ? QLocale(QLocale::Spanish) : user;
}

QCollator fileNameCollator()
{
    QCollator collator(collationLocale());
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}

} // namespace

QList<QUrl> sortedByFileName(const QList<QUrl> &urls)
{
    struct Entry {
        QCollatorSortKey key;
        QUrl url;
    };
    const QCollator collator = fileNameCollator();
    std::vector<Entry> entries;
    entries.reserve(static_cast<std::size_t>(urls.size()));
    for (const QUrl &url : urls)
        entries.push_back({collator.sortKey(localFileName(url)), url});

    std::stable_sort(
        entries.begin(), entries.end(), [](const Entry &a, const Entry &b) { return a.key < b.key; });

    QList<QUrl> sorted;
    sorted.reserve(urls.size());
    for (Entry &entry : entries)
        sorted.append(std::move(entry.url));
    return sorted;
}
