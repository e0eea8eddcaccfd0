// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/access.h"

#include "companions/panel/fleetkey.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxsafefile.h"
#include "platform/qmx/core/qmxsafefolder.h"

#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr qint64 second = QmxClock::nsPerSecond;

qint64 now()
{
    return QmxEnvironment::current().clock->now();
}

bool isAddress(const QString &host)
{
    std::array<unsigned char, sizeof(in6_addr)> bytes{};
    const QByteArray text = host.toLatin1();
    return inet_pton(AF_INET, text.constData(), bytes.data()) == 1 ||
           inet_pton(AF_INET6, text.constData(), bytes.data()) == 1;
}

/// The name in "name:port" or "[address]:port".
QString hostOf(const QString &host)
{
    if (host.startsWith('[')) return host.mid(1, host.indexOf(']') - 1);
    const qsizetype colon = host.indexOf(':');
    return colon < 0 ? host : host.left(colon);
}

QString machineName()
{
    constexpr size_t longest = 256;
    std::array<char, longest> name{};
    return gethostname(name.data(), name.size() - 1) == 0 ? QString::fromLocal8Bit(name.data()) : QString();
}

bool isChange(const QByteArray &method)
{
    return method != "GET" && method != "HEAD";
}

/// Browsers alone tell how they came to ask, in headers that no page can leave out.
bool isOfABrowser(const HttpCall &call)
{
    const QByteArray prefix("sec-fetch-");
    const auto first = call.headers.lowerBound(prefix);
    return first != call.headers.end() && first.key().startsWith(prefix);
}
} // namespace

QString randomToken()
{
    constexpr size_t size = 24;
    std::array<char, size> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != ssize_t(bytes.size())) return {};
    return QString::fromLatin1(QByteArray(bytes.data(), bytes.size()).toHex());
}

bool isSame(const QByteArray &a, const QByteArray &b)
{
    if (a.size() != b.size() || a.isEmpty()) return false;
    unsigned differs = 0;
    for (qsizetype i = 0; i < a.size(); ++i)
        differs |= unsigned(uchar(a[i]) ^ uchar(b[i]));
    return differs == 0;
}

bool PanelOptions::isLoopback() const
{
    return address == QLatin1String("::1") || address.startsWith(QLatin1String("127."));
}

Access::Access(const PanelOptions &options, Accounts &accounts) : _options(options), _accounts(accounts) {}

bool Access::isOurs(const QString &host) const
{
    const QString name = hostOf(host).toLower();
    if (name == QLatin1String("localhost") || isAddress(name)) return true;
    const QString own = machineName().toLower();
    if (!own.isEmpty() && (name == own || name == own + ".local" || own.startsWith(name + '.'))) return true;
    return _options.hosts.contains(name, Qt::CaseInsensitive);
}

std::optional<HttpReply> Access::refusal(const HttpCall &call) const
{
    const QString host = QString::fromLatin1(call.header("host"));
    if (host.isEmpty() || host.contains(',')) // (two headers of a name come as one)
        return problemReply(400, "no_host", "the request names no host, or several");
    if (!isOurs(host))
        return problemReply(421, "foreign_host",
                            QStringLiteral("%1 is no name of this recorder").arg(host.left(100)),
                            "use its address, or tell xppanel its name with --host");
    const QByteArray origin = call.header("origin");
    if (!origin.isEmpty()) {
        const QString own = QStringLiteral("%1://%2").arg(_options.hasTls() ? "https" : "http", host);
        if (QString::fromLatin1(origin).compare(own, Qt::CaseInsensitive) != 0)
            return problemReply(403, "foreign_origin", "a page of somebody else may not use this recorder");
        return {};
    }
    if (isChange(call.method) && isOfABrowser(call))
        return problemReply(
            403, "no_origin", "a browser that wants a change has to say from which page",
            "a program whose library sends Sec-Fetch headers: send Origin with this address, too");
    // A page of somebody else may lead here, and no more.
    if (call.header("sec-fetch-site") == "cross-site" && call.header("sec-fetch-mode") != "navigate")
        return problemReply(403, "foreign_origin", "a page of somebody else may not use this recorder");
    return {};
}

bool Access::mayTry(const QString &address)
{
    const auto found = _failures.find(address);
    return found == _failures.end() || found->second.until <= now();
}

void Access::failed(const QString &address)
{
    constexpr size_t most = 4096;
    constexpr int longestWait = 60;
    constexpr int free = 3; // mistakes that cost nothing
    if (_failures.size() >= most && !_failures.contains(address)) {
        const qint64 time = now();
        std::erase_if(_failures, [time](const auto &one) { return one.second.until <= time; });
        if (_failures.size() >= most) _failures.erase(_failures.begin());
    }
    Failures &past = _failures[address];
    ++past.count;
    if (past.count > free)
        past.until = now() + second * std::min(longestWait, 1 << std::min(past.count - free, 6));
}

