#pragma once

#include "metadata/ArtworkLoader.h"

#include <QPointer>
#include <QUuid>
#include <QVariantAnimation>
#include <QWidget>
#include <optional>

/// The large square cover of the current track, or a placeholder, with a shadow around it.
///
/// What it shows fades into what comes next, unless the desktop asks for no animations: one track's cover into
/// the next one's, or into the bare ground for as long as that one is loading, and for 100 ms at most.
class Cover : public QWidget {
    Q_OBJECT

public:
    /// A cover that `artworks` loads, which is borrowed and outlives it.
    explicit Cover(ArtworkLoader &artworks);
    ~Cover() override;

    /// Loads a picture that setPicture() will be called with in a moment.
    void prepare(const Artwork &picture);

    /// The picture of whatever bears this name, or the placeholder. Does nothing if the name is the same.
    void setPicture(const QUuid &name, const std::optional<Artwork> &picture);

    [[nodiscard]] bool isFading() const { return m_fade.state() == QAbstractAnimation::Running; }

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    class Shadow;

    struct Face {
        bool isPlaceholder = true;
        std::optional<Fingerprint> picture; ///< the one of `image`
        QImage image;
    };

    [[nodiscard]] bool isMotionWelcome() const;
    [[nodiscard]] QSize pixels() const;
    [[nodiscard]] Face wantedFace();
    void showWantedFace();
    [[nodiscard]] QImage seen() const;
    void drawPlaceholder(QPainter &painter) const;

    ArtworkLoader &m_artworks;
    QUuid m_name;
    std::optional<Artwork> m_picture;
    Face m_face;
    QImage m_former; ///< what was seen when the fade began
    QVariantAnimation m_fade{this}; ///< from 0 to 1
    QPointer<Shadow> m_shadow; ///< may go before the cover, with the parent of both
};
