#include "ui/Translation.h"

#include <QCoreApplication>
#include <QLibraryInfo>

using namespace Qt::StringLiterals;

QString ToolkitTexts::translate(
    const char *context, const char *source, const char *comment, int number) const
{
    return QTranslator::translate(context, source, comment, number)
        .replace(u"fichero"_s, u"archivo"_s)
        .replace(u"Fichero"_s, u"Archivo"_s);
}

Translation::Translation(const QLocale &user)
{
    const auto catalogues = u":/translations"_s;
    if (!m_texts.load(user, {}, {}, catalogues))
        (void)m_texts.load(u"es"_s, catalogues); // it has the plurals
    const QLocale language(m_texts.language());
    if (QLocale().language() != language.language())
        QLocale::setDefault(language);
    (void)m_toolkit.load(language, u"qtbase"_s, u"_"_s, QLibraryInfo::path(QLibraryInfo::TranslationsPath));
    QCoreApplication::installTranslator(&m_toolkit);
    QCoreApplication::installTranslator(&m_texts);
}
