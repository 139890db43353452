#pragma once

#include <QFile>
#include <QUrl>

/// One of the kept media files.
inline QUrl mediaUrl(QAnyStringView name)
{
    return QUrl::fromLocalFile(QStringLiteral(TEST_MEDIA "/") + name.toString());
}

/// Its bytes.
inline QByteArray mediaFile(QAnyStringView name)
{
    QFile file(mediaUrl(name).toLocalFile());
    if (!file.open(QIODevice::ReadOnly))
        qFatal("%s is missing.", qPrintable(file.fileName()));
    return file.readAll();
}
