#pragma once

#include "metadata/Artwork.h"

#include <QObject>
#include <QTemporaryFile>
#include <QUrl>
#include <memory>
#include <mutex>
#include <optional>

/// The cover of the current track as a file that the user's other programs can show.
///
/// It lies in the user's runtime folder, for the user only, under a new name for each cover, and goes with the next
/// cover or with this. It is locked as long as it is there: one that is not was left by a player that has crashed.
/// Main thread only; the picture is read and written on other threads, which nobody waits for.
class CoverFile : public QObject {
    Q_OBJECT

public:
    CoverFile() { m_receiver->cover = this; }
    ~CoverFile() override;

    /// Removes what crashed players have left. Any thread.
    static void removeLeftovers();

    /// Makes this the cover that is shown; nothing changes if it is the same picture.
    void show(const std::optional<Artwork> &artwork);

    /// Empty if there is no cover, or none yet.
    [[nodiscard]] QUrl url() const;

Q_SIGNALS:
    void changed(); ///< the file of the cover is there

private:
    /// Whom a thread that has written a file tells so. It may outlive this, and the application.
    struct Receiver {
        std::mutex mutex;
        CoverFile *cover = nullptr; ///< none once that is gone
    };

    void write();
    void take(const Fingerprint &picture, std::unique_ptr<QTemporaryFile> file);

    std::optional<Artwork> m_artwork;
    std::unique_ptr<QTemporaryFile> m_file; ///< null as long as there is none
    const std::shared_ptr<Receiver> m_receiver = std::make_shared<Receiver>();
    bool m_isWriting = false; ///< one thread at a time, however fast tracks change
};
