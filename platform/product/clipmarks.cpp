// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/clipmarks.h"

#include "platform/qmx/clip/movcrc.h"

#include <QFileInfo>

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>

namespace {

constexpr auto firstLine = "marks 1";
constexpr auto lastWord = "crc32c ";
constexpr auto inName = "in";
constexpr auto outName = "out";
/// More than the most points with the longest names need.
constexpr qint64 largestFile = 1 << 20;
constexpr std::chrono::seconds lockWithin(2);
constexpr std::chrono::milliseconds lockAgain(10);

QmxError failed(const QString &what, const QString &path)
{
    const int reason = errno;
    return {reason, QStringLiteral("%1 %2: %3").arg(what, path, QmxError(reason).toString())};
}

/// A descriptor that is closed when it goes.
class Open
{
public:
    Open(QmxFiles &files, const QString &path, int flags, mode_t mode = 0)
        : _files(files), _fd(files.open(path, flags | O_CLOEXEC, mode))
    {}
    ~Open()
    {
        if (_fd >= 0) _files.close(_fd);
    }
    Open(const Open &) = delete;
    Open &operator=(const Open &) = delete;
    int fd() const { return _fd; }
    bool isOpen() const { return _fd >= 0; }

private:
    QmxFiles &_files;
    const int _fd;
};

/// ENOENT when there is none; EFBIG when it cannot be one of ours.
QmxError readFile(const QString &path, QmxFiles &files, QByteArray &text)
{
    const Open file(files, path, O_RDONLY);
    struct stat64 status = {};
    if (!file.isOpen() || files.fstat(file.fd(), &status) != 0) return failed("cannot read", path);
    if (status.st_size > largestFile) return {EFBIG, QStringLiteral("%1 is too large").arg(path)};
    text.resize(status.st_size);
    qsizetype done = 0;
    while (done < text.size()) {
        const ssize_t got =
            files.pread(file.fd(), text.data() + done, size_t(text.size() - done), off64_t(done));
        if (got < 0) return failed("cannot read", path);
        if (got == 0) break;
        done += got;
    }
    text.truncate(done);
    return {};
}

/// The new text has the name at once or not at all.
QmxError writeFile(const QString &path, const QByteArray &text, QmxFiles &files)
{
    const QString part = path + ".part";
    files.unlink(part); // of one that a crash has ended
    {
        const Open file(files, part, O_WRONLY | O_CREAT | O_EXCL, 0644);
        if (!file.isOpen()) return failed("cannot write", part);
        qsizetype done = 0;
        while (done < text.size()) {
            const ssize_t more =
                files.pwrite(file.fd(), text.constData() + done, size_t(text.size() - done), off64_t(done));
            if (more <= 0) return failed("cannot write", part);
            done += more;
        }
        if (files.fdatasync(file.fd()) != 0) return failed("cannot write", part);
    }
    if (files.rename(part, path) != 0) return failed("cannot write", path);
    return {};
}

void keepFolder(const QString &path, QmxFiles &files)
{
    const Open folder(files, QFileInfo(path).path(), O_RDONLY | O_DIRECTORY);
    if (folder.isOpen()) files.fsync(folder.fd());
}

ClipMarks chaptersOf(const QString &clip, const QmxEnvironment &environment)
{
    QList<QmxClipChapter> chapters;
    QmxClipChapters::read(clip, chapters, environment); // of one that cannot be read there are none
    return ClipMarks::fromChapters(chapters);
}

std::optional<qint64> frameOf(const QByteArray &text)
{
    bool isNumber = false;
    const qint64 frame = text.toLongLong(&isNumber);
    return isNumber && frame >= 0 ? std::optional(frame) : std::nullopt;
}

/// Where marks lie that made no sense.
QString asideOf(const QString &marks)
{
    return marks + ".damaged";
}

} // namespace

std::optional<QString> ClipMarks::nameFrom(const QString &text)
{
    const QString name = text.trimmed();
    const bool isBad = name.isEmpty() || name.size() > longestName ||
                       std::any_of(name.begin(), name.end(), [](QChar c) { return !c.isPrint(); });
    return isBad ? std::nullopt : std::optional(name);
}

bool ClipMarks::setPoint(const QString &name, qint64 frame)
{
    removePoint(name);
    if (points.size() >= mostPoints) return false;
    const auto at = std::upper_bound(points.begin(), points.end(), frame,
                                     [](qint64 value, const Point &point) { return value < point.frame; });
    points.insert(at, {frame, name});
    return true;
}

bool ClipMarks::removePoint(const QString &name)
{
    return points.removeIf([&name](const Point &point) { return point.name == name; }) > 0;
}

const ClipMarks::Point *ClipMarks::point(const QString &name) const
{
    const auto found = std::find_if(points.begin(), points.end(),
                                    [&name](const Point &point) { return point.name == name; });
    return found == points.end() ? nullptr : &*found;
}

QByteArray ClipMarks::toText() const
{
    QByteArray text = QByteArray(firstLine) + '\n';
    if (in) text += "in " + QByteArray::number(*in) + '\n';
    if (out) text += "out " + QByteArray::number(*out) + '\n';
    for (const Point &point : points)
        text += "at " + QByteArray::number(point.frame) + ' ' + point.name.toUtf8() + '\n';
    const quint32 crc = movCrc32c(text.constData(), size_t(text.size()));
    return text + lastWord + QByteArray::number(crc, 16).rightJustified(8, '0') + '\n';
}

