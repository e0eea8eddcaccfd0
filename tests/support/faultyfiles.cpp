// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/faultyfiles.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

struct FaultyFiles::State
{
    struct Rule
    {
        Call call = CallCount; // CallCount: any
        int remaining = 0;
        int error = 0;
        bool always = false;
        bool half = false;
        qint64 stall = 0;
    };

    /// What a write has replaced.
    struct Before
    {
        off64_t offset = 0;
        QByteArray bytes;
        off64_t fileSize = 0;
    };

    mutable std::mutex mutex;
    std::vector<Rule> rules;
    bool losesOnFailedSync = false;
    std::map<ino64_t, std::vector<Before>> unsynced;
    int counts[CallCount] = {};
    qint64 bytesWritten = 0;
    bool hangs[CallCount] = {};
    std::vector<QmxInterrupt *> hanging;
    QString vanished;
    QString only;
    std::function<void(const QString &, struct statfs64 &)> statfsChange;
    std::map<int, QString> paths; // of open descriptors
};

namespace {

bool isUnder(const QString &path, const QString &folder)
{
    return !folder.isEmpty() && (path == folder || path.startsWith(folder + u'/'));
}

} // namespace

FaultyFiles::FaultyFiles(std::shared_ptr<QmxFiles> under)
    : _under(std::move(under)), _state(std::make_shared<State>())
{}

std::shared_ptr<FaultyFiles> FaultyFiles::install()
{
    QmxEnvironment environment = QmxEnvironment::current();
    auto files = std::make_shared<FaultyFiles>(environment.files);
    environment.files = files;
    QmxEnvironment::setCurrent(environment);
    return files;
}

void FaultyFiles::addRule(Call call, int n, int error, bool always, bool half, qint64 stall)
{
    std::lock_guard lock(_state->mutex);
    _state->rules.push_back({call, n, error, always, half, stall});
}

void FaultyFiles::failNth(Call call, int n, int error, bool always)
{
    addRule(call, n, error, always, false, 0);
}

void FaultyFiles::failNthOfAll(int n, int error, bool always)
{
    addRule(CallCount, n, error, always, false, 0);
}

void FaultyFiles::writeHalf(int n)
{
    addRule(Pwrite, n, 0, false, true, 0);
}

void FaultyFiles::stallNth(Call call, int n, qint64 ns)
{
    addRule(call, n, 0, false, false, ns);
}

void FaultyFiles::hang(Call call)
{
    std::lock_guard lock(_state->mutex);
    _state->hangs[call] = true;
}

void FaultyFiles::release()
{
    std::lock_guard lock(_state->mutex);
    std::fill(std::begin(_state->hangs), std::end(_state->hangs), false);
    for (QmxInterrupt *interrupt : _state->hanging)
        interrupt->interrupt();
}

int FaultyFiles::hanging() const
{
    std::lock_guard lock(_state->mutex);
    return int(_state->hanging.size());
}

void FaultyFiles::vanish(const QString &path)
{
    std::lock_guard lock(_state->mutex);
    _state->vanished = path;
}

void FaultyFiles::comeBack()
{
    vanish(QString());
}

void FaultyFiles::only(const QString &path)
{
    std::lock_guard lock(_state->mutex);
    _state->only = path;
}

void FaultyFiles::fakeStatfs(std::function<void(const QString &, struct statfs64 &)> change)
{
    std::lock_guard lock(_state->mutex);
    _state->statfsChange = std::move(change);
}

void FaultyFiles::loseOnFailedSync()
{
    std::lock_guard lock(_state->mutex);
    _state->losesOnFailedSync = true;
}

/// By another descriptor: that of the writer may want aligned memory.
void FaultyFiles::rememberBefore(int fd, off64_t offset, size_t size)
{
    struct stat64 status = {};
    std::lock_guard lock(_state->mutex);
    if (!_state->losesOnFailedSync || ::fstat64(fd, &status) != 0) return;
    State::Before before{offset, QByteArray(qsizetype(size), '\0'), status.st_size};
    const int reading =
        ::open64(qPrintable(QStringLiteral("/proc/self/fd/%1").arg(fd)), O_RDONLY | O_CLOEXEC);
    const ssize_t got = ::pread64(reading, before.bytes.data(), size, offset);
    before.bytes.truncate(std::max<ssize_t>(got, 0));
    ::close(reading);
    _state->unsynced[status.st_ino].push_back(std::move(before));
}

