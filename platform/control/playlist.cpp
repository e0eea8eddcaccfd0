// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/playlist.h"

#include "platform/control/recorder.h"
#include "platform/qmx/clip/qmxclippart.h"
#include "platform/qmx/clip/qmxclipreader.h"
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
        const auto part = QmxClipPart::fromText(name);
        const bool isThere =
            part && !folder.isEmpty() && QFileInfo(recorder.here(folder + "/" + part->clip)).isFile();
        list._entries.append({int(list._entries.size()), name, isThere});
    }
    return list;
}

std::optional<QString> PlayList::entryFor(const Recorder &recorder, const QString &text, QString &why)
{
    if (!recorder.isClip(text)) {
        why = recorder.whyNoClip(text);
        return {};
    }
    auto part = QmxClipPart::fromText(text);
    if (!part || !part->isPart) return text;
    QmxClipInfo info;
    QmxClipPart::Range range;
    QmxError error =
        QmxClipReader::probe(recorder.here(recorder.text(eParam_ActiveMediaPath) + '/' + part->clip), info,
                             recorder.environment());
    if (!error.isError()) error = part->resolve(info, range);
    if (error.isError()) {
        why = error.toString();
        return {};
    }
    part->from = QString::number(range.first);
    if (!part->to.isEmpty()) part->to = QString::number(range.end);
    return part->toText();
}

Answer PlayList::write(Recorder &recorder, const QStringList &wanted, const QString &revision)
{
    if (wanted.size() > mostEntries)
        return Answer::refused(Cause::Argument, "wrong_argument",
                               QStringLiteral("a play list has at most %1 entries").arg(mostEntries));
    // A clip may come later; a part that makes no sense now never will.
    QStringList names;
    for (const QString &entry : wanted) {
        QString why;
        const auto kept = entry.endsWith(')') ? entryFor(recorder, entry, why) : std::optional(entry);
        if (!kept) return Answer::refused(Cause::Argument, "wrong_argument", why);
        names.append(*kept);
    }
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