std::optional<ClipMarks> ClipMarks::fromText(const QByteArray &text)
{
    const qsizetype end = text.lastIndexOf(lastWord);
    if (end <= 0 || text[end - 1] != '\n') return {};
    bool isNumber = false;
    const quint32 crc = text.mid(end + qsizetype(qstrlen(lastWord))).trimmed().toUInt(&isNumber, 16);
    if (!isNumber || !movCrcIs(crc, text.constData(), size_t(end))) return {};
    const QList<QByteArray> lines = text.left(end).split('\n');
    if (lines.first() != firstLine) return {};
    ClipMarks marks;
    for (const QByteArray &line : lines.mid(1)) {
        if (line.isEmpty()) continue;
        // A word, a frame, and of a point the rest of the line.
        const QList<QByteArray> words = line.split(' ');
        const QByteArray &word = words.first();
        const std::optional<qint64> frame = frameOf(words.value(1));
        if (!frame) return {};
        if (word == "in") {
            marks.in = frame;
        } else if (word == "out") {
            marks.out = frame;
        } else if (word == "at") {
            const auto name = nameFrom(QString::fromUtf8(words.mid(2).join(' ')));
            if (!name || !marks.setPoint(*name, *frame)) return {};
        } // what a later version knows
    }
    return marks;
}

QList<QmxClipChapter> ClipMarks::chapters() const
{
    QList<QmxClipChapter> list;
    if (in) list.append({*in, QString::fromLatin1(inName)});
    for (const Point &point : points)
        list.append({point.frame, point.name});
    if (out) list.append({*out, QString::fromLatin1(outName)});
    return list;
}

ClipMarks ClipMarks::fromChapters(const QList<QmxClipChapter> &chapters)
{
    ClipMarks marks;
    for (const QmxClipChapter &chapter : chapters) {
        const auto name = nameFrom(chapter.name.left(longestName));
        if (!name || marks.points.size() >= mostPoints) continue;
        if (*name == QLatin1String(inName)) {
            marks.in = chapter.frame;
        } else if (*name == QLatin1String(outName)) {
            marks.out = chapter.frame;
        } else {
            // Other programs give one name to several.
            QString own = *name;
            for (int i = 2; marks.point(own); ++i)
                own = QStringLiteral("%1 %2").arg(name->left(longestName - 5)).arg(i);
            marks.setPoint(own, chapter.frame);
        }
    }
    if (marks.in && marks.out && *marks.out <= *marks.in) marks.out.reset();
    return marks;
}

QString ClipMarks::fileOf(const QString &clipPath)
{
    const QFileInfo clip(clipPath);
    return QStringLiteral("%1/.%2.marks").arg(clip.path(), clip.fileName());
}

ClipMarks ClipMarksFile::read(const QString &clipPath, QString &told, const QmxEnvironment &environment)
{
    QByteArray text;
    const QString path = ClipMarks::fileOf(clipPath);
    const QmxError error = readFile(path, *environment.files, text);
    if (error.value() == ENOENT) return chaptersOf(clipPath, environment);
    if (!error.isError())
        if (const auto marks = ClipMarks::fromText(text)) return *marks;
    if (error.isError() && error.value() != EFBIG && error.value() != ENOTSUP && error.value() != ELOOP) {
        told = error.toString();
        return {};
    }
    const QString aside = asideOf(path);
    const bool isAside = environment.files->rename(path, aside) == 0;
    told = QStringLiteral("the marks of %1 make no sense%2; set them anew")
               .arg(QFileInfo(clipPath).fileName(),
                    isAside ? QStringLiteral(" and lie in %1 now").arg(aside) : QString());
    return {};
}

QmxError ClipMarksFile::change(const QString &clipPath, const std::function<QmxError(ClipMarks &)> &change,
                               QString &told, const QmxEnvironment &environment)
{
    // The folder, since the file is another one after each change.
    QmxFiles &files = *environment.files;
    const Open folder(files, QFileInfo(clipPath).path(), O_RDONLY | O_DIRECTORY);
    if (!folder.isOpen()) return failed("cannot read", QFileInfo(clipPath).path());
    const qint64 until = environment.clock->after(lockWithin);
    while (files.flock(folder.fd(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK || environment.clock->now() > until)
            return failed("the marks are being changed by somebody else:", clipPath);
        environment.clock->sleepFor(lockAgain);
    }
    const ClipMarks before = read(clipPath, told, environment);
    ClipMarks marks = before;
    QmxError error = change(marks);
    if (error.isError() || marks == before) return error;
    const QString path = ClipMarks::fileOf(clipPath);
    // The chapters of a clip that has them come back when there is no file.
    if (!marks.isEmpty() || !chaptersOf(clipPath, environment).isEmpty())
        error = writeFile(path, marks.toText(), files);
    else if (files.unlink(path) != 0 && errno != ENOENT)
        error = failed("cannot remove", path);
    if (!error.isError()) files.fsync(folder.fd());
    return error;
}

QmxError ClipMarksFile::follow(const QString &from, const QString &to, bool copy,
                               const QmxEnvironment &environment)
{
    QmxFiles &files = *environment.files;
    const QString source = ClipMarks::fileOf(from);
    QmxError error;
    if (to.isEmpty()) {
        if (files.unlink(source) != 0) error = failed("cannot delete", source);
        files.unlink(asideOf(source));
    } else if (copy) {
        QByteArray text;
        error = readFile(source, files, text);
        if (!error.isError()) error = writeFile(ClipMarks::fileOf(to), text, files);
    } else if (files.rename(source, ClipMarks::fileOf(to)) != 0) {
        error = failed("cannot rename", source);
    }
    if (error.value() == ENOENT) return {};
    if (!error.isError()) keepFolder(to.isEmpty() ? from : to, files);
    return error;
}
