#include "multiGrid.h"

#include "SQLParser.h"
#include "sql/KORVOSQL.h"

#include <QApplication>
#include <QHeaderView>
#include <QPalette>
#include <QPlainTextEdit>
#include <QPointer>
#include <QScopeGuard>
#include <QScrollBar>
#include <QTableView>
#include <QToolButton>

namespace
{

const QString kDriverPrefix = QStringLiteral("[Microsoft][ODBC SQL Server Driver][SQL Server]");
const QString kCompleted = QStringLiteral("The command(s) completed successfully.");
const QString kCrLf = QStringLiteral("\r\n");
constexpr int kButtonsHeight = 24;
// Cells are shown cut at this length, and columns no wider than this, so that a
// very long text neither stalls the sizing nor pushes the other columns away.
constexpr int kMaxCellText = 1000;
constexpr int kMaxColumnWidth = 400;

QString HeaderName(const QString &name)
{
    // PostgreSQL names an unnamed expression "?column?".
    return name.isEmpty() || name == QLatin1String("?column?") ? QStringLiteral("(No column name)") : name;
}

} // namespace

// --- ResultGridModel ---

ResultGridModel::ResultGridModel(QStringList headers, std::shared_ptr<Recordset> rows, QObject *parent)
    : QAbstractTableModel(parent)
    , mHeaders(std::move(headers))
    , mRows(std::move(rows))
{
}

int ResultGridModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(mRows->RecordCount());
}

int ResultGridModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(mHeaders.size()) + 1;
}

QVariant ResultGridModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return QVariant();
    if (index.column() == 0) {
        if (role == Qt::DisplayRole)
            return index.row() + 1;
        if (role == Qt::BackgroundRole)
            return QApplication::palette().button();
        return QVariant();
    }
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole)
        return QVariant();
    const QVariantList &row = mRows->Rows().at(index.row());
    const QVariant value = row.value(index.column() - 1);
    if (!value.isValid())
        return QStringLiteral("(null)");
    QString text = value.toString();
    if (role == Qt::DisplayRole && text.size() > kMaxCellText)
        text = text.left(kMaxCellText) + QChar(0x2026);
    return text;
}

QVariant ResultGridModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section == 0)
        return QVariant();
    return mHeaders.value(section - 1);
}

// --- multiGrid ---

multiGrid::multiGrid(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("grdResults"));
    picMessages = new QWidget(this);
    picMessages->setObjectName(QStringLiteral("picMessages"));
    txtMessages = new QPlainTextEdit(picMessages);
    txtMessages->setObjectName(QStringLiteral("txtMessages"));
    txtMessages->setReadOnly(true);
    txtMessages->setLineWrapMode(QPlainTextEdit::NoWrap);

    picResultsFrame = new QWidget(this);
    picResults = new QWidget(picResultsFrame);
    picResults->setObjectName(QStringLiteral("picResults"));
    picResultsFrame->hide();
    vsb = new QScrollBar(Qt::Vertical, this);
    vsb->setObjectName(QStringLiteral("vsb"));
    vsb->hide();
    connect(vsb, &QScrollBar::valueChanged, this, [this](int value) { picResults->move(picResults->x(), -value); });

    picButtons = new QWidget(this);
    picButtons->setObjectName(QStringLiteral("picButtons"));
    picButtons->setFixedHeight(kButtonsHeight);
    auto makeTab = [this](const QString &name, const QString &caption, bool messages) {
        auto *tab = new QToolButton(picButtons);
        tab->setObjectName(name);
        tab->setText(caption);
        tab->setCheckable(true);
        tab->setAutoRaise(true);
        connect(tab, &QToolButton::clicked, this, [this, messages] { ShowPage(messages); });
        return tab;
    };
    cmdMessages = makeTab(QStringLiteral("cmdMessages"), QStringLiteral("Messages"), true);
    cmdResults = makeTab(QStringLiteral("cmdResults"), QStringLiteral("Results"), false);
    cmdResults->hide();
    ShowPage(true);
}

multiGrid::~multiGrid() = default;

void multiGrid::SetRedraw(bool redraw)
{
    setUpdatesEnabled(redraw);
    picMessages->setUpdatesEnabled(redraw);
    picResults->setUpdatesEnabled(redraw);
    for (QTableView *grid : std::as_const(mGrids))
        grid->setUpdatesEnabled(redraw);
}

QString multiGrid::MessagesText() const
{
    return txtMessages->toPlainText();
}

void multiGrid::ClearResults()
{
    picResultsFrame->hide();
    while (!mGrids.isEmpty())
        delete mGrids.takeLast();
    txtMessages->clear();
}

