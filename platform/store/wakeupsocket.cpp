// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/wakeupsocket.h"

#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

/// Two changes of a folder within the tick of the kernel's clock leave the same time behind.
constexpr qint64 settlesAfterNs = 100'000'000;
constexpr qint64 nsPerSecond = 1'000'000'000;
constexpr char urgentMark = '!';
/// Changes taken as they are told. More of them at once are read from the store: a queue had no room,
/// perhaps, for the last ones (Linux has one of ten datagrams at least).
constexpr std::size_t mostHeard = 8;

int openFolder(const std::string &path)
{
    return ::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
}

/// An address has room for 107 characters only; a longer path goes by way of the open folder.
bool setAddress(int folder, const std::string &where, const std::string &name, sockaddr_un &address)
{
    address = {};
    address.sun_family = AF_UNIX;
    std::string path = where + "/" + name;
    if (path.size() >= sizeof address.sun_path) path = "/proc/self/fd/" + std::to_string(folder) + "/" + name;
    if (folder < 0 || path.size() >= sizeof address.sun_path) return false;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return true;
}

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
    if (_folder >= 0) ::close(_folder);
}

int WakeupSocket::listen()
{
    if (_listener >= 0) return _listener;
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    _name = _files.socketPrefix() + std::to_string(::getpid()) + "-" + std::to_string(socketNumber++);
    const std::string path = _files.socketFolder() + "/" + _name;
    ::unlink(path.c_str()); // left behind by a dead process of the same number
    const int folder = openFolder(_files.socketFolder());
    sockaddr_un address;
    const bool isBound = setAddress(folder, _files.socketFolder(), _name, address) &&
                         ::bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    if (folder >= 0) ::close(folder);
    if (!isBound) {
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

bool WakeupSocket::drain()
{
    constexpr int most = 16; // taken with one call
    char texts[most][HeardChange::largest + 1];
    iovec places[most];
    mmsghdr messages[most] = {};
    for (int i = 0; i < most; ++i) {
        places[i] = {texts[i], sizeof texts[i]};
        messages[i].msg_hdr.msg_iov = &places[i];
        messages[i].msg_hdr.msg_iovlen = 1;
    }
    bool isWoken = false;
    _heard = {{}, true};
    int taken = most;
    while (_listener >= 0 && taken == most) {
        taken = ::recvmmsg(_listener, messages, most, MSG_DONTWAIT, nullptr);
        isWoken = isWoken || taken > 0;
        for (int i = 0; i < taken; ++i)
            hear({texts[i], messages[i].msg_len});
    }
    _heard.isAll = _heard.isAll && isWoken;
    return isWoken;
}

bool WakeupSocket::openSender()
{
    if (_sender < 0) _sender = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    return _sender >= 0;
}

WakeupSocket::FolderState WakeupSocket::folderState() const
{
    struct stat info
    {};
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    if (::stat(_files.socketFolder().c_str(), &info) != 0) return {};
    const qint64 changed = info.st_mtim.tv_sec * nsPerSecond + info.st_mtim.tv_nsec;
    const qint64 age = now.tv_sec * nsPerSecond + now.tv_nsec - changed;
    return {info.st_dev, info.st_ino, changed, age > settlesAfterNs};
}

/// The folder is read again when it has changed, not at every write.
void WakeupSocket::lookForListeners()
{
    const FolderState state = folderState();
    if (state.settled && state == _looked) return;
    _looked = state;
    _others.clear();
    if (_folder >= 0) ::close(_folder);
    _folder = openFolder(_files.socketFolder());
    const std::string prefix = _files.socketPrefix();
    std::error_code failed;
    for (fs::directory_iterator entry(_files.socketFolder(), failed), end; !failed && entry != end;
         entry.increment(failed)) {
        const std::string name = entry->path().filename().string();
        Listener listener{{}, entry->path().string()};
        if (name.starts_with(prefix) && setAddress(_folder, _files.socketFolder(), name, listener.address))
            _others.push_back(std::move(listener));
    }
}

int WakeupSocket::sendToAll(const std::string &text)
{
    if (!openSender()) return 0;
    lookForListeners();
    int reached = 0;
    for (const Listener &listener : _others) {
        // A full queue (EAGAIN) is a listener that knows already, or is stopped.
        if (::sendto(_sender, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
                     reinterpret_cast<const sockaddr *>(&listener.address), sizeof listener.address) >= 0)
            ++reached;
        else if (errno == ECONNREFUSED)
            ::unlink(listener.path.c_str());
    }
    return reached;
}

void WakeupSocket::send(quint64 version)
{
    sendToAll(std::to_string(version));
}

void WakeupSocket::send(const HeardChange &change)
{
    const std::string text = change.toText();
    if (text.empty()) return send(change.change.stored.version);
    sendToAll(text);
}

bool WakeupSocket::sendUrgent(const StoreWrite &command)
{
    return sendToAll(std::string(1, urgentMark) + std::to_string(command.id) + " " +
                     std::to_string(command.value.number)) > 0;
}

void WakeupSocket::hear(std::string_view text)
{
    if (text.starts_with(urgentMark)) return hearUrgent(text.substr(1));
    auto change = HeardChange::parse(text);
    if (change && _heard.changes.size() < mostHeard)
        _heard.changes.push_back(std::move(*change));
    else
        _heard.isAll = false;
}

/// Only commands that are numbers, of parameters that there are; the rest says nothing.
void WakeupSocket::hearUrgent(std::string_view text)
{
    constexpr std::size_t mostWaiting = 16;
    std::uint32_t id = 0;
    std::uint32_t number = 0;
    _heard.isAll = false;
    if (_urgent.size() >= mostWaiting) return;
    const char *const end = text.data() + text.size();
    const auto [space, noId] = std::from_chars(text.data(), end, id);
    if (noId != std::errc() || space == end) return;
    if (std::from_chars(space + 1, end, number).ec != std::errc()) return;
    const ParamDescriptor *descriptor = GetDescriptor(eParam_t(id));
    const StoreValue value = StoreValue::fromUnsigned(number);
    std::string reason;
    if (descriptor && descriptor->keep() == ParamDescriptor::Keep::Command &&
        descriptor->check(value, reason))
        _urgent.push_back({eParam_t(id), value});
}
