#include "frmModuleMaint.h"

#include "HelpIntegration.h"
#include "SelectAllOnFocus.h"
#include "UiServices.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStyle>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace
{
constexpr int HelpTopic = 61;
const QString InvalidData = QStringLiteral("Invalid Data");

template <class T> T *Named(T *w, const char *name)
{
    w->setObjectName(QLatin1String(name));
    return w;
}
} // namespace

frmModuleMaint::frmModuleMaint(DocGenProject &project, UiServices &ui, HelpIntegration *help, QWidget *parent)
    : QDialog(parent)
    , mProject(project)
    , mUi(ui)
    , mHelp(help)
{
    setObjectName(QStringLiteral("frmModuleMaint"));
    mName = Named(new QLineEdit(this), "txtName");
    mProjectName = Named(new QLineEdit(this), "txtProject");
    mCreatedBy = Named(new QLineEdit(this), "txtCreatedBy");
    mCreatedOn = Named(new QLineEdit(this), "txtCreatedOn");
    mDevelopedBy = Named(new QPlainTextEdit(this), "txtDevelopedBy");
    mDescription = Named(new QPlainTextEdit(this), "txtDescription");
    mPath = Named(new QLineEdit(this), "txtPath");
    mBrowse = Named(new QPushButton(QStringLiteral("&..."), this), "cmdBrowse");
    auto *files = Named(new QGroupBox(QStringLiteral("&Files ..."), this), "fraFiles");
    mFiles = Named(new QTreeWidget(files), "lvwFiles");
    mFiles->setHeaderLabels({ QStringLiteral("File Name") });
    mFiles->setColumnWidth(0, 5700 / 15);
    mFiles->setRootIsDecorated(false);
    mFiles->setSelectionMode(QAbstractItemView::ExtendedSelection);
    mAdd = Named(new QPushButton(QStringLiteral("&Add Files"), files), "cmdAdd");
    mRemove = Named(new QPushButton(QStringLiteral("&Remove Files"), files), "cmdRemove");
    mSave = Named(new QPushButton(QStringLiteral("&Save"), this), "cmdSave");
    mCancel = Named(new QPushButton(QStringLiteral("Cancel"), this), "cmdCancel");
    mError = Named(new QFrame(this), "fraError");
    mErrorText = Named(new QLabel(mError), "lblError");
    auto *errorIcon = new QLabel(mError);
    errorIcon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(16, 16));
    auto *errorLayout = new QHBoxLayout(mError);
    errorLayout->addWidget(errorIcon);
    errorLayout->addWidget(mErrorText, 1);
    mError->hide();
    for (QPlainTextEdit *box : { mDevelopedBy, mDescription }) {
        box->setTabChangesFocus(true);
        box->installEventFilter(this);
    }

    auto *form = new QFormLayout;
    const auto row = [&](const char *label, QWidget *field) {
        auto *l = new QLabel(QLatin1String(label), this);
        l->setBuddy(field);
        form->addRow(l, field);
    };
    row("Module &name:", mName);
    row("&Project:", mProjectName);
    row("&Created by:", mCreatedBy);
    row("Created &on:", mCreatedOn);
    row("&Developed by (team):", mDevelopedBy);
    row("&Description:", mDescription);
    auto *pathRow = new QHBoxLayout;
    pathRow->addWidget(mPath, 1);
    pathRow->addWidget(mBrowse);
    auto *pathLabel = new QLabel(QStringLiteral("Primary &module path:"), this);
    pathLabel->setBuddy(mPath);
    form->addRow(pathLabel, pathRow);
    auto *fileButtons = new QHBoxLayout;
    fileButtons->addStretch();
    fileButtons->addWidget(mAdd);
    fileButtons->addWidget(mRemove);
    auto *filesLayout = new QVBoxLayout(files);
    filesLayout->addWidget(mFiles);
    filesLayout->addLayout(fileButtons);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(mError, 1);
    buttons->addWidget(mSave);
    buttons->addWidget(mCancel);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(files, 1);
    layout->addLayout(buttons);
    mSave->setDefault(true);
    SelectAllOnFocus::Install(this);

    for (QLineEdit *e : { mName, mProjectName, mCreatedBy, mCreatedOn, mPath })
        connect(e, &QLineEdit::textChanged, this, [this] { mDirty = mDirty || !mLoading; });
    for (QPlainTextEdit *e : { mDevelopedBy, mDescription })
        connect(e, &QPlainTextEdit::textChanged, this, [this] { mDirty = mDirty || !mLoading; });
    connect(mSave, &QPushButton::clicked, this, &frmModuleMaint::Save);
    connect(mCancel, &QPushButton::clicked, this, &frmModuleMaint::reject);
    connect(mAdd, &QPushButton::clicked, this, &frmModuleMaint::AddFiles);
    connect(mRemove, &QPushButton::clicked, this, &frmModuleMaint::RemoveFiles);
    connect(mBrowse, &QPushButton::clicked, this, &frmModuleMaint::BrowsePath);
}

