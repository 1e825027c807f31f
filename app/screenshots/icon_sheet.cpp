// The contact sheet of KORVO's pictures: every icon name at 16, 24 and 32 pixels with its name, the
// action icons as the desktop theme gives them, some pictures disabled, and a column of synchronisation rows whose brackets
// join. Writes docs/screenshots/icons.png, or the file named on the command line.

#include "KORVOIconImages.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QPainter>

#include <cstdio>

namespace
{

constexpr int kColumns = 6;
constexpr int kCellWidth = 238;
constexpr int kCellHeight = 54;
constexpr int kMargin = 12;
const int kSizes[] = { 16, 24, 32 };

void DrawCell(QPainter &p, const QPoint &origin, const QIcon &icon, const QString &caption)
{
    int x = origin.x() + 6;
    for (int size : kSizes) {
        icon.paint(&p, QRect(x, origin.y() + 4 + 32 - size, size, size));
        x += size + 8;
    }
    p.setPen(QColor(40, 40, 40));
    p.drawText(QRect(origin.x() + 4, origin.y() + 38, kCellWidth - 8, 14), Qt::AlignLeft | Qt::AlignVCenter,
               caption);
}

int Rows(qsizetype count)
{
    return int((count + kColumns - 1) / kColumns);
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    KORVOInitIconTheme();
    const QString target = argc > 1 ? QString::fromLocal8Bit(argv[1])
                                    : QStringLiteral(KORVO_SOURCE_DIR "/docs/screenshots/icons.png");

    const QStringList names = KORVOIconNames();
    const QStringList actions = KORVOActionNames();
    const QStringList rows = { QStringLiteral("ADD:L:R:LTR"), QStringLiteral("ADD:L:R:LR"),
                               QStringLiteral("ADD:L:R:LBR"), QStringLiteral("NRM"),
                               QStringLiteral("CNG:R:G:LTR"), QStringLiteral("CNG:R:G:LBR"),
                               QStringLiteral("DEL:R"),       QStringLiteral("DEL:L:R:LTR"),
                               QStringLiteral("DEL:L:R:LBR") };

    const QStringList disabled = { QStringLiteral("EDIT:UNDO"),   QStringLiteral("EDIT:REDO"),
                                   QStringLiteral("EDIT:CUT"),    QStringLiteral("EDIT:COPY"),
                                   QStringLiteral("EDIT:PASTE"),  QStringLiteral("SEACH:FIND"),
                                   QStringLiteral("EDIT:TEST"),   QStringLiteral("VSS:CHECKIN"),
                                   QStringLiteral("VSS:CHECKOUT"), QStringLiteral("PERMISSIONS") };

    const int titleHeight = 24;
    const int namesHeight = Rows(names.size()) * kCellHeight;
    const int actionsHeight = Rows(actions.size()) * kCellHeight;
    const int rowsHeight = int(rows.size()) * 20 + 8;
    const int width = kMargin * 2 + kColumns * kCellWidth;
    const int height = kMargin * 2 + titleHeight * 4 + namesHeight + actionsHeight + 32 + rowsHeight + 16;

    QImage sheet(width, height, QImage::Format_ARGB32_Premultiplied);
    sheet.fill(Qt::white);
    QPainter p(&sheet);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);
    QFont font = p.font();
    font.setPixelSize(11);
    p.setFont(font);
    QFont title = font;
    title.setPixelSize(13);
    title.setBold(true);

    int y = kMargin;
    auto heading = [&](const QString &text) {
        p.setFont(title);
        p.setPen(QColor(20, 20, 20));
        p.drawText(QRect(kMargin, y, width - 2 * kMargin, titleHeight), Qt::AlignLeft | Qt::AlignVCenter, text);
        p.setFont(font);
        y += titleHeight;
    };
    auto grid = [&](const QStringList &captions, auto iconOf) {
        for (int i = 0; i < captions.size(); ++i) {
            const QPoint origin(kMargin + (i % kColumns) * kCellWidth, y + (i / kColumns) * kCellHeight);
            if ((i / kColumns) % 2 == 0)
                p.fillRect(QRect(origin, QSize(kCellWidth, kCellHeight)), QColor(247, 248, 250));
            DrawCell(p, origin, iconOf(captions[i]), captions[i]);
        }
        y += Rows(captions.size()) * kCellHeight;
    };

    heading(QStringLiteral("KORVO icon names (%1) at 16, 24 and 32 px").arg(names.size()));
    grid(names, [](const QString &name) { return KORVOIconImage(name); });

    heading(QStringLiteral("Actions (theme \"%1\", KORVO's own where the theme has none)").arg(QIcon::themeName()));
    grid(actions, [](const QString &action) { return KORVOActionIcon(action); });

    heading(QStringLiteral("Disabled, as on switched-off tool buttons"));
    {
        int x = kMargin + 6;
        for (const QString &name : disabled) {
            p.drawPixmap(x, y + 4, KORVOIconImage(name).pixmap(QSize(24, 24), 1.0, QIcon::Disabled));
            x += 36;
        }
        y += 32;
    }

    heading(QStringLiteral("Synchronisation rows, 20 px high, brackets joining"));
    for (const QString &key : rows) {
        p.fillRect(QRect(kMargin, y, 120, 20), QColor(240, 235, 255));
        p.fillRect(QRect(kMargin + 160, y, 120, 20), QColor(27, 20, 100));
        KORVOIconImage(key).paint(&p, QRect(kMargin + 122, y, 36, 20));
        p.setPen(QColor(40, 40, 40));
        p.drawText(QRect(kMargin + 290, y, 200, 20), Qt::AlignLeft | Qt::AlignVCenter, key);
        y += 20;
    }
    p.end();

    QDir().mkpath(QFileInfo(target).absolutePath());
    if (!sheet.save(target)) {
        std::fprintf(stderr, "could not write %s\n", qPrintable(target));
        return 1;
    }
    std::printf("%s\n", qPrintable(QFileInfo(target).absoluteFilePath()));
    return 0;
}