void multiGrid::ParseQuery(const QString &sql)
{
    if (!mSQL)
        return;
    ClearResults();
    QString text = mSQL->ParseSQL(sql);
    text.remove(kDriverPrefix);
    txtMessages->setPlainText(text.isEmpty() ? kCompleted : text);
    ResizeContainer();
    ShowPage(true);
}

void multiGrid::ExecuteQuery(const QString &sql, const QString &connectionString)
{
    if (mRunning || !mSQL)
        return;
    mConnection.reset();
    mConnection = mSQL->Driver().Open(connectionString.isEmpty() ? mSQL->ConnectionString() : connectionString);
    // Events run while the server works, so that the window can cancel.
    mConnection->SetWaitHandler([] { QCoreApplication::processEvents(QEventLoop::AllEvents, 20); });
    mConnection->SetRowLimit(mRowLimit);
    mConnection->SetLimitHandler([this](const QList<std::shared_ptr<Recordset>> &soFar) { ShowEarly(soFar); });
    ClearResults();
    QString messages;
    bool anyError = false;
    mRunning = true;
    mCancelled = false;
    Q_EMIT runningChanged(true);
    {
        // Whatever passes (out of memory, a driver's fault), the panel stops
        // running, so that the window and KORVO can be closed.
        const auto stopped = qScopeGuard([this] {
            mRunning = false;
            Q_EMIT runningChanged(false);
        });
        RunBatches(sql, SplitBatches(sql), messages, anyError);
    }
    if (messages.isEmpty())
        messages = kCompleted;
    txtMessages->setPlainText(QString(messages).replace(kCrLf, QStringLiteral("\n")));
    ResizeContainer();
    ShowPage(mGrids.isEmpty() || anyError);
}

void multiGrid::RunBatches(const QString &sql, const QStringList &batches, QString &messages, bool &anyError)
{
    (void)sql;
    // A first statement that always gives a row set; the server's line numbers
    // are one too high for it, which FormatSQLError corrects.
    const bool postgreSQL = mSQL->Kind().KindId() == ServerKind::Id::PostgreSQL;
    const QString prefix = postgreSQL ? QStringLiteral("select 1;\r\n") : QStringLiteral("select 1\r\n");
    for (int i = 0; i < batches.size(); ++i) {
        const QString &batch = batches.at(i);
        if (IsBlankText(batch))
            continue;
        if (mCancelled || !mConnection->IsOpen()) {
            anyError = true;
            messages += kCrLf
                + (mCancelled ? QStringLiteral("The query was cancelled; the remaining batches were not run.")
                              : QStringLiteral("The connection to the server was lost; the remaining batches were "
                                               "not run."))
                + kCrLf;
            return;
        }
        mShownEarly = 0;
        BatchResult result;
        try {
            result = mConnection->Execute(prefix + batch);
        } catch (const SqlError &e) {
            anyError = true;
            for (const QString &m : e.Messages)
                messages += m + kCrLf;
            messages += kCrLf + FormatSQLError(e.Description, i, batches) + kCrLf;
            continue;
        }
        for (qsizetype r = 1; r < result.Results.size(); ++r) {
            const std::shared_ptr<Recordset> &rs = result.Results.at(r);
            qint64 count = rs->RecordsAffected();
            if (rs->IsOpen()) {
                if (count == -1)
                    count = rs->RecordCount() + rs->RowsNotKept();
                if (rs->RecordCount() > 0 && r >= mShownEarly) {
                    QStringList header;
                    for (const QString &name : rs->FieldNames())
                        header << HeaderName(name);
                    AddResultGrid(header, rs);
                }
            }
            messages += kCrLf + QStringLiteral("(%1 row%2 affected)").arg(count).arg(count > 1 ? "s" : "") + kCrLf;
            if (rs->RowsNotKept() > 0)
                messages += QStringLiteral("(Only the first %1 rows are shown: %2 more rows were not shown. The row "
                                           "limit is set in Options, General.)")
                                .arg(rs->RecordCount())
                                .arg(rs->RowsNotKept())
                    + kCrLf;
        }
        for (const QString &m : std::as_const(result.Messages))
            messages += m + kCrLf;
    }
}

void multiGrid::ShowEarly(const QList<std::shared_ptr<Recordset>> &soFar)
{
    // The first rows of a large result at once, with those before it; the
    // batch's end adds the rest and the messages.
    for (qsizetype r = qMax<qsizetype>(1, mShownEarly); r < soFar.size(); ++r) {
        const std::shared_ptr<Recordset> &rs = soFar.at(r);
        if (rs->IsOpen() && rs->RecordCount() > 0) {
            QStringList header;
            for (const QString &name : rs->FieldNames())
                header << HeaderName(name);
            AddResultGrid(header, rs);
        }
    }
    mShownEarly = int(soFar.size());
    ShowPage(false);
}

void multiGrid::Cancel()
{
    if (!mRunning)
        return;
    mCancelled = true;
    mConnection->Cancel();
}

