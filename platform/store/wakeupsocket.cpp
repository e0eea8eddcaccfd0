// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/wakeupsocket.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

/// An open folder, to name the sockets in it by a short path: an address has room for 107 characters only.
class Folder
{
public:
    explicit Folder(const std::string &path) : _fd(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {}
    ~Folder()
    {
        if (_fd >= 0) ::close(_fd);
    }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;

    bool address(const std::string &name, sockaddr_un &address) const
    {
        const std::string path = "/proc/self/fd/" + std::to_string(_fd) + "/" + name;
        address = {};
        address.sun_family = AF_UNIX;
        if (_fd < 0 || path.size() >= sizeof address.sun_path) return false;
        std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
        return true;
    }

private:
    int _fd;
};

std::atomic<unsigned> socketNumber{0};

} // namespace

WakeupSocket::WakeupSocket(const StoreFiles &files) : _files(files) {}

WakeupSocket::~WakeupSocket()
{
    if (_listener >= 0) {
        ::close(_listener);
        ::unlink((_files.socketFolder() + "/" + _name).c_str());
    }
    if (_sender >= 0) ::close(_sender);
}

int WakeupSocket::listen()
{
    if (_listener >= 0) return _listener;
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    _name = _files.socketPrefix() + std::to_string(::getpid()) + "-" + std::to_string(socketNumber++);
    const std::string path = _files.socketFolder() + "/" + _name;
    ::unlink(path.c_str()); // left behind by a dead process of the same number
    const Folder folder(_files.socketFolder());
    sockaddr_un address;
    if (!folder.address(_name, address) ||
        ::bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        ::close(fd);
        return -1;
    }
    StoreFiles::shareWithGroup(path);
    _listener = fd;
    return fd;
}

void WakeupSocket::keepAlive()
{
    if (_listener < 0 || StoreFiles::identity(_files.socketFolder() + "/" + _name)) return;
    ::close(_listener);
    _listener = -1;
    listen();
}

void WakeupSocket::drain()
{
    char buffer[64];
    while (_listener >= 0 && ::recv(_listener, buffer, sizeof buffer, 0) > 0) {}
}

bool WakeupSocket::openSender()
{
    if (_sender < 0) _sender = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    return _sender >= 0;
}

void WakeupSocket::send(quint64 version)
{
    if (!openSender()) return;
    const std::string text = std::to_string(version);
    const std::string prefix = _files.socketPrefix();
    const Folder folder(_files.socketFolder());
    std::error_code failed;
    for (fs::directory_iterator entry(_files.socketFolder(), failed), end; !failed && entry != end;
         entry.increment(failed)) {
        const std::string name = entry->path().filename().string();
        sockaddr_un address;
        if (!name.starts_with(prefix) || !folder.address(name, address)) continue;
        // A full queue (EAGAIN) is a listener that knows already, or is stopped.
        if (::sendto(_sender, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
                     reinterpret_cast<const sockaddr *>(&address), sizeof address) < 0 &&
            errno == ECONNREFUSED)
            ::unlink(entry->path().c_str());
    }
}