/// Another panel has asked whoever it is for, and says what that one may.
bool Access::identifyPanel(HttpCall &call) const
{
    const auto role = roleNamed(QString::fromLatin1(call.header(FleetKey::roleHeader)));
    const QString name =
        QString::fromUtf8(QByteArray::fromPercentEncoding(call.header(FleetKey::callerHeader)));
    if (!role || name.isEmpty()) return false;
    call.caller.role = *role;
    call.caller.name = name.left(64);
    call.caller.id = "http/passed/" + call.caller.name;
    return true;
}

bool Access::identify(HttpCall &call)
{
    // Whoever reaches a loopback port may look, as everybody on this machine may.
    call.caller.role = _options.isLoopback() ? Role::View : Role::Nobody;
    call.caller.name = QStringLiteral("somebody");
    call.caller.id = "http/" + call.caller.address;
    QString token;
    const QByteArray authorization = call.header("authorization");
    if (authorization.startsWith("Fleet "))
        return _verify && _verify(call, call.proof) && identifyPanel(call);
    if (authorization.toLower().startsWith("bearer "))
        token = QString::fromLatin1(authorization.mid(7).trimmed());
    // A browser's WebSocket can carry it only as the name of a protocol.
    for (const QByteArray &protocol : call.header("sec-websocket-protocol").split(','))
        if (protocol.trimmed().startsWith("token.")) token = QString::fromLatin1(protocol.trimmed().mid(6));
    if (token.isEmpty()) return authorization.isEmpty();
    if (isSame(token.toLatin1(), _token.toLatin1())) {
        call.caller.role = Role::Engineer;
        call.caller.name = QStringLiteral("operator");
        call.caller.id = "http/operator/" + call.caller.address;
        _failures.erase(call.caller.address);
        // The panel of the machine's first channel: for somebody who may do less.
        return call.header(FleetKey::roleHeader).isEmpty() || identifyPanel(call);
    }
    if (const auto session = _sessions.find(token);
        session != _sessions.end() && session->second.until > now()) {
        call.caller.role = session->second.role;
        call.caller.name = session->second.name;
        call.caller.id = "http/account/" + session->second.name;
        return true;
    }
    if (const auto account = _accounts.ofToken(token)) {
        call.caller.role = account->role;
        call.caller.name = account->name;
        call.caller.id = "http/account/" + account->name;
        return true;
    }
    return false;
}

QString Access::begin(const QString &name, Role role)
{
    const qint64 time = now();
    std::erase_if(_sessions, [time](const auto &one) { return one.second.until <= time; });
    if (_sessions.size() >= mostSessions) {
        const auto oldest =
            std::min_element(_sessions.begin(), _sessions.end(),
                             [](const auto &a, const auto &b) { return a.second.until < b.second.until; });
        _sessions.erase(oldest);
    }
    QString token = randomToken();
    constexpr qint64 secondsPerHour = 3600;
    _sessions[token] = {name, role, time + sessionHours * secondsPerHour * second};
    return token;
}

void Access::end(const QString &token)
{
    _sessions.erase(token);
}

namespace {
/// What a former run left, when nobody but this account can have written it; else empty.
QString keptToken(const QByteArray &path)
{
    const int fd = QmxSafeFile::open(path.constData(), O_RDONLY, 0, QmxSafeFile::Names::Only);
    if (fd < 0) return {};
    constexpr mode_t othersMayWrite = 0027;
    constexpr qint64 longest = 256;
    struct stat status = {};
    const bool isOurs =
        fstat(fd, &status) == 0 && status.st_uid == geteuid() && (status.st_mode & othersMayWrite) == 0;
    const QByteArray text =
        isOurs ? QmxSafeFile::contents(fd, longest).value_or(QByteArray()).trimmed() : QByteArray();
    close(fd);
    const bool isToken = text.size() == randomToken().size() && QByteArray::fromHex(text).toHex() == text;
    return isToken ? QString::fromLatin1(text) : QString();
}
} // namespace

QString Access::writeToken(const QString &path)
{
    // A page that is open goes on after a restart of this program: the token of the one before stays valid.
    const QByteArray name = QFile::encodeName(path);
    if (const QString kept = keptToken(name); !kept.isEmpty()) {
        _token = kept;
        return {};
    }
    _token = randomToken();
    const QByteArray text = _token.toLatin1() + '\n';
    const QFileInfo file(path);
    const QmxSafeFolder folder(file.path());
    // The group that may operate is the one of the folder. Of another group, it is for nobody else.
    if (folder.replace(file.fileName(), text, {.mode = 0640, .group = folder.status().st_gid}) ||
        folder.replace(file.fileName(), text, {.mode = 0600}))
        return {};
    return QStringLiteral("the token cannot be written to %1: %2; nobody can operate without an account. "
                          "Remove what has this name and start xppanel anew")
        .arg(path, QString::fromLocal8Bit(std::strerror(errno)));
}
