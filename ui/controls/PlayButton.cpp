#include "ui/controls/PlayButton.h"

#include "ui/drawing/Colors.h"
#include "ui/drawing/Symbol.h"

#include <QPainter>

using namespace Qt::StringLiterals;

PlayButton::PlayButton()
    : Button(tr("Reproducir"))
{
}

void PlayButton::setPlaying(bool isPlaying)
{
    if (isPlaying == m_isPlaying)
        return;
    m_isPlaying = isPlaying;
    setHelp(isPlaying ? tr("Pausar") : tr("Reproducir"));
    update();
}

void PlayButton::draw(QPainter &painter, const QRectF &face, double)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(primaryColor(palette(), isHovered() ? 0.86 : 1));
    painter.drawEllipse(face);
    const QString symbol = m_isPlaying ? u"pause.fill"_s : u"play.fill"_s;
    // A centred triangle looks off-centre.
    const QRectF area = QRectF(rect()).translated(m_isPlaying ? 0 : 1.5, 0);
    drawSymbol(painter, area, symbol, 23, windowBackgroundColor(palette()), QFont::Bold);
}
