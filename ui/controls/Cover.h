#pragma once

#include "player/Track.h"

#include <QWidget>
#include <optional>

/// The large square cover of the current track, or a placeholder where there is none.
class Cover : public QWidget {
    Q_OBJECT

public:
    Cover();

    /// Nothing happens where it is the same track.
    void setTrack(const std::optional<Track> &track);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    [[nodiscard]] QImage picture() const; ///< null where there is none or its body is damaged
    void drawPlaceholder(QPainter &painter) const;

    std::optional<Track> m_track;
};
