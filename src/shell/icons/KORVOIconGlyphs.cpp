#include "KORVOIconGlyphs.h"

#include <QImage>
#include <QPainterPath>
#include <QtMath>

namespace KORVOGlyphs
{

namespace
{

// One palette for the whole family: a fill and a darker line of the same hue.
const QColor kWhite(255, 255, 255);
const QColor kLine(70, 80, 94);         // neutral outline
const QColor kPaper(252, 252, 252);
const QColor kTextLine(150, 160, 172);  // lines of text on a page
const QColor kBlue(74, 134, 212), kBlueLine(38, 84, 150);
const QColor kSteel(96, 140, 204), kSteelLine(40, 82, 142);
const QColor kTeal(38, 160, 150), kTealLine(22, 104, 97);
const QColor kAmber(250, 184, 30), kAmberLine(170, 108, 0);
const QColor kPurple(142, 92, 199), kPurpleLine(88, 50, 140);
const QColor kFolder(245, 196, 81), kFolderFront(250, 215, 126), kFolderLine(176, 128, 32);
const QColor kLavender(164, 150, 232), kLavenderTop(205, 196, 248), kLavenderLine(84, 70, 158);
const QColor kNavy(43, 42, 120), kNavyLine(20, 19, 70);
const QColor kGreen(46, 157, 58), kGreenLine(26, 105, 36);
const QColor kOrange(232, 113, 26), kRed(208, 44, 44);
const QColor kGold(240, 180, 41), kGoldLine(154, 106, 0);
const QColor kGrey(120, 128, 138), kLightGrey(170, 176, 184);
const QColor kSlate(96, 125, 139);
const QColor kHelpBlue(30, 120, 210);

QPen Pen(const QColor &color, qreal width = 1.0, Qt::PenCapStyle cap = Qt::RoundCap)
{
    return QPen(color, width, Qt::SolidLine, cap, Qt::RoundJoin);
}

void FillPath(QPainter &p, const QPainterPath &path, const QColor &fill, const QColor &line, qreal width = 1.0)
{
    p.setPen(line.isValid() ? Pen(line, width) : QPen(Qt::NoPen));
    p.setBrush(fill.isValid() ? QBrush(fill) : QBrush(Qt::NoBrush));
    p.drawPath(path);
}

void Stroke(QPainter &p, const QPainterPath &path, const QColor &color, qreal width,
            Qt::PenCapStyle cap = Qt::RoundCap)
{
    p.setPen(Pen(color, width, cap));
    p.setBrush(Qt::NoBrush);
    p.drawPath(path);
}

void Line(QPainter &p, QPointF a, QPointF b, const QColor &color, qreal width, Qt::PenCapStyle cap = Qt::RoundCap)
{
    p.setPen(Pen(color, width, cap));
    p.drawLine(a, b);
}

QPainterPath Polygon(std::initializer_list<QPointF> points)
{
    QPainterPath path;
    path.addPolygon(QPolygonF(QList<QPointF>(points)));
    path.closeSubpath();
    return path;
}

QPainterPath Circle(QPointF center, qreal radius)
{
    QPainterPath path;
    path.addEllipse(center, radius, radius);
    return path;
}

QPainterPath Star(QPointF center, qreal outer, qreal inner)
{
    QPolygonF points;
    for (int i = 0; i < 10; ++i) {
        const qreal r = i % 2 ? inner : outer;
        const qreal a = qDegreesToRadians(-90.0 + i * 36.0);
        points << center + QPointF(r * qCos(a), r * qSin(a));
    }
    QPainterPath path;
    path.addPolygon(points);
    path.closeSubpath();
    return path;
}

// Text lines on a page between x0 and x1.
void TextLines(QPainter &p, qreal x0, qreal x1, std::initializer_list<qreal> ys, const QColor &color = kTextLine)
{
    p.setPen(Pen(color, 1.0, Qt::FlatCap));
    for (qreal y : ys)
        p.drawLine(QPointF(x0, y), QPointF(x1, y));
}

void Arrowhead(QPainter &p, QPointF tip, qreal angleDegrees, qreal size, const QColor &color)
{
    const qreal a = qDegreesToRadians(angleDegrees);
    const QPointF dir(qCos(a), qSin(a)), normal(-dir.y(), dir.x());
    const QPointF base = tip - dir * size;
    FillPath(p, Polygon({ tip, base + normal * size * 0.75, base - normal * size * 0.75 }), color, color, 0.6);
}

// The person used for users, roles, owners: a head over shoulders.
void PersonShape(QPainter &p, const QColor &fill, const QColor &line)
{
    QPainterPath body;
    body.moveTo(2.5, 15.5);
    body.cubicTo(2.5, 11.0, 4.8, 9.5, 8.0, 9.5);
    body.cubicTo(11.2, 9.5, 13.5, 11.0, 13.5, 15.5);
    body.closeSubpath();
    FillPath(p, body, fill, line);
    FillPath(p, Circle(QPointF(8.0, 5.2), 3.3), fill.lighter(118), line);
}

// The marks, drawn in a badge's own space: centre at the origin, disc radius 4.25.
void DrawMark(QPainter &p, Mark mark, const QColor &ink)
{
    switch (mark) {
    case Mark::Check:
    case Mark::Verify: {
        QPainterPath path;
        path.moveTo(-2.3, 0.1);
        path.lineTo(-0.7, 1.8);
        path.lineTo(2.3, -1.7);
        Stroke(p, path, ink, 1.7);
        break;
    }
    case Mark::Pencil: {
        Line(p, QPointF(-1.0, 1.0), QPointF(2.2, -2.2), ink, 1.9, Qt::FlatCap);
        FillPath(p, Polygon({ QPointF(-0.33, 1.67), QPointF(-1.67, 0.33), QPointF(-2.6, 2.6) }), ink, QColor());
        break;
    }
    case Mark::Padlock: {
        QPainterPath shackle;
        shackle.moveTo(-1.5, -0.3);
        shackle.lineTo(-1.5, -1.3);
        shackle.arcTo(QRectF(-1.5, -2.9, 3.0, 3.2), 180, -180);
        shackle.lineTo(1.5, -0.3);
        Stroke(p, shackle, ink, 1.0, Qt::FlatCap);
        QPainterPath body;
        body.addRoundedRect(QRectF(-2.4, -0.6, 4.8, 3.3), 0.6, 0.6);
        FillPath(p, body, ink, QColor());
        break;
    }
    case Mark::Question:
    case Mark::Help: {
        QPainterPath path;
        path.moveTo(-1.6, -1.2);
        path.cubicTo(-1.6, -3.3, 1.8, -3.3, 1.8, -1.3);
        path.cubicTo(1.8, 0.0, 0.0, -0.1, 0.0, 1.0);
        Stroke(p, path, ink, 1.35);
        FillPath(p, Circle(QPointF(0.0, 2.6), 0.8), ink, QColor());
        break;
    }
    case Mark::Warning:
        Line(p, QPointF(0.0, -2.4), QPointF(0.0, 0.6), ink, 1.5);
        FillPath(p, Circle(QPointF(0.0, 2.4), 0.8), ink, QColor());
        break;
    case Mark::Cross:
        Line(p, QPointF(-1.8, -1.8), QPointF(1.8, 1.8), ink, 1.7);
        Line(p, QPointF(-1.8, 1.8), QPointF(1.8, -1.8), ink, 1.7);
        break;
    case Mark::Plus:
        Line(p, QPointF(-2.4, 0.0), QPointF(2.4, 0.0), ink, 1.6, Qt::FlatCap);
        Line(p, QPointF(0.0, -2.4), QPointF(0.0, 2.4), ink, 1.6, Qt::FlatCap);
        break;
    case Mark::Minus:
        Line(p, QPointF(-2.4, 0.0), QPointF(2.4, 0.0), ink, 1.7, Qt::FlatCap);
        break;
    case Mark::Cycle: {
        QPainterPath arc;
        arc.arcMoveTo(QRectF(-2.2, -2.2, 4.4, 4.4), 110);
        arc.arcTo(QRectF(-2.2, -2.2, 4.4, 4.4), 110, -290);
        Stroke(p, arc, ink, 1.2, Qt::FlatCap);
        Arrowhead(p, QPointF(-0.75, -2.4), 180, 1.6, ink);
        break;
    }
    case Mark::Down:
        Line(p, QPointF(0.0, -2.6), QPointF(0.0, 1.0), ink, 1.5, Qt::FlatCap);
        Arrowhead(p, QPointF(0.0, 2.8), 90, 2.0, ink);
        break;
    case Mark::Back: {
        QPainterPath arc;
        arc.moveTo(-1.4, -1.0);
        arc.lineTo(0.6, -1.0);
        arc.cubicTo(3.0, -1.0, 3.0, 2.4, 0.6, 2.4);
        arc.lineTo(-1.0, 2.4);
        Stroke(p, arc, ink, 1.3, Qt::FlatCap);
        Arrowhead(p, QPointF(-3.0, -1.0), 180, 1.8, ink);
        break;
    }
    case Mark::Key: {
        QPainterPath ring = Circle(QPointF(-1.3, -1.3), 1.35);
        Stroke(p, ring, ink, 1.0);
        Line(p, QPointF(-0.35, -0.35), QPointF(2.4, 2.4), ink, 1.1, Qt::FlatCap);
        Line(p, QPointF(1.3, 1.3), QPointF(0.4, 2.2), ink, 1.0, Qt::FlatCap);
        Line(p, QPointF(2.2, 2.2), QPointF(1.5, 2.9), ink, 1.0, Qt::FlatCap);
        break;
    }
    case Mark::Prompt: {
        QPainterPath chevron;
        chevron.moveTo(-2.4, -2.0);
        chevron.lineTo(-0.2, 0.0);
        chevron.lineTo(-2.4, 2.0);
        Stroke(p, chevron, ink, 1.3);
        Line(p, QPointF(0.6, 2.1), QPointF(2.6, 2.1), ink, 1.3, Qt::FlatCap);
        break;
    }
    case Mark::Star:
    case Mark::None:
        break;
    }
}

QColor DiscColor(Mark mark)
{
    switch (mark) {
    case Mark::Check:
    case Mark::Plus:
        return kGreen;
    case Mark::Pencil:
    case Mark::Back:
        return kOrange;
    case Mark::Padlock:
    case Mark::Cross:
    case Mark::Minus:
        return kRed;
    case Mark::Question:
        return kSlate;
    case Mark::Cycle:
    case Mark::Down:
    case Mark::Prompt:
    case Mark::Verify:
        return kBlue;
    case Mark::Key:
        return kGold;
    case Mark::Help:
        return kHelpBlue;
    default:
        return kGrey;
    }
}

// A badge in its own space (centre at the origin, radius 4.25), with a halo of `halo` units.
void BadgeAtOrigin(QPainter &p, Mark mark, qreal halo)
{
    if (mark == Mark::None)
        return;
    if (mark == Mark::Star) {
        const QPainterPath star = Star(QPointF(0.0, 0.4), 5.0, 2.4);
        if (halo > 0)
            Stroke(p, star, kWhite, 1.0 + 2 * halo);
        FillPath(p, star, QColor(255, 206, 40), QColor(128, 82, 0), 0.9);
        return;
    }
    if (mark == Mark::Warning) {
        const QPainterPath triangle = Polygon({ QPointF(0.0, -4.4), QPointF(4.6, 3.9), QPointF(-4.6, 3.9) });
        if (halo > 0)
            Stroke(p, triangle, kWhite, 1.0 + 2 * halo);
        FillPath(p, triangle, QColor(255, 184, 28), QColor(160, 96, 0), 0.9);
        p.save();
        p.translate(0.0, 0.6);
        p.scale(0.85, 0.85);
        DrawMark(p, Mark::Warning, QColor(40, 30, 0));
        p.restore();
        return;
    }
    const QColor fill = DiscColor(mark);
    if (halo > 0)
        FillPath(p, Circle(QPointF(), 4.25 + halo), kWhite, QColor());
    FillPath(p, Circle(QPointF(), 4.25), fill, fill.darker(135), 0.8);
    DrawMark(p, mark, kWhite);
}

// A glyph drawn alone on a transparent layer the size of the painter's device, in the painter's
// place; the caller lays it down with the painter's transform reset.
QImage Layer(QPainter &p, Draw glyph)
{
    QImage layer(p.device()->width(), p.device()->height(), QImage::Format_ARGB32_Premultiplied);
    layer.fill(Qt::transparent);
    QPainter lp(&layer);
    lp.setRenderHint(QPainter::Antialiasing);
    lp.setTransform(p.deviceTransform());
    glyph(lp);
    return layer;
}

// Draws a glyph with a white outline round its silhouette, so that it stands out on a glyph
// beneath: the silhouette is laid down white a little to every side first.
void WithHalo(QPainter &p, Draw glyph, qreal halo)
{
    const QTransform transform = p.deviceTransform();
    const QImage layer = Layer(p, glyph);
    QImage silhouette = layer;
    {
        QPainter sp(&silhouette);
        sp.setCompositionMode(QPainter::CompositionMode_SourceIn);
        sp.fillRect(silhouette.rect(), Qt::white);
    }
    const qreal reach = halo * qSqrt(qAbs(transform.determinant()));
    p.save();
    p.resetTransform();
    for (int i = 0; i < 8; ++i) {
        const qreal a = qDegreesToRadians(i * 45.0);
        p.drawImage(QPointF(reach * qCos(a), reach * qSin(a)), silhouette);
    }
    p.drawImage(QPointF(0, 0), layer);
    p.restore();
}

// A faint version of a glyph: drawn through a layer so that overlapping parts do not add up.
void Ghost(QPainter &p, Draw glyph)
{
    const QImage layer = Layer(p, glyph);
    p.save();
    p.resetTransform();
    p.setOpacity(0.42);
    p.drawImage(QPointF(0, 0), layer);
    p.restore();
}

} // namespace

void Procedure(QPainter &p)
{
    // A gear: eight teeth around a hub.
    QPolygonF outline;
    const QPointF c(8.0, 8.0);
    for (int i = 0; i < 8; ++i) {
        const qreal a = i * 45.0;
        for (auto [da, r] : { std::pair{ -24.0, 5.0 }, std::pair{ -12.0, 7.3 }, std::pair{ 12.0, 7.3 },
                              std::pair{ 24.0, 5.0 } }) {
            const qreal rad = qDegreesToRadians(a + da);
            outline << c + QPointF(r * qCos(rad), r * qSin(rad));
        }
    }
    QPainterPath gear;
    gear.addPolygon(outline);
    gear.closeSubpath();
    gear.addEllipse(c, 2.1, 2.1);
    gear.setFillRule(Qt::OddEvenFill);
    FillPath(p, gear, kSteel, kSteelLine);
}

void View(QPainter &p)
{
    // An eye: what a view gives is a way of looking at tables.
    QPainterPath eye;
    eye.moveTo(0.8, 8.0);
    eye.quadTo(8.0, 0.6, 15.2, 8.0);
    eye.quadTo(8.0, 15.4, 0.8, 8.0);
    eye.closeSubpath();
    FillPath(p, eye, kWhite, kTealLine, 1.1);
    FillPath(p, Circle(QPointF(8.0, 8.0), 3.4), kTeal, kTealLine, 0.8);
    FillPath(p, Circle(QPointF(8.0, 8.0), 1.5), QColor(12, 52, 48), QColor());
    FillPath(p, Circle(QPointF(9.2, 6.8), 0.8), kWhite, QColor());
}

void Trigger(QPainter &p)
{
    // A lightning bolt: something that fires.
    FillPath(p,
             Polygon({ QPointF(10.0, 0.5), QPointF(2.8, 9.2), QPointF(7.3, 9.2), QPointF(5.6, 15.5),
                       QPointF(13.2, 6.2), QPointF(8.6, 6.2), QPointF(11.3, 0.5) }),
             kAmber, kAmberLine);
}

void Function(QPainter &p)
{
    // A rounded square with an italic f.
    QPainterPath box;
    box.addRoundedRect(QRectF(1.5, 1.5, 13.0, 13.0), 2.5, 2.5);
    FillPath(p, box, kPurple, kPurpleLine);
    QPainterPath f;
    f.moveTo(11.0, 4.3);
    f.cubicTo(9.9, 3.4, 8.2, 3.6, 7.8, 5.6);
    f.lineTo(6.6, 11.3);
    f.cubicTo(6.2, 13.0, 4.8, 12.9, 4.0, 12.2);
    Stroke(p, f, kWhite, 1.6);
    Line(p, QPointF(5.3, 7.5), QPointF(10.0, 7.5), kWhite, 1.4);
}

namespace
{

void TableFrame(QPainter &p, const QColor &header, const QColor &line, const QColor &grid)
{
    const QRectF frame(1.5, 1.5, 13.0, 13.0);
    p.setPen(Qt::NoPen);
    p.setBrush(kWhite);
    p.drawRect(frame);
    p.setBrush(header);
    p.drawRect(QRectF(1.5, 1.5, 13.0, 3.0));
    p.setPen(Pen(grid, 1.0, Qt::FlatCap));
    for (qreal y : { 7.5, 10.5 })
        p.drawLine(QPointF(1.5, y), QPointF(14.5, y));
    for (qreal x : { 5.5, 10.5 })
        p.drawLine(QPointF(x, 4.5), QPointF(x, 14.5));
    p.setPen(Pen(line, 1.0, Qt::SquareCap));
    p.setBrush(Qt::NoBrush);
    p.drawRect(frame);
    p.drawLine(QPointF(1.5, 4.5), QPointF(14.5, 4.5));
}

} // namespace

void Table(QPainter &p)
{
    TableFrame(p, kBlue, kBlueLine, QColor(150, 178, 218));
}

void Field(QPainter &p)
{
    // One column of a table stands out.
    TableFrame(p, QColor(200, 210, 224), QColor(130, 142, 158), QColor(200, 208, 218));
    p.setPen(Pen(kBlueLine, 1.0, Qt::SquareCap));
    p.setBrush(kBlue);
    p.drawRect(QRectF(5.5, 1.5, 5.0, 13.0));
}

void FieldData(QPainter &p)
{
    // A small diamond: a property of a field.
    FillPath(p, Polygon({ QPointF(8.0, 3.5), QPointF(12.5, 8.0), QPointF(8.0, 12.5), QPointF(3.5, 8.0) }),
             QColor(132, 160, 196), QColor(66, 96, 138));
}

void Person(QPainter &p)
{
    PersonShape(p, kBlue, kBlueLine);
}

void People(QPainter &p)
{
    // A role: a group of two.
    p.save();
    p.translate(4.6, -0.6);
    p.scale(0.72, 0.72);
    PersonShape(p, kTeal.lighter(125), kTealLine);
    p.restore();
    p.save();
    p.translate(-0.4, 2.6);
    p.scale(0.84, 0.84);
    PersonShape(p, kTeal, kTealLine);
    p.restore();
}

void Shield(QPainter &p)
{
    QPainterPath shield;
    shield.moveTo(8.0, 0.8);
    shield.lineTo(14.0, 3.0);
    shield.lineTo(14.0, 7.8);
    shield.cubicTo(14.0, 11.4, 11.2, 13.8, 8.0, 15.2);
    shield.cubicTo(4.8, 13.8, 2.0, 11.4, 2.0, 7.8);
    shield.lineTo(2.0, 3.0);
    shield.closeSubpath();
    FillPath(p, shield, QColor(80, 112, 170), QColor(40, 62, 112));
    FillPath(p, Circle(QPointF(8.0, 6.6), 1.8), kWhite, QColor());
    FillPath(p, Polygon({ QPointF(7.2, 7.4), QPointF(8.8, 7.4), QPointF(9.4, 11.4), QPointF(6.6, 11.4) }), kWhite,
             QColor());
}

void Database(QPainter &p)
{
    QPainterPath body;
    body.moveTo(2.5, 3.5);
    body.lineTo(2.5, 12.5);
    body.arcTo(QRectF(2.5, 10.5, 11.0, 4.0), 180, 180);
    body.lineTo(13.5, 3.5);
    body.arcTo(QRectF(2.5, 1.5, 11.0, 4.0), 0, 180);
    body.closeSubpath();
    FillPath(p, body, kLavender, kLavenderLine);
    QPainterPath band;
    band.arcMoveTo(QRectF(2.5, 6.5, 11.0, 4.0), 180);
    band.arcTo(QRectF(2.5, 6.5, 11.0, 4.0), 180, 180);
    Stroke(p, band, kLavenderLine, 0.8);
    QPainterPath top;
    top.addEllipse(QRectF(2.5, 1.5, 11.0, 4.0));
    FillPath(p, top, kLavenderTop, kLavenderLine);
}

void Safe(QPainter &p)
{
    // SourceSafe's side: a safe with its dial.
    QPainterPath box;
    box.addRoundedRect(QRectF(1.5, 1.5, 13.0, 12.5), 1.5, 1.5);
    FillPath(p, box, kNavy, kNavyLine);
    p.setPen(Pen(kNavyLine, 1.5, Qt::FlatCap));
    p.drawLine(QPointF(3.5, 14.2), QPointF(3.5, 15.5));
    p.drawLine(QPointF(12.5, 14.2), QPointF(12.5, 15.5));
    FillPath(p, Circle(QPointF(8.0, 7.75), 3.6), QColor(214, 210, 246), kNavyLine, 0.8);
    FillPath(p, Circle(QPointF(8.0, 7.75), 1.2), kNavy, QColor());
    Line(p, QPointF(8.0, 7.75), QPointF(8.0, 4.9), kNavy, 0.9);
}

void Page(QPainter &p)
{
    QPainterPath page;
    page.moveTo(3.0, 1.5);
    page.lineTo(9.5, 1.5);
    page.lineTo(13.0, 5.0);
    page.lineTo(13.0, 14.5);
    page.lineTo(3.0, 14.5);
    page.closeSubpath();
    FillPath(p, page, kPaper, kLine);
    FillPath(p, Polygon({ QPointF(9.5, 1.5), QPointF(9.5, 5.0), QPointF(13.0, 5.0) }), QColor(220, 224, 230), kLine);
    TextLines(p, 5.0, 11.0, { 7.5, 9.5, 11.5 });
    TextLines(p, 5.0, 8.0, { 5.5 });
}

void Note(QPainter &p)
{
    // A description: a yellow note with lines of text.
    QPainterPath note;
    note.moveTo(2.5, 1.5);
    note.lineTo(13.5, 1.5);
    note.lineTo(13.5, 10.5);
    note.lineTo(9.5, 14.5);
    note.lineTo(2.5, 14.5);
    note.closeSubpath();
    FillPath(p, note, QColor(255, 236, 140), QColor(168, 132, 20));
    FillPath(p, Polygon({ QPointF(13.5, 10.5), QPointF(9.5, 10.5), QPointF(9.5, 14.5) }), QColor(230, 196, 80),
             QColor(168, 132, 20));
    TextLines(p, 4.5, 11.5, { 4.5, 6.5, 8.5 }, QColor(150, 120, 40));
    TextLines(p, 4.5, 7.5, { 10.5 }, QColor(150, 120, 40));
}

void OpenFolder(QPainter &p)
{
    QPainterPath back;
    back.moveTo(1.5, 13.5);
    back.lineTo(1.5, 2.5);
    back.lineTo(5.5, 2.5);
    back.lineTo(7.0, 4.0);
    back.lineTo(12.5, 4.0);
    back.lineTo(12.5, 6.5);
    FillPath(p, back, kFolder, kFolderLine);
    FillPath(p, Polygon({ QPointF(1.5, 13.5), QPointF(4.2, 6.5), QPointF(15.3, 6.5), QPointF(12.6, 13.5) }),
             kFolderFront, kFolderLine);
}

void Floppy(QPainter &p)
{
    QPainterPath disk;
    disk.moveTo(1.5, 1.5);
    disk.lineTo(12.0, 1.5);
    disk.lineTo(14.5, 4.0);
    disk.lineTo(14.5, 14.5);
    disk.lineTo(1.5, 14.5);
    disk.closeSubpath();
    FillPath(p, disk, QColor(62, 110, 182), QColor(30, 60, 112));
    p.setPen(Pen(QColor(30, 60, 112), 0.8));
    p.setBrush(QColor(220, 228, 240));
    p.drawRect(QRectF(4.0, 1.5, 7.5, 4.5));
    p.setBrush(QColor(30, 60, 112));
    p.setPen(Qt::NoPen);
    p.drawRect(QRectF(8.7, 2.3, 1.6, 2.9));
    p.setPen(Pen(QColor(30, 60, 112), 0.8));
    p.setBrush(kWhite);
    p.drawRect(QRectF(3.5, 8.5, 9.0, 6.0));
    TextLines(p, 5.0, 11.0, { 10.5, 12.5 });
}

void Magnifier(QPainter &p)
{
    Line(p, QPointF(9.8, 9.8), QPointF(14.2, 14.2), QColor(60, 72, 90), 2.6);
    FillPath(p, Circle(QPointF(6.5, 6.5), 4.6), QColor(214, 232, 252), QColor(52, 84, 128), 1.5);
    QPainterPath glint;
    glint.arcMoveTo(QRectF(3.6, 3.6, 5.8, 5.8), 100);
    glint.arcTo(QRectF(3.6, 3.6, 5.8, 5.8), 100, 70);
    Stroke(p, glint, kWhite, 1.0);
}

void Undo(QPainter &p)
{
    QPainterPath path;
    path.moveTo(13.5, 13.0);
    path.cubicTo(13.5, 7.0, 10.0, 5.0, 5.0, 5.5);
    Stroke(p, path, kBlue.darker(115), 2.2, Qt::FlatCap);
    Arrowhead(p, QPointF(0.8, 5.9), 175, 5.0, kBlue.darker(115));
}

void Redo(QPainter &p)
{
    p.save();
    p.translate(16.0, 0.0);
    p.scale(-1.0, 1.0);
    Undo(p);
    p.restore();
}

void Scissors(QPainter &p)
{
    Line(p, QPointF(6.2, 10.0), QPointF(11.0, 1.2), QColor(96, 104, 116), 1.5);
    Line(p, QPointF(9.8, 10.0), QPointF(5.0, 1.2), QColor(130, 138, 150), 1.5);
    FillPath(p, Circle(QPointF(8.0, 6.7), 0.6), kLine, QColor());
    for (qreal x : { 4.8, 11.2 })
        Stroke(p, Circle(QPointF(x, 12.2), 2.3), kRed, 1.5);
}

void Copy(QPainter &p)
{
    for (QPointF origin : { QPointF(5.0, 1.5), QPointF(1.5, 4.5) }) {
        QPainterPath page;
        page.addRect(QRectF(origin, QSizeF(9.0, 10.0)));
        FillPath(p, page, kPaper, kLine);
        TextLines(p, origin.x() + 2.0, origin.x() + 7.0, { origin.y() + 3.0, origin.y() + 5.0, origin.y() + 7.0 });
    }
}

void Clipboard(QPainter &p)
{
    QPainterPath board;
    board.addRoundedRect(QRectF(2.5, 2.5, 11.0, 12.5), 1.2, 1.2);
    FillPath(p, board, QColor(186, 132, 78), QColor(110, 70, 32));
    QPainterPath page;
    page.addRect(QRectF(5.5, 5.5, 7.0, 8.5));
    FillPath(p, page, kPaper, kLine, 0.9);
    TextLines(p, 7.0, 11.0, { 8.0, 10.0, 12.0 });
    QPainterPath clip;
    clip.addRoundedRect(QRectF(5.5, 1.0, 5.0, 3.0), 0.8, 0.8);
    FillPath(p, clip, kLightGrey, kLine, 0.9);
}

void Flask(QPainter &p)
{
    // Testing the text: a laboratory flask.
    QPainterPath flask;
    flask.moveTo(6.3, 1.5);
    flask.lineTo(9.7, 1.5);
    flask.lineTo(9.7, 6.0);
    flask.lineTo(14.0, 13.2);
    flask.quadTo(14.6, 14.5, 13.2, 14.5);
    flask.lineTo(2.8, 14.5);
    flask.quadTo(1.4, 14.5, 2.0, 13.2);
    flask.lineTo(6.3, 6.0);
    flask.closeSubpath();
    FillPath(p, flask, QColor(236, 244, 250), kLine);
    p.save();
    p.setClipPath(flask);
    p.setPen(Qt::NoPen);
    p.setBrush(kGreen.lighter(115));
    p.drawRect(QRectF(0.0, 9.5, 16.0, 7.0));
    p.restore();
    Stroke(p, flask, kLine, 1.0);
    Line(p, QPointF(5.5, 1.5), QPointF(10.5, 1.5), kLine, 1.0);
}

void Refresh(QPainter &p)
{
    QPainterPath arc;
    arc.arcMoveTo(QRectF(2.5, 2.5, 11.0, 11.0), 60);
    arc.arcTo(QRectF(2.5, 2.5, 11.0, 11.0), 60, 280);
    Stroke(p, arc, kGreen, 2.2, Qt::FlatCap);
    Arrowhead(p, QPointF(14.6, 1.6), -80, 4.6, kGreen);
}

void SyncArrows(QPainter &p)
{
    // Both ways between the two sides.
    Line(p, QPointF(1.5, 5.0), QPointF(10.5, 5.0), kBlue.darker(110), 2.2, Qt::FlatCap);
    Arrowhead(p, QPointF(15.0, 5.0), 0, 4.5, kBlue.darker(110));
    Line(p, QPointF(5.5, 11.0), QPointF(14.5, 11.0), kGreen, 2.2, Qt::FlatCap);
    Arrowhead(p, QPointF(1.0, 11.0), 180, 4.5, kGreen);
}

void Difference(QPainter &p)
{
    // Two texts side by side that do not read the same.
    QPainterPath left;
    left.addRect(QRectF(1.5, 1.5, 8.0, 11.0));
    FillPath(p, left, QColor(236, 232, 255), kLavenderLine);
    TextLines(p, 3.0, 8.0, { 4.5, 6.5, 8.5 }, kLavenderLine);
    QPainterPath right;
    right.addRect(QRectF(6.5, 4.5, 8.0, 10.0));
    FillPath(p, right, kPaper, kNavyLine);
    TextLines(p, 8.0, 13.0, { 7.5, 11.5 }, kTextLine);
    TextLines(p, 8.0, 13.0, { 9.5 }, kRed);
    TextLines(p, 8.0, 11.0, { 13.0 }, kGreen);
}

void Pencil(QPainter &p)
{
    p.save();
    p.translate(8.0, 8.0);
    p.rotate(-45.0);
    // Along the x axis from the tip at -7.5 to the end at 7.5.
    QPainterPath body;
    body.addRect(QRectF(-3.5, -2.2, 8.5, 4.4));
    FillPath(p, body, kAmber, kAmberLine, 0.9);
    QPainterPath end;
    end.addRect(QRectF(5.0, -2.2, 2.3, 4.4));
    FillPath(p, end, QColor(236, 132, 150), QColor(150, 60, 76), 0.9);
    FillPath(p, Polygon({ QPointF(-3.5, -2.2), QPointF(-7.6, 0.0), QPointF(-3.5, 2.2) }), QColor(244, 216, 170),
             kAmberLine, 0.9);
    FillPath(p, Polygon({ QPointF(-6.0, -0.85), QPointF(-7.6, 0.0), QPointF(-6.0, 0.85) }), kLine, QColor());
    p.restore();
}

void RenameField(QPainter &p)
{
    // A text box with the caret in it.
    QPainterPath box;
    box.addRect(QRectF(0.5, 4.5, 15.0, 7.0));
    FillPath(p, box, kWhite, kLine);
    p.setPen(Qt::NoPen);
    p.setBrush(kBlue);
    p.drawRect(QRectF(2.0, 6.0, 7.5, 4.0));
    p.setPen(Pen(QColor(30, 30, 30), 1.0, Qt::FlatCap));
    p.drawLine(QPointF(11.5, 2.5), QPointF(11.5, 13.5));
    p.drawLine(QPointF(10.0, 2.5), QPointF(13.0, 2.5));
    p.drawLine(QPointF(10.0, 13.5), QPointF(13.0, 13.5));
}

void TrashCan(QPainter &p)
{
    FillPath(p, Polygon({ QPointF(3.5, 4.5), QPointF(12.5, 4.5), QPointF(11.6, 15.0), QPointF(4.4, 15.0) }),
             QColor(206, 214, 222), QColor(72, 86, 102));
    p.setPen(Pen(QColor(110, 124, 140), 1.0, Qt::FlatCap));
    for (qreal x : { 6.0, 8.0, 10.0 })
        p.drawLine(QPointF(x, 6.5), QPointF(x, 13.0));
    Line(p, QPointF(2.0, 3.5), QPointF(14.0, 3.5), QColor(72, 86, 102), 1.6);
    QPainterPath handle;
    handle.moveTo(6.0, 3.0);
    handle.lineTo(6.0, 1.5);
    handle.lineTo(10.0, 1.5);
    handle.lineTo(10.0, 3.0);
    Stroke(p, handle, QColor(72, 86, 102), 1.0);
}

void Cross(QPainter &p)
{
    Line(p, QPointF(3.5, 3.5), QPointF(12.5, 12.5), QColor(84, 92, 104), 2.4);
    Line(p, QPointF(3.5, 12.5), QPointF(12.5, 3.5), QColor(84, 92, 104), 2.4);
}

void Clock(QPainter &p)
{
    FillPath(p, Circle(QPointF(8.0, 8.0), 6.6), kWhite, QColor(70, 96, 130), 1.3);
    p.setPen(Pen(QColor(150, 166, 186), 1.0, Qt::FlatCap));
    for (int i = 0; i < 12; i += 3) {
        const qreal a = qDegreesToRadians(i * 30.0);
        p.drawLine(QPointF(8.0 + 4.6 * qCos(a), 8.0 + 4.6 * qSin(a)), QPointF(8.0 + 5.6 * qCos(a), 8.0 + 5.6 * qSin(a)));
    }
    Line(p, QPointF(8.0, 8.0), QPointF(8.0, 4.0), QColor(36, 48, 66), 1.4);
    Line(p, QPointF(8.0, 8.0), QPointF(11.0, 9.6), QColor(36, 48, 66), 1.4);
}

void Tag(QPainter &p)
{
    QPainterPath tag = Polygon({ QPointF(1.0, 8.0), QPointF(5.5, 3.5), QPointF(14.5, 3.5), QPointF(14.5, 12.5),
                                 QPointF(5.5, 12.5) });
    FillPath(p, tag, kGold, kGoldLine);
    FillPath(p, Circle(QPointF(5.6, 8.0), 1.3), kWhite, kGoldLine, 0.8);
}

void Play(QPainter &p)
{
    FillPath(p, Polygon({ QPointF(3.5, 1.8), QPointF(14.0, 8.0), QPointF(3.5, 14.2) }), kGreen, kGreenLine);
}

void ResultPanel(QPainter &p)
{
    // A window whose lower part, the result panel, stands out.
    QPainterPath window;
    window.addRect(QRectF(1.5, 1.5, 13.0, 13.0));
    FillPath(p, window, kWhite, kLine);
    p.setPen(Qt::NoPen);
    p.setBrush(kBlue);
    p.drawRect(QRectF(2.0, 2.0, 12.0, 2.5));
    p.setBrush(QColor(190, 212, 240));
    p.drawRect(QRectF(2.0, 9.0, 12.0, 5.0));
    p.setPen(Pen(kBlueLine, 1.0, Qt::FlatCap));
    p.drawLine(QPointF(1.5, 8.5), QPointF(14.5, 8.5));
    TextLines(p, 3.5, 10.0, { 6.5 });
    TextLines(p, 3.5, 12.5, { 11.0, 13.0 }, kBlueLine);
}

void Unknown(QPainter &p)
{
    QPainterPath box;
    box.addRoundedRect(QRectF(2.5, 2.5, 11.0, 11.0), 1.5, 1.5);
    QPen pen = Pen(kLightGrey, 1.0, Qt::FlatCap);
    pen.setDashPattern({ 2.0, 1.5 });
    p.setPen(pen);
    p.setBrush(QColor(246, 247, 248));
    p.drawPath(box);
}

void Badge(QPainter &p, Mark mark)
{
    // A disc of radius 4.6 touching the right and bottom edges: big enough at 16 px to tell the
    // marks apart.
    p.save();
    p.translate(11.4, 11.4);
    p.scale(4.6 / 4.25, 4.6 / 4.25);
    BadgeAtOrigin(p, mark, 1.0);
    p.restore();
}

void Disc(QPainter &p, Mark mark)
{
    p.save();
    p.translate(8.0, 8.0);
    p.scale(6.6 / 4.25, 6.6 / 4.25);
    BadgeAtOrigin(p, mark, 0.0);
    p.restore();
}

void EmptyDisc(QPainter &p)
{
    FillPath(p, Circle(QPointF(8.0, 8.0), 6.0), QColor(244, 245, 247), kLightGrey, 1.0);
}

void Composed(QPainter &p, Draw glyph, Mark mark, bool ghost)
{
    if (ghost)
        Ghost(p, glyph);
    else
        glyph(p);
    Badge(p, mark);
}

void Folder(QPainter &p, Draw emblem)
{
    QPainterPath back;
    back.moveTo(1.5, 13.5);
    back.lineTo(1.5, 2.5);
    back.lineTo(6.0, 2.5);
    back.lineTo(7.5, 4.0);
    back.lineTo(14.5, 4.0);
    back.lineTo(14.5, 13.5);
    back.closeSubpath();
    FillPath(p, back, kFolder, kFolderLine);
    QPainterPath front;
    front.addRect(QRectF(1.5, 5.5, 13.0, 8.0));
    FillPath(p, front, kFolderFront, kFolderLine);
    if (emblem) {
        p.save();
        p.translate(6.4, 6.2);
        p.scale(0.6, 0.6);
        WithHalo(p, emblem, 1.2);
        p.restore();
    }
}

void SyncPicture(QPainter &p, const QRectF &rect, SyncAction action, int side, const QColor &bracket, int edge)
{
    const qreal unit = rect.height() / 16.0;
    // The arrow keeps clear of the bracket and stands in the middle of the cell.
    p.save();
    p.translate(qRound(rect.center().x() - 8.0 * unit), rect.top());
    p.scale(unit, unit);
    // In a cell about as wide as high the arrow shrinks, so that a bracket fits round it.
    const qreal shrink = rect.width() >= rect.height() * 1.3 ? 1.0 : 0.82;
    p.translate(8.0, 8.0);
    p.scale(shrink, shrink);
    p.translate(-8.0, -8.0);
    if (action == SyncAction::None || side == 0) {
        Stroke(p, Circle(QPointF(8.0, 8.0), 4.2), kLightGrey, 1.0);
        FillPath(p, Circle(QPointF(8.0, 8.0), 1.8), kLightGrey, QColor());
    } else {
        const QColor fill = action == SyncAction::Add ? kGreen : action == SyncAction::Delete ? kRed : kBlue;
        p.save();
        if (side == 1) {
            p.translate(16.0, 0.0);
            p.scale(-1.0, 1.0);
        }
        // Pointing right, from x 2 to 14, with a shaft wide enough for the action's mark.
        FillPath(p,
                 Polygon({ QPointF(2.0, 4.0), QPointF(8.0, 4.0), QPointF(8.0, 1.5), QPointF(14.5, 8.0),
                           QPointF(8.0, 14.5), QPointF(8.0, 12.0), QPointF(2.0, 12.0) }),
                 fill, fill.darker(145), 0.9);
        p.restore();
        // The action's mark sits in the shaft, upright whatever the direction.
        p.save();
        p.translate(side == 1 ? 11.0 : 5.0, 8.0);
        p.scale(0.8, 0.8);
        const Mark mark = action == SyncAction::Add ? Mark::Plus : action == SyncAction::Delete ? Mark::Minus : Mark::None;
        if (mark != Mark::None) {
            DrawMark(p, mark, kWhite);
        } else {
            QPainterPath wave;
            wave.moveTo(-2.6, 0.9);
            wave.cubicTo(-1.4, -1.9, 0.0, 2.6, 2.6, -0.9);
            Stroke(p, wave, kWhite, 1.7);
        }
        p.restore();
    }
    p.restore();

    if (edge == 0)
        return;
    // The bracket runs along the cell's edges so that the cells of neighbouring rows join.
    const qreal w = 1.5 * unit;
    const QRectF r = rect.adjusted(w / 2, w / 2, -w / 2, -w / 2);
    const qreal radius = 3.0 * unit;
    QPainterPath path;
    switch (edge) {
    case 1:
        path.moveTo(r.left(), rect.bottom());
        path.lineTo(r.left(), r.top() + radius);
        path.quadTo(r.left(), r.top(), r.left() + radius, r.top());
        path.lineTo(r.right() - radius, r.top());
        path.quadTo(r.right(), r.top(), r.right(), r.top() + radius);
        path.lineTo(r.right(), rect.bottom());
        break;
    case 2:
        path.moveTo(r.left(), rect.top());
        path.lineTo(r.left(), rect.bottom());
        path.moveTo(r.right(), rect.top());
        path.lineTo(r.right(), rect.bottom());
        break;
    default:
        path.moveTo(r.left(), rect.top());
        path.lineTo(r.left(), r.bottom() - radius);
        path.quadTo(r.left(), r.bottom(), r.left() + radius, r.bottom());
        path.lineTo(r.right() - radius, r.bottom());
        path.quadTo(r.right(), r.bottom(), r.right(), r.bottom() - radius);
        path.lineTo(r.right(), rect.top());
        break;
    }
    p.setPen(QPen(bracket, w, Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    p.drawPath(path);
}

} // namespace KORVOGlyphs
