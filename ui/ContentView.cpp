#include "ui/ContentView.h"

#include "desktop/FilePicker.h"
#include "player/PayerManager.h"
#include "ui/ImportAlert.h"
#include "ui/Layout.h"
#include "ui/controls/Backdrop.h"
#include "ui/controls/Divider.h"

#include <algorithm>

using namespace Qt::StringLiterals;

ContentView::ContentView(PlayerManager &player, QWidget *parent)
    : QWidget(parent)
    , m_player(player)
    , m_renderer(player)
{
    setLayout(body());
    setAccessibleName(u"Lumaverdine"_s);
    attachTrackAnnouncer();
    attachFileImporter();
}

ContentView::~ContentView()
{
    // The pieces go before the state that they are made of.
    qDeleteAll(findChildren<QWidget *>(Qt::FindDirectChildrenOnly));
}

QSize ContentView::sizeHint() const
{
    // High enough for the whole invitation to an empty playlist, in any font.
    return {720, std::max(720, QWidget::sizeHint().height())};
}

void ContentView::showEvent(QShowEvent *)
{
    // The window would give the keyboard to the first button, before the user asks for one.
    if (!window()->focusWidget())
        setFocus();
}

QBoxLayout *ContentView::body()
{
    auto *background = new Backdrop;
    background->setLayout(vertical(0, {playerSection(), new Divider(0.55), playlistSection()}));
    return vertical(0, {background});
}

QBoxLayout *ContentView::playerSection()
{
    QBoxLayout *section = vertical(22, {trackInformation(), transportControls(), progressSection()});
    return padded(section, {30, 28, 30, 24});
}

// Importing files

void ContentView::attachFileImporter()
{
    m_filePicker = new FilePicker(*this);
    m_filePicker->setParent(this);
    connect(m_filePicker, &FilePicker::completed, this, &ContentView::handleImportResult);
    connect(m_filePicker, &FilePicker::closed, this, [this] { m_player.showFileImporter = false; });
    connect(&m_player, &PlayerManager::showFileImporterWritten, m_filePicker,
        [this] { m_player.showFileImporter() ? m_filePicker->open() : m_filePicker->close(); });
}

void ContentView::handleImportResult(const Result<QList<QUrl>> &result)
{
    if (result.isError()) {
        m_importerError = result.error().description;
        showImportAlert();
    } else {
        m_player.addFiles(result.value());
    }
}

void ContentView::showImportAlert()
{
    if (!m_importAlert) {
        m_importAlert = new ImportAlert(this);
        m_importAlert->setAttribute(Qt::WA_DeleteOnClose);
        // What the window's keys do, they do under the alert, too.
        m_importAlert->addActions(window()->actions());
        connect(m_importAlert, &QDialog::finished, this, [this] {
            m_importAlert.clear();
            m_importerError.reset();
        });
    }
    m_importAlert->setError(m_importerError);
    m_importAlert->show();
}
