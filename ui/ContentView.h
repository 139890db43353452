#pragma once

#include "files/Result.h"
#include "metadata/ArtworkLoader.h"
#include "ui/PlaylistModel.h"
#include "ui/ViewRenderer.h"

#include <QPointer>
#include <QUrl>
#include <QWidget>
#include <functional>
#include <optional>

class FilePicker;
class ImportAlert;
class PlayerManager;
class QBoxLayout;

/// The root view of the window: everything it shows, each piece named for the area that it draws.
///
/// A piece is built once. Beside what it builds stands how that follows the state, as steps that run at every
/// render. Clicks call one operation of the player each.
class ContentView : public QWidget {
    Q_OBJECT

public:
    /// A view of `player`, which is borrowed and outlives it.
    explicit ContentView(PlayerManager &player, QWidget *parent = nullptr);
    ~ContentView() override;

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void showEvent(QShowEvent *event) override;

private:
    QBoxLayout *body();
    QBoxLayout *playerSection();

    // What is playing
    QBoxLayout *trackInformation();
    QBoxLayout *trackTexts();
    void attachTrackAnnouncer();
    QWidget *artwork();
    [[nodiscard]] QString trackPositionText() const;

    // The transport buttons
    QBoxLayout *transportControls();
    QWidget *playButton();
    QWidget *controlButton(const QString &symbol, const QString &help, const std::function<bool()> &isActive,
        int size, const std::function<void()> &action);

    // Progress, tools and volume
    QBoxLayout *progressSection();
    QWidget *seekBar();
    QBoxLayout *times();
    QBoxLayout *tools();
    QWidget *importButton();
    QWidget *optionsMenu();
    QWidget *volumeSlider();
    [[nodiscard]] QString volumeSymbol() const;
    [[nodiscard]] double seekValue() const;
    void seekBarEditing(bool isPressed);

    // The playlist
    QWidget *playlistSection();
    QBoxLayout *playlistHeader();
    QWidget *playlistRows();
    QWidget *emptyPlaylist();
    [[nodiscard]] QString playlistSubtitle() const;

    // Importing files
    void attachFileImporter();
    void handleImportResult(const Result<QList<QUrl>> &result);
    void showImportAlert();

    PlayerManager &m_player;
    std::optional<QString> m_importerError; ///< while its alert is up
    bool m_isDraggingSlider = false;
    double m_temporaryProgress = 0; ///< seconds

    ArtworkLoader m_artworks;
    ViewRenderer m_renderer;
    PlaylistModel m_playlistModel;
    FilePicker *m_filePicker = nullptr;
    QPointer<ImportAlert> m_importAlert; ///< null while no error is shown
};
