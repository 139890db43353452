#include "ui/PlaylistRowDelegate.h"

#include "metadata/ArtworkLoader.h"
#include "ui/DisplayText.h"
#include "ui/PlaylistModel.h"
#include "ui/drawing/Colors.h"
#include "ui/drawing/ControlState.h"
#include "ui/drawing/Fonts.h"
#include "ui/drawing/Shapes.h"
#include "ui/drawing/Symbol.h"

#include <QFontMetrics>
#include <QPainter>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int SidePadding = 12;
constexpr int VerticalPadding = 8;
constexpr int Spacing = 12;
constexpr int MarkerWidth = 28;
constexpr int CoverSide = 42;
constexpr int LineSpacing = 3;
constexpr int MenuSide = 26;
constexpr double RowCornerRadius = 9;
constexpr double CoverCornerRadius = 6;
constexpr int SymbolSize = 13;

int centered(const QRect &row, int height)
{
    return row.top() + (row.height() - height) / 2;
}

int titleHeight()
{
    return QFontMetrics(systemFont(14, QFont::DemiBold)).height();
}

int artistHeight()
{
    return QFontMetrics(systemFont(12)).height();
}

void drawLine(
    QPainter &painter, const QRect &area, const QString &text, const QFont &font, const QColor &color)
{
    const QString line = QFontMetricsF(font).elidedText(displayText(text), Qt::ElideRight, area.width());
    painter.setFont(font);
    painter.setPen(color);
    painter.setLayoutDirection(Qt::LayoutDirectionAuto);
    painter.drawText(area.left(), area.top() + QFontMetrics(font).ascent(), line);
}

void drawMarker(QPainter &painter, const QRect &area, const PlaylistRow &row, const QPalette &palette)
{
    if (row.isCurrent()) {
        const bool isPlaying = row.marker == PlaylistRow::Marker::Playing;
        const QString symbol = isPlaying ? u"speaker.wave.2.fill"_s : u"pause.fill"_s;
        drawSymbol(painter, area, symbol, SymbolSize, accentTextColor(palette));
        return;
    }
    painter.setFont(fixedFont(12));
    painter.setPen(secondaryColor(palette));
    painter.drawText(area, Qt::AlignCenter | Qt::TextDontClip, QString::number(row.number));
}

void drawTexts(
    QPainter &painter, const PlaylistRowGeometry &at, const PlaylistRow &row, const QPalette &palette)
{
    const TextFont titleFont = systemFont(14, row.isCurrent() ? QFont::DemiBold : QFont::Medium);
    const QColor titleColor = row.isCurrent() ? accentTextColor(palette) : primaryColor(palette);
    drawLine(painter, at.title, row.title, titleFont, titleColor);
    drawLine(painter, at.artist, row.artist, systemFont(12), secondaryColor(palette));
    painter.setFont(fixedFont(12));
    painter.setPen(secondaryColor(palette));
    painter.drawText(at.length, Qt::AlignRight | Qt::AlignVCenter, row.length);
}

} // namespace

PlaylistRowGeometry::PlaylistRowGeometry(const QRect &row, int lengthWidth, int titleHeight, int artistHeight)
    : menu(playlistRowMenu(row))
{
    marker = QRect(row.left() + SidePadding, row.top(), MarkerWidth, row.height());
    const int coverLeft = marker.left() + MarkerWidth + Spacing;
    cover = QRect(coverLeft, centered(row, CoverSide), CoverSide, CoverSide);
    length = QRect(menu.left() - Spacing - lengthWidth, row.top(), lengthWidth, row.height());

    // Two gaps: the flexible space between texts and length has one on either side.
    const int textLeft = cover.left() + CoverSide + Spacing;
    const int textWidth = std::max(0, length.left() - 2 * Spacing - textLeft);
    const int textTop = centered(row, titleHeight + LineSpacing + artistHeight);
    title = QRect(textLeft, textTop, textWidth, titleHeight);
    artist = QRect(textLeft, textTop + titleHeight + LineSpacing, textWidth, artistHeight);
}

int playlistRowHeight(int titleHeight, int artistHeight)
{
    return std::max(CoverSide, titleHeight + LineSpacing + artistHeight) + 2 * VerticalPadding;
}

QRect playlistRowMenu(const QRect &row)
{
    const int left = row.left() + row.width() - SidePadding - MenuSide;
    return {left, centered(row, MenuSide), MenuSide, MenuSide};
}

PlaylistRowDelegate::PlaylistRowDelegate(ArtworkLoader &artworks, QObject *parent)
    : QStyledItemDelegate(parent)
    , m_artworks(artworks)
{
}

void PlaylistRowDelegate::setPointedMenu(const QModelIndex &index, bool isPressed)
{
    m_pointedMenu = index;
    m_isPressed = isPressed;
}

/// Like the window's buttons without a frame.
void PlaylistRowDelegate::drawMenu(
    QPainter &painter, const QRect &area, const QPalette &palette, const QModelIndex &index) const
{
    const bool isPointed = index == m_pointedMenu;
    if (isPointed && m_isPressed)
        painter.setOpacity(PressedOpacity);
    if (isPointed) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(hoverColor(palette));
        painter.drawEllipse(area);
    }
    drawSymbol(painter, area, u"ellipsis"_s, SymbolSize, inactiveColor(palette));
}

void PlaylistRowDelegate::drawSmallArtwork(
    QPainter &painter, const QRect &area, const PlaylistRow &row, const QPalette &palette) const
{
    const QPainterPath outline = smoothCorners(area, CoverCornerRadius);
    painter.fillPath(outline, primaryColor(palette, 0.08));
    ArtworkLoader::Loaded loaded;
    if (row.artwork)
        loaded = m_artworks.image(*row.artwork, area.size() * painter.device()->devicePixelRatioF());
    if (!loaded.image.isNull())
        fillWithPicture(painter, outline, area, loaded.image);
    else if (!loaded.isAwaited)
        drawSymbol(painter, area, u"music.note"_s, SymbolSize, secondaryColor(palette));
}

void PlaylistRowDelegate::paint(
    QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    const PlaylistRow row = static_cast<const PlaylistModel &>(*index.model()).playlistRow(index);
    const int lengthWidth = QFontMetrics(fixedFont(12)).horizontalAdvance(row.length);
    const PlaylistRowGeometry at(option.rect, lengthWidth, titleHeight(), artistHeight());

    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (row.isCurrent())
        painter->fillPath(smoothCorners(option.rect, RowCornerRadius), accentColor(option.palette, 0.1));
    drawMarker(*painter, at.marker, row, option.palette);
    drawSmallArtwork(*painter, at.cover, row, option.palette);
    drawTexts(*painter, at, row, option.palette);
    drawMenu(*painter, at.menu, option.palette, index);
    if (m_isFocusShown && option.state.testFlag(QStyle::State_HasFocus))
        drawFocusRing(*painter, option.rect, option.palette);
    painter->restore();
}

QSize PlaylistRowDelegate::sizeHint(const QStyleOptionViewItem &, const QModelIndex &) const
{
    return {0, playlistRowHeight(titleHeight(), artistHeight())};
}
