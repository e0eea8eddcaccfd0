// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/accounts.h"

#include "companions/panel/access.h"
#include "platform/qmx/core/qmxsafefile.h"
#include "platform/qmx/core/qmxsafefolder.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <argon2.h>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
// 19 MiB and two passes: a tenth of a second here, and too much memory for machines that guess by the
// thousand.
constexpr uint32_t memoryKib = 19456;
constexpr uint32_t passes = 2;
constexpr uint32_t lanes = 1;
constexpr size_t saltSize = 16;
constexpr size_t hashSize = 32;

QString hashOf(const QString &password)
{
    std::array<char, saltSize> salt{};
    if (getrandom(salt.data(), salt.size(), 0) != ssize_t(salt.size())) return {};
    const QByteArray text = password.toUtf8();
    constexpr size_t encodedSize = 128;
    std::array<char, encodedSize> encoded{};
    const int result =
        argon2id_hash_encoded(passes, memoryKib, lanes, text.constData(), size_t(text.size()), salt.data(),
                              salt.size(), hashSize, encoded.data(), encoded.size());
    return result == ARGON2_OK ? QString::fromLatin1(encoded.data()) : QString();
}

QString digestOf(const QString &token)
{
    return QString::fromLatin1(QCryptographicHash::hash(token.toUtf8(), QCryptographicHash::Sha256).toHex());
}

QList<Accounts::Account> parse(const QByteArray &text)
{
    QList<Accounts::Account> accounts;
    for (const QJsonValue value : QJsonDocument::fromJson(text).object()["accounts"].toArray()) {
        const QJsonObject object = value.toObject();
        Accounts::Account account{object["name"].toString(),
                                  roleNamed(object["role"].toString()).value_or(Role::View),
                                  object["hash"].toString(),
                                  {}};
        for (const QJsonValue token : object["tokens"].toArray())
            account.tokens << token.toString();
        if (!account.name.isEmpty()) accounts << account;
    }
    return accounts;
}
} // namespace

Accounts::Accounts(const QString &path) : _path(path) {}

/// A descriptor, or -1 and errno. The folder is the panel's, and root works in it: of a link that the panel's
/// account has put there, root would read what that account may not.
int Accounts::open() const
{
    const QFileInfo file(_path);
    const QmxSafeFolder folder(file.path());
    const int fd = folder.open(file.fileName(), O_RDONLY);
    struct stat status = {};
    if (fd < 0) return -1;
    const bool isOurs = fstat(fd, &status) == 0 && (status.st_uid == 0 || status.st_uid == geteuid() ||
                                                    status.st_uid == folder.status().st_uid);
    if (isOurs) return fd;
    close(fd);
    errno = EPERM;
    return -1;
}

QString Accounts::problem() const
{
    const int fd = open();
    const int why = errno;
    if (fd >= 0) close(fd);
    if (fd >= 0 || why == ENOENT) return {};
    if (why == EACCES)
        return QStringLiteral("%1 cannot be read: %2; run this as the panel's user or as root")
            .arg(_path, QString::fromLocal8Bit(std::strerror(why)));
    return QStringLiteral(
               "%1 is no file of root or of the panel's account with this name only (%2): no account "
               "is taken from it, and none is written to it. Look at it and remove it")
        .arg(_path, QString::fromLocal8Bit(std::strerror(why)));
}

QList<Accounts::Account> Accounts::all() const
{
    const std::lock_guard lock(_mutex);
    const int fd = open();
    if (fd < 0) return errno == EMFILE || errno == ENFILE ? _read : QList<Account>();
    struct stat status = {};
    constexpr qint64 nsPerSecond = 1'000'000'000;
    const bool isKnown = fstat(fd, &status) == 0;
    const qint64 time = status.st_mtim.tv_sec * nsPerSecond + status.st_mtim.tv_nsec;
    if (isKnown && time != _readAt) {
        constexpr qint64 largest = 16 * 1024 * 1024;
        if (const auto text = QmxSafeFile::contents(fd, largest)) {
            _read = parse(*text);
            _readAt = time;
        }
    }
    close(fd);
    return _read;
}

