#include "desktop/AudioFileDialog.h"

#include <QFileInfo>
#include <QLineEdit>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

/// How the names of the files end that the decoder opens.
constexpr QStringView Endings = u"aa3 aac ac3 adts aif aifc aiff aiffc amr ape at3 au awb axa caf dff dsf "
                                u"dts dtshd ec3 eac3 f4a f4b flac loas "
                                "m4a m4b m4r mka mlp mp+ mp1 mp2 mp3 mpc mpga mpp oga ogg oma opus ra shn "
                                "snd sox spx tak thd tta voc w64 wav weba "
                                "wma wv xwma";

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

QIcon NameOnlyIconProvider::icon(const QFileInfo &info) const
{
    return info.isDir() ? m_folder : m_file;
}

QString NameOnlyIconProvider::type(const QFileInfo &info) const
{
    return info.isDir() ? AudioFileDialog::tr("Carpeta")
                        : AudioFileDialog::tr("Archivo %1").arg(info.suffix().toUpper()).trimmed();
}

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
    setWindowTitle(tr("Añadir música"));
    setFileMode(QFileDialog::ExistingFiles);
    setOption(QFileDialog::HideNameFilterDetails);
    setOption(QFileDialog::ReadOnly);
    setNameFilter(tr("Archivos de audio") + u" (*.%1)"_s.arg(Endings.toString().replace(u' ', u" *."_s)));
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
