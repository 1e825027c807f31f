#include "KorvoApplication.h"
#include "ScriptedUi.h"
#include "SqlError.h"

#include <QTest>

// An object whose event handling fails the way a model call can.
class Failing : public QObject
{
public:
    std::function<void()> fail;
    bool event(QEvent *) override
    {
        fail();
        return true;
    }
};

class TestApplication : public QObject
{
    Q_OBJECT
public:
    explicit TestApplication(KorvoApplication &app) : mApp(app) {}

private Q_SLOTS:
    void errorsReachingTheLoopBecomeBoxes_data()
    {
        QTest::addColumn<std::function<void()>>("fail");
        QTest::addColumn<QString>("text");
        QTest::newRow("server error") << std::function<void()>([] {
            throw SqlError(1000, QStringLiteral("KORVOSQL"), QStringLiteral("Connection is not open"));
        }) << QStringLiteral("Error 1000 (KORVOSQL):\n\nConnection is not open");
        QTest::newRow("other error") << std::function<void()>([] { throw std::runtime_error("disk full"); })
                                     << QStringLiteral("Error:\n\ndisk full");
    }

    void errorsReachingTheLoopBecomeBoxes()
    {
        QFETCH(std::function<void()>, fail);
        QFETCH(QString, text);
        ScriptedUi ui;
        ui.answer(UiServices::Answer::Ok);
        mApp.SetUi(&ui);
        QApplication::setOverrideCursor(Qt::WaitCursor);
        Failing target;
        target.fail = fail;
        QEvent event(QEvent::User);
        QVERIFY(!QCoreApplication::sendEvent(&target, &event));
        mApp.SetUi(nullptr);
        QCOMPARE(ui.boxes.size(), 1);
        QCOMPARE(ui.boxes.first().icon, UiServices::Icon::Critical);
        QCOMPARE(ui.boxes.first().title, QStringLiteral("KORVO"));
        QCOMPARE(ui.boxes.first().text, text);
        QVERIFY(!QApplication::overrideCursor());
    }

private:
    KorvoApplication &mApp;
};

int main(int argc, char *argv[])
{
    KorvoApplication app(argc, argv);
    TestApplication test(app);
    return QTest::qExec(&test, argc, argv);
}

#include "test_application.moc"
