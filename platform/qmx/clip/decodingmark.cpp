// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/decodingmark.h"

#include "platform/qmx/core/qmxsafefile.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <set>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// "decoding-DIGEST.PID.NUMBER"
int pidOf(const QString &note)
{
    return note.section(QLatin1Char('.'), -2, -2).toInt();
}

bool isAlive(int pid)
{
    return ::kill(pid, 0) == 0 || errno == EPERM;
}

} // namespace

QmxError DecodingMark::begin(const QString &path, qint64 size, qint64 changed, const char *part)
{
    end();
    const QByteArray what =
        path.toUtf8() + '\n' + QByteArray::number(size) + '\n' + QByteArray::number(changed) + '\n' + part;
    const QByteArray digest = QCryptographicHash::hash(what, QCryptographicHash::Sha256).toHex().left(32);
    _start = QStringLiteral("decoding-%1.").arg(QString::fromLatin1(digest));
    std::set<int> dead;
    for (const QString &note : notesOfDead())
        dead.insert(pidOf(note));
    _isDoubted = !dead.empty();
    if (dead.size() > size_t(mostDeaths))
        return {
            ENOTSUP,
            QStringLiteral("Clip %1 is not opened: programs that decoded it have ended %2 times; it is tried "
                           "again when it has changed, or after a restart of the machine")
                .arg(path)
                .arg(dead.size())};
    stand();
    return {};
}

QStringList DecodingMark::notesOfDead() const
{
    QStringList notes = QDir(_folder).entryList({_start + QLatin1Char('*')}, QDir::Files | QDir::NoSymLinks);
    notes.removeIf([](const QString &note) { return pidOf(note) <= 0 || isAlive(pidOf(note)); });
    return notes;
}

void DecodingMark::stand()
{
    static std::atomic<unsigned> made = 0;
    if (_start.isEmpty() || !_own.isEmpty()) return;
    const QString own = QStringLiteral("%1/%2%3.%4").arg(_folder, _start).arg(::getpid()).arg(made++);
    const int fd =
        QmxSafeFile::open(QFile::encodeName(own).constData(), O_WRONLY | O_CREAT, S_IRUSR | S_IWUSR);
    if (fd < 0) return;
    ::close(fd);
    _own = own;
}

void DecodingMark::end()
{
    if (!_own.isEmpty()) QFile::remove(_own);
    _own.clear();
}

void DecodingMark::decoded(qint64 count, bool isAll)
{
    constexpr qint64 many = 250; // ten seconds: further than a thumbnail, a cue or a probe goes
    if (!_isDoubted || count <= 0 || !(isAll || count >= many)) return;
    for (const QString &note : notesOfDead())
        QFile::remove(_folder + QLatin1Char('/') + note);
    _isDoubted = false;
}
