#pragma once

#include "Registry.h"

#include <QString>

#include <optional>

// The size of the primary screen as the settings' bounds see it: in twips, and
// the twips per pixel of each axis.
struct ScreenMetrics {
    double widthTwips = 0;
    double heightTwips = 0;
    double twipsPerPixelX = 15;
    double twipsPerPixelY = 15;

    double widthPixels() const { return widthTwips / twipsPerPixelX; }
    double heightPixels() const { return heightTwips / twipsPerPixelY; }
    // A screen of the given pixel size at the given logical dpi (15 twips per pixel at 96 dpi).
    static ScreenMetrics FromPixels(double width, double height, double dpiX = 96, double dpiY = 96);
};

// KORVO's user settings. Every read goes to the store and applies the setting's
// reading rule, falling back to the default when the stored text fails it; every
// write goes straight to the store. Nothing is cached.
class KORVOSettings
{
public:
    // settingsFile: see Registry (empty = $KORVO_SETTINGS_FILE or the user's store).
    explicit KORVOSettings(const QString &settingsFile = {});
    virtual ~KORVOSettings() = default;

    bool OpenMostRecent() const;
    void SetOpenMostRecent(bool value);
    int WindowHeight() const;
    void SetWindowHeight(int value);
    int WindowWidth() const;
    void SetWindowWidth(int value);
    int WindowState() const;
    void SetWindowState(int value);
    int DBTWidth() const;
    void SetDBTWidth(int value);
    bool DBTVisible() const;
    void SetDBTVisible(bool value);
    bool ExtraPanelVisible() const;
    void SetExtraPanelVisible(bool value);
    int ExtraPanelHeight() const;
    void SetExtraPanelHeight(int value);

    int diffLeft() const;
    void SetDiffLeft(int value);
    int diffTop() const;
    void SetDiffTop(int value);
    int diffRight() const;
    void SetDiffRight(int value);
    int diffBottom() const;
    void SetDiffBottom(int value);
    bool diffMaximized() const;
    void SetDiffMaximized(bool value);
    // "left, top, right, bottom"; writing stores each numeric part of a
    // comma-separated text in its setting and leaves the others alone.
    QString diffRect() const;
    void SetDiffRect(const QString &value);

    bool ShowMainStatusBar() const;
    void SetShowMainStatusBar(bool value);
    bool ShowDescriptionPrompt() const;
    void SetShowDescriptionPrompt(bool value);
    bool ShowDescriptionInDBT() const;
    void SetShowDescriptionInDBT(bool value);
    bool ShowOwnerNameInName() const;
    void SetShowOwnerNameInName(bool value);
    bool ShowOwnerNameInProp() const;
    void SetShowOwnerNameInProp(bool value);

    // Always 0; a stored "1" switches ShowOwnerNameInName on as a side effect.
    int DocGenType();
    void SetDocGenType(int value);
    QString DocGenFileName() const;
    void SetDocGenFileName(const QString &value);
    QString DocGenTempalte() const;
    void SetDocGenTempalte(const QString &value);

    bool ShowSaveChangesNew() const;
    void SetShowSaveChangesNew(bool value);
    bool ShowSaveChangesEdit() const;
    void SetShowSaveChangesEdit(bool value);
    int ShowSaveChangesPermission() const;
    void SetShowSaveChangesPermission(int value);
    int SaveChangesEditDefault() const;
    void SetSaveChangesEditDefault(int value);
    int SaveChangesNewDefault() const;
    void SetSaveChangesNewDefault(int value);
    bool ShowPermissionsOnNewObjectCreate() const;
    void SetShowPermissionsOnNewObjectCreate(bool value);
    bool ShowCommentPrompt() const;
    void SetShowCommentPrompt(bool value);

    int ChildWindowState() const;
    void SetChildWindowState(int value);
    // Seconds an svn:// server has to answer a connection, and then each read
    // and write of every request: "SvnConnectTimeout", 15.
    int SvnConnectTimeout() const;
    void SetSvnConnectTimeout(int seconds);
    // Seconds a compile test may wait on the server (a lock held by another
    // session): "CompileTestTimeout", 30.
    int CompileTestTimeout() const;
    void SetCompileTestTimeout(int seconds);
    int ChildWindowWidth() const;
    void SetChildWindowWidth(int value);
    int ChildWindowHeight() const;
    void SetChildWindowHeight(int value);
    int ShowPermissionsInDBT() const;
    void SetShowPermissionsInDBT(int value);
    int ShowPermissionsInEditor() const;
    void SetShowPermissionsInEditor(int value);

    // The text a new object of the given type starts with, kept per user in
    // "{type}.default" in the user's data folder; empty when there is none.
    QString GetDefaultText(const QString &type) const;
    bool SetDefaultText(const QString &type, const QString &text, QString *reason = nullptr);
    // The texts of the types (in step) written all or none; the system's reason
    // when none could be written.
    bool SetDefaultTexts(const QStringList &types, const QStringList &texts, QString *reason = nullptr);

    // Rows the query window keeps of one result: "QueryRowLimit", 100,000; 0 keeps all.
    int QueryRowLimit() const;
    void SetQueryRowLimit(int rows);

    // The screen the bounds are taken from: the primary screen unless set.
    virtual ScreenMetrics Screen() const;
    void SetScreen(const std::optional<ScreenMetrics> &screen) { mScreen = screen; }

protected:
    Registry &GetRegistry() { return mRegistry; }
    const Registry &GetRegistry() const { return mRegistry; }

private:
    QString ReadSetting(const QString &name) const;
    void WriteSetting(const QString &name, const QString &value);
    bool OnlyOne(const QString &name) const;
    bool NotZero(const QString &name) const;
    void WriteBool(const QString &name, bool value);
    void WriteNumber(const QString &name, int value);
    int OneOrTwo(const QString &name) const;
    int WholeAtLeastOne(const QString &name, int fallback) const;

    Registry mRegistry;
    std::optional<ScreenMetrics> mScreen;
};
