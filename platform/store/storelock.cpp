// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/storelock.h"

#include "platform/qmx/core/qmxsafefile.h"
#include "platform/store/storefiles.h"

#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

StoreLock::StoreLock(std::string path) : _path(std::move(path)) {}

StoreLock::~StoreLock()
{
    if (_fd >= 0) ::close(_fd);
}

bool StoreLock::openFile()
{
    if (_fd >= 0) ::close(_fd);
    _fd = QmxSafeFile::open(_path.c_str(), O_RDWR | O_CREAT, StoreFiles::fileMode, QmxSafeFile::Names::Only);
    _error = _fd < 0 ? errno : 0;
    struct stat opened
    {};
    if (_fd < 0 || ::fstat(_fd, &opened) != 0) return false;
    _identity = {opened.st_dev, opened.st_ino};
    StoreFiles::shareWithGroup(_path);
    return true;
}

bool StoreLock::isAtPath() const
{
    return _identity && _identity == StoreFiles::identity(_path);
}

bool StoreLock::acquire(std::chrono::milliseconds within, const std::atomic<bool> *interrupted)
{
    // flock() knows no time limit, so it is asked again and again. The waiting is counted and not measured:
    // other processes do not share this process's clock.
    constexpr std::chrono::milliseconds pause(1);
    for (std::chrono::milliseconds waited(0);; waited += pause) {
        if (_fd < 0 && !openFile()) return false;
        if (::flock(_fd, LOCK_EX | LOCK_NB) == 0) {
            // Given up while it was waited for: nothing may be written any more.
            if (interrupted && interrupted->load()) {
                release();
                _error = EWOULDBLOCK;
                return false;
            }
            if (isAtPath()) return true;
            // Somebody has removed the file; a lock on it would exclude nobody who comes later.
            if (!openFile()) return false;
            continue;
        }
        if (errno != EWOULDBLOCK && errno != EINTR) {
            _error = errno;
            return false;
        }
        if (waited >= within || (interrupted && interrupted->load())) {
            _error = EWOULDBLOCK;
            return false;
        }
        ::poll(nullptr, 0, int(pause.count()));
    }
}

void StoreLock::release()
{
    if (_fd >= 0) ::flock(_fd, LOCK_UN);
}
