// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/accounts.h"

#include "companions/panel/access.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

#include <algorithm>
#include <argon2.h>
#include <array>
#include <sys/random.h>
#include <sys/stat.h>

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
    for (const QJsonValue &value : QJsonDocument::fromJson(text).object()["accounts"].toArray()) {
        const QJsonObject object = value.toObject();
        Accounts::Account account{object["name"].toString(),
                                  roleNamed(object["role"].toString()).value_or(Role::View),
                                  object["hash"].toString(),
                                  {}};
        for (const QJsonValue &token : object["tokens"].toArray())
            account.tokens << token.toString();
        if (!account.name.isEmpty()) accounts << account;
    }
    return accounts;
}
} // namespace

Accounts::Accounts(const QString &path) : _path(path) {}

QList<Accounts::Account> Accounts::all() const
{
    struct stat status = {};
    const std::lock_guard lock(_mutex);
    if (stat(QFile::encodeName(_path).constData(), &status) != 0) return {};
    constexpr qint64 nsPerSecond = 1'000'000'000;
    const qint64 time = status.st_mtim.tv_sec * nsPerSecond + status.st_mtim.tv_nsec;
    if (time == _readAt) return _read;
    QFile file(_path);
    if (!file.open(QIODevice::ReadOnly)) return _read;
    _read = parse(file.readAll());
    _readAt = time;
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
    QDir().mkpath(QFileInfo(_path).path());
    QSaveFile file(_path);
    const QByteArray text = QJsonDocument(QJsonObject{{"accounts", list}}).toJson();
    const bool isWritten = file.open(QIODevice::WriteOnly) &&
                           file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner) &&
                           file.write(text) == text.size() && file.commit();
    if (!isWritten)
        return QStringLiteral("%1 cannot be written: %2; run this as the panel's user or as root")
            .arg(_path, file.errorString());
    // (Made by root for the program that runs as somebody else.)
    struct stat folder = {};
    if (stat(QFile::encodeName(QFileInfo(_path).path()).constData(), &folder) == 0 &&
        chown(QFile::encodeName(_path).constData(), folder.st_uid, folder.st_gid) != 0)
        return {};
    return {};
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