QString multiGrid::FormatSQLError(const QString &text, int batchIndex, const QStringList &batches)
{
    QString message = text;
    message.remove(kDriverPrefix);
    const qsizetype colon = message.indexOf(QLatin1Char(':'));
    if (!message.left(5).toLower().startsWith(QLatin1String("line ")) || colon < 0)
        return message;
    const int reported = message.mid(5, colon - 5).trimmed().toInt();
    qsizetype offset = 0;
    for (int i = 0; i < batchIndex && i < batches.size(); ++i)
        offset += batches.at(i).count(QLatin1Char('\n'));
    return QStringLiteral("Line %1%2").arg(reported - 1).arg(message.mid(colon)) + kCrLf
        + QStringLiteral("(Line %1 in editor)").arg(offset + reported - 1);
}

void multiGrid::AddResultGrid(const QStringList &header, const std::shared_ptr<Recordset> &rows)
{
    auto *grid = new QTableView(picResults);
    grid->setObjectName(QStringLiteral("grd_%1").arg(mGrids.size() + 1));
    grid->hide();
    grid->setModel(new ResultGridModel(header, rows, grid));
    grid->verticalHeader()->hide();
    grid->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    // The stacking counts 20 pixels a row; the style's default is taller.
    grid->verticalHeader()->setMinimumSectionSize(1);
    grid->verticalHeader()->setDefaultSectionSize(20);
    grid->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grid->setWordWrap(false);
    grid->verticalHeader()->setResizeContentsPrecision(200);
    const int digits = int(QString::number(rows->RecordCount()).size());
    grid->setColumnWidth(0, 7 * digits + 10);
    for (int c = 1; c <= header.size(); ++c) {
        grid->resizeColumnToContents(c);
        if (grid->columnWidth(c) > kMaxColumnWidth)
            grid->setColumnWidth(c, kMaxColumnWidth);
    }
    mGrids.append(grid);
    grid->show();
}

void multiGrid::ShowPage(bool messages)
{
    mShowingMessages = messages;
    picResultsFrame->setVisible(!messages && !mGrids.isEmpty());
    picMessages->setVisible(messages);
    if (messages)
        vsb->hide();
    else
        ResizeContainer();
    cmdMessages->setChecked(messages);
    cmdResults->setChecked(!messages);
}

void multiGrid::resizeEvent(QResizeEvent *e)
{
    QWidget::resizeEvent(e);
    ResizeContainer();
}

void multiGrid::ResizeContainer()
{
    const int available = qMax(0, height() - kButtonsHeight - 10);
    picMessages->setGeometry(0, 0, width(), available);
    txtMessages->setGeometry(0, 0, width(), available);
    picButtons->setGeometry(0, available, width(), kButtonsHeight);
    const int tabWidth = cmdMessages->sizeHint().width() + 16;
    if (mGrids.isEmpty()) {
        picResultsFrame->hide();
        cmdResults->hide();
        cmdMessages->setGeometry(50, 0, tabWidth, kButtonsHeight);
        vsb->hide();
        return;
    }
    cmdResults->show();
    cmdResults->setGeometry(50, 0, tabWidth, kButtonsHeight);
    cmdMessages->setGeometry(50 + tabWidth + 50, 0, tabWidth, kButtonsHeight);
    picResultsFrame->setGeometry(0, 0, width(), available);
    picResultsFrame->setVisible(!mShowingMessages);

    if (mGrids.size() == 1) {
        picResults->setGeometry(0, 0, width(), available);
        mGrids.first()->setGeometry(10, 0, width() - 20, available);
        vsb->hide();
        return;
    }
    int top = 0;
    int bottom = 0;
    QList<int> heights;
    for (QTableView *grid : std::as_const(mGrids)) {
        const int rows = qBound(2, grid->model()->rowCount(), 8);
        heights << rows * 20 + 25;
        bottom = top + heights.last();
        top = bottom + 10;
    }
    int resultsWidth = width() - 30;
    int resultsHeight = bottom;
    if (bottom <= available) {
        resultsHeight = available;
        heights.last() += available - 10 - bottom;
        vsb->hide();
    } else {
        const int barWidth = vsb->sizeHint().width();
        vsb->setGeometry(width() - barWidth, 0, barWidth, available);
        vsb->setRange(0, bottom - available);
        vsb->setPageStep(available);
        vsb->setValue(0);
        vsb->setVisible(!mShowingMessages);
        resultsWidth -= barWidth;
    }
    picResults->setGeometry(0, 0, resultsWidth, resultsHeight);
    top = 0;
    for (int i = 0; i < mGrids.size(); ++i) {
        mGrids.at(i)->setGeometry(10, top, resultsWidth - 20, heights.at(i));
        top += heights.at(i) + 10;
    }
}
