// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/playlist.h"

#include "platform/control/recorder.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/store/storelock.h"

#include <QCryptographicHash>
#include <QFileInfo>

#include <cerrno>

QString PlayList::revisionOf(const QString &text)
{
    constexpr int shortDigest = 16;
    return QString::fromLatin1(
        QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha256).toHex().left(shortDigest));
}

std::string PlayList::lockPath()
{
    return QmxEnvironment::current().places->playListLock.toStdString();
}

PlayList PlayList::read(const Recorder &recorder)
{
    const QString text = recorder.text(eParam_PlayList);
    const QString folder = recorder.text(eParam_ActiveMediaPath);
    PlayList list;
    list._revision = revisionOf(text);
    for (const QString &name : text.split('\n', Qt::SkipEmptyParts)) {
        const bool isThere = !folder.isEmpty() && QFileInfo(recorder.here(folder + "/" + name)).isFile();
        list._entries.append({int(list._entries.size()), name, isThere});
    }
    return list;
}

Answer PlayList::write(Recorder &recorder, const QStringList &names, const QString &revision)
{
    if (names.size() > mostEntries)
        return Answer::refused(Cause::Argument, "wrong_argument",
                               QStringLiteral("a play list has at most %1 entries").arg(mostEntries));
    StoreLock lock(lockPath());
    if (!lock.acquire(lockWithin, nullptr) && lock.error() == EWOULDBLOCK)
        return Answer::refused(Cause::Busy, "busy", "another program is changing the play list", "try again");
    if (!revision.isEmpty() && revision != revisionOf(recorder.text(eParam_PlayList)))
        return Answer::refused(Cause::Deck, "list_changed",
                               "somebody else has changed the play list meanwhile", "read it again");
    QString reason = recorder.write(eParam_PlayList, names.join('\n'));
    if (reason.isEmpty()) reason = recorder.write(eParam_PlayListChanged, 1U);
    return reason.isEmpty() ? Answer::done() : Answer::refused(Cause::Store, "no_store", reason);
}
