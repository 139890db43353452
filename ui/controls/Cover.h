#pragma once

#include "player/Track.h"

#include <QPointer>
#include <QVariantAnimation>
#include <QWidget>
#include <optional>

class CoverShadow;

/// The large square cover of the current track, or a placeholder, with a shadow around it.
///
/// One track's cover fades into the next one's, unless the desktop asks for no animations.
class Cover : public QWidget {
    Q_OBJECT

public:
    Cover();
    ~Cover() override;

    /// Does nothing if it is the same track.
    void setTrack(const std::optional<Track> &track);

    [[nodiscard]] bool isFading() const { return m_fade.state() == QAbstractAnimation::Running; }

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    [[nodiscard]] bool isMotionWelcome() const;
    [[nodiscard]] QImage picture(const std::optional<Track> &track) const; ///< null without a sound one
    void drawFace(
        QPainter &painter, const QPainterPath &outline, const QImage &picture, double opacity) const;
    void drawPlaceholder(QPainter &painter) const;

    std::optional<Track> m_track;
    std::optional<Track> m_previous; ///< what the cover fades from
    QVariantAnimation m_fade{this}; ///< from 0 to 1
    QPointer<CoverShadow> m_shadow; ///< may go before the cover, with the parent of both
};
