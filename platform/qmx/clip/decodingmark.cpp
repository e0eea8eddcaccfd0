// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/decodingmark.h"

#include "platform/qmx/core/qmxsafefile.h"

#include <QCryptographicHash>
#include <QFile>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

struct Note
{
    int pid = 0; ///< 0: there is no note
    int deaths = 0;
};

Note readNote(const QByteArray &name)
{
    char text[32] = {};
    const int fd = QmxSafeFile::open(name.constData(), O_RDONLY);
    if (fd < 0) return {};
    const ssize_t size = ::read(fd, text, sizeof text - 1);
    ::close(fd);
    const QList<QByteArray> words = QByteArray(text, qMax<ssize_t>(size, 0)).simplified().split(' ');
    return words.size() == 2 ? Note{words[0].toInt(), words[1].toInt()} : Note{};
}

bool isAlive(int pid)
{
    return ::kill(pid, 0) == 0 || errno == EPERM;
}

} // namespace

QmxError DecodingMark::begin(const QString &path, qint64 size, qint64 changed)
{
    end();
    const QByteArray what =
        path.toUtf8() + '\n' + QByteArray::number(size) + '\n' + QByteArray::number(changed);
    const QByteArray digest = QCryptographicHash::hash(what, QCryptographicHash::Sha256).toHex().left(32);
    const QString note = _folder + QStringLiteral("/decoding-") + QString::fromLatin1(digest);
    const QByteArray name = QFile::encodeName(note);
    Note found = readNote(name);
    if (found.pid > 0 && isAlive(found.pid)) return {}; // another one is at it, and notes for both
    if (found.pid > 0) ++found.deaths;
    if (found.deaths > mostDeaths)
        return {
            ENOTSUP,
            QStringLiteral("Clip %1 is not opened: programs that decoded it have ended %2 times; it is tried "
                           "again when it has changed, or after a restart of the machine")
                .arg(path)
                .arg(found.deaths)};
    constexpr mode_t groupWrites = 0660; // the daemons and their operators note for each other
    const int fd = QmxSafeFile::open(name.constData(), O_WRONLY | O_CREAT | O_TRUNC, groupWrites);
    if (fd < 0) return {};
    const QByteArray text = QByteArray::number(::getpid()) + ' ' + QByteArray::number(found.deaths) + '\n';
    if (::write(fd, text.constData(), size_t(text.size())) == text.size()) _note = note;
    ::close(fd);
    return {};
}

void DecodingMark::end()
{
    if (!_note.isEmpty()) QFile::remove(_note);
    _note.clear();
}
