#pragma once

#include "metadata/Artwork.h"
#include "tests/NumberBytes.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

/// A frame of an ID3v2.3 tag.
inline QByteArray id3v2Frame(const char *identifier, const QByteArray &content)
{
    return identifier + bigEndian(content.size()) + QByteArray(2, '\0') + content;
}

inline QByteArray id3v2Picture(const QByteArray &picture)
{
    return id3v2Frame("APIC", QByteArray("\0image/\0\3\0", 10) + picture);
}

inline QByteArray id3v2Tag(const QByteArray &frames)
{
    return QByteArray("ID3\3\0\0", 6) + syncsafe(frames.size()) + frames;
}

/// A metadata block of a FLAC file; the last one has 0x80 added to its type.
inline QByteArray flacBlock(quint32 type, const QByteArray &content)
{
    return bigEndian(type << 24 | content.size()) + content;
}

/// The bytes of an image in a format of QImage::save().
inline QByteArray encoded(const QImage &image, const char *format, int quality = -1)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, format, quality))
        qFatal("The picture cannot be encoded.");
    return bytes;
}

/// Files that consist of a tag with a cover, and are gone with this.
class CoverFiles {
public:
    /// Writes a file, over one of the same name.
    QUrl save(const QString &name, const QByteArray &picture) const
    {
        QFile file(m_folder.filePath(name));
        const QByteArray tag = id3v2Tag(id3v2Picture(picture));
        if (!file.open(QIODevice::WriteOnly) || file.write(tag) != tag.size())
            qFatal("The temporary folder is not writable.");
        return QUrl::fromLocalFile(file.fileName());
    }

    /// The cover of a new file.
    std::optional<Artwork> artwork(const QByteArray &picture)
    {
        return Artwork::decode(picture, save(QString::number(++m_count), picture));
    }

    /// The cover of a new file, in one colour.
    std::optional<Artwork> artwork(const QColor &colour)
    {
        QImage image(300, 300, QImage::Format_RGB32);
        image.fill(colour);
        return artwork(encoded(image, "PNG"));
    }

private:
    QTemporaryDir m_folder;
    int m_count = 0;
};
