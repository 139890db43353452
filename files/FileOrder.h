#pragma once

#include <QList>
#include <QUrl>

/// The URLs in the order in which a file browser lists their names: natural ("2" before "10"), without regard
/// to case, by the rules of the user's language; of Spanish if the locale has none (C, POSIX). Names that
/// compare equal keep their order.
QList<QUrl> sortedByFileName(const QList<QUrl> &urls);