std::optional<Role> Accounts::check(const QString &name, const QString &password) const
{
    // (A name that there is not costs the same time.)
    static const QString nobody = hashOf(randomToken());
    const auto accounts = all();
    const auto found = std::find_if(accounts.begin(), accounts.end(), [&name](const Account &one) {
        return one.name == name && !one.hash.isEmpty();
    });
    const QByteArray hash = (found == accounts.end() ? nobody : found->hash).toLatin1();
    const QByteArray text = password.toUtf8();
    const bool isRight =
        argon2id_verify(hash.constData(), text.constData(), size_t(text.size())) == ARGON2_OK;
    return isRight && found != accounts.end() ? std::optional(found->role) : std::nullopt;
}

std::optional<Accounts::Account> Accounts::ofToken(const QString &token) const
{
    const QByteArray digest = digestOf(token).toLatin1();
    for (const Account &account : all())
        for (const QString &known : account.tokens)
            if (isSame(known.toLatin1(), digest)) return account;
    return {};
}

QString Accounts::write(const QList<Account> &accounts) const
{
    QJsonArray list;
    for (const Account &account : accounts)
        list.append(QJsonObject{{"name", account.name},
                                {"role", roleName(account.role)},
                                {"hash", account.hash},
                                {"tokens", QJsonArray::fromStringList(account.tokens)}});
    const QFileInfo file(_path);
    QDir().mkpath(file.path());
    if (QString foreign = problem(); !foreign.isEmpty()) return foreign;
    const QmxSafeFolder folder(file.path());
    const QByteArray text = QJsonDocument(QJsonObject{{"accounts", list}}).toJson();
    QmxSafeFolder::As as;
    if (geteuid() == 0) { // for the program, which runs as somebody else
        as.owner = folder.status().st_uid;
        as.group = folder.status().st_gid;
    }
    if (folder.replace(file.fileName(), text, as)) return {};
    return QStringLiteral("%1 cannot be written: %2; run this as the panel's user or as root")
        .arg(_path, QString::fromLocal8Bit(std::strerror(errno)));
}

QString Accounts::set(const QString &name, Role role, const QString &password)
{
    constexpr int longestName = 64;
    const bool isName =
        !name.isEmpty() && name.size() <= longestName && std::all_of(name.begin(), name.end(), [](QChar c) {
            return c.isLetterOrNumber() || c == u'-' || c == u'_' || c == u'.';
        });
    if (!isName)
        return QStringLiteral("'%1' is no name of an account: letters, digits, - _ and . only").arg(name);
    constexpr int shortest = 8;
    constexpr int longest = 1024;
    if (password.size() < shortest || password.size() > longest)
        return QStringLiteral("the password has to have %1 characters at least").arg(shortest);
    const QString hash = hashOf(password);
    if (hash.isEmpty()) return QStringLiteral("there is no memory for the password's hash");
    QList<Account> accounts = all();
    const auto found = std::find_if(accounts.begin(), accounts.end(),
                                    [&name](const Account &one) { return one.name == name; });
    if (found == accounts.end()) {
        accounts << Account{name, role, hash, {}};
    } else {
        found->role = role;
        found->hash = hash;
    }
    return write(accounts);
}

QString Accounts::remove(const QString &name)
{
    QList<Account> accounts = all();
    if (accounts.removeIf([&name](const Account &one) { return one.name == name; }) == 0)
        return QStringLiteral("there is no account %1").arg(name);
    return write(accounts);
}

QString Accounts::addToken(const QString &name, QString &token)
{
    QList<Account> accounts = all();
    const auto found = std::find_if(accounts.begin(), accounts.end(),
                                    [&name](const Account &one) { return one.name == name; });
    if (found == accounts.end()) return QStringLiteral("there is no account %1").arg(name);
    token = randomToken();
    found->tokens << digestOf(token);
    return write(accounts);
}