bool frmModuleMaint::NewModule(DocGenProject &project, UiServices &ui, HelpIntegration *help, QWidget *parent)
{
    frmModuleMaint dlg(project, ui, help, parent);
    return dlg.Open(-1);
}

bool frmModuleMaint::EditModule(
    DocGenProject &project, int position, UiServices &ui, HelpIntegration *help, QWidget *parent)
{
    frmModuleMaint dlg(project, ui, help, parent);
    return dlg.Open(position);
}

bool frmModuleMaint::Open(int position)
{
    mPosition = position;
    setWindowTitle(position < 0 ? QStringLiteral("New Module ...") : QStringLiteral("Edit Module ..."));
    mLoading = true;
    if (const DocGenModulePtr module = position < 0 ? nullptr : mProject.Modules().Item(position)) {
        mName->setText(module->Name);
        mProjectName->setText(module->Project);
        mCreatedBy->setText(module->CreatedBy);
        mCreatedOn->setText(module->CreatedOn);
        // The boxes keep line feeds; a CR LF pair or a lone CR is one line end too.
        const auto lines = [](QString text) { return text.replace(QLatin1String("\r\n"), QLatin1String("\n")); };
        mDevelopedBy->setPlainText(lines(module->DevelopedBy));
        mDescription->setPlainText(lines(module->Description));
        mPath->setText(module->Path);
        for (const auto &file : module->Files())
            new QTreeWidgetItem(mFiles, { file->FileName() });
        RefreshFileList();
    }
    mLoading = false;
    mDirty = false;
    mName->setFocus();
    exec();
    return !mCancelled;
}

void frmModuleMaint::Warn(const QString &text, QWidget *focus)
{
    mUi.messageBox(UiServices::Icon::Warning, InvalidData, text);
    focus->setFocus();
}

void frmModuleMaint::Save()
{
    if (mName->text().trimmed().isEmpty())
        return Warn(QStringLiteral("Module Name is missing!"), mName);
    if (mPath->text().isEmpty())
        return Warn(QStringLiteral("Primary module path is missing!"), mBrowse);
    if (!QFileInfo(mPath->text()).isDir())
        return Warn(QStringLiteral("The specified Primary module path does not exist!"), mBrowse);
    if (mFiles->topLevelItemCount() == 0)
        return Warn(QStringLiteral("At least one File must be specified!"), mAdd);
    if (RefreshFileList()
        && !mUi.askYesNo(QStringLiteral("Save Anyway?"),
            QStringLiteral("Some of the files listed do not exist! Would you like to save the modules "
                           "details anyway?"))) {
        WaitCursor wait(mUi);
        mFiles->clearSelection();
        for (int i = 0; i < mFiles->topLevelItemCount(); ++i) {
            QTreeWidgetItem *row = mFiles->topLevelItem(i);
            row->setSelected(!row->data(0, Qt::UserRole).toBool());
        }
        mRemove->setFocus();
        return;
    }
    WaitCursor wait(mUi);
    const DocGenModulePtr module = mPosition < 0 ? mProject.Modules().Add() : mProject.Modules().Item(mPosition);
    module->Name = mName->text();
    module->Project = mProjectName->text();
    module->CreatedBy = mCreatedBy->text();
    module->CreatedOn = mCreatedOn->text();
    module->DevelopedBy = mDevelopedBy->toPlainText();
    module->Description = mDescription->toPlainText();
    module->Path = mPath->text();
    module->Files().Clear();
    for (int i = 0; i < mFiles->topLevelItemCount(); ++i)
        module->Files().Add(mFiles->topLevelItem(i)->text(0));
    mCancelled = false;
    accept();
}

