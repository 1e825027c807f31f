#pragma once

#include <QAbstractTableModel>
#include <QList>
#include <QStringList>
#include <QWidget>

#include <memory>

class KORVOSQL;
class QPlainTextEdit;
class QScrollBar;
class QTableView;
class QToolButton;
class Recordset;
class SqlConnection;

// The rows of one result set for a grid: column 0 is the row's running number,
// the rest the fields as text, NULL as "(null)". The rows stay in the recordset.
class ResultGridModel : public QAbstractTableModel
{
public:
    ResultGridModel(QStringList headers, std::shared_ptr<Recordset> rows, QObject *parent);
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    QStringList mHeaders;
    std::shared_ptr<Recordset> mRows;
};

// The panel below the query editor: runs SQL on a connection of its own, batch
// by batch, and shows the result sets as stacked grids on the "Results" page and
// counts, server messages and errors on the "Messages" page.
class multiGrid : public QWidget
{
    Q_OBJECT
public:
    explicit multiGrid(QWidget *parent = nullptr);
    ~multiGrid() override;

    KORVOSQL *SQLConnection() const { return mSQL; }
    void SetSQLConnection(KORVOSQL *sql) { mSQL = sql; }
    WId hWnd() const { return winId(); }
    void SetRedraw(bool redraw);

    void ParseQuery(const QString &sql);
    // Opening the connection is not trapped: its failure reaches the caller.
    void ExecuteQuery(const QString &sql, const QString &connectionString = QString());
    void ResizeContainer();

    // Stops the query that runs; the running batch ends with the server's error
    // and no further batch runs.
    void Cancel();
    bool IsRunning() const { return mRunning; }
    // Rows shown of each result (0 for all); the rest are counted on the
    // Messages page and never held.
    void SetRowLimit(qint64 rows) { mRowLimit = rows; }

    bool ShowingMessages() const { return mShowingMessages; }
    QString MessagesText() const;
    int GridCount() const { return int(mGrids.size()); }
    // Grids from 1.
    QTableView *Grid(int index) const { return mGrids.value(index - 1); }
    void ShowPage(bool messages);

    // An error text of batch batchIndex (from 0) with the server's line corrected
    // for the added first line, and the line in the editor added. Line ends are
    // counted as line feeds, so texts with CR LF and with LF alone both count.
    static QString FormatSQLError(const QString &text, int batchIndex, const QStringList &batches);

Q_SIGNALS:
    void runningChanged(bool running);

protected:
    void resizeEvent(QResizeEvent *e) override;

private:
    void ClearResults();
    void AddResultGrid(const QStringList &header, const std::shared_ptr<Recordset> &rows);
    void ShowEarly(const QList<std::shared_ptr<Recordset>> &soFar);
    void RunBatches(const QString &sql, const QStringList &batches, QString &messages, bool &anyError);

    KORVOSQL *mSQL = nullptr;
    std::unique_ptr<SqlConnection> mConnection;
    bool mShowingMessages = true;
    bool mRunning = false;
    bool mCancelled = false;
    qint64 mRowLimit = 0;
    int mShownEarly = 0; // results of the running batch already shown

    QWidget *picMessages;
    QPlainTextEdit *txtMessages;
    QWidget *picButtons;
    QToolButton *cmdMessages;
    QToolButton *cmdResults;
    QWidget *picResultsFrame; // clips picResults, which the scroll bar moves
    QWidget *picResults;
    QScrollBar *vsb;
    QList<QTableView *> mGrids;
};
