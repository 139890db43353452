#include "desktop/AudioFileDialog.h"

#include "desktop/NameOnlyIconProvider.h"

#include <QFile>
#include <QLineEdit>
#include <QRegularExpression>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace {

/// The name patterns of all audio types, from the lists of the desktop's type database (Shared MIME-info
/// Database, "The glob files": weight, type and pattern of a line). The toolkit's reader of it would keep
/// 0.7 MiB of what it has read.
QStringList audioPatterns()
{
    QStringList patterns;
    const auto lists = QStandardPaths::locateAll(QStandardPaths::GenericDataLocation, u"mime/globs2"_s);
    for (const QString &path : lists) {
        QFile list(path);
        if (!list.open(QIODevice::ReadOnly))
            continue;
        for (const QByteArray &line : list.readAll().split('\n')) {
            const QList<QByteArray> fields = line.split(':');
            if (fields.size() >= 3 && fields[1].startsWith("audio/") && fields[2] != "__NOGLOBS__")
                patterns += QString::fromUtf8(fields[2]);
        }
    }
    patterns.removeDuplicates();
    return patterns;
}

/// All files, where the desktop has no type database.
QString audioFilter()
{
    const QStringList patterns = audioPatterns();
    return u"Archivos de audio (%1)"_s.arg(patterns.isEmpty() ? u"*"_s : patterns.join(u' '));
}

/// Never destroyed: the thread that lists folders may use it as long as any dialog lives.
NameOnlyIconProvider *nameOnlyIcons()
{
    static auto *const provider = new NameOnlyIconProvider;
    return provider;
}

bool isAddress(const QString &text)
{
    static const QRegularExpression scheme(
        u"^[a-z][a-z0-9+.-]*://."_s, QRegularExpression::CaseInsensitiveOption);
    return scheme.match(text).hasMatch();
}

/// The pieces of `"one" "two"`, or all of a text that has no quotation marks around it.
QStringList namesIn(const QString &text)
{
    if (!text.startsWith(u'"'))
        return {text};
    QStringList names;
    for (const QString &piece : text.split(u'"', Qt::SkipEmptyParts)) {
        if (!piece.trimmed().isEmpty())
            names.append(piece);
    }
    return names;
}

} // namespace

QList<QUrl> typedAddresses(const QString &text)
{
    QList<QUrl> addresses;
    for (const QString &name : namesIn(text.trimmed())) {
        if (!isAddress(name))
            return {};
        addresses.append(QUrl(name));
    }
    return addresses;
}

AudioFileDialog::AudioFileDialog(QWidget *parent, const QUrl &folder)
    : QFileDialog(parent)
{
    setWindowTitle(u"Añadir música"_s);
    setFileMode(QFileDialog::ExistingFiles);
    setOption(QFileDialog::HideNameFilterDetails);
    setOption(QFileDialog::ReadOnly);
    setNameFilter(audioFilter());
    setIconProvider(nameOnlyIcons());
    setDirectoryUrl(folder);
}

QList<QUrl> AudioFileDialog::chosenUrls() const
{
    return m_typedAddresses.isEmpty() ? selectedUrls() : m_typedAddresses;
}

void AudioFileDialog::accept()
{
    if (const auto *nameField = findChild<QLineEdit *>(u"fileNameEdit"_s))
        m_typedAddresses = typedAddresses(nameField->text());
    if (m_typedAddresses.isEmpty())
        QFileDialog::accept();
    else
        done(QDialog::Accepted);
}

void AudioFileDialog::showEvent(QShowEvent *event)
{
    QFileDialog::showEvent(event);
    // The list of completions takes keys that come while it opens or closes.
    if (auto *nameField = findChild<QLineEdit *>(u"fileNameEdit"_s))
        nameField->setCompleter(nullptr);
}