int FaultyFiles::sync(Call call, int fd)
{
    const bool failing = fails(call, fd);
    const int error = errno;
    struct stat64 status = {};
    ::fstat64(fd, &status);
    std::vector<State::Before> before;
    {
        std::lock_guard lock(_state->mutex);
        before.swap(_state->unsynced[status.st_ino]);
    }
    if (!failing) return call == Fsync ? _under->fsync(fd) : _under->fdatasync(fd);
    const int writing =
        ::open64(qPrintable(QStringLiteral("/proc/self/fd/%1").arg(fd)), O_WRONLY | O_CLOEXEC);
    for (auto write = before.rbegin(); write != before.rend(); ++write) {
        if (::pwrite64(writing, write->bytes.constData(), size_t(write->bytes.size()), write->offset) < 0 ||
            ::ftruncate64(writing, write->fileSize) != 0)
            break;
    }
    ::close(writing);
    errno = error;
    return -1;
}

void FaultyFiles::forgetRules()
{
    std::lock_guard lock(_state->mutex);
    _state->rules.clear();
}

void FaultyFiles::clear()
{
    std::lock_guard lock(_state->mutex);
    _state->losesOnFailedSync = false;
    _state->unsynced.clear();
    _state->rules.clear();
    _state->vanished.clear();
    _state->only.clear();
    _state->statfsChange = nullptr;
}

int FaultyFiles::count(Call call) const
{
    std::lock_guard lock(_state->mutex);
    return _state->counts[call];
}

int FaultyFiles::countOfAll() const
{
    std::lock_guard lock(_state->mutex);
    int sum = 0;
    for (int calls : _state->counts)
        sum += calls;
    return sum;
}

qint64 FaultyFiles::bytesWritten() const
{
    std::lock_guard lock(_state->mutex);
    return _state->bytesWritten;
}

/// Counts the call, lets it hang or stall as ordered, and says what is to become of it.
FaultyFiles::Fate FaultyFiles::enter(Call call, const QString &path, int vanishedError)
{
    const std::shared_ptr<QmxClock> clock = QmxEnvironment::current().clock;
    Fate fate;
    qint64 stall = 0;
    std::unique_lock lock(_state->mutex);
    ++_state->counts[call];
    if (!_state->only.isEmpty() && !isUnder(path, _state->only)) return fate;
    for (State::Rule &rule : _state->rules) {
        if (rule.call != call && rule.call != CallCount) continue;
        --rule.remaining;
        if (rule.remaining != 0 && !(rule.always && rule.remaining < 0)) continue;
        if (rule.error) fate.error = rule.error;
        fate.half |= rule.half;
        stall += rule.stall;
    }
    while (_state->hangs[call]) {
        QmxInterrupt interrupt;
        _state->hanging.push_back(&interrupt);
        lock.unlock();
        clock->sleepUntil(std::numeric_limits<qint64>::max(), &interrupt);
        lock.lock();
        std::erase(_state->hanging, &interrupt);
    }
    if (isUnder(path, _state->vanished)) fate.error = vanishedError;
    lock.unlock();
    if (stall > 0) clock->sleepUntil(clock->now() + stall);
    return fate;
}

QString FaultyFiles::pathOf(int fd) const
{
    std::lock_guard lock(_state->mutex);
    const auto found = _state->paths.find(fd);
    return found == _state->paths.end() ? QString() : found->second;
}

/// True (and errno) when a call on a path is to fail.
bool FaultyFiles::fails(Call call, const QString &path)
{
    const int error = enter(call, path, ENOENT).error;
    errno = error;
    return error != 0;
}

/// The same for a call on an open descriptor.
bool FaultyFiles::fails(Call call, int fd)
{
    const int error = enter(call, pathOf(fd), EIO).error;
    errno = error;
    return error != 0;
}

int FaultyFiles::noteOpened(int fd, const QString &path)
{
    std::lock_guard lock(_state->mutex);
    if (fd >= 0) _state->paths[fd] = path;
    return fd;
}

int FaultyFiles::close(int fd)
{
    const bool failing = fails(Close, fd);
    const int error = errno;
    {
        std::lock_guard lock(_state->mutex);
        _state->paths.erase(fd);
    }
    const int result = _under->close(fd); // the descriptor goes in any case, as the kernel has it
    if (!failing) return result;
    errno = error;
    return -1;
}

ssize_t FaultyFiles::pwrite(int fd, const void *data, size_t size, off64_t offset)
{
    const Fate fate = enter(Pwrite, pathOf(fd), EIO);
    errno = fate.error;
    if (fate.error) return -1;
    rememberBefore(fd, offset, fate.half ? size / 2 : size);
    const ssize_t written = _under->pwrite(fd, data, fate.half ? size / 2 : size, offset);
    std::lock_guard lock(_state->mutex);
    if (written > 0) _state->bytesWritten += written;
    return written;
}

int FaultyFiles::statfs(const QString &path, struct statfs64 *data)
{
    if (fails(Statfs, path)) return -1;
    const int result = _under->statfs(path, data);
    std::function<void(const QString &, struct statfs64 &)> change;
    {
        std::lock_guard lock(_state->mutex);
        change = _state->statfsChange;
    }
    if (result == 0 && change) change(path, *data);
    return result;
}
