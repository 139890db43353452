#include "desktop/AudioFileDialog.h"

#include "desktop/AudioFileTypes.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QSplitter>
#include <QTreeView>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize DialogSize(860, 560);
constexpr int SidebarWidth = 130;

/// Never destroyed: the thread that lists folders may use it as long as any dialog lives.
NameOnlyIconProvider *nameOnlyIcons()
{
    static auto *const provider = new NameOnlyIconProvider;
    return provider;
}

/// A desktop's dialog would run in this process and make files under the user's home, from the moment when one is
/// built. The toolkit's own saves its state there when it is destroyed; below /dev/null no file can be made, not even
/// by root.
void keepOutOfTheHome()
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, u"/dev/null"_s);
}

/// Comes before the dialog is built.
QWidget *parentOfDialog(QWidget *parent)
{
    keepOutOfTheHome();
    return parent;
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
    static const QRegularExpression scheme(
        u"^[a-z][a-z0-9+.-]*://."_s, QRegularExpression::CaseInsensitiveOption);
    QList<QUrl> addresses;
    const QString typed = text.trimmed();
    const bool isQuoted = typed.startsWith(u'"');
    for (const QString &name : isQuoted ? typed.split(u'"', Qt::SkipEmptyParts) : QStringList(typed)) {
        if (name.trimmed().isEmpty())
            continue; // between two names
        if (!scheme.match(name).hasMatch())
            return {};
        addresses.append(QUrl(name));
    }
    return addresses;
}

AudioFileDialog::AudioFileDialog(QWidget *parent, const QUrl &folder, const QUrl &music)
    : QFileDialog(parentOfDialog(parent))
    , m_nameField(findChild<QLineEdit *>(u"fileNameEdit"_s))
{
    setWindowTitle(tr("Añadir música"));
    setFileMode(QFileDialog::ExistingFiles);
    setOption(QFileDialog::HideNameFilterDetails);
    setOption(QFileDialog::ReadOnly);
    setNameFilter(
        tr("Archivos de audio") + u" (*.%1)"_s.arg(AudioFileEndings.toString().replace(u' ', u" *."_s)));
    setIconProvider(nameOnlyIcons());
    if (!music.isEmpty())
        setSidebarUrls(sidebarUrls() << music);
    setDirectoryUrl(folder);
    resize(DialogSize);
    for (const auto &name : {u"listView"_s, u"treeView"_s}) {
        if (auto *view = findChild<QAbstractItemView *>(name))
            view->installEventFilter(this);
    }
    arrange();
    if (m_nameField)
        connect(m_nameField, &QLineEdit::textChanged, this, &AudioFileDialog::enableForAddresses);
}

/// Names take the room that the other columns leave.
void AudioFileDialog::arrange()
{
    if (auto *sides = findChild<QSplitter *>(u"splitter"_s))
        sides->setSizes({SidebarWidth, DialogSize.width()});
    const auto *list = findChild<QTreeView *>(u"treeView"_s);
    if (!list)
        return;
    list->header()->setResizeContentsPrecision(0); // what shows: there may be thousands
    list->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
}

/// The toolkit knows no addresses. Comes after it has decided on its own.
void AudioFileDialog::enableForAddresses(const QString &text)
{
    QAbstractButton *button = nullptr;
    if (const auto *box = findChild<QDialogButtonBox *>(u"buttonBox"_s))
        button = box->button(QDialogButtonBox::Open);
    if (button && !typedAddresses(text).isEmpty())
        button->setEnabled(true);
}

QList<QUrl> AudioFileDialog::chosenUrls() const
{
    return m_chosenUrls.isEmpty() ? selectedUrls() : m_chosenUrls;
}

void AudioFileDialog::accept()
{
    m_chosenUrls = m_nameField ? typedAddresses(m_nameField->text()) : QList<QUrl>();
    if (m_chosenUrls.isEmpty()) {
        // The toolkit would go into the first folder that is selected, and forget the files.
        QList<QUrl> files = selectedUrls();
        const auto isFolder = [](const QUrl &url) { return QFileInfo(url.toLocalFile()).isDir(); };
        if (files.removeIf(isFolder) > 0)
            m_chosenUrls = files;
    }
    if (m_chosenUrls.isEmpty())
        QFileDialog::accept();
    else
        done(QDialog::Accepted);
}

/// Enter opens all that is selected. The toolkit would open what has the focus: the first folder, after Ctrl+A.
bool AudioFileDialog::eventFilter(QObject *watched, QEvent *event)
{
    const auto *view = qobject_cast<QAbstractItemView *>(watched);
    const auto *key = event->type() == QEvent::KeyPress ? static_cast<QKeyEvent *>(event) : nullptr;
    const bool isEnter = key && (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter);
    if (!view || !isEnter || view->selectionModel()->selectedRows().size() < 2)
        return QFileDialog::eventFilter(watched, event);
    accept();
    return true;
}

void AudioFileDialog::showEvent(QShowEvent *event)
{
    QFileDialog::showEvent(event);
    // The list of completions takes keys that come while it opens or closes.
    if (m_nameField)
        m_nameField->setCompleter(nullptr);
}