void frmModuleMaint::AddFiles()
{
    const QStringList answer
        = mUi.openFileNames(QStringLiteral("Add files ..."), mStartName, QStringLiteral("All Files (*)"));
    if (answer.isEmpty())
        return;
    QString folder;
    QStringList names;
    if (answer.size() == 1) {
        const QFileInfo single(answer.first());
        folder = single.path();
        names << single.fileName();
    } else {
        folder = answer.first();
        names = answer.mid(1);
    }
    mStartName = folder + QDir::separator() + QLatin1Char('*');
    for (const QString &name : std::as_const(names)) {
        const QString path = QDir(folder).filePath(name);
        bool listed = false;
        for (int i = 0; i < mFiles->topLevelItemCount() && !listed; ++i)
            listed = mFiles->topLevelItem(i)->text(0).compare(path, Qt::CaseInsensitive) == 0;
        if (!listed) {
            new QTreeWidgetItem(mFiles, { path });
            mDirty = true;
        }
    }
    RefreshFileList();
}

void frmModuleMaint::RemoveFiles()
{
    qDeleteAll(mFiles->selectedItems());
    RefreshFileList();
}

void frmModuleMaint::BrowsePath()
{
    QString start = mPath->text();
    if (!start.endsWith(QDir::separator()))
        start += QDir::separator();
    const QString answer
        = mUi.saveFileName(QStringLiteral("Select the Primary module path (the filename will be ignored)"),
            start + QStringLiteral("file name will be ignored"), QStringLiteral("file name will be ignored (*)"));
    if (answer.isEmpty())
        return;
    mPath->setText(answer.left(answer.lastIndexOf(QDir::separator())));
}

bool frmModuleMaint::RefreshFileList()
{
    bool missing = false;
    for (int i = 0; i < mFiles->topLevelItemCount(); ++i) {
        QTreeWidgetItem *row = mFiles->topLevelItem(i);
        const bool exists = QFileInfo::exists(row->text(0));
        row->setData(0, Qt::UserRole, exists);
        row->setIcon(0, style()->standardIcon(exists ? QStyle::SP_FileIcon : QStyle::SP_MessageBoxWarning));
        missing = missing || !exists;
    }
    mErrorText->setText(QStringLiteral("Some of the files listed do not exist!"));
    mError->setVisible(missing);
    return missing;
}

bool frmModuleMaint::MayClose()
{
    if (!(mDirty && mCancelled))
        return true;
    return mUi.askYesNo(QStringLiteral("Discard Changes?"),
        QStringLiteral("Changes have been made! Would you like to discard these changes?"));
}

void frmModuleMaint::reject()
{
    if (MayClose())
        QDialog::reject();
}

void frmModuleMaint::closeEvent(QCloseEvent *event)
{
    if (result() == QDialog::Accepted || MayClose())
        QDialog::closeEvent(event);
    else
        event->ignore();
}

void frmModuleMaint::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_F1 && mHelp) {
        mHelp->ShowHelp(this, HelpTopic);
        return;
    }
    QDialog::keyPressEvent(event);
}

// In the two multi-line boxes Enter starts a new line, so Save is not the
// default button there; the boxes select their text on entry like the others.
bool frmModuleMaint::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) {
        const bool in = event->type() == QEvent::FocusIn;
        mSave->setDefault(!in);
        if (in)
            if (auto *box = qobject_cast<QPlainTextEdit *>(watched))
                QTimer::singleShot(0, box, &QPlainTextEdit::selectAll);
    }
    return QDialog::eventFilter(watched, event);
}
