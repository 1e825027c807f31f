// The results rows without a server: clicks, the two buttons, brackets, preview.
#include "KORVOSyncResultsModel.h"

#include <QTest>

class TestSyncModel : public QObject
{
    Q_OBJECT

    // Rows of the given kinds ("1,1,2"), named r0, r1, ...
    static void fill(KORVOSyncResultsModel &m, const QString &kinds)
    {
        m.InitGrid("db", "$\\P\\");
        int i = 0;
        for (const QString &k : kinds.split(',')) {
            const QString name = QStringLiteral("r%1").arg(i++);
            const int kind = k.toInt();
            m.AddSyncRow(name, "STOREDPROCEDURE", kind == 2 ? "" : name, kind == 2 ? "" : "Procedure",
                kind == 1 ? "" : name, kind == 1 ? "" : "Procedure", kind);
        }
        m.RedrawRows();
    }
    static QString keys(const KORVOSyncResultsModel &m)
    {
        QStringList out;
        for (int r = 0; r < m.rowCount(); ++r)
            out.append(m.ImageKey(r));
        return out.join('|');
    }

private Q_SLOTS:
    // Clicks: "L2" left, "R2" right on row 2, "S" all to SQL, "V" all to VSS.
    void clicks_data()
    {
        QTest::addColumn<QString>("kinds");
        QTest::addColumn<QString>("clicks");
        QTest::addColumn<QString>("expected");
        QTest::newRow("single row never bracketed") << "1"
                                                    << "L0"
                                                    << "DEL:L";
        QTest::newRow("single row cycles back") << "3"
                                                << "L0 L0 L0"
                                                << "NRM";
        QTest::newRow("two to SQL, red bracket") << "1,1"
                                                 << "L0 L1"
                                                 << "DEL:L:R:LTR|DEL:L:R:LBR";
        QTest::newRow("one to VSS breaks it") << "1,1"
                                              << "L0 L1 L1"
                                              << "DEL:L|ADD:R";
        QTest::newRow("middle of three to none") << "2,2,2"
                                                 << "V L1"
                                                 << "DEL:R|NRM|DEL:R";
        QTest::newRow("three to VSS, green") << "3,3,3"
                                             << "V"
                                             << "CNG:R:G:LTR|CNG:R:G:LR|CNG:R:G:LBR";
        QTest::newRow("kinds never group") << "1,2,2,3"
                                           << "V"
                                           << "ADD:R|DEL:R:G:LTR|DEL:R:G:LBR|CNG:R";
        QTest::newRow("right click flips the run") << "3,3,3,1"
                                                   << "V R1"
                                                   << "CNG:L:R:LTR|CNG:L:R:LR|CNG:L:R:LBR|ADD:R";
        QTest::newRow("right click twice flips back") << "3,3"
                                                      << "V R0 R1"
                                                      << "CNG:R:G:LTR|CNG:R:G:LBR";
        QTest::newRow("right click on none takes the run") << "2,2,1"
                                                           << "R0"
                                                           << "ADD:L:R:LTR|ADD:L:R:LBR|NRM";
        QTest::newRow("right click never returns to none") << "1"
                                                           << "R0 R0 R0 R0"
                                                           << "ADD:R";
        QTest::newRow("all to SQL") << "1,2,3"
                                    << "S"
                                    << "DEL:L|ADD:L|CNG:L";
    }
    void clicks()
    {
        QFETCH(QString, kinds);
        QFETCH(QString, clicks);
        QFETCH(QString, expected);
        KORVOSyncResultsModel m;
        fill(m, kinds);
        for (const QString &c : clicks.split(' ')) {
            if (c == "S" || c == "V")
                m.MakeAll(c == "S" ? 1 : 2);
            else
                m.Click(c.mid(1).toInt(), c.at(0) == 'R');
        }
        QCOMPARE(keys(m), expected);
        // The tag is the key without its bracket.
        for (int r = 0; r < m.rowCount(); ++r)
            QCOMPARE(m.Tag(r), m.ImageKey(r).section(':', 0, 1));
    }

    // Cells and text colours after each left click of a kind 2 and a kind 1 row.
    void preview_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("clicks");
        QTest::addColumn<QString>("cells"); // columns 1, 2, 4, 5
        QTest::addColumn<QString>("colours"); // left, right
        QTest::newRow("VSS only, none") << 2 << 0 << "||r0|Procedure"
                                        << "#000000 #ffffff";
        QTest::newRow("VSS only, to SQL") << 2 << 1 << "r0|Procedure|r0|Procedure"
                                          << "#00be00 #ffffff";
        QTest::newRow("VSS only, to VSS") << 2 << 2 << "||r0|Procedure"
                                          << "#00be00 #ff0000";
        QTest::newRow("SQL only, to SQL") << 1 << 1 << "r0|Procedure||"
                                          << "#d20000 #ffffff";
        QTest::newRow("SQL only, to VSS") << 1 << 2 << "r0|Procedure|r0|Procedure"
                                          << "#000000 #00ff00";
        QTest::newRow("SQL only, back") << 1 << 3 << "r0|Procedure||"
                                        << "#000000 #ffffff";
        QTest::newRow("both, to VSS") << 3 << 2 << "r0|Procedure|r0|Procedure"
                                      << "#000000 #00ff00";
    }
    void preview()
    {
        QFETCH(int, kind);
        QFETCH(int, clicks);
        QFETCH(QString, cells);
        QFETCH(QString, colours);
        KORVOSyncResultsModel m;
        fill(m, QString::number(kind));
        for (int i = 0; i < clicks; ++i)
            m.Click(0, false);
        QCOMPARE(QStringList({ m.Cell(0, 0), m.Cell(0, 1), m.Cell(0, 3), m.Cell(0, 4) }).join('|'), cells);
        QCOMPARE(m.TextColour(0, 0).name() + ' ' + m.TextColour(0, 3).name(), colours);
    }
};

QTEST_GUILESS_MAIN(TestSyncModel)
#include "test_syncmodel.moc"
