#include "desktop/NameOnlyIconProvider.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

QIcon NameOnlyIconProvider::icon(const QFileInfo &info) const
{
    return info.isDir() ? m_folder : m_file;
}

QString NameOnlyIconProvider::type(const QFileInfo &info) const
{
    return info.isDir() ? u"Carpeta"_s : u"Archivo %1"_s.arg(info.suffix().toUpper()).trimmed();
}
