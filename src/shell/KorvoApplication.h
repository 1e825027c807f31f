#pragma once

#include <QApplication>

class UiServices;

// The application object. Errors that the model lets reach its caller and that
// no window handles end here, as a box, instead of ending the process: the
// user loses at most the action that failed.
class KorvoApplication : public QApplication
{
    Q_OBJECT
public:
    KorvoApplication(int &argc, char **argv);

    void SetUi(UiServices *ui) { mUi = ui; }
    bool notify(QObject *receiver, QEvent *event) override;

    // The box's text for an error that reached the event loop.
    static QString ErrorText(const std::exception &error);

private:
    UiServices *mUi = nullptr;
};
