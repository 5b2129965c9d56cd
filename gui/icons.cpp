#include "gui/icons.h"

#include <QFont>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPolygonF>
#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <numbers>

namespace zr::gui {
namespace {

// Every pictogram is drawn on a 48 x 48 grid and scaled to the asked size, so one drawing serves
// every toolbar size. The style: line and filled glyphs in slate with one accent colour.
constexpr qreal kGrid = 48.0;
constexpr qreal kStroke = 3.5;
const QColor kBlue{0x1E, 0x88, 0xE5};
const QColor kLightBlue{0x64, 0xB5, 0xF6};
const QColor kRed{0xE5, 0x39, 0x35};
const QColor kGreen{0x43, 0xA0, 0x47};
const QColor kDeepInk{0x26, 0x32, 0x38};  // the lens's opening, dark on every theme

// The ink follows the desktop's palette: dark slate on a light theme, light slate on a dark one,
// so that every pictogram reads on the toolbar's background; the accents read on both.
bool DarkPalette() { return QGuiApplication::palette().color(QPalette::Window).lightness() < 128; }
QColor Ink() { return DarkPalette() ? QColor(0xCF, 0xD8, 0xDC) : QColor(0x37, 0x47, 0x4F); }
QColor Tile() { return DarkPalette() ? QColor(0x45, 0x5A, 0x64) : QColor(0xCF, 0xD8, 0xDC); }

using DrawFunction = void (*)(QPainter&);

// ---- Pens, brushes and shared shapes ----

void Stroke(QPainter& p, const QColor& color, qreal width = kStroke) {
  QPen pen(color, width);
  pen.setCapStyle(Qt::RoundCap);
  pen.setJoinStyle(Qt::RoundJoin);
  p.setPen(pen);
  p.setBrush(Qt::NoBrush);
}

void Fill(QPainter& p, const QColor& color) {
  p.setPen(Qt::NoPen);
  p.setBrush(color);
}

QPolygonF Polygon(std::initializer_list<QPointF> points) { return QPolygonF(QList<QPointF>(points)); }

// Erases what lies under a shape drawn next, so an element laid over another keeps a clean gap.
void Erase(QPainter& p, const QPainterPath& area) {
  p.save();
  p.setCompositionMode(QPainter::CompositionMode_Clear);
  p.fillPath(area, Qt::black);
  p.restore();
}

void EraseDisc(QPainter& p, QPointF center, qreal radius) {
  QPainterPath disc;
  disc.addEllipse(center, radius, radius);
  Erase(p, disc);
}

void EraseRect(QPainter& p, const QRectF& rect) {
  QPainterPath area;
  area.addRect(rect);
  Erase(p, area);
}

// Draws a whole 48-grid pictogram shrunk into `box` (for pictures made of a base and a badge).
void DrawInto(QPainter& p, const QRectF& box, DrawFunction draw) {
  p.save();
  p.translate(box.topLeft());
  p.scale(box.width() / kGrid, box.height() / kGrid);
  draw(p);
  p.restore();
}

void Arrow(QPainter& p, QPointF from, QPointF to, const QColor& color, qreal width = kStroke) {
  const QPointF along = to - from;
  const qreal length = std::hypot(along.x(), along.y());
  const QPointF unit = along / length;
  const QPointF across(-unit.y(), unit.x());
  const qreal head = 3.0 * width;
  const QPointF base = to - unit * head;
  Stroke(p, color, width);
  p.drawLine(from, base);
  Fill(p, color);
  p.drawPolygon(Polygon({to, base + across * head * 0.7, base - across * head * 0.7}));
}

void Text(QPainter& p, const QRectF& box, const QString& text, qreal pixel_size, const QColor& color) {
  QFont font = QGuiApplication::font();
  font.setPixelSize(std::max(1, static_cast<int>(std::lround(pixel_size))));
  font.setBold(true);
  p.setFont(font);
  p.setPen(color);
  p.drawText(box, Qt::AlignCenter, text);
}

// A sparkle of four long and four short rays, as round a magic wand.
void Sparkle(QPainter& p, QPointF center, qreal radius, const QColor& color) {
  QPolygonF star;
  for (int i = 0; i < 8; ++i) {
    const qreal angle = i * std::numbers::pi / 4.0;
    const qreal r = (i % 2 == 0) ? radius : radius * 0.3;
    star << center + QPointF(std::cos(angle), std::sin(angle)) * r;
  }
  Fill(p, color);
  p.drawPolygon(star);
}

void Globe(QPainter& p, QPointF center, qreal radius, const QColor& color, qreal width = kStroke) {
  Stroke(p, color, width);
  p.drawEllipse(center, radius, radius);
  p.drawEllipse(center, radius * 0.45, radius);
  p.drawLine(center - QPointF(radius, 0), center + QPointF(radius, 0));
}

void Gear(QPainter& p, QPointF center, qreal outer, qreal inner, qreal hole, const QColor& color) {
  constexpr int kTeeth = 8;
  const qreal step = 2.0 * std::numbers::pi / kTeeth;
  QPolygonF outline;
  for (int i = 0; i < kTeeth; ++i) {
    const qreal a = i * step;
    for (const auto& [offset, radius] :
         {std::pair{-0.30, inner}, std::pair{-0.17, outer}, std::pair{0.17, outer}, std::pair{0.30, inner}}) {
      outline << center + QPointF(std::cos(a + offset), std::sin(a + offset)) * radius;
    }
  }
  Fill(p, color);
  p.drawPolygon(outline);
  EraseDisc(p, center, hole);
}

// A framed photograph: a landscape with a sun in the accent colour.
void Photo(QPainter& p, const QRectF& frame) {
  const auto at = [&frame](qreal u, qreal v) {
    return QPointF(frame.left() + u * frame.width(), frame.top() + v * frame.height());
  };
  EraseRect(p, frame);
  Stroke(p, Ink());
  p.drawRoundedRect(frame, 3, 3);
  Fill(p, Ink());
  p.drawPolygon(Polygon({at(0.12, 0.86), at(0.40, 0.42), at(0.58, 0.66), at(0.70, 0.52), at(0.88, 0.86)}));
  Fill(p, kBlue);
  const qreal sun = std::min(frame.width(), frame.height()) * 0.12;
  p.drawEllipse(at(0.74, 0.28), sun, sun);
}

// A strip of film with sprocket holes along both edges and two frames in the accent colour.
void Film(QPainter& p, const QRectF& strip) {
  Fill(p, Ink());
  p.drawRoundedRect(strip, 3, 3);
  const qreal margin = strip.height() * 0.08;
  const qreal hole_height = strip.height() * 0.13;
  const int holes = std::max(2, static_cast<int>(strip.width() / 8.0));
  const qreal pitch = strip.width() / holes;
  for (int i = 0; i < holes; ++i) {
    const qreal x = strip.left() + i * pitch + pitch * 0.25;
    EraseRect(p, QRectF(x, strip.top() + margin, pitch * 0.5, hole_height));
    EraseRect(p, QRectF(x, strip.bottom() - margin - hole_height, pitch * 0.5, hole_height));
  }
  const qreal frame_top = strip.top() + 2 * margin + hole_height;
  const qreal frame_height = strip.bottom() - 2 * margin - hole_height - frame_top;
  const qreal gap = strip.width() * 0.06;
  const qreal frame_width = (strip.width() - 3 * gap) / 2;
  Fill(p, kBlue);
  p.drawRect(QRectF(strip.left() + gap, frame_top, frame_width, frame_height));
  p.drawRect(QRectF(strip.left() + 2 * gap + frame_width, frame_top, frame_width, frame_height));
}

void Document(QPainter& p) {
  Stroke(p, Ink());
  p.drawPolygon(Polygon({{10, 4}, {28, 4}, {37, 13}, {37, 44}, {10, 44}}));
  p.drawPolyline(Polygon({{28, 4}, {28, 13}, {37, 13}}));
}

// A pencil from `tail` to its tip, drawn over a cleared lane so it reads over other lines.
void Pencil(QPainter& p, QPointF tail, QPointF tip) {
  const QPointF along = tip - tail;
  const QPointF unit = along / std::hypot(along.x(), along.y());
  const QPointF across(-unit.y(), unit.x());
  const QPointF base = tip - unit * 6.0;
  QPainterPath lane;
  lane.addPolygon(Polygon({tail - across * 6 - unit * 2, base - across * 6, tip + unit * 3, base + across * 6,
                           tail + across * 6 - unit * 2}));
  Erase(p, lane);
  Fill(p, kBlue);
  p.drawPolygon(Polygon({tail - across * 3.5, base - across * 3.5, tip, base + across * 3.5, tail + across * 3.5}));
}

void Tag(QPainter& p) {
  Stroke(p, Ink());
  p.drawPolygon(Polygon({{6, 10}, {27, 10}, {42, 24}, {27, 38}, {6, 38}}));
  Fill(p, kBlue);
  p.drawEllipse(QPointF(14, 24), 3.5, 3.5);
}

// The aperture of a lens: six blades around a hexagonal opening inside a ring. The logo, the
// window icon and the snapshot button share it.
void Aperture(QPainter& p, QPointF center, qreal radius, const QColor& blade_a, const QColor& blade_b) {
  const qreal ring = radius * 0.12;
  const qreal inside = radius - ring / 2;
  const qreal opening = radius * 0.40;
  QPointF vertex[6];
  for (int i = 0; i < 6; ++i) {
    const qreal a = (i * 60.0 + 15.0) * std::numbers::pi / 180.0;
    vertex[i] = center + QPointF(std::cos(a), std::sin(a)) * opening;
  }
  // Each blade edge continues a side of the opening until it meets the ring.
  QPointF edge_end[6];
  for (int i = 0; i < 6; ++i) {
    const QPointF along = vertex[i] - vertex[(i + 5) % 6];
    const QPointF unit = along / std::hypot(along.x(), along.y());
    const QPointF from = vertex[i] - center;
    const qreal b = QPointF::dotProduct(from, unit);
    const qreal t = -b + std::sqrt(b * b - (QPointF::dotProduct(from, from) - inside * inside));
    edge_end[i] = vertex[i] + unit * t;
  }
  for (int i = 0; i < 6; ++i) {
    const int next = (i + 1) % 6;
    QPainterPath blade(vertex[i]);
    blade.lineTo(vertex[next]);
    blade.lineTo(edge_end[next]);
    const QPointF start = edge_end[next] - center;
    const qreal start_angle = std::atan2(start.y(), start.x());
    constexpr int kArcSteps = 10;
    for (int k = 1; k <= kArcSteps; ++k) {
      const qreal a = start_angle - k * (std::numbers::pi / 3.0) / kArcSteps;
      blade.lineTo(center + QPointF(std::cos(a), std::sin(a)) * inside);
    }
    blade.closeSubpath();
    p.fillPath(blade, i % 2 == 0 ? blade_a : blade_b);
  }
  Fill(p, kDeepInk);
  p.drawPolygon(vertex, 6);
  Stroke(p, Ink(), ring);
  p.drawEllipse(center, radius - ring / 2, radius - ring / 2);
}

// ---- The pictograms, one per toolbar image ----

void DrawOpen(QPainter& p) {
  Stroke(p, Ink());
  p.drawPolyline(Polygon({{38, 20}, {38, 15}, {22, 15}, {18, 10}, {6, 10}, {6, 38}}));
  Fill(p, kBlue);
  p.drawPolygon(Polygon({{12, 22}, {45, 22}, {38, 39}, {5, 39}}));
}

void DrawSave(QPainter& p) {
  Stroke(p, Ink());
  p.drawPolygon(Polygon({{7, 7}, {34, 7}, {41, 14}, {41, 41}, {7, 41}}));
  p.drawRect(QRectF(14, 27, 20, 14));
  Fill(p, kBlue);
  p.drawRect(QRectF(15, 8, 15, 10));
}

void DrawPrint(QPainter& p) {
  Stroke(p, Ink());
  p.drawRect(QRectF(14, 6, 20, 12));
  p.drawRoundedRect(QRectF(6, 18, 36, 16), 3, 3);
  Fill(p, kBlue);
  p.drawRect(QRectF(14, 28, 20, 14));
}

void DrawClipboard(QPainter& p) {
  Stroke(p, Ink());
  p.drawRoundedRect(QRectF(9, 9, 30, 34), 3, 3);
  Fill(p, kBlue);
  p.drawRoundedRect(QRectF(17, 5, 14, 8), 2, 2);
  Stroke(p, Ink(), 2.5);
  p.drawLine(QPointF(16, 22), QPointF(32, 22));
  p.drawLine(QPointF(16, 29), QPointF(32, 29));
  p.drawLine(QPointF(16, 36), QPointF(26, 36));
}

void DrawViewer(QPainter& p) {
  Stroke(p, Ink());
  p.drawRoundedRect(QRectF(5, 9, 38, 30), 5, 5);
  Fill(p, kBlue);
  p.drawPolygon(Polygon({{19, 16}, {19, 32}, {32, 24}}));
}

void DrawSubtitles(QPainter& p) {
  Stroke(p, Ink());
  p.drawRoundedRect(QRectF(5, 8, 38, 32), 4, 4);
  Fill(p, kBlue);
  p.drawRoundedRect(QRectF(11, 24, 26, 4), 2, 2);
  p.drawRoundedRect(QRectF(15, 31, 18, 4), 2, 2);
}

void DrawPreferences(QPainter& p) {
  Gear(p, {24, 24}, 20, 15, 8, Ink());
  Fill(p, kBlue);
  p.drawEllipse(QPointF(24, 24), 4.5, 4.5);
}

void DrawAbout(QPainter& p) {
  Stroke(p, Ink());
  p.drawEllipse(QPointF(24, 24), 19, 19);
  Text(p, QRectF(0, 0, kGrid, kGrid), QStringLiteral("?"), 26, kBlue);
}

void DrawScanner(QPainter& p) {
  Stroke(p, Ink());
  p.drawRoundedRect(QRectF(5, 22, 38, 17), 3, 3);
  p.drawLine(QPointF(6, 16), QPointF(42, 9));
  Fill(p, kBlue);
  p.drawRect(QRectF(10, 27, 28, 4));
  Fill(p, Ink());
  p.drawEllipse(QPointF(36, 35), 1.8, 1.8);
}

void DrawChooseScanner(QPainter& p) {
  DrawInto(p, QRectF(0, -2, 40, 40), DrawScanner);
  EraseDisc(p, {36, 37}, 11);
  Stroke(p, kBlue, 4.5);
  p.drawPolyline(Polygon({{29, 37}, {34, 42}, {43, 31}}));
}

void DrawMovie(QPainter& p) { Film(p, QRectF(5, 10, 38, 28)); }

void DrawImage(QPainter& p) { Photo(p, QRectF(5, 9, 38, 30)); }

void DrawMultiple(QPainter& p) {
  Stroke(p, Ink());
  p.drawRoundedRect(QRectF(16, 4, 28, 22), 3, 3);
  Photo(p, QRectF(10, 10, 28, 22));
  Photo(p, QRectF(4, 18, 28, 24));
}

void DrawPicturesIntoFilm(QPainter& p) {
  Photo(p, QRectF(3, 4, 22, 18));
  Film(p, QRectF(17, 26, 28, 18));
  Arrow(p, {28, 9}, {41, 21}, kBlue);
}

void DrawWebShare(QPainter& p) {
  Globe(p, {21, 27}, 15, Ink());
  Stroke(p, kBlue);
  p.drawArc(QRectF(21 - 20, 27 - 20, 40, 40), 15 * 16, 60 * 16);
  p.drawArc(QRectF(21 - 26, 27 - 26, 52, 52), 20 * 16, 50 * 16);
}

void DrawVideoCamera(QPainter& p) {
  Stroke(p, Ink());
  p.drawRoundedRect(QRectF(4, 13, 28, 22), 4, 4);
  Fill(p, Ink());
  p.drawPolygon(Polygon({{32, 21}, {44, 14}, {44, 34}, {32, 27}}));
  Fill(p, kBlue);
  p.drawEllipse(QPointF(12, 21), 3.5, 3.5);
}

void DrawSource(QPainter& p) {
  Fill(p, Ink());
  p.drawRoundedRect(QRectF(9, 15, 17, 18), 3, 3);
  Stroke(p, Ink());
  p.drawLine(QPointF(26, 19), QPointF(35, 19));
  p.drawLine(QPointF(26, 29), QPointF(35, 29));
  p.drawLine(QPointF(9, 24), QPointF(3, 24));
  Stroke(p, kBlue, 4);
  p.drawPolyline(Polygon({{39, 11}, {44, 11}, {44, 37}, {39, 37}}));
}

void DrawFormat(QPainter& p) {
  Stroke(p, Ink());
  p.drawPolyline(Polygon({{5, 17}, {5, 9}, {13, 9}}));
  p.drawPolyline(Polygon({{35, 9}, {43, 9}, {43, 17}}));
  p.drawPolyline(Polygon({{43, 31}, {43, 39}, {35, 39}}));
  p.drawPolyline(Polygon({{13, 39}, {5, 39}, {5, 31}}));
  Arrow(p, {24, 24}, {35, 15}, kBlue, 3);
  Arrow(p, {24, 24}, {13, 33}, kBlue, 3);
}

void DrawDisplay(QPainter& p) {
  Stroke(p, Ink());
  p.drawRoundedRect(QRectF(4, 6, 40, 28), 3, 3);
  p.drawLine(QPointF(24, 34), QPointF(24, 40));
  p.drawLine(QPointF(15, 41), QPointF(33, 41));
  Fill(p, kBlue);
  p.drawRect(QRectF(9, 11, 30, 18));
}

void DrawDeviceSettings(QPainter& p) {
  DrawInto(p, QRectF(0, -4, 40, 40), DrawVideoCamera);
  EraseDisc(p, {35, 35}, 13);
  Gear(p, {35, 35}, 11, 8, 3.5, kBlue);
}

void DrawFullScreen(QPainter& p) {
  Arrow(p, {18, 18}, {6, 6}, Ink());
  Arrow(p, {30, 18}, {42, 6}, Ink());
  Arrow(p, {30, 30}, {42, 42}, Ink());
  Arrow(p, {18, 30}, {6, 42}, Ink());
  Fill(p, kBlue);
  p.drawRect(QRectF(20, 20, 8, 8));
}

void DrawSnapshot(QPainter& p) { Aperture(p, {24, 24}, 20, kBlue, kLightBlue); }

void DrawInfo(QPainter& p) {
  Stroke(p, Ink());
  p.drawEllipse(QPointF(24, 24), 19, 19);
  Fill(p, kBlue);
  p.drawEllipse(QPointF(24, 14), 3, 3);
  p.drawRoundedRect(QRectF(21, 20, 6, 16), 2, 2);
}

void DrawAdvanced(QPainter& p) {
  Stroke(p, Ink());
  for (const qreal y : {12.0, 24.0, 36.0}) p.drawLine(QPointF(6, y), QPointF(42, y));
  Fill(p, kBlue);
  p.drawEllipse(QPointF(30, 12), 5, 5);
  p.drawEllipse(QPointF(15, 24), 5, 5);
  p.drawEllipse(QPointF(34, 36), 5, 5);
}

void DrawHistogram(QPainter& p) {
  Stroke(p, Ink());
  p.drawPolyline(Polygon({{6, 5}, {6, 42}, {43, 42}}));
  Fill(p, kBlue);
  p.drawRect(QRectF(11, 28, 6, 11));
  p.drawRect(QRectF(19, 13, 6, 26));
  p.drawRect(QRectF(27, 22, 6, 17));
  p.drawRect(QRectF(35, 8, 6, 31));
}

void DrawFieldOfView(QPainter& p) {
  Stroke(p, Ink());
  p.drawLine(QPointF(8, 26), QPointF(43, 9));
  p.drawLine(QPointF(8, 26), QPointF(43, 43));
  Fill(p, Ink());
  p.drawRoundedRect(QRectF(3, 20, 9, 12), 2, 2);
  Stroke(p, kBlue);
  p.drawArc(QRectF(8 - 24, 26 - 24, 48, 48), -24 * 16, 48 * 16);
}

void DrawExportTape(QPainter& p) {
  Stroke(p, Ink());
  p.drawRoundedRect(QRectF(4, 6, 36, 26), 3, 3);
  p.drawEllipse(QPointF(15, 17), 4, 4);
  p.drawEllipse(QPointF(29, 17), 4, 4);
  p.drawPolyline(Polygon({{11, 32}, {14, 27}, {30, 27}, {33, 32}}));
  Arrow(p, {22, 41}, {45, 41}, kBlue);
}

void DrawDesktopScreen(QPainter& p) {
  Stroke(p, Ink());
  p.drawRoundedRect(QRectF(4, 7, 40, 34), 3, 3);
  p.drawRect(QRectF(11, 13, 18, 12));
  Fill(p, kBlue);
  p.drawRect(QRectF(7, 32, 34, 5));
}

void DrawSeparateWindow(QPainter& p) {
  Stroke(p, Ink());
  p.drawRoundedRect(QRectF(4, 14, 28, 28), 2, 2);
  p.drawLine(QPointF(4, 21), QPointF(32, 21));
  EraseRect(p, QRectF(18, 1, 29, 25));
  Stroke(p, kBlue);
  p.drawRoundedRect(QRectF(22, 4, 22, 18), 2, 2);
  Fill(p, kBlue);
  p.drawRect(QRectF(22, 4, 22, 6));
}

void DrawOverlay(QPainter& p) {
  Stroke(p, Ink());
  p.drawRoundedRect(QRectF(5, 5, 26, 26), 3, 3);
  EraseRect(p, QRectF(13, 13, 32, 32));
  Fill(p, kBlue);
  p.drawRoundedRect(QRectF(16, 16, 27, 27), 3, 3);
}

void DrawEye(QPainter& p) {
  QPainterPath eye(QPointF(3, 24));
  eye.quadTo(QPointF(24, 2), QPointF(45, 24));
  eye.quadTo(QPointF(24, 46), QPointF(3, 24));
  Stroke(p, Ink());
  p.drawPath(eye);
  Fill(p, kBlue);
  p.drawEllipse(QPointF(24, 24), 7.5, 7.5);
}

void DrawRecord(QPainter& p) {
  Fill(p, kRed);
  p.drawEllipse(QPointF(24, 24), 16, 16);
}

void DrawStop(QPainter& p) {
  Fill(p, Ink());
  p.drawRoundedRect(QRectF(10, 10, 28, 28), 3, 3);
}

void DrawPause(QPainter& p) {
  Fill(p, Ink());
  p.drawRoundedRect(QRectF(11, 9, 9, 30), 2, 2);
  p.drawRoundedRect(QRectF(28, 9, 9, 30), 2, 2);
}

void DrawMotion(QPainter& p) {
  Fill(p, kBlue);
  p.drawEllipse(QPointF(31, 24), 11, 11);
  Stroke(p, Ink());
  p.drawLine(QPointF(8, 15), QPointF(17, 15));
  p.drawLine(QPointF(3, 24), QPointF(15, 24));
  p.drawLine(QPointF(8, 33), QPointF(17, 33));
}

void DrawClock(QPainter& p) {
  Stroke(p, Ink());
  p.drawEllipse(QPointF(24, 24), 19, 19);
  Stroke(p, kBlue, 4);
  p.drawLine(QPointF(24, 24), QPointF(24, 12));
  p.drawLine(QPointF(24, 24), QPointF(32, 29));
}

void DrawSpeaker(QPainter& p) {
  Fill(p, Ink());
  p.drawPolygon(Polygon({{5, 18}, {13, 18}, {24, 8}, {24, 40}, {13, 30}, {5, 30}}));
  Stroke(p, kBlue);
  p.drawArc(QRectF(24 - 8, 24 - 8, 16, 16), -50 * 16, 100 * 16);
  p.drawArc(QRectF(24 - 16, 24 - 16, 32, 32), -50 * 16, 100 * 16);
}

void DrawSerialPlug(QPainter& p) {
  Stroke(p, Ink());
  p.drawPolygon(Polygon({{4, 14}, {44, 14}, {39, 34}, {9, 34}}));
  Fill(p, kBlue);
  for (const qreal x : {12.0, 18.0, 24.0, 30.0, 36.0}) p.drawEllipse(QPointF(x, 21), 2, 2);
  for (const qreal x : {15.0, 21.0, 27.0, 33.0}) p.drawEllipse(QPointF(x, 28), 2, 2);
}

void DrawFileName(QPainter& p) {
  Document(p);
  Pencil(p, {44, 22}, {25, 41});
}

void DrawCompression(QPainter& p) {
  Arrow(p, {3, 24}, {18, 24}, Ink());
  Arrow(p, {45, 24}, {30, 24}, Ink());
  Fill(p, kBlue);
  p.drawRect(QRectF(21, 8, 6, 32));
}

void DrawOtherInfo(QPainter& p) {
  Tag(p);
  Stroke(p, Ink(), 3);
  p.drawLine(QPointF(20, 20), QPointF(30, 20));
  p.drawLine(QPointF(20, 28), QPointF(28, 28));
}

void DrawWriteInfo(QPainter& p) {
  DrawInto(p, QRectF(0, 0, 40, 40), Tag);
  Pencil(p, {45, 24}, {26, 43});
}

void DrawMicrophone(QPainter& p) {
  Fill(p, kBlue);
  p.drawRoundedRect(QRectF(17, 3, 14, 25), 7, 7);
  Stroke(p, Ink());
  p.drawArc(QRectF(10, 6, 28, 28), 180 * 16, 180 * 16);
  p.drawLine(QPointF(24, 34), QPointF(24, 41));
  p.drawLine(QPointF(16, 42), QPointF(32, 42));
}

void DrawTimeCode(QPainter& p) {
  Stroke(p, Ink());
  p.drawRoundedRect(QRectF(2, 12, 44, 24), 4, 4);
  Text(p, QRectF(2, 12, 44, 24), QStringLiteral("00:00"), 13, kBlue);
}

void DrawVideoCompression(QPainter& p) {
  Film(p, QRectF(13, 8, 22, 32));
  Arrow(p, {1, 24}, {11, 24}, kBlue);
  Arrow(p, {47, 24}, {37, 24}, kBlue);
}

void DrawNetwork(QPainter& p) {
  Stroke(p, Ink());
  p.drawLine(QPointF(24, 14), QPointF(24, 24));
  p.drawLine(QPointF(10, 24), QPointF(38, 24));
  p.drawLine(QPointF(10, 24), QPointF(10, 33));
  p.drawLine(QPointF(38, 24), QPointF(38, 33));
  Fill(p, kBlue);
  p.drawRoundedRect(QRectF(17, 3, 14, 11), 2, 2);
  p.drawRoundedRect(QRectF(3, 33, 14, 11), 2, 2);
  p.drawRoundedRect(QRectF(31, 33, 14, 11), 2, 2);
}

void DrawMagicWand(QPainter& p) {
  Stroke(p, Ink(), 5);
  p.drawLine(QPointF(7, 43), QPointF(29, 21));
  Sparkle(p, {36, 13}, 9, kBlue);
  Sparkle(p, {18, 9}, 5, kBlue);
  Sparkle(p, {41, 31}, 5, kBlue);
}

void DrawUpload(QPainter& p) {
  Stroke(p, Ink());
  p.drawRoundedRect(QRectF(7, 27, 34, 8), 2, 2);
  p.drawRoundedRect(QRectF(7, 37, 34, 8), 2, 2);
  Fill(p, Ink());
  p.drawEllipse(QPointF(35, 31), 1.6, 1.6);
  p.drawEllipse(QPointF(35, 41), 1.6, 1.6);
  Arrow(p, {24, 23}, {24, 2}, kBlue, 4);
}

void DrawTextOverPicture(QPainter& p) {
  Photo(p, QRectF(4, 12, 40, 32));
  EraseRect(p, QRectF(11, 1, 26, 10));
  EraseRect(p, QRectF(18, 1, 12, 33));
  Fill(p, kBlue);
  p.drawRect(QRectF(14, 3, 20, 6));
  p.drawRect(QRectF(21, 3, 6, 28));
}

void DrawCounter(QPainter& p) {
  Stroke(p, Ink());
  p.drawRoundedRect(QRectF(5, 5, 38, 38), 5, 5);
  Stroke(p, kBlue);
  p.drawLine(QPointF(21, 12), QPointF(18, 36));
  p.drawLine(QPointF(31, 12), QPointF(28, 36));
  p.drawLine(QPointF(12, 19), QPointF(37, 19));
  p.drawLine(QPointF(11, 29), QPointF(36, 29));
}

// ---- The tuner: a television with a badge saying what the button does to it ----

void Television(QPainter& p) {
  Stroke(p, Ink());
  p.drawRoundedRect(QRectF(4, 17, 40, 27), 4, 4);
  p.drawLine(QPointF(24, 17), QPointF(14, 4));
  p.drawLine(QPointF(24, 17), QPointF(34, 4));
}

// The television shrunk to the upper left with the badge's place at the lower right cleared.
void TelevisionWithBadge(QPainter& p) {
  DrawInto(p, QRectF(0, 0, 38, 38), Television);
  EraseDisc(p, {36, 36}, 12);
}

void DrawTunerAdd(QPainter& p) {
  TelevisionWithBadge(p);
  Stroke(p, kGreen, 4.5);
  p.drawLine(QPointF(36, 28), QPointF(36, 44));
  p.drawLine(QPointF(28, 36), QPointF(44, 36));
}

void DrawTunerRemove(QPainter& p) {
  TelevisionWithBadge(p);
  Stroke(p, kRed, 4.5);
  p.drawLine(QPointF(28, 36), QPointF(44, 36));
}

void DrawTunerCountry(QPainter& p) {
  TelevisionWithBadge(p);
  Globe(p, {36, 36}, 9, kBlue, 2.5);
}

void DrawTunerUp(QPainter& p) {
  TelevisionWithBadge(p);
  Arrow(p, {36, 46}, {36, 26}, kBlue, 3.5);
}

void DrawTunerDown(QPainter& p) {
  TelevisionWithBadge(p);
  Arrow(p, {36, 26}, {36, 46}, kBlue, 3.5);
}

void DrawRoofAntenna(QPainter& p) {
  Stroke(p, Ink());
  p.drawLine(QPointF(24, 7), QPointF(24, 44));
  p.drawLine(QPointF(16, 44), QPointF(32, 44));
  Stroke(p, kBlue);
  p.drawLine(QPointF(14, 8), QPointF(34, 8));
  p.drawLine(QPointF(10, 16), QPointF(38, 16));
  p.drawLine(QPointF(6, 24), QPointF(42, 24));
}

void DrawCablePlug(QPainter& p) {
  QPainterPath cable(QPointF(18, 30));
  cable.cubicTo(QPointF(18, 44), QPointF(34, 32), QPointF(43, 44));
  Stroke(p, Ink(), 4);
  p.drawPath(cable);
  p.drawLine(QPointF(18, 12), QPointF(18, 3));
  Fill(p, kBlue);
  p.drawRoundedRect(QRectF(9, 12, 18, 18), 3, 3);
}

void DrawChannelList(QPainter& p) {
  Fill(p, kBlue);
  for (const qreal y : {7.0, 20.0, 33.0}) p.drawRoundedRect(QRectF(5, y, 9, 9), 2, 2);
  Stroke(p, Ink());
  p.drawLine(QPointF(19, 11.5), QPointF(43, 11.5));
  p.drawLine(QPointF(19, 24.5), QPointF(43, 24.5));
  p.drawLine(QPointF(19, 37.5), QPointF(36, 37.5));
}

// ---- Lists ----

void DrawAdd(QPainter& p) {
  Stroke(p, kGreen, 6);
  p.drawLine(QPointF(24, 9), QPointF(24, 39));
  p.drawLine(QPointF(9, 24), QPointF(39, 24));
}

void DrawDelete(QPainter& p) {
  Stroke(p, kRed, 6);
  p.drawLine(QPointF(12, 12), QPointF(36, 36));
  p.drawLine(QPointF(36, 12), QPointF(12, 36));
}

void DrawTrash(QPainter& p) {
  Stroke(p, Ink());
  p.drawLine(QPointF(7, 12), QPointF(41, 12));
  p.drawPolyline(Polygon({{19, 12}, {19, 6}, {29, 6}, {29, 12}}));
  p.drawPolygon(Polygon({{11, 17}, {37, 17}, {34, 43}, {14, 43}}));
  Stroke(p, kBlue, 3);
  p.drawLine(QPointF(20, 22), QPointF(21, 37));
  p.drawLine(QPointF(28, 22), QPointF(27, 37));
}

void DrawUp(QPainter& p) { Arrow(p, {24, 43}, {24, 5}, kBlue, 5); }

void DrawDown(QPainter& p) { Arrow(p, {24, 5}, {24, 43}, kBlue, 5); }

void DrawFingerPress(QPainter& p) {
  Fill(p, kBlue);
  p.drawRoundedRect(QRectF(7, 35, 34, 8), 3, 3);
  Fill(p, Ink());
  p.drawRoundedRect(QRectF(19, 3, 10, 28), 5, 5);
  Stroke(p, Ink(), 3);
  p.drawLine(QPointF(10, 22), QPointF(14, 28));
  p.drawLine(QPointF(38, 22), QPointF(34, 28));
}

void DrawJoystick(QPainter& p) {
  Fill(p, Ink());
  p.drawRoundedRect(QRectF(7, 34, 34, 10), 4, 4);
  Stroke(p, Ink(), 4);
  p.drawLine(QPointF(24, 34), QPointF(24, 17));
  Fill(p, kBlue);
  p.drawEllipse(QPointF(24, 12), 7, 7);
  p.drawEllipse(QPointF(36, 29), 3, 3);
}

// ---- The movie window's transport and tools ----

void DrawPlay(QPainter& p) {
  Fill(p, kGreen);
  p.drawPolygon(Polygon({{14, 8}, {40, 24}, {14, 40}}));
}

// A camcorder's winds: two triangles pointing the way the tape goes.
void DrawFastForward(QPainter& p) {
  Fill(p, Ink());
  p.drawPolygon(Polygon({{6, 10}, {24, 24}, {6, 38}}));
  p.drawPolygon(Polygon({{24, 10}, {42, 24}, {24, 38}}));
}

void DrawRewind(QPainter& p) {
  Fill(p, Ink());
  p.drawPolygon(Polygon({{42, 10}, {24, 24}, {42, 38}}));
  p.drawPolygon(Polygon({{24, 10}, {6, 24}, {24, 38}}));
}

// A bar at the movie's first or last frame with the way to it.
void DrawMovieTop(QPainter& p) {
  Fill(p, Ink());
  p.drawRoundedRect(QRectF(6, 10, 6, 28), 2, 2);
  p.drawPolygon(Polygon({{14, 24}, {28, 10}, {28, 38}}));
  p.drawPolygon(Polygon({{28, 24}, {42, 10}, {42, 38}}));
}

void DrawMovieBottom(QPainter& p) {
  Fill(p, Ink());
  p.drawRoundedRect(QRectF(36, 10, 6, 28), 2, 2);
  p.drawPolygon(Polygon({{34, 24}, {20, 10}, {20, 38}}));
  p.drawPolygon(Polygon({{20, 24}, {6, 10}, {6, 38}}));
}

// One frame: a triangle against a bar.
void DrawStepBack(QPainter& p) {
  Fill(p, kBlue);
  p.drawPolygon(Polygon({{10, 24}, {32, 10}, {32, 38}}));
  Fill(p, Ink());
  p.drawRoundedRect(QRectF(35, 10, 6, 28), 2, 2);
}

void DrawStepForward(QPainter& p) {
  Fill(p, kBlue);
  p.drawPolygon(Polygon({{38, 24}, {16, 10}, {16, 38}}));
  Fill(p, Ink());
  p.drawRoundedRect(QRectF(7, 10, 6, 28), 2, 2);
}

void DrawRecompress(QPainter& p) {
  Film(p, QRectF(4, 6, 40, 16));
  Arrow(p, {24, 24}, {24, 44}, kRed);
}

void DrawExtractImage(QPainter& p) {
  Film(p, QRectF(4, 4, 40, 14));
  Photo(p, QRectF(14, 24, 30, 20));
  Arrow(p, {8, 20}, {8, 42}, kRed, 3);
}

void DrawExtractAll(QPainter& p) {
  Film(p, QRectF(4, 4, 40, 14));
  Photo(p, QRectF(4, 30, 18, 14));
  Photo(p, QRectF(26, 30, 18, 14));
  Arrow(p, {24, 19}, {24, 29}, kRed, 3);
}

// The capture window's size panels: the scale the picture is shown at, large in the accent.
void Scale(QPainter& p, const QString& label) { Text(p, QRectF(0, 0, 48, 48), label, 34, kBlue); }
void DrawScaleThird(QPainter& p) { Scale(p, QStringLiteral("\u2153")); }
void DrawScaleHalf(QPainter& p) { Scale(p, QStringLiteral("\u00BD")); }
void DrawScaleWhole(QPainter& p) { Scale(p, QStringLiteral("1:1")); }
void DrawScaleTwice(QPainter& p) { Scale(p, QStringLiteral("2\u00D7")); }
void DrawScaleThrice(QPainter& p) { Scale(p, QStringLiteral("3\u00D7")); }

// ---- The table of toolbar images ----

struct Pictogram {
  std::string_view key;
  // The freedesktop standard icon that means the same; empty where none truly fits.
  std::string_view theme_name;
  DrawFunction draw;
};

const Pictogram kPictograms[] = {
    {"open", "document-open", DrawOpen},
    {"save", "document-save", DrawSave},
    {"print", "document-print", DrawPrint},
    {"clipboard", "edit-copy", DrawClipboard},
    {"viewer", "", DrawViewer},
    {"srt", "", DrawSubtitles},
    {"preferences", "preferences-system", DrawPreferences},
    {"about", "help-about", DrawAbout},
    {"scanner", "scanner", DrawScanner},
    {"choose_scanner", "", DrawChooseScanner},
    {"movie", "video-x-generic", DrawMovie},
    {"image", "image-x-generic", DrawImage},
    {"multiple", "", DrawMultiple},
    {"avibuilder", "", DrawPicturesIntoFilm},
    {"webshare", "", DrawWebShare},
    {"device", "camera-video", DrawVideoCamera},
    {"source", "", DrawSource},
    {"format", "", DrawFormat},
    {"display", "video-display", DrawDisplay},
    {"wdmsettings", "", DrawDeviceSettings},
    {"fullscreen", "view-fullscreen", DrawFullScreen},
    {"snapshot", "camera-photo", DrawSnapshot},
    {"info", "dialog-information", DrawInfo},
    {"advanced", "", DrawAdvanced},
    {"histogram", "", DrawHistogram},
    {"lens", "", DrawFieldOfView},
    {"exportdv", "", DrawExportTape},
    {"screen", "", DrawDesktopScreen},
    {"seprate", "", DrawSeparateWindow},
    {"overlay", "", DrawOverlay},
    {"preview", "", DrawEye},
    {"record", "media-record", DrawRecord},
    {"stop", "media-playback-stop", DrawStop},
    {"pause", "media-playback-pause", DrawPause},
    {"motion", "", DrawMotion},
    {"autostart", "", DrawClock},
    {"sound", "audio-volume-high", DrawSpeaker},
    {"rs232", "", DrawSerialPlug},
    {"filename", "", DrawFileName},
    {"compression", "", DrawCompression},
    {"otherinfo", "", DrawOtherInfo},
    {"audio", "audio-input-microphone", DrawMicrophone},
    {"writeinfo", "", DrawWriteInfo},
    {"tcr", "", DrawTimeCode},
    {"vidcompression", "", DrawVideoCompression},
    {"netset", "network-wired", DrawNetwork},
    {"effects", "", DrawMagicWand},
    {"ftp", "", DrawUpload},
    {"insert", "", DrawTextOverPicture},
    {"filenames", "", DrawCounter},
    {"tuner_add", "", DrawTunerAdd},
    {"tuner_remove", "", DrawTunerRemove},
    {"tuner_country", "", DrawTunerCountry},
    {"tuner_up", "", DrawTunerUp},
    {"tuner_down", "", DrawTunerDown},
    {"tuner_antena", "", DrawRoofAntenna},
    {"tuner_cable", "", DrawCablePlug},
    {"tuner_station", "", DrawChannelList},
    {"add", "list-add", DrawAdd},
    {"delete", "list-remove", DrawDelete},
    {"clear", "edit-clear", DrawTrash},
    {"up", "go-up", DrawUp},
    {"down", "go-down", DrawDown},
    {"manual", "", DrawFingerPress},
    {"joystick", "", DrawJoystick},
    {"play", "media-playback-start", DrawPlay},
    {"fwd", "media-seek-forward", DrawFastForward},
    {"rew", "media-seek-backward", DrawRewind},
    {"movie_top", "media-skip-backward", DrawMovieTop},
    {"movie_bottom", "media-skip-forward", DrawMovieBottom},
    {"step_back", "", DrawStepBack},
    {"step_forward", "", DrawStepForward},
    {"recompress", "", DrawRecompress},
    {"extract_image", "", DrawExtractImage},
    {"extract_all", "", DrawExtractAll},
    {"size_0_33", "", DrawScaleThird},
    {"size_0_50", "", DrawScaleHalf},
    {"size_1_00", "", DrawScaleWhole},
    {"size_2_00", "", DrawScaleTwice},
    {"size_3_00", "", DrawScaleThrice},
};

const Pictogram* FindPictogram(std::string_view key) {
  const auto found = std::find_if(std::begin(kPictograms), std::end(kPictograms),
                                  [key](const Pictogram& entry) { return entry.key == key; });
  return found == std::end(kPictograms) ? nullptr : found;
}

QString FirstLetter(std::string_view key) {
  const QString text = QString::fromUtf8(key.data(), static_cast<qsizetype>(key.size()));
  return text.isEmpty() ? QStringLiteral("?") : text.left(1).toUpper();
}

// The picture of a key we have no pictogram for: never blank, and still tells keys apart.
void DrawLetterTile(QPainter& p, const QString& letter) {
  Fill(p, Tile());
  p.drawRoundedRect(QRectF(4, 4, 40, 40), 8, 8);
  Text(p, QRectF(4, 4, 40, 40), letter, 26, Ink());
}

QImage TransparentImage(QSize size) {
  QImage image(size, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  return image;
}

void Smooth(QPainter& p) {
  p.setRenderHint(QPainter::Antialiasing);
  p.setRenderHint(QPainter::TextAntialiasing);
}

constexpr int kToolbarSizes[] = {16, 24, 32, 48};
constexpr int kWindowIconSizes[] = {16, 24, 32, 48, 64, 128, 256};

QPixmap LensPixmap(int size) {
  QImage image = TransparentImage(QSize(size, size));
  QPainter p(&image);
  Smooth(p);
  Aperture(p, QPointF(size / 2.0, size / 2.0), size * 0.46, kBlue, kLightBlue);
  p.end();
  return QPixmap::fromImage(image);
}

// The largest bold font, up to `pixel_size`, in which `text` fits `width`.
QFont FittingFont(const QString& text, qreal pixel_size, qreal width) {
  QFont font = QGuiApplication::font();
  font.setBold(true);
  for (int size = std::max(1, static_cast<int>(pixel_size)); size > 1; --size) {
    font.setPixelSize(size);
    if (QFontMetricsF(font).horizontalAdvance(text) <= width) return font;
  }
  font.setPixelSize(1);
  return font;
}

// The name in two colours: "Video" in slate, "Zandrell" in the accent, centred in `box`.
void DrawName(QPainter& p, const QRectF& box, Qt::Alignment horizontal) {
  const QString first = QStringLiteral("Video ");
  const QString second = QStringLiteral("Zandrell");
  const QFont font = FittingFont(first + second, box.height(), box.width());
  const QFontMetricsF metrics(font);
  const qreal first_width = metrics.horizontalAdvance(first);
  const qreal total = first_width + metrics.horizontalAdvance(second);
  const qreal left = horizontal == Qt::AlignLeft ? box.left() : box.center().x() - total / 2;
  const qreal baseline = box.center().y() + (metrics.ascent() - metrics.descent()) / 2;
  p.setFont(font);
  p.setPen(Ink());
  p.drawText(QPointF(left, baseline), first);
  p.setPen(kBlue);
  p.drawText(QPointF(left + first_width, baseline), second);
}

}  // namespace

bool HasOwnPictogram(std::string_view image_key) { return FindPictogram(image_key) != nullptr; }

QPixmap DrawnIcon(std::string_view image_key, int size) {
  if (size <= 0) return {};
  QImage image = TransparentImage(QSize(size, size));
  QPainter p(&image);
  Smooth(p);
  p.scale(size / kGrid, size / kGrid);
  if (const Pictogram* pictogram = FindPictogram(image_key)) {
    pictogram->draw(p);
  } else {
    DrawLetterTile(p, FirstLetter(image_key));
  }
  p.end();
  return QPixmap::fromImage(image);
}

QIcon ToolbarIcon(std::string_view image_key) {
  if (const Pictogram* pictogram = FindPictogram(image_key); pictogram && !pictogram->theme_name.empty()) {
    const QString name =
        QString::fromLatin1(pictogram->theme_name.data(), static_cast<qsizetype>(pictogram->theme_name.size()));
    if (QIcon::hasThemeIcon(name)) return QIcon::fromTheme(name);
  }
  QIcon icon;
  for (const int size : kToolbarSizes) icon.addPixmap(DrawnIcon(image_key, size));
  return icon;
}

QPixmap SplashLogo(QSize size) {
  if (size.isEmpty()) return {};
  QImage image = TransparentImage(size);
  QPainter p(&image);
  Smooth(p);
  const qreal width = size.width();
  const qreal height = size.height();
  const bool side_by_side = width >= 1.6 * height;
  if (side_by_side) {
    const qreal lens = height * 0.9;
    const qreal margin = height * 0.05;
    Aperture(p, QPointF(margin + lens / 2, height / 2), lens / 2, kBlue, kLightBlue);
    const qreal text_left = 2 * margin + lens + height * 0.1;
    DrawName(p, QRectF(text_left, 0, width - text_left - margin, height * 0.45).translated(0, height * 0.275),
             Qt::AlignLeft);
  } else {
    const qreal lens = std::min(width * 0.8, height * 0.68);
    Aperture(p, QPointF(width / 2, height * 0.04 + lens / 2), lens / 2, kBlue, kLightBlue);
    const qreal text_top = height * 0.08 + lens;
    DrawName(p, QRectF(width * 0.05, text_top, width * 0.9, height - text_top - height * 0.02), Qt::AlignHCenter);
  }
  p.end();
  return QPixmap::fromImage(image);
}

QIcon ApplicationIcon() {
  QIcon icon;
  for (const int size : kWindowIconSizes) icon.addPixmap(LensPixmap(size));
  return icon;
}

}  // namespace zr::gui
