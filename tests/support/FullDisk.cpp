#include "FullDisk.h"

#include <QDir>
#include <QFile>

#include <csignal>

#include <sys/mount.h>
#include <sys/resource.h>

namespace
{
rlimit gSaved;
} // namespace

FullDisk::FullDisk(const QString &folder)
    : mFolder(folder)
{
    QDir().mkpath(folder);
    // KORVO_TEST_NO_MOUNT tries the file size limit where mounting would work.
    mMounted = qEnvironmentVariableIsEmpty("KORVO_TEST_NO_MOUNT")
        && ::mount("tmpfs", QFile::encodeName(folder).constData(), "tmpfs", 0, "size=256k") == 0;
}

FullDisk::~FullDisk()
{
    if (mLimited) {
        setrlimit(RLIMIT_FSIZE, &gSaved);
        std::signal(SIGXFSZ, SIG_DFL);
    }
    if (mMounted)
        ::umount2(QFile::encodeName(mFolder).constData(), MNT_DETACH);
}

void FullDisk::Fill(qint64 room)
{
    if (mMounted) {
        QFile filler(FilePath(QStringLiteral(".filler")));
        if (filler.open(QIODevice::WriteOnly)) {
            const QByteArray block(4096, 'x');
            while (filler.write(block) == block.size() && filler.flush()) { }
        }
        return;
    }
    // Without the signal ignored, a write beyond the limit would end the process.
    std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &gSaved);
    rlimit lowered = gSaved;
    lowered.rlim_cur = rlim_t(room);
    mLimited = setrlimit(RLIMIT_FSIZE, &lowered) == 0;
}

QString FullDisk::Reason() const
{
    return mMounted ? QStringLiteral("No space left on device") : QStringLiteral("File too large");
}
